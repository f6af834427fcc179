#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/// Two numbers side by side, for the same step of two sums or of two colours: every processor's compiler knows them,
/// and each lane has the bits of the step alone.
namespace Vondrel::CMetry {

using TwoFloats [[gnu::vector_size(8)]] = float;
using TwoDoubles [[gnu::vector_size(16)]] = double;
using TwoWords [[gnu::vector_size(16)]] = std::int64_t;

constexpr TwoDoubles Both(double value) noexcept
{
    return TwoDoubles{value, value};
}

/// Stores a step in single precision.
inline TwoDoubles Single(TwoDoubles value) noexcept
{
#ifdef __SSE2__
    return _mm_cvtps_pd(_mm_cvtpd_ps(value)); // the same; the compiler's way has a step more
#else
    return __builtin_convertvector(__builtin_convertvector(value, TwoFloats), TwoDoubles);
#endif
}

inline TwoDoubles Sqrt(TwoDoubles value) noexcept
{
#ifdef __SSE2__
    return _mm_sqrt_pd(value);
#else
    return TwoDoubles{std::sqrt(value[0]), std::sqrt(value[1])};
#endif
}

inline TwoDoubles Abs(TwoDoubles value) noexcept
{
    return std::bit_cast<TwoDoubles>(std::bit_cast<TwoWords>(value) & INT64_MAX);
}

inline TwoDoubles CopySign(TwoDoubles value, TwoDoubles sign) noexcept
{
    return std::bit_cast<TwoDoubles>((std::bit_cast<TwoWords>(value) & INT64_MAX)
                                     | (std::bit_cast<TwoWords>(sign) & INT64_MIN));
}

}
