#pragma once

#include "orvex/color.h"

#include <cstddef>
#include <random>
#include <vector>

/// Reflectances from 0 to 1, now smooth, now not; the first rows are a black, a white and a grey.
inline std::vector<float> RandomSpectra(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> reflectance(0.0F, 1.0F);
    std::vector<float> spectra(count * OXC_BANDS);
    for (std::size_t row = 0; row < count; ++row) {
        const float step = row % 2 == 0 ? 0.2F : 1.0F;
        float value = reflectance(random);
        for (std::size_t i = 0; i < OXC_BANDS; ++i) {
            value += (reflectance(random) - value) * step;
            spectra[row * OXC_BANDS + i] = row == 0 ? 0.0F : row == 1 ? 1.0F : row == 2 ? 0.18F : value;
        }
    }
    return spectra;
}
