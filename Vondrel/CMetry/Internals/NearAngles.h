#pragma once

#include "Vondrel/CMetry/Internals/TwoLanes.h"

#include <cmath>
#include <numbers>

/// Trigonometry for steps that are stored in single precision: to a relative 1e-11, in a
/// fraction of the time of the library's functions, by the power series on short intervals. SingleOf makes of such
/// numbers the very floats that the library's functions give.
namespace Vondrel::CMetry {

/// Stores a step to which a near number is known. Where a rounding may lie between the two, and where there is no
/// number, the step itself decides.
/// @param exact  the step of lane i
template<typename Exact>
inline TwoDoubles SingleOf(TwoDoubles near, Exact exact)
{
    constexpr double margin = 2e-11;
    const TwoDoubles below = Single(near * (1 - margin));
    const TwoWords equal = below == Single(near * (1 + margin));
    return (equal[0] & equal[1]) != 0 ? below : Single(TwoDoubles{exact(0), exact(1)});
}

/// Of a step alone.
template<typename Exact>
inline double SingleOf(double near, Exact exact)
{
    return SingleOf(Both(near), [&](int) { return exact(); })[0];
}

/// A polynomial of eight terms, the constant one first.
inline TwoDoubles EightTerms(TwoDoubles x, const double (&c)[8])
{
    const TwoDoubles x2 = x * x;
    return ((c[0] + c[1] * x) + (c[2] + c[3] * x) * x2) + ((c[4] + c[5] * x) + (c[6] + c[7] * x) * x2) * (x2 * x2);
}

/// atan2(y, x); 0 where both are.
inline TwoDoubles NearAngle(TwoDoubles y, TwoDoubles x)
{
    constexpr double series[] = {1, -1.0 / 3, 1.0 / 5, -1.0 / 7, 1.0 / 9, -1.0 / 11, 1.0 / 13, -1.0 / 15};
    constexpr double tan8th = 0.41421356237309505, tan16th = 0.19891236737965800, tan3_16th = 0.66817863791929892;
    constexpr double pi = std::numbers::pi, smallest = 1e-300;
    const TwoDoubles up = Abs(y), along = Abs(x);
    const TwoDoubles shorter = up < along ? up : along, longer = up < along ? along : up;
    // Turned back by the nearest of 0, an eighth and a quarter of half a turn, so that a sixteenth at most is left.
    const TwoWords far = shorter > tan3_16th * longer, middle = shorter > tan16th * longer;
    const TwoDoubles tangent = far ? Both(1) : middle ? Both(tan8th) : Both(0);
    const TwoDoubles turn = far ? Both(pi / 4) : middle ? Both(pi / 8) : Both(0);
    const TwoDoubles t = (shorter - tangent * longer) / (longer + tangent * shorter + smallest);
    TwoDoubles angle = turn + t * EightTerms(t * t, series);
    angle = up > along ? pi / 2 - angle : angle;
    angle = x < 0 ? pi - angle : angle;
    return CopySign(angle, y);
}

/// The sine up to a quarter turn on either side.
inline TwoDoubles NearSine(TwoDoubles x)
{
    constexpr double series[] = {
        1, -1.0 / 6, 1.0 / 120, -1.0 / 5040, 1.0 / 362880, -1.0 / 39916800, 1.0 / 6227020800, -1.0 / 1307674368000};
    return x * EightTerms(x * x, series);
}

/// The cosine up to an eighth of a turn on either side.
inline TwoDoubles NearCosine(TwoDoubles x)
{
    constexpr double series[] = {1,           -1.0 / 2,       1.0 / 24,        -1.0 / 720,
                                 1.0 / 40320, -1.0 / 3628800, 1.0 / 479001600, -1.0 / 87178291200};
    return EightTerms(x * x, series);
}

}
