#pragma once

#include <cstdint>

namespace Vondrel::DeviceDriver::Generic {

// What an instrument says by itself.

inline constexpr std::uint16_t deviceGoneMessage = 20010;
inline constexpr std::uint16_t buttonPressedMessage = 20011;

/// Receives the messages that an instrument sends by itself.
class EventListener {
public:
    virtual ~EventListener() = default;

    /// Called on the thread that watches the instrument, which holds locks: hand the message over and return.
    /// @param message  deviceGoneMessage, buttonPressedMessage
    /// @param source   0
    virtual void MessageFromDevice(std::uint16_t message, std::int32_t source) = 0;
};

}
