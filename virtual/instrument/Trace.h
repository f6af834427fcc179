#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>

namespace Virtual {

/// Two upper-case hex digits a byte, with a blank before each: " 01 2E".
std::string HexBytes(std::span<const std::uint8_t> bytes);

/// What went over an instrument's wire, one line each. The lines of the interrupt pipe stand apart, since their order
/// to the others is not fixed.
class Trace {
public:
    enum class Channel { main, interrupt };

    static constexpr std::size_t mostLines = 10000; ///< of each channel; the oldest go first

    void Add(Channel channel, std::string line);

    /// All lines of a channel, oldest first, each with a line feed.
    std::string Text(Channel channel) const;

    void Clear();

private:
    std::array<std::deque<std::string>, 2> lines; // [channel]
};

}
