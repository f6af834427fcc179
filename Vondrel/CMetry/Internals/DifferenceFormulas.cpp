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

// Of CMC, a constant and a cosine's absolute value; the angle in degrees, from 0 on.
double HueTerm(double constant, double factor, double angle)
{
    const double fromAxis = angle - 180 * std::floor(angle / 180 + 0.5);
    const double sine = NearSine(Both(fromAxis * (std::numbers::pi / 360)))[0];
    return SingleOf(constant + factor * (1 - 2 * sine * sine),
                    [=] { return constant + std::abs(factor * std::cos(Formulas::DegToRad(angle))); });
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
    return std::sqrt(sum); // rounded from double it would be the same float
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
    const double t = hue >= 164 && hue <= 345 ? HueTerm(0.56, 0.2, hue + 168) : HueTerm(0.36, 0.4, hue + 35);
    const float sH = Single((f * t + 1 - f) * sC);
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
