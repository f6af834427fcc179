// The half of CMetryCalculator that compares colours.
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"

#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/DifferenceFormulas.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Vondrel::CMetry {

namespace {

const char* const className = "CMetryCalculator";

Color ToColor(const VDColorVector& vector)
{
    return {vector[0], vector[1], vector[2]};
}

using Route = bool (*)(const VDSpectrum&, const VDMeasureConditions&, VDColorVector&);

struct Pair {
    VDColorVector first;
    VDColorVector second;
};

bool GetPair(Route route, const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
             const VDMeasureConditions& conditions, Pair& pair)
{
    return route(spectrum1, conditions, pair.first) && route(spectrum2, conditions, pair.second);
}

float Distance(Route route, const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
               const VDMeasureConditions& conditions)
{
    Pair pair;
    if (!GetPair(route, spectrum1, spectrum2, conditions, pair))
        return CMetryCalculator::DeltaEFailure;
    return CMetryCalculator::GetDeltaE_CIELAB(pair.first, pair.second);
}

bool GetDeltaVector(const VDColorVector& vector1, const VDColorVector& vector2, VDColorVector& result)
{
    const LCHDelta delta = Formulas::GetLCHDelta(ToColor(vector1), ToColor(vector2));
    result.SetMeasureConditions(vector1.GetMeasureConditions());
    result.SetElements(delta.lightness, delta.chroma, delta.hue);
    return true;
}

// The hue in whole degrees as the colour classes count it; -1 for a grey.
int ClassHue(double a, double b)
{
    if (a == 0)
        return b > 0 ? 90 : b < 0 ? 270 : -1;
    const int angle = static_cast<int>(std::atan(b / a) * 180 / std::numbers::pi);
    if (a < 0)
        return angle + 180;
    return b < 0 ? angle + 360 : angle;
}

int NeutralClass(float lightness)
{
    constexpr int white = 13;
    constexpr int grey = 14;
    constexpr int black = 15;
    if (lightness > 30.0F && lightness <= 80.0F)
        return grey;
    return lightness >= 0.0F && lightness <= 30.0F ? black : white;
}

int ChromaticClass(int hue, float chroma, float lightness)
{
    enum { Magenta, Undefined, Blue, Cyan, Turquo, Green, Olive, YellowGreen, Beige, Brown, Yellow, Orange, Red };
    const auto from = [hue](int first, int last) { return hue >= first && hue <= last; };
    if (from(300, 334))
        return Undefined;
    if (from(260, 299))
        return Blue;
    if (from(210, 259))
        return Cyan;
    if (from(175, 209))
        return Turquo;
    if (from(135, 174))
        return Green;
    if (from(110, 134))
        return chroma >= 50.0F || lightness >= 50.0F ? YellowGreen : Olive;
    if (from(80, 109)) {
        if (chroma < 50.0F && lightness >= 65.0F)
            return Beige;
        if (chroma < 70.0F && lightness < 65.0F)
            return hue >= 90 ? Olive : Brown;
        return Yellow;
    }
    if (from(45, 79)) {
        if (chroma < 70.0F)
            return lightness >= 65.0F ? Beige : Brown;
        return Orange;
    }
    if (from(20, 44)) {
        const bool dull = chroma < 40.0F && lightness < 50.0F;
        const bool dullOrange = chroma < 55.0F && lightness < 65.0F && hue >= 36;
        return dull || dullOrange ? Brown : Red;
    }
    return Magenta;
}

}

float CMetryCalculator::GetDeltaE_CIELAB(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                         const VDMeasureConditions& conditions)
try {
    return Distance(&GetVector_CIELab, spectrum1, spectrum2, conditions);
}
TRACE_GUARD(className, "GetDeltaE_CIELAB")

float CMetryCalculator::GetDeltaE_CIELUV(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                         const VDMeasureConditions& conditions)
try {
    return Distance(&GetVector_CIELuv, spectrum1, spectrum2, conditions);
}
TRACE_GUARD(className, "GetDeltaE_CIELUV")

float CMetryCalculator::GetDeltaE_vd(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                     const VDMeasureConditions& conditions)
try {
    return Distance(&GetVector_LABvd, spectrum1, spectrum2, conditions);
}
TRACE_GUARD(className, "GetDeltaE_vd")

float CMetryCalculator::GetDeltaE_FMCII(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                        const VDMeasureConditions& conditions)
try {
    Pair xyz;
    if (!GetPair(&GetVector_CIEXYZ, spectrum1, spectrum2, conditions, xyz))
        return DeltaEFailure;
    return Formulas::DeltaE_FMCII(ToColor(xyz.first), ToColor(xyz.second));
}
TRACE_GUARD(className, "GetDeltaE_FMCII")

float CMetryCalculator::GetDeltaE_CMC(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                      const VDMeasureConditions& conditions, float l, float c)
try {
    Pair lab;
    if (!GetPair(&GetVector_CIELab, spectrum1, spectrum2, conditions, lab))
        return DeltaEFailure;
    return GetDeltaE_CMC(lab.first, lab.second, l, c);
}
TRACE_GUARD(className, "GetDeltaE_CMC")

float CMetryCalculator::GetDeltaE_94(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                     const VDMeasureConditions& conditions, float kL, float kC, float kH)
try {
    Pair lab;
    if (!GetPair(&GetVector_CIELab, spectrum1, spectrum2, conditions, lab))
        return DeltaEFailure;
    return GetDeltaE_94(lab.first, lab.second, kL, kC, kH);
}
TRACE_GUARD(className, "GetDeltaE_94")

