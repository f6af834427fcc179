#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/BasicData.h"

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// A dark reading, linearised, with the level of the sensor that it was measured at.
class InternalDarkData : public BasicData {
public:
    using BasicData::operator=;

    /// Counts.
    void SetHighestSensorValue(const std::int32_t& counts) { highestSensorValue = counts; }
    std::int32_t GetHighestSensorValue() const { return highestSensorValue; }

    /// True if there is a dark and its level lies below the limit, which grows by 900 counts with each second of
    /// integration and is ten times as high at gain 0.
    /// @param limit  counts
    /// @throws DataException  the integration time is not a number
    bool DataIsValid(const std::int32_t& limit) const;

private:
    std::int32_t highestSensorValue = 100000; // too bright for any limit, until it is set
};

}
