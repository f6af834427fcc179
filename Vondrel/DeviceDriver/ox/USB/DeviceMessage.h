#pragma once

#include <cstdint>

namespace Vondrel::DeviceDriver::ox {

/// What an instrument says by itself, as the id of EventListener::MessageFromDevice.
inline constexpr std::uint16_t deviceGoneMessage = 20010;
inline constexpr std::uint16_t buttonPressedMessage = 20011;

}
