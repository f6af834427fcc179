#pragma once

#include <cstdint>

namespace Toolkit {

/// The whole part of a number, brought into the range of 32 bits; 0 for what is not a number.
constexpr std::uint32_t Truncate(double value)
{
    if (!(value >= 0.0))
        return 0;
    return value >= 4294967295.0 ? UINT32_MAX : static_cast<std::uint32_t>(value);
}

/// To the nearest whole number, halves upward.
constexpr std::uint32_t Round(double value)
{
    return Truncate(value + 0.5);
}

}
