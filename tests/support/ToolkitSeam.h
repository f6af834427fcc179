#pragma once

#include "platform/SerialPort.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// The colorimeters' side of the platform for tests, fuzzing and benchmarks: one instrument at serial port 1 and on one
/// USB index, without a line, without waiting.
namespace ToolkitSeam {

/// What comes back for a frame.
struct Reply {
    int error = 0;           ///< of the transfer; the rest does not count then
    std::uint8_t length = 0; ///< as it is announced
    std::array<std::uint8_t, 16> bytes{};
    std::size_t size = 0; ///< bytes that come over a serial line

    void Add(std::uint32_t value, int width)
    {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            bytes[size++] = static_cast<std::uint8_t>(value >> shift);
        length = static_cast<std::uint8_t>(size);
    }
};

class Instrument {
public:
    virtual ~Instrument() = default;

    /// @param frame  the code and its parameters
    virtual Reply Exchange(std::span<const std::uint8_t> frame) = 0;
};

struct State {
    Instrument* instrument = nullptr; ///< null: nothing is attached, and whatever is open is dead
    std::uint32_t usbIndex = 0;
    std::int64_t clock = 1'600'000'000'000'000; ///< microseconds since 1970
    Platform::SerialLimits limits{};
    bool unlimited = false; ///< somebody has waited on the port without a limit
    int opened = 0;
    int closed = 0;
    std::size_t waiting = 0; ///< bytes in the receiver

    bool keepsLog = false;
    std::string log;     ///< what was asked of the platform, but for exchanges
    std::string failing; ///< this entry of the log fails
};

extern State state;

/// Puts bytes into the receiver of the serial port.
void Arrive(std::span<const std::uint8_t> bytes);

}
