#pragma once

/// Single precision is stored after each step; what lies between two steps is computed in double precision.
namespace Vondrel::CMetry {

/// Stores a step.
constexpr float Single(double value) noexcept
{
    return static_cast<float>(value);
}

/// One step of a scalar product.
constexpr float Accumulate(float sum, float a, float b) noexcept
{
    return Single(static_cast<double>(a) * static_cast<double>(b) + static_cast<double>(sum));
}

}
