#pragma once

#include <cstdint>

namespace Vondrel::DeviceDriver::Generic {

/// Receives the messages that an instrument sends by itself.
class EventListener {
public:
    virtual ~EventListener() = default;

    /// Called on the thread that watches the instrument, which holds locks: hand the message over and return.
    /// @param message  20010 the instrument has gone, 20011 its button was pressed
    /// @param source   0
    virtual void MessageFromDevice(std::uint16_t message, std::int32_t source) = 0;
};

}
