#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/EmissionHandle.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// The light that falls on the instrument's diffuser.
class AmbientLightHandle : public EmissionHandle {
public:
    using EmissionHandle::EmissionHandle;

    std::string Whoami() const override { return "AmbientLight"; }
};

}
