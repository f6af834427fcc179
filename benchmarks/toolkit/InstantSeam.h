#pragma once

#include <cstdint>

/// An instrument of type 4 on every port, in no time: sound memory, and counts that need no second reading.
struct InstantInstrument {
    std::uint8_t memory[256];
    std::int64_t exchanges = 0;
};
extern InstantInstrument instant;

/// Fills the memory.
void PrepareInstant();
