#pragma once

#include "platform/Usb.h"

namespace Vondrel::DeviceDriver::ox {

enum class Direction : std::uint8_t { toDevice = 0, fromDevice = 1 };
enum class RequestType : std::uint8_t { standard = 0, vendor = 2 };

/// The request block of a control request to the device, with index 0.
/// @param value  the only fields of the wire that are little-endian are this one and the index
constexpr Platform::ControlRequest MakeRequest(Direction direction, RequestType type, std::uint8_t request,
                                               std::uint16_t value = 0)
{
    return {static_cast<std::uint8_t>(direction),    static_cast<std::uint8_t>(type),      0, 0, request, 0,
            static_cast<std::uint8_t>(value & 0xFF), static_cast<std::uint8_t>(value >> 8)};
}

}
