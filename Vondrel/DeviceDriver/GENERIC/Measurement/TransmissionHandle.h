#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/EmissionHandle.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// What lies in a light path, relative to a reference. Calibrated in two stages: Calibrate(true) takes the dark,
/// Calibrate(false) the reference, with nothing in the path.
class TransmissionHandle : public EmissionHandle {
public:
    using EmissionHandle::EmissionHandle;

    void Calibrate(bool darkStep) override;
    void TriggerMeasurement() override;
    std::string Whoami() const override { return "Transmission"; }
};

}
