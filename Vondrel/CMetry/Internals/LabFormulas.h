#pragma once

#include "Vondrel/CMetry/Internals/ColorFormulas.h"
#include "Vondrel/CMetry/Internals/NearAngles.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/CMetry/Internals/Weightfactors.h"

#include <bit>
#include <cmath>
#include <cstdint>

/// The formulas that colour spaces and differences share.
namespace Vondrel::CMetry {

/// The cube root of a positive number of normal size, to 1e-15: a first guess from the exponent, then two steps of
/// Householder's method on the reciprocal root. It divides nowhere, takes a third of the time of std::cbrt, and gives
/// the same bits on every machine.
inline double CubeRoot(double x)
{
    constexpr std::uint32_t guess = 0x553ef000;
    if (std::isinf(x))
        return x;
    const auto high = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(x) >> 32);
    double y = std::bit_cast<double>(static_cast<std::uint64_t>(guess - high / 3) << 32);
    double error = 1 - x * y * y * y;
    y *= 1 + error * (1.0 / 3 + error * (2.0 / 9 + error * (14.0 / 81 + error * (35.0 / 243))));
    error = 1 - x * y * y * y;
    y *= 1 + error * (1.0 / 3 + error * (2.0 / 9));
    return x * y * y;
}

/// The function of CIE 1976 L*a*b*: the cube root of the ratio to the white, a straight line at and below 0.008856.
inline float LabFunction(float ratio, double slope, double offset)
{
    constexpr double threshold = 0.008856;
    return ratio > threshold ? Single(CubeRoot(ratio)) : Single(slope * ratio + offset);
}

/// A tristimulus value over that of the white. The white's Y is always 100, so its sums are its X, Y, Z.
inline float RatioToWhite(const Weightfactors& weights, std::size_t axis, float value)
{
    return value / weights.GetFilterSum(axis); // rounded from double it would be the same float
}

/// The function of an element of XYZ.
inline float ToLabFunction(const Weightfactors& weights, std::size_t axis, float value)
{
    constexpr float slope = 7.787F;
    constexpr float offset = 0.13793103F; // 16/116
    return LabFunction(RatioToWhite(weights, axis, value), slope, offset);
}

/// The reverse.
inline float FromLabFunction(const Weightfactors& weights, std::size_t axis, double f)
{
    constexpr float slope = 7.787F;
    constexpr float offset = 0.13793103F;
    constexpr double threshold = 0.206893034423;
    const double white = weights.GetFilterSum(axis);
    return Single(f > threshold ? white * (f * f * f) : (f - offset) * white / slope);
}

/// The distance of a cartesian colour from the grey axis.
inline float Chroma(double a, double b)
{
    return Single(std::sqrt(a * a + b * b));
}

/// The hue angle in degrees, above 0 up to 360; 360 for a neutral colour.
inline float Hue(double a, double b)
{
    constexpr float neutralLimit = 0.00001F;
    constexpr double degreesPerRadian = 57.29577951308232;
    if (std::abs(a) < neutralLimit && std::abs(b) < neutralLimit)
        return 360.0F;
    const float hue = Single(SingleOf(NearAngle(Both(b), Both(a))[0] * degreesPerRadian,
                                      [=] { return std::atan2(b, a) * degreesPerRadian; }));
    return hue > 0.0F ? hue : Single(hue + 360.0);
}

namespace Formulas {

/// CIE 1976 L*a*b*; L* is not below 0.
inline Color XYZToLab(const Weightfactors& weights, const Color& xyz)
{
    const double fX = ToLabFunction(weights, 0, xyz[0]);
    const double fY = ToLabFunction(weights, 1, xyz[1]);
    const double fZ = ToLabFunction(weights, 2, xyz[2]);
    const float lightness = Single(116 * fY - 16);
    return {lightness < 0.0F ? 0.0F : lightness, Single((fX - fY) * 500), Single((fY - fZ) * 200)};
}

/// The reverse.
inline Color LabToXYZ(const Weightfactors& weights, const Color& lab)
{
    const float fY = Single((lab[0] + 16.0) / 116);
    const TwoDoubles fXZ = Single(TwoDoubles{lab[1], -lab[2]} / TwoDoubles{500, 200} + fY);
    return {FromLabFunction(weights, 0, fXZ[0]), FromLabFunction(weights, 1, fY), FromLabFunction(weights, 2, fXZ[1])};
}

}

}
