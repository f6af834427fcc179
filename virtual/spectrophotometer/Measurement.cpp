#include "virtual/spectrophotometer/Measurement.h"

#include <cmath>
#include <utility>

namespace Virtual {

namespace {

constexpr std::size_t wordCount = 127; // of the sensor in a block; the last word of a block is the pedestal
constexpr std::size_t hotPixel = 61;

void PutWord(std::span<std::uint8_t, blockSize> block, std::size_t index, std::uint16_t word)
{
    block[2 * index] = static_cast<std::uint8_t>(word >> 8);
    block[2 * index + 1] = static_cast<std::uint8_t>(word & 0xFF);
}

}

Measurement::Measurement(View seen, const Exposure& taken, const DarkRates& darkness, Converter& sensor)
    : view(std::move(seen)), exposure(taken), dark(darkness), converter(&sensor)
{
}

void Measurement::Next(std::span<std::uint8_t, blockSize> block)
{
    const double time = exposure.integrationTime;
    const double from = static_cast<double>(reading) * time;
    const PixelRates light = view.Mean(from, from + time);
    const double amplification = exposure.gain == Gain::high ? gainRatio : 1.0;
    ++reading;

    for (std::size_t pixel = 0; pixel < wordCount; ++pixel) {
        const double rate = light[pixel] + dark.stray + (pixel == hotPixel ? dark.hotPixel : dark.pixel);
        PutWord(block, pixel, converter->Word(rate * time * amplification, exposure.gain));
    }
    PutWord(block, wordCount,
            exposure.tellsPedestal ? static_cast<std::uint16_t>(std::lround(converter->pedestal)) : std::uint16_t{0});
}

}
