#pragma once

#include <array>

using Lab = std::array<double, 3>;

/// The colour difference CIEDE2000 with kL = kC = kH = 1 (ISO/CIE 11664-6).
double DeltaE2000(const Lab& first, const Lab& second);
