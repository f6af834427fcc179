#include "Vondrel/CMetry/Internals/DifferenceFormulas.h"

#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"

#include <cmath>
#include <numbers>

namespace Vondrel::CMetry {

namespace {

constexpr double Square(double value)
{
    return value * value;
}

constexpr double pow25to7 = 6103515625.0;

// What the mean chroma does to the blue region in CIEDE2000; near 0 for a grey, near 1 for a vivid colour.
double ChromaStep(double chroma)
{
    const double power = Square(Square(chroma)) * Square(chroma) * chroma;
    return std::sqrt(power / (power + pow25to7));
}

// Of CIEDE2000, whether two hues in degrees lie more than half a turn apart. In single precision they lie up to 4.5e-5
// beside their angle, so that exactly opposite ones would fall to either side by chance; they count as not apart.
bool AreApart(float hue1, float hue2)
{
    constexpr double halfTurn = 180.00005;
    return std::abs(static_cast<double>(hue1) - hue2) > halfTurn;
}

float MeanHue(float hue1, float hue2)
{
    const double h1 = hue1;
    const double h2 = hue2;
    if (!AreApart(hue1, hue2))
        return Single((h1 + h2) / 2);
    return h1 <= h2 ? Single(((360 - h2) + h1) / 2 + h2) : Single(((360 - h1) + h2) / 2 + h1);
}

double SumOfCosines(double hue)
{
    const auto cosine = [](double degrees) { return std::cos(Formulas::DegToRad(degrees)); };
    return 1 - 0.17 * cosine(hue - 30) + 0.24 * cosine(2 * hue) + 0.32 * cosine(3 * hue + 6)
        - 0.2 * cosine(4 * hue - 63);
}

// The same to 1e-14 in a third of the time: sine and cosine of the multiples by those of the hue.
double SumOfMultiples(double hue)
{
    constexpr double cos30 = 0.86602540378443865, sin30 = 0.5;
    constexpr double cos6 = 0.99452189536827333, sin6 = 0.10452846326765347;
    constexpr double cos63 = 0.45399049973954675, sin63 = 0.89100652418836786;
    const double angle = Formulas::DegToRad(hue);
    const double c = std::cos(angle), s = std::sin(angle);
    const double c2 = c * c - s * s, s2 = 2 * s * c;
    const double c3 = c2 * c - s2 * s, s3 = s2 * c + c2 * s;
    const double c4 = c2 * c2 - s2 * s2, s4 = 2 * s2 * c2;
    return 1 - 0.17 * (c * cos30 + s * sin30) + 0.24 * c2 + 0.32 * (c3 * cos6 - s3 * sin6)
        - 0.2 * (c4 * cos63 + s4 * sin63);
}

// Of two sums so close to each other both give the same bits, unless a rounding lies between them.
float HueWeight(float meanHue)
{
    constexpr double margin = 1e-13;
    const double sum = SumOfMultiples(meanHue);
    const float below = Single(sum - margin);
    return below == Single(sum + margin) ? below : Single(SumOfCosines(meanHue));
}

// The rotation of the ellipses in the blue region.
float RotationTerm(float meanHue, float meanChroma)
{
    const float chromaTerm = Single(2 * ChromaStep(meanChroma));
    const float angle = Single(30 * std::exp(-Square((meanHue - 275.0) / 25)));
    return Single(-std::sin(Formulas::DegToRad(2.0 * angle)) * chromaTerm);
}

// A colour in the coordinates of CIEDE2000, where a is stretched for greyish colours.
struct StretchedColor {
    float chroma;
    float hue; // radians

    StretchedColor(const Color& lab, float stretch)
    {
        const float a = Single((1.0 + stretch) * lab[1]);
        const float b = lab[2];
        chroma = Chroma(a, b);
        hue = a == 0.0F && b == 0.0F ? 0.0F : Single(std::atan2(static_cast<double>(b), static_cast<double>(a)));
    }

