#pragma once

#include "virtual/spectrophotometer/Optics.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Virtual {

inline constexpr std::size_t memorySize = 8192;

/// The non-volatile memory of a spectrophotometer.
using MemoryImage = std::array<std::uint8_t, memorySize>;

/// The memory as it leaves the factory: two fresh logs, the allocation table, and the calibration that fits the optics.
/// @param optics  whose sensitivity the emission calibration tells
MemoryImage BuiltMemory(const Optics& optics);

/// The places of what the memory tells about the build of its instrument.
void StoreSerialNumber(MemoryImage& memory, std::int32_t number);
void StoreUvCut(MemoryImage& memory, bool uvCut);
void StoreAmbientHead(MemoryImage& memory, bool ambientHead);

}
