#pragma once

#include <cstdint>
#include <span>

/// The colorimeters that the bench can stand up: one row for every type of instrument.
namespace Virtual::Colorimeter {

/// How light becomes pulses.
enum class Optics : std::uint8_t {
    ThreeFilters, ///< red, green and blue filters before three converters; counts grow with the integration time
    Integrator,   ///< as above, but a count always stands for the calibrated integration, and dark is taken off inside
    ThreeRanges,  ///< three converters of falling range for one luminance: red the widest, blue the finest
    OneConverter, ///< one converter
};

/// Where the calibration lies in the memory.
enum class Layout : std::uint8_t { Main, Plover };

/// Groups of commands beyond the basic ones (0 to 8), as bits.
enum Feature : std::uint16_t {
    Basic = 0,
    FinePeriod = 1,     ///< 9
    Edges = 2,          ///< 10 to 13
    Wide = 4,           ///< 16 to 22 with wide edge numbers
    LoopPeriod = 8,     ///< 17 and 18: a loop that takes a period
    LoopRegisters = 16, ///< 30 to 36: a loop with three registers, and its lock detector
    Integration = 32,   ///< 21 to 23 and 26, 27: dark values held in the instrument, data format
    Trigger = 64,       ///< 28, 29
    Extended = 128,     ///< 19 and 20: memory cells beyond 255
    TimeLimited = 256,  ///< 16 to 18: edges under a time limit; a matter of the firmware revision
};

struct Type {
    std::int32_t number;
    const char* version;
    char modelLetter;
    Optics optics;
    std::int32_t lightChannel; ///< of Optics::OneConverter: 0 red, 1 green
    std::uint16_t features;
    Layout layout;
    std::uint16_t cells; ///< bytes of memory
    bool memoryWritable;
    std::uint16_t tickWord;   ///< nanoseconds of an integration tick, as the memory tells it
    std::uint16_t serialTick; ///< nanoseconds of an integration tick, in truth, on a serial port
    std::uint16_t usbTick;    ///< the same on USB
    float clock;              ///< seconds of a period count
    bool doublesCounts;       ///< two pulses are counted for each period of the converter
    bool doublesPeriodsOnUsb; ///< the USB build has a clock of twice the rate
    bool ambientHead;
};

/// All types in rising order.
std::span<const Type> AllTypes();

/// Null for a number that is no type of the bench.
const Type* FindType(std::int32_t number);

}