float CMetryCalculator::GetDeltaE_2000(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                       const VDMeasureConditions& conditions, float kL, float kC, float kH)
try {
    Pair lab;
    if (!GetPair(&GetVector_CIELab, spectrum1, spectrum2, conditions, lab))
        return DeltaEFailure;
    return GetDeltaE_2000(lab.first, lab.second, kL, kC, kH);
}
TRACE_GUARD(className, "GetDeltaE_2000")

float CMetryCalculator::GetDeltaE_CIELAB(const VDColorVector& lab1, const VDColorVector& lab2)
{
    float sum = 0.0F;
    for (std::size_t i = 0; i < 4; ++i) {
        const float difference = lab1[i] - lab2[i];
        sum = Accumulate(sum, difference, difference);
    }
    return std::sqrt(sum); // rounded from double it would be the same float
}

float CMetryCalculator::GetDeltaE_CMC(const VDColorVector& lab1, const VDColorVector& lab2, float l, float c)
{
    return Formulas::DeltaE_CMC(ToColor(lab1), ToColor(lab2), l, c);
}

float CMetryCalculator::GetDeltaE_94(const VDColorVector& lab1, const VDColorVector& lab2, float kL, float kC, float kH)
{
    return Formulas::DeltaE_94(ToColor(lab1), ToColor(lab2), kL, kC, kH);
}

float CMetryCalculator::GetDeltaE_2000(const VDColorVector& lab1, const VDColorVector& lab2, float kL, float kC,
                                       float kH)
{
    return Formulas::DeltaE_2000(ToColor(lab1), ToColor(lab2), kL, kC, kH);
}

float CMetryCalculator::GetDeltaE_CIELAB_SpeedOptimized(const VDColorVector& lab, const float* values)
try {
    VDSpectrum::ValueArray relative;
    if (lab.GetMeasureConditions().GetWhiteBase() == WhiteBase::Paper) {
        std::copy_n(values, relative.size(), relative.begin());
        if (!GetSpecBasedToPapWhite(lab.GetMeasureConditions(), relative.data()))
            return DeltaEFailure;
        values = relative.data();
    }

    const Weightfactors& filter = GetFilter().GetWeights();
    constexpr double slope = 7.787;
    constexpr double offset = 0.13793103448275862; // 16/116
    float f[3];
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float* const weights = filter[axis];
        float sum = 0.0F;
        for (std::size_t i = 0; i < relative.size(); ++i)
            sum = Accumulate(sum, weights[i], values[i]);
        f[axis] = LabFunction(RatioToWhite(filter, axis, sum), slope, offset);
    }
    VDColorVector other;
    other.SetElements(Single(116.0 * f[1] - 16.0), Single((static_cast<double>(f[0]) - f[1]) * 500),
                      Single((static_cast<double>(f[1]) - f[2]) * 200));
    return GetDeltaE_CIELAB(lab, other);
}
TRACE_GUARD(className, "GetDeltaE_CIELAB_SpeedOptimized")

bool CMetryCalculator::GetVector_DeltaCIELCH_ab(const VDColorVector& vector1, const VDColorVector& vector2,
                                                VDColorVector& result)
{
    return GetDeltaVector(vector1, vector2, result);
}

bool CMetryCalculator::GetVector_LCHvd_delta(const VDColorVector& vector1, const VDColorVector& vector2,
                                             VDColorVector& result)
{
    return GetDeltaVector(vector1, vector2, result);
}

bool CMetryCalculator::GetVector_CIELCH_uv(const VDColorVector& vector1, const VDColorVector& vector2,
                                           VDColorVector& result)
{
    return GetDeltaVector(vector1, vector2, result);
}

float CMetryCalculator::GetMetamery(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                    const VDMeasureConditions& conditions, const VDIllumination& illumination)
try {
    Pair reference;
    if (!GetPair(&GetVector_CIEXYZ, spectrum1, spectrum2, conditions, reference))
        return DeltaEFailure;
    const Color factors = Formulas::GetMetameryFactors(ToColor(reference.first), ToColor(reference.second));

    VDMeasureConditions testConditions = conditions;
    testConditions.SetIllumination(illumination);
    Pair test;
    if (!GetPair(&GetVector_CIEXYZ, spectrum1, spectrum2, testConditions, test))
        return DeltaEFailure;
    for (std::size_t axis = 0; axis < 3; ++axis)
        test.second[axis] *= factors[axis];
    if (!GetVector_CIELab(test.first, test.first) || !GetVector_CIELab(test.second, test.second))
        return DeltaEFailure;
    return GetDeltaE_CIELAB(test.first, test.second);
}
TRACE_GUARD(className, "GetMetamery")

int CMetryCalculator::GetColorType(const VDSpectrum& spectrum)
try {
    constexpr int failed = -1;
    VDColorVector lab;
    if (!GetVector_CIELab(spectrum, spectrum.GetMeasureConditions(), lab))
        return failed;
    const float lightness = lab[0];
    const float a = lab[1];
    const float b = lab[2];
    if (!std::isfinite(lightness) || !std::isfinite(a) || !std::isfinite(b))
        return failed;

    const float chroma = Chroma(a, b);
    const int hue = ClassHue(a, b);
    const float neutralLimit = hue < 0 ? 1001.0F
        : lightness > 75.0F            ? Single(7 - 2 * (lightness - 75.0) / 25)
                                       : Single(10 - 3.0 * lightness / 75);
    return chroma > neutralLimit ? ChromaticClass(hue, chroma, lightness) : NeutralClass(lightness);
}
TRACE_GUARD(className, "GetColorType")

}
