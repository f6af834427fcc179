#pragma once

#include "orvex/zelcal.h"

#include <cstddef>
#include <cstdint>

/// The bytes of one run, taken from the front.
class FuzzedBytes {
public:
    FuzzedBytes() = default;
    FuzzedBytes(const std::uint8_t* bytes, std::size_t count) : next(bytes), left(count) { }

    std::size_t Left() const { return left; }

    /// The next byte; 0 when there is none left.
    std::uint8_t Take()
    {
        if (left == 0)
            return 0;
        --left;
        return *next++;
    }

private:
    const std::uint8_t* next = nullptr;
    std::size_t left = 0;
};

/// An instrument on every port of the seam. What it answers comes from the bytes; when they end, it is gone.
struct FuzzedInstrument {
    FuzzedBytes bytes;

    /// Sound replies, with cells from `memory` and the version from `version`; only counts come from the bytes. Else
    /// the replies are the bytes as they are.
    bool sound = false;
    std::uint8_t memory[256] = {};
    char version[9] = {};
};

extern FuzzedInstrument fuzzed;

/// Opens by the call that `how` picks, and measures, calibrates and stores by the call that `what` picks.
void RunSession(std::uint8_t how, std::uint8_t what);
