#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/InternalDarkData.h"

#include <array>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// The sensor's dark reading, and the four base darks from which a dark for any integration time follows.
///
/// A base dark belongs to a gain and to one of two integration times. Between and beyond the two the dark of a pixel
/// is taken to lie on a straight line over time.
class DarkData : public InternalDarkData {
public:
    using BasicData::operator=;

    /// Stores a base dark.
    /// @param set      the gain it belongs to: true for gain 0
    /// @param element  the place in it: true for the second of the two integration times
    void SetBaseDark(const InternalDarkData& dark, bool set, bool element);

    /// Becomes the dark for these conditions. A time outside the two base times extrapolates. The level of the sensor
    /// and the base darks stay.
    /// @param time  seconds
    /// @throws CalculationException "Division by zero": both base darks of the gain have the same time, as when there
    ///                              are none; or they differ in size
    /// @throws DataException "Data not valid"
    void Interpolate(const std::int32_t& newGain, const float& time);

private:
    double Divisor(bool set) const;

    std::array<std::array<InternalDarkData, 2>, 2> baseDarks; // [gain is 0][longer]
};

}
