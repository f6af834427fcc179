#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/BasicData.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// The reference of a transmission measurement.
class ReferenceData : public BasicData {
public:
    using BasicData::operator=;
};

}
