#pragma once

#include "Vondrel/CMetry/SpectrumGrid.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vondrel::CMetry {

/// A published table over wavelength: value i belongs to firstWavelength + i * stepSize, in nanometres.
struct StandardTable {
    std::uint16_t firstWavelength;
    std::uint16_t lastWavelength;
    std::uint16_t stepSize;
    const float* values;

    constexpr std::size_t Size() const
    {
        return static_cast<std::size_t>((lastWavelength - firstWavelength) / stepSize) + 1;
    }
};

// Relative spectral power; A and the D illuminants read 100 at 560 nm.
extern const StandardTable illuminantA;
extern const StandardTable illuminantB;
extern const StandardTable illuminantC;
extern const StandardTable illuminantD50;
extern const StandardTable illuminantD55;
extern const StandardTable illuminantD65;
extern const StandardTable illuminantD75;
extern const StandardTable illuminantsF[12]; ///< F1 to F12

extern const StandardTable daylightBasis[3]; ///< S0, S1, S2

// Colour matching functions, by axis: x-bar, y-bar, z-bar.
extern const StandardTable observer1931[3];
extern const StandardTable observer1964[3];

inline constexpr std::size_t densityChannels = 4;

/// Values on the spectrum grid.
using SpectrumTable = std::array<float, SpectrumGrid::NumberOfDataPoints>;

/// The test samples of the colour rendering index, as reflectance factors.
extern const std::array<SpectrumTable, 8> renderingSamples;

/// A density response on the spectrum grid.
using DensityCurve = SpectrumTable;

/// The responses of the four channels Black, Cyan, Magenta, Yellow.
/// The Black row sums to 100, the others to 1.
using DensityCurves = std::array<DensityCurve, densityChannels>;

/// The curves of the standards DIN, DINNB, ANSIA, ANSIE, ANSII, ANSIT and SPI, by the number of the standard.
extern const DensityCurves densityCurves[7];

}
