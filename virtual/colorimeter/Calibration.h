#pragma once

#include "virtual/colorimeter/TypeTable.h"

#include <array>
#include <cstdint>
#include <vector>

/// How an instrument leaves the works: the constants of its optics, and the memory that tells them to the host.
namespace Virtual::Colorimeter {

using Triple = std::array<double, 3>; ///< red, green, blue; or X, Y, Z
using Matrix = std::array<Triple, 3>; ///< row by row

/// The host turns foot-lamberts into cd/m2, and foot-candles into lux, with these.
inline constexpr double candelasPerFootLambert = 3.425014379251237;
inline constexpr double luxPerFootCandle = 10.76;

/// What the works found out about one instrument. All numbers are rounded to what the memory can hold.
struct Calibration {
    std::uint32_t counts = 0;     ///< integration time at calibration, in ticks
    double seconds = 0.0;         ///< the same
    Matrix toXYZ{};               ///< pulses in the calibrated time to XYZ in foot-lamberts; types with a matrix
    Matrix toAmbientXYZ{};        ///< the same to XYZ in foot-candles under the diffuser
    Triple footLambertsPerUnit{}; ///< of each converter; types without a matrix
    Triple dark{};                ///< of each channel, in the unit that the type's calibration uses
};

Calibration MakeCalibration(const Type& type);

/// The memory as delivered. Cells without a meaning hold 0xFF.
std::vector<std::uint8_t> MakeMemory(const Type& type);

}
