#pragma once

#include <cstdint>

namespace Vondrel::DeviceDriver::Ox {

/// The whole part of a number, towards zero. What is beyond the range becomes its end, and what is no number 0.
constexpr std::int64_t Truncate(double value)
{
    constexpr double end = 9.0e18;
    if (value >= end)
        return static_cast<std::int64_t>(end);
    if (value <= -end)
        return -static_cast<std::int64_t>(end);
    return value == value ? static_cast<std::int64_t>(value) : 0;
}

}
