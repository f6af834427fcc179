#pragma once

#include <cstdint>
#include <string_view>

/// The device file of a USB colorimeter: eight bytes out and eight bytes in, in one call. Plain functions that return a
/// status and never throw: 0 for success, otherwise the platform's error number (above 0).
namespace Platform {

using ChannelHandle = void*; ///< null is "no channel"

/// Opens the device file of index 0 to 127, shared. The name behind an index is a pattern that SetChannelNamePattern
/// changes.
int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept;

/// One request and its answer. Waits as long as the driver waits. On POSIX: eight bytes written to the device file,
/// then eight read from it: the driver behind the file answers each write with one reply.
int ChannelExchange(ChannelHandle handle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept;

int ChannelClose(ChannelHandle handle) noexcept;

/// Sets the pattern of device names: one "%u" stands for the index (default on POSIX "/dev/zelcal%u").
int SetChannelNamePattern(const char* pattern) noexcept;

/// Whether a pattern has its one "%u" and no other "%".
constexpr bool IsChannelPattern(std::string_view pattern) noexcept
{
    const std::size_t place = pattern.find('%');
    return place != std::string_view::npos && pattern.substr(place, 2) == "%u"
        && pattern.find('%', place + 1) == std::string_view::npos;
}

}
