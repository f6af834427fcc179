#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"
#include "Vondrel/CMetry/Internals/StandardTables.h"

#include <array>
#include <cstddef>

/// Printing densities as functions of numbers alone.
namespace Vondrel::CMetry {

/// The density where there is no reflectance, and the value of a density that could not be calculated. Compared
/// exactly.
inline constexpr float InvalidDensity = 9.99F;

inline constexpr double noDensity = 0.01; ///< below it a density is no divisor

/// Black, Cyan, Magenta, Yellow.
using FourDensities = std::array<float, densityChannels>;
/// The responses of the four channels, 36 weights each.
using ResponseCurves = std::array<const float*, densityChannels>;

struct MaximumDensity {
    float density = InvalidDensity;
    std::size_t index = 0; ///< of the band
    bool found = false;
};

namespace Formulas {

/// -log10 of a response, 9.99 where it is not above 0 or no number.
float ToDensity(float reflectance);

/// The sums of weight times value over 36 bands.
FourDensities Respond(const ResponseCurves& curves, const float* values);

/// Absolute densities without calibration. Black is raised by 2, since its curve sums to 100.
FourDensities ToDensities(const FourDensities& responses);
FourDensities GetDensities(const ResponseCurves& curves, const float* values);

/// The densities of Cyan, Magenta and Yellow in descending order.
std::array<float, 3> SortColors(const FourDensities& densities);

/// The lowest of the sorted densities over the highest; 1 where there is no density.
float LowestOverHighest(const std::array<float, 3>& sorted);

/// The channel of the highest density; Black for a colour without a dominant ink.
DensityFilterMode SelectChannel(const FourDensities& densities);

/// The highest density from 410 to 700 nm; of equal ones the nearest to 550 nm.
MaximumDensity FindMaximum(const float* values);

}

}
