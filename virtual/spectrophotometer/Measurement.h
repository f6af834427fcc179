#pragma once

#include "virtual/spectrophotometer/Converter.h"
#include "virtual/spectrophotometer/Scene.h"

#include <cstdint>
#include <span>

namespace Virtual {

inline constexpr std::size_t blockSize = 256; ///< bytes of one reading on the wire

/// How a measurement is taken.
struct Exposure {
    double integrationTime = 0.0; ///< seconds of one reading, above 0
    Gain gain = Gain::normal;
    bool tellsPedestal = false; ///< the last word of each block names the pedestal; otherwise it is 0
};

/// Rates of the sensor without light, counts per second at normal gain.
struct DarkRates {
    double pixel = 40.0;
    double hotPixel = 120.0; ///< of the one bad pixel
    double stray = 0.0;      ///< light that leaks in, on top of both
};

/// A running measurement: hands out its readings one after the other, as blocks of the wire.
class Measurement {
public:
    Measurement(View seen, const Exposure& taken, const DarkRates& darkness, Converter& sensor);

    /// Writes the next reading.
    void Next(std::span<std::uint8_t, blockSize> block);

private:
    View view;
    Exposure exposure;
    DarkRates dark;
    Converter* converter;
    std::size_t reading = 0;
};

}
