// CIEDE2000, of two pairs of colours at once: the steps form a chain, and another pair fills the gaps.
#include "Vondrel/CMetry/Internals/DifferenceFormulas.h"
#include "Vondrel/CMetry/Internals/NearAngles.h"

#include <cmath>
#include <numbers>

namespace Vondrel::CMetry {

namespace {

TwoDoubles Square(TwoDoubles value)
{
    return value * value;
}

TwoDoubles Chromas(TwoDoubles a, TwoDoubles b)
{
    return Single(Sqrt(a * a + b * b));
}

// What the mean chroma does to the blue region; near 0 for a grey, near 1 for a vivid colour.
TwoDoubles ChromaStep(TwoDoubles chroma)
{
    constexpr double pow25to7 = 6103515625.0;
    const TwoDoubles power = Square(Square(chroma)) * Square(chroma) * chroma;
    return Sqrt(power / (power + pow25to7));
}

// Whether two hues in degrees lie more than half a turn apart. In single precision they lie up to 4.5e-5 beside their
// angle, so that exactly opposite ones would fall to either side by chance; they count as not apart.
TwoWords AreApart(TwoDoubles hue1, TwoDoubles hue2)
{
    constexpr double halfTurn = 180.00005;
    return Abs(hue1 - hue2) > halfTurn;
}

TwoDoubles MeanHue(TwoDoubles hue1, TwoDoubles hue2)
{
    const TwoDoubles low = hue1 <= hue2 ? hue1 : hue2, high = hue1 <= hue2 ? hue2 : hue1;
    return Single(AreApart(hue1, hue2) ? ((360 - high) + low) / 2 + high : (hue1 + hue2) / 2);
}

double SumOfCosines(double hue)
{
    const auto cosine = [](double degrees) { return std::cos(Formulas::DegToRad(degrees)); };
    return 1 - 0.17 * cosine(hue - 30) + 0.24 * cosine(2 * hue) + 0.32 * cosine(3 * hue + 6)
        - 0.2 * cosine(4 * hue - 63);
}

// Nearly the same: sine and cosine of the multiples by those of a quarter of the hue, counted from the far side.
TwoDoubles NearSumOfCosines(TwoDoubles hue)
{
    constexpr double cos30 = 0.86602540378443865, sin30 = 0.5;
    constexpr double cos6 = 0.99452189536827333, sin6 = 0.10452846326765347;
    constexpr double cos63 = 0.45399049973954675, sin63 = 0.89100652418836786;
    const TwoDoubles quarter = (hue - (hue < 360 ? Both(180) : Both(540))) * (std::numbers::pi / 720);
    const TwoDoubles sine = NearSine(quarter), cosine = NearCosine(quarter);
    const TwoDoubles cHalf = cosine * cosine - sine * sine, sHalf = 2 * sine * cosine;
    const TwoDoubles c = sHalf * sHalf - cHalf * cHalf, s = -2 * sHalf * cHalf;
    const TwoDoubles c2 = c * c - s * s, s2 = 2 * s * c;
    const TwoDoubles c3 = c2 * c - s2 * s, s3 = s2 * c + c2 * s;
    const TwoDoubles c4 = c2 * c2 - s2 * s2, s4 = 2 * s2 * c2;
    return 1 - 0.17 * (c * cos30 + s * sin30) + 0.24 * c2 + 0.32 * (c3 * cos6 - s3 * sin6)
        - 0.2 * (c4 * cos63 + s4 * sin63);
}

// The rotation of the ellipses in the blue region.
TwoDoubles RotationTerm(TwoDoubles meanHue, TwoDoubles meanChroma)
{
    const TwoDoubles chromaTerm = Single(2 * ChromaStep(meanChroma));
    const TwoDoubles exponent = -Square((meanHue - 275.0) / 25);
    const TwoDoubles turn = 2 * Single(30 * TwoDoubles{std::exp(exponent[0]), std::exp(exponent[1])});
    return SingleOf(-NearSine(turn * (std::numbers::pi / 180)) * chromaTerm,
                    [&](int i) { return -std::sin(Formulas::DegToRad(turn[i])) * chromaTerm[i]; });
}

// By how much a is stretched for greyish colours.
TwoDoubles Stretch(TwoDoubles chroma1, TwoDoubles chroma2)
{
    return Single(0.5 * (1 - ChromaStep(Single((chroma1 + chroma2) / 2))));
}

// Colours in the formula's coordinates.
struct Polar {
    TwoDoubles chroma;
    TwoDoubles hue;     // radians
    TwoDoubles degrees; // the hue from 0 to 360

