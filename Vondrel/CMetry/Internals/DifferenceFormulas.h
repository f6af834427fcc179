#pragma once

#include "Vondrel/CMetry/Internals/ColorFormulas.h"

#include <array>

namespace Vondrel::CMetry {

/// What a difference formula gives where it has no result.
inline constexpr float deltaEFailure = 1000000.0F;

struct LCHDelta {
    float lightness, chroma, hue;
};

// The first colour is the reference, in Lab where nothing else is said.
namespace Formulas {

/// The Euclidean distance, in any space.
float DeltaE_CIELAB(const Color& color1, const Color& color2);
/// CMC (l:c), ISO 105-J03.
float DeltaE_CMC(const Color& lab1, const Color& lab2, float l, float c);
/// CIE 94, CIE 116-1995.
float DeltaE_94(const Color& lab1, const Color& lab2, float kL, float kC, float kH);
/// CIEDE2000, ISO/CIE 11664-6.
float DeltaE_2000(const Color& lab1, const Color& lab2, float kL, float kC, float kH);
/// The same of two pairs, in the time of one. No factor may be 0.
std::array<float, 2> DeltaE_2000(const Color (&lab1)[2], const Color (&lab2)[2], float kL, float kC, float kH);
/// Friele-MacAdam-Chickering II on XYZ. No result where the reference is black.
float DeltaE_FMCII(const Color& reference, const Color& sample);

/// Lightness, chroma and hue difference of a sample against a reference, both L, a, b of their space.
LCHDelta GetLCHDelta(const Color& sample, const Color& reference);

/// What the XYZ of a sample is multiplied by to equal that of a reference; 1 where the sample has 0.
Color GetMetameryFactors(const Color& reference, const Color& sample);

}

}
