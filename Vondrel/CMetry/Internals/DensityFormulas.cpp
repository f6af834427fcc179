#include "Vondrel/CMetry/Internals/DensityFormulas.h"

#include "Vondrel/CMetry/Internals/SinglePrecision.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace Vondrel::CMetry::Formulas {

namespace {

constexpr std::size_t Band(std::size_t wavelength)
{
    return (wavelength - SpectrumGrid::MinWavelength) / SpectrumGrid::StepSize;
}

}

float ToDensity(float reflectance)
{
    return reflectance > 0.0F ? Single(-std::log10(static_cast<double>(reflectance))) : InvalidDensity;
}

FourDensities Respond(const ResponseCurves& curves, const float* values)
{
    FourDensities responses{};
    for (std::size_t i = 0; i < SpectrumGrid::NumberOfDataPoints; ++i)
        for (std::size_t channel = 0; channel < responses.size(); ++channel)
            responses[channel] = Accumulate(responses[channel], curves[channel][i], values[i]);
    return responses;
}

FourDensities ToDensities(const FourDensities& responses)
{
    FourDensities densities;
    for (std::size_t channel = 0; channel < densities.size(); ++channel)
        densities[channel] = ToDensity(responses[channel]);
    densities[0] += 2.0F;
    return densities;
}

FourDensities GetDensities(const ResponseCurves& curves, const float* values)
{
    return ToDensities(Respond(curves, values));
}

std::array<float, 3> SortColors(const FourDensities& densities)
{
    // Not std::sort: a NaN is no order that it could stand.
    std::array<float, 3> sorted{densities[1], densities[2], densities[3]};
    if (sorted[0] < sorted[1])
        std::swap(sorted[0], sorted[1]);
    if (sorted[1] < sorted[2])
        std::swap(sorted[1], sorted[2]);
    if (sorted[0] < sorted[1])
        std::swap(sorted[0], sorted[1]);
    return sorted;
}

float LowestOverHighest(const std::array<float, 3>& sorted)
{
    return std::abs(sorted[0]) < noDensity ? 1.0F : sorted[2] / sorted[0];
}

DensityFilterMode SelectChannel(const FourDensities& densities)
{
    auto channel = DensityFilterMode::Black;
    float highest = -100.0F;
    for (std::size_t i = 0; i < densities.size(); ++i)
        if (densities[i] > highest) {
            highest = densities[i];
            channel = static_cast<DensityFilterMode>(i);
        }
    if (highest < noDensity || LowestOverHighest(SortColors(densities)) > 0.7F)
        return DensityFilterMode::Black;
    return channel;
}

MaximumDensity FindMaximum(const float* values)
{
    constexpr int first = Band(410), last = Band(700), middle = Band(550);
    float smallest = 9999.0F;
    int index = -1;
    for (int i = first; i <= last; ++i) {
        const bool nearer = index >= 0 && std::abs(i - middle) < std::abs(index - middle);
        if (values[i] < smallest || (values[i] == smallest && nearer)) {
            smallest = values[i];
            index = i;
        }
    }
    if (index < 0)
        return {};
    return {ToDensity(smallest), static_cast<std::size_t>(index), true};
}

}
