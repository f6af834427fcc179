#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A made-up scan over a row of colour patches on a backing, for tests and benchmarks.
struct ChartScan {
    using SpectrumData = Vondrel::DeviceDriver::Generic::Calculation::SpectrumData;

    struct Patch {
        std::string name;
        std::vector<float> spectrum;
    };

    std::vector<SpectrumData> readings;
    std::vector<Patch> patches; ///< in the order of the scan

    /// The 24 patches of the colour chart in random order, neighbours further apart than delta E 2000 of 5, the first
    /// and the last further than 10 from the backing. A patch is 20 to 60 readings long, the mixture of two neighbours
    /// 2 to 4, and the noise of each band 0.1 % rms: of what is read, or of the perfect white.
    enum class Noise { OfReading, OfWhite };
    static ChartScan Random(std::uint32_t seed, Noise noise);

    /// Patches of so many readings of reflectance factors that are flat over the spectrum, without noise and mixtures.
    struct Grey {
        float level;
        std::size_t readings;
    };
    static ChartScan Greys(const std::vector<Grey>& greys);

    /// A strip of 12 patches of 30 to 40 readings, in turn of two greys, on a backing of 0.85 before and behind them,
    /// with noise of 0.05 % of the perfect white in each band.
    struct Strip {
        float lightness;   ///< L* of the first grey
        float difference;  ///< delta E 2000 of the two
        std::size_t mixed; ///< readings in which one colour turns into the next
        std::size_t gap;   ///< readings of backing between two patches
    };
    static ChartScan Alternating(const Strip& strip, std::uint32_t seed);

    /// One reading. @param bands  36 reflectance factors
    static SpectrumData Reading(const std::vector<float>& bands);
};

/// Delta E 2000 of two spectra as chart recognition sees it.
float ChartDifference(const std::vector<float>& first, const std::vector<float>& second);
