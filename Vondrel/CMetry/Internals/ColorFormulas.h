#pragma once

#include <array>
#include <numbers>

/// The colour spaces as functions of numbers alone. What they rest on comes as an argument; nothing is kept.
namespace Vondrel::CMetry {

class Weightfactors;

/// Three elements of a colour space, in the order of its labels.
using Color = std::array<float, 3>;

/// By what a spectrum becomes a colour.
struct ColorBasis {
    const Weightfactors& weights;
    const float* paper; ///< 36 values that a spectrum is divided by; null: absolute
};

namespace Formulas {

/// The weights times 36 values.
Color Weigh(const Weightfactors& weights, const float* values);
Color SpectrumToXYZ(const ColorBasis& basis, const float* values);

/// L, a, b of any space to L, C, h.
Color ToLCh(const Color& color);
/// A black has no chromaticity of its own. It takes that of a flat spectrum, and so of the illuminant.
bool LacksXY(const Color& xyz);
bool LacksUV(const Color& xyz);
Color FlatXYZ(const ColorBasis& basis);
/// @param colored  where x and y come from: the colour itself, or FlatXYZ
Color XYZToxyY(const Color& xyz, const Color& colored);
Color XYZTouvY1976(const Color& xyz);
Color xyYTouvY1976(const Color& xyY);
Color uvY1976To1960(const Color& uvY);
/// L*, u', v'.
/// @param colored  where u' and v' come from: the colour itself, or FlatXYZ
Color XYZToLuv(const Weightfactors& weights, const Color& xyz, const Color& colored);
Color LChToLCHvd(const Color& lch);
Color LCHvdToLABvd(const Color& lch);
Color XYZToHunterLab(const Weightfactors& weights, const Color& xyz);
Color XYZToRxRyRz(const Weightfactors& weights, const Color& xyz);
/// Whole numbers from 0 to 255.
Color LabToRGB(const Weightfactors& weights, const Color& lab);

inline double DegToRad(double degrees) noexcept
{
    return (degrees / 360 + degrees / 360) * std::numbers::pi;
}

inline double RadToDeg(double radians) noexcept
{
    return radians * 360 / (2 * std::numbers::pi);
}

}

}
