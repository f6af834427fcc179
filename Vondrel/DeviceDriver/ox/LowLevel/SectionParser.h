#pragma once

#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleEAT.h"

namespace Vondrel::DeviceDriver::ox {

/// Reads a section of the EEPROM's image: every key of the table that the predicate accepts, in the table's order, from
/// where the table has the key plus the offset. What has no place in the image, or cannot be read, is left out.
/// @param name  of the result
Generic::Configuration::Properties ParseSection(std::span<const std::uint8_t> image, std::uint16_t idOffset,
                                                const BrindleEAT& eat, bool (*predicate)(std::uint16_t),
                                                const char* name);

}
