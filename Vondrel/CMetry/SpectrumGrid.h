#pragma once

#include <cstddef>
#include <cstdint>

/// The one grid on which every spectrum stands.
namespace Vondrel::CMetry::SpectrumGrid {

inline constexpr std::size_t NumberOfDataPoints = 36;
inline constexpr std::uint16_t MinWavelength = 380; // nm, of index 0
inline constexpr std::uint16_t MaxWavelength = 730; // nm, of the last index
inline constexpr std::uint16_t StepSize = 10;       // nm

static_assert(MinWavelength + (NumberOfDataPoints - 1) * StepSize == MaxWavelength);

}
