#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/BasicData.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// The finished result of a measurement.
class SpectrumData : public BasicData {
public:
    using BasicData::operator=;
};

}