    Polar(TwoDoubles unstretched, TwoDoubles b, TwoDoubles stretch)
    {
        const TwoDoubles a = Single((1.0 + stretch) * unstretched);
        chroma = Chromas(a, b);
        hue = SingleOf(NearAngle(b, a), [&](int i) { return a[i] == 0 && b[i] == 0 ? 0 : std::atan2(b[i], a[i]); });
        degrees = SingleOf(hue * (180 / std::numbers::pi), [&](int i) { return Formulas::RadToDeg(hue[i]); });
        degrees = degrees < 0 ? Single(degrees + 360.0) : degrees;
    }
    // One of two colours, in both lanes.
    Polar(const Polar& colors, int i)
        : chroma(Both(colors.chroma[i])), hue(Both(colors.hue[i])), degrees(Both(colors.degrees[i]))
    {
    }
};

// From the first hue to the second the shorter way, in radians. Of opposite hues both ways are as long: the step takes
// the one that the mean hue lies on.
TwoDoubles HueStep(const Polar& colors1, const Polar& colors2)
{
    constexpr double pi = std::numbers::pi;
    constexpr float nearlyHalfTurn = 3.1415F;
    const TwoDoubles between = Single(colors2.hue - colors1.hue);
    const TwoDoubles step = Single(between > pi ? between - 2 * pi : between < -pi ? between + 2 * pi : between);
    const TwoDoubles ahead = colors2.degrees - colors1.degrees;
    const TwoDoubles side = AreApart(colors1.degrees, colors2.degrees) ? -ahead : ahead;
    return Abs(step) > nearlyHalfTurn ? CopySign(step, side) : step;
}

struct Factors {
    double kL, kC, kH;
};

TwoDoubles Differences(TwoDoubles lightness1, const Polar& colors1, TwoDoubles lightness2, const Polar& colors2,
                       const Factors& k)
{
    const TwoDoubles dL = Single(lightness1 - lightness2);
    const TwoDoubles dC = Single(colors2.chroma - colors1.chroma);
    const TwoDoubles halfStep = HueStep(colors1, colors2) / 2.0;
    const TwoDoubles twiceChroma = 2 * Sqrt(colors1.chroma * colors2.chroma);
    const TwoDoubles dH =
        SingleOf(twiceChroma * NearSine(halfStep), [&](int i) { return twiceChroma[i] * std::sin(halfStep[i]); });

    const TwoDoubles meanC = Single((colors1.chroma + colors2.chroma) / 2);
    const TwoDoubles meanHue = MeanHue(colors1.degrees, colors2.degrees);
    const TwoDoubles hueWeight = SingleOf(NearSumOfCosines(meanHue), [&](int i) { return SumOfCosines(meanHue[i]); });

    const TwoDoubles fromMiddle = Square(Single((lightness1 + lightness2) / 2) - 50);
    const TwoDoubles sL = Single(1 + 0.015 * fromMiddle / Sqrt(20 + fromMiddle));
    const TwoDoubles sC = Single(1 + 0.045 * meanC);
    const TwoDoubles sH = Single(1 + 0.015 * meanC * hueWeight);

    const TwoDoubles u = Single(dL / (k.kL * sL));
    const TwoDoubles v = Single(dC / (k.kC * sC));
    const TwoDoubles w = Single(dH / (k.kH * sH));
    return Single(Sqrt(Square(u) + Square(v) + Square(w) + RotationTerm(meanHue, meanC) * v * w));
}

}

float Formulas::DeltaE_2000(const Color& lab1, const Color& lab2, float kL, float kC, float kH)
{
    if (kL == 0.0F || kC == 0.0F || kH == 0.0F)
        return deltaEFailure;
    // The lanes are the two colours, as long as they are treated alike.
    const TwoDoubles a = {lab1[1], lab2[1]}, b = {lab1[2], lab2[2]};
    const TwoDoubles chroma = Chromas(a, b);
    const Polar colors(a, b, Stretch(Both(chroma[0]), Both(chroma[1])));
    return static_cast<float>(
        Differences(Both(lab1[0]), Polar(colors, 0), Both(lab2[0]), Polar(colors, 1), {kL, kC, kH})[0]);
}

std::array<float, 2> Formulas::DeltaE_2000(const Color (&lab1)[2], const Color (&lab2)[2], float kL, float kC, float kH)
{
    const auto lanes = [](const Color(&lab)[2], std::size_t axis) { return TwoDoubles{lab[0][axis], lab[1][axis]}; };
    const TwoDoubles a1 = lanes(lab1, 1), b1 = lanes(lab1, 2), a2 = lanes(lab2, 1), b2 = lanes(lab2, 2);
    const TwoDoubles stretch = Stretch(Chromas(a1, b1), Chromas(a2, b2));
    const TwoDoubles both =
        Differences(lanes(lab1, 0), Polar(a1, b1, stretch), lanes(lab2, 0), Polar(a2, b2, stretch), {kL, kC, kH});
    return {static_cast<float>(both[0]), static_cast<float>(both[1])};
}

}
