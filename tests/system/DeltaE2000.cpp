#include "tests/system/DeltaE2000.h"

#include <cmath>
#include <numbers>

namespace {

constexpr double degree = std::numbers::pi / 180;

double SeventhRoot(double chroma)
{
    return std::sqrt(std::pow(chroma, 7) / (std::pow(chroma, 7) + std::pow(25.0, 7)));
}

double Hue(double a, double b)
{
    const double hue = std::atan2(b, a) / degree;
    return hue < 0 ? hue + 360 : hue;
}

}

double DeltaE2000(const Lab& first, const Lab& second)
{
    const double chroma1 = std::hypot(first[1], first[2]), chroma2 = std::hypot(second[1], second[2]);
    const double stretch = 1.5 - 0.5 * SeventhRoot((chroma1 + chroma2) / 2);
    const double a1 = stretch * first[1], a2 = stretch * second[1];
    const double c1 = std::hypot(a1, first[2]), c2 = std::hypot(a2, second[2]);
    const double h1 = Hue(a1, first[2]), h2 = Hue(a2, second[2]);
    const bool grey = c1 * c2 == 0;

    double hueStep = grey ? 0 : h2 - h1;
    hueStep -= hueStep > 180 ? 360 : hueStep < -180 ? -360 : 0;
    double hue = h1 + h2;
    if (!grey)
        hue = (std::abs(h1 - h2) <= 180 ? hue : hue < 360 ? hue + 360 : hue - 360) / 2;
    const double lightness = (first[0] + second[0]) / 2 - 50, chroma = (c1 + c2) / 2;

    const double t = 1 - 0.17 * std::cos((hue - 30) * degree) + 0.24 * std::cos(2 * hue * degree)
        + 0.32 * std::cos((3 * hue + 6) * degree) - 0.20 * std::cos((4 * hue - 63) * degree);
    const double l =
        (second[0] - first[0]) / (1 + 0.015 * lightness * lightness / std::sqrt(20 + lightness * lightness));
    const double c = (c2 - c1) / (1 + 0.045 * chroma);
    const double h = 2 * std::sqrt(c1 * c2) * std::sin(hueStep / 2 * degree) / (1 + 0.015 * chroma * t);
    const double turn = -std::sin(60 * std::exp(-std::pow((hue - 275) / 25, 2)) * degree) * 2 * SeventhRoot(chroma);
    return std::sqrt(l * l + c * c + h * h + turn * c * h);
}