    float HueDegrees() const
    {
        const float degrees = Single(Formulas::RadToDeg(hue));
        return degrees < 0.0F ? Single(degrees + 360.0) : degrees;
    }
};

// From the first hue to the second the shorter way, in radians. Of opposite hues both ways are as long: the step takes
// the one that the mean hue lies on.
float HueStep(const StretchedColor& color1, const StretchedColor& color2)
{
    constexpr float nearlyHalfTurn = 3.1415F;
    float step = color2.hue - color1.hue;
    if (step > std::numbers::pi)
        step = Single(step - 2 * std::numbers::pi);
    else if (step < -std::numbers::pi)
        step = Single(step + 2 * std::numbers::pi);
    if (!(std::abs(step) > nearlyHalfTurn))
        return step;
    const float hue1 = color1.HueDegrees();
    const float hue2 = color2.HueDegrees();
    return std::copysign(step, AreApart(hue1, hue2) ? hue1 - hue2 : hue2 - hue1);
}

// The cone responses of the Friele-MacAdam-Chickering formula.
struct ConeResponse {
    float p, q, s;

    explicit ConeResponse(const Color& xyz)
        : p(Single(0.724 * xyz[0] + 0.382 * xyz[1] - 0.098 * xyz[2])),
          q(Single(-0.48 * xyz[0] + 1.37 * xyz[1] + 0.1276 * xyz[2])),
          s(Single(0.686 * xyz[2]))
    {
    }
};

float Polynomial(const double (&coefficients)[5], double x)
{
    double sum = 0;
    double power = 1;
    for (const double coefficient : coefficients) {
        sum += coefficient * power;
        power *= x;
    }
    return Single(sum);
}

}

float Formulas::DeltaE_CIELAB(const Color& color1, const Color& color2)
{
    float sum = 0.0F;
    for (std::size_t i = 0; i < 3; ++i) {
        const float difference = color1[i] - color2[i];
        sum = Accumulate(sum, difference, difference);
    }
    return Single(std::sqrt(static_cast<double>(sum)));
}

float Formulas::DeltaE_CMC(const Color& lab1, const Color& lab2, float l, float c)
{
    if (l == 0.0F || c == 0.0F)
        return deltaEFailure;
    const double lightness = lab1[0];
    const double chroma = Chroma(lab1[1], lab1[2]);
    const double hue = Hue(lab1[1], lab1[2]);
    const LCHDelta delta = GetLCHDelta(lab1, lab2);

    const float sL = lightness > 16 ? Single(0.040975 * lightness / (1 + 0.01765 * lightness)) : 0.511F;
    const float sC = Single(0.0638 * chroma / (1 + 0.0131 * chroma) + 0.638);
    const double chroma4 = Square(Square(chroma));
    const float f = Single(std::sqrt(chroma4 / (chroma4 + 1900)));
    const float t = hue >= 164 && hue <= 345 ? Single(0.56 + std::abs(0.2 * std::cos(DegToRad(hue + 168))))
                                             : Single(0.36 + std::abs(0.4 * std::cos(DegToRad(hue + 35))));
    const float sH = Single((static_cast<double>(f) * t + 1 - f) * sC);
    return Single(std::sqrt(Square(delta.lightness / (static_cast<double>(l) * sL))
                            + Square(delta.chroma / (static_cast<double>(c) * sC))
                            + Square(static_cast<double>(delta.hue) / sH)));
}

float Formulas::DeltaE_94(const Color& lab1, const Color& lab2, float kL, float kC, float kH)
{
    if (kL == 0.0F || kC == 0.0F || kH == 0.0F)
        return deltaEFailure;
    const double chroma = Chroma(lab1[1], lab1[2]);
    const LCHDelta delta = GetLCHDelta(lab1, lab2);

    const float sC = Single(1 + 0.045 * chroma);
    const float sH = Single(1 + 0.015 * chroma);
    return Single(std::sqrt(Square(static_cast<double>(delta.lightness) / kL)
                            + Square(delta.chroma / (static_cast<double>(kC) * sC))
                            + Square(delta.hue / (static_cast<double>(kH) * sH))));
}

float Formulas::DeltaE_2000(const Color& lab1, const Color& lab2, float kL, float kC, float kH)
{
    if (kL == 0.0F || kC == 0.0F || kH == 0.0F)
        return deltaEFailure;
    const float chroma1 = Chroma(lab1[1], lab1[2]);
    const float chroma2 = Chroma(lab2[1], lab2[2]);
    const float stretch = Single(0.5 * (1 - ChromaStep(Single((static_cast<double>(chroma1) + chroma2) / 2))));
    const StretchedColor color1(lab1, stretch);
    const StretchedColor color2(lab2, stretch);

    const float dL = lab1[0] - lab2[0];
    const float dC = color2.chroma - color1.chroma;
    const float dH = Single(2 * std::sqrt(static_cast<double>(color1.chroma) * color2.chroma)
                            * std::sin(HueStep(color1, color2) / 2.0));

    const double meanL = Single((static_cast<double>(lab1[0]) + lab2[0]) / 2);
    const float meanC = Single((static_cast<double>(color1.chroma) + color2.chroma) / 2);
    const float meanHue = MeanHue(color1.HueDegrees(), color2.HueDegrees());

    const double fromMiddle = Square(meanL - 50);
    const float sL = Single(1 + 0.015 * fromMiddle / std::sqrt(20 + fromMiddle));
    const float sC = Single(1 + 0.045 * meanC);
    const float sH = Single(1 + 0.015 * meanC * HueWeight(meanHue));

    const double u = Single(dL / (static_cast<double>(kL) * sL));
    const double v = Single(dC / (static_cast<double>(kC) * sC));
    const double w = Single(dH / (static_cast<double>(kH) * sH));
    const double sum = Square(u) + Square(v) + Square(w);
    // So far from the blue region the rotation is less than 2^-55: it leaves every bit of the sum.
    constexpr double noRotation = 156;
    if (std::abs(meanHue - 275.0) > noRotation && std::isfinite(sum))
        return Single(std::sqrt(sum));
    return Single(std::sqrt(sum + RotationTerm(meanHue, meanC) * v * w));
}

float Formulas::DeltaE_FMCII(const Color& reference, const Color& sample)
{
    const ConeResponse cone1(reference);
    const ConeResponse cone2(sample);
    const double y = reference[1];
    const double p = cone1.p;
    const double q = cone1.q;
    const double s = cone1.s;

    const float norm = Single(Square(p) + Square(q));
    if (!(norm > 0.0F) || (!(y > 0) && !(reference[2] > 0.0F)))
        return deltaEFailure;

    const float k1 = Polynomial({0.55669, 0.049434, -0.00082575, 0.0000079172, -0.000000030087}, y);
    const float k2 = Polynomial({0.17548, 0.027556, -0.00057262, 0.0000063893, -0.000000026731}, y);
    const double dP = cone2.p - cone1.p;
    const double dQ = cone2.q - cone1.q;
    const double dS = cone2.s - cone1.s;

    const float a2 =
        Single(0.0000173 * norm / (1 + 2.73 * Square(p) * Square(q) / (Square(Square(p)) + Square(Square(q)))));
    const float b2 = Single(0.0003098 * (Square(s) + 0.2015 * Square(y)));
    const float e = Single(q * dP - p * dQ);
    const float g = Single(q * dQ + p * dP);
    const float chromaRG = Single(Square(e) / (static_cast<double>(a2) * norm));
    const float m = Single(s * g / norm - dS);
    const float chromaYB = Single(Square(m) / b2);
    const float chroma = Single((static_cast<double>(chromaRG) + chromaYB) * Square(k1));
    const float lightness = Single(Square(k2) * 0.077841 * Square(g) / (static_cast<double>(a2) * norm));
    return Single(std::sqrt(static_cast<double>(chroma) + lightness));
}

LCHDelta Formulas::GetLCHDelta(const Color& sample, const Color& reference)
{
    const double a1 = sample[1];
    const double b1 = sample[2];
    const double a2 = reference[1];
    const double b2 = reference[2];

    const float lightness = sample[0] - reference[0];
    const float chroma = Single(std::sqrt(a1 * a1 + b1 * b1) - std::sqrt(a2 * a2 + b2 * b2));
    const double length = Formulas::DeltaE_CIELAB(sample, reference);
    // The absolute value guards against rounding.
    const float hue = Single(std::sqrt(std::abs(Square(length) - Square(lightness) - Square(chroma))));
    return {lightness, chroma, a1 * b2 - a2 * b1 > 0 ? -hue : hue};
}

Color Formulas::GetMetameryFactors(const Color& reference, const Color& sample)
{
    Color factors;
    for (std::size_t axis = 0; axis < 3; ++axis)
        factors[axis] = sample[axis] == 0.0F ? 1.0F : Single(static_cast<double>(reference[axis]) / sample[axis]);
    return factors;
}

}
