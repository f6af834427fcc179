#pragma once

#include "tests/support/ToolkitSeam.h"

/// An instrument whose answers come from the bytes of one run; when they end, it is gone.
class FuzzedInstrument : public ToolkitSeam::Instrument {
public:
    FuzzedInstrument(const std::uint8_t* bytes, std::size_t count) : next(bytes), left(count) { }

    /// The next byte; 0 when there is none left.
    std::uint8_t Take() { return left == 0 ? std::uint8_t{0} : (--left, *next++); }

    ToolkitSeam::Reply Exchange(std::span<const std::uint8_t> frame) override;

    /// Sound replies, with cells from `memory` and the version from `version`; only counts come from the bytes. Else
    /// the replies are the bytes as they are.
    bool sound = false;
    std::array<std::uint8_t, 256> memory{};
    std::array<char, 9> version{};

private:
    const std::uint8_t* next;
    std::size_t left;
};

/// Opens by a call, and makes three more, with small numbers; all of them picked by the instrument's bytes.
void RunSession(FuzzedInstrument& instrument);
