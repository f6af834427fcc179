#pragma once

#include <cstddef>
#include <cstdint>

namespace Vondrel::DeviceDriver::ox {

/// A part of the EEPROM's image whose place is fixed.
struct EEPROMSection {
    std::uint32_t address;
    std::size_t size;
};

inline constexpr EEPROMSection firstLogSection{0x0000, 0x0800};
inline constexpr EEPROMSection secondLogSection{0x0800, 0x0800};
inline constexpr EEPROMSection allocationTableSection{0x1000, 0x0200};
inline constexpr EEPROMSection calibrationSection{0x1200, 0x0E00};

inline constexpr std::size_t eepromSize = 0x2000;
inline constexpr std::uint8_t eepromFill = 0xFF;

/// What is added to the id of a log property for its place in the second copy.
inline constexpr std::uint16_t secondLogOffset = 1000;

}
