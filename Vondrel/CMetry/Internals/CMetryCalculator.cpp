#include "Vondrel/CMetry/Internals/CMetryCalculator.h"

#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Vondrel::CMetry {

namespace {

const char* const className = "CMetryCalculator";

constexpr float labSlope = 7.787F;
constexpr float labOffset = 0.13793103F;               // 16/116
constexpr double labInverseThreshold = 0.206893034423; // on the function of the ratio
constexpr float flatSpectrumValue = 0.00001F;
constexpr float blackU = 0.21052632F; // 4/19
constexpr float blackV = 0.47368422F; // 9/19

// EBU primaries with a D65 white; Y = 100 gives 1.
constexpr float rgbFromXYZ[3][3] = {
    {0.03065F, -0.01394F, -0.00476F},
    {-0.00969F, 0.01876F, 0.00042F},
    {0.00068F, -0.00229F, 0.0107F},
};

// Coefficients of the harmonics 1 to 4 of the hue in LCHvd.
constexpr float hueCosine[] = {-0.09622F, -0.06742F, -0.02137F, 0.00587F};
constexpr float hueSine[] = {0.13893F, -0.0539F, -0.04029F, -0.01043F};

// The lobe of x-bar from 380 to 500 nm.
constexpr std::size_t blueLobePoints = 13;

CMetryFilter currentWeights;

void Weigh(const VDSpectrum::ValueArray& values, VDColorVector& result)
{
    const float* const weightsX = currentWeights[0];
    const float* const weightsY = currentWeights[1];
    const float* const weightsZ = currentWeights[2];
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;
    for (std::size_t i = 0; i < values.size(); ++i) {
        x = Accumulate(x, weightsX[i], values[i]);
        y = Accumulate(y, weightsY[i], values[i]);
        z = Accumulate(z, weightsZ[i], values[i]);
    }
    result.SetElements(x, y, z);
}

// The function of CIE 1976 L*a*b* of an element of XYZ, and back.
float ToLabFunction(std::size_t axis, float value)
{
    return LabFunction(RatioToWhite(currentWeights, axis, value), labSlope, labOffset);
}

float FromLabFunction(std::size_t axis, double f)
{
    const double white = currentWeights.GetFilterSum(axis);
    return Single(f > labInverseThreshold ? white * (f * f * f) : (f - labOffset) * white / labSlope);
}

// A black has no chromaticity of its own: it takes that of a flat spectrum, and so of the illuminant.
bool GetFlatXYZ(const VDMeasureConditions& conditions, VDColorVector& result)
{
    VDSpectrum::ValueArray values;
    values.fill(flatSpectrumValue);
    return CMetryCalculator::GetVector_CIEXYZ(VDSpectrum(values, conditions), conditions, result);
}

double Sum(const VDColorVector& xyz)
{
    return static_cast<double>(xyz[0]) + xyz[1] + xyz[2];
}

// The denominator of u' and v'.
float Projection(double x, double y, double z)
{
    return Single(x + 15 * y + 3 * z);
}

// Entry i is the linear value from which on a channel reads i / 2.
std::array<float, 512> MakeToneCurve()
{
    const double exponent = 1.0 / 0.45F;
    std::array<float, 512> curve{};
    for (std::size_t i = 1; i < curve.size(); ++i)
        curve[i] = Single(std::pow(static_cast<double>(i) * 0.5 / 255, exponent));
    return curve;
}

float ToneValue(float linear)
{
    static const std::array<float, 512> curve = MakeToneCurve();
    if (!(linear > 0.0F))
        return 0.0F;
    const auto above = std::upper_bound(curve.begin(), curve.end(), linear);
    return static_cast<float>((above - curve.begin() - 1) / 2);
}

VDColorVector ToLCHvd(const VDColorVector& lch)
{
    const double lightness = lch[0];
    const double chroma = lch[1];
    const float angle = Single(CMetryCalculator::DegToRad(lch[2]));
    float hue = Single(angle + 0.17914);
    for (int n = 1; n <= 4; ++n) {
        const double harmonic = static_cast<double>(n) * angle;
        hue = Single(hue + hueCosine[n - 1] * std::cos(harmonic) + hueSine[n - 1] * std::sin(harmonic));
    }
    return {lightness < 16 ? Single(lightness / 0.511)
                           : Single(std::log(0.040975 * lightness) / 0.040975 + 0.01765 * lightness + 34.7231),
            Single(12.253 * std::log(0.072158 * chroma + 0.638) + 0.181547 * chroma + 5.506710052490234),
            Single(CMetryCalculator::RadToDeg(hue)), lch.GetMeasureConditions()};
}

}

CMetryFilter& CMetryCalculator::GetFilter() noexcept
{
    return currentWeights;
}

bool CMetryCalculator::GetVector_CIEXYZ(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    VDMeasureConditions working = conditions;
    working.SetPhysMeasCond(spectrum.GetMeasureConditions());
    VDSpectrum::ValueArray values = spectrum.Values();
    if (spectrum.GetMeasureConditions().GetIllumination().GetIlluminationTYPE() == IlluminationTYPE::Emission)
        working.SetIllumination(VDIllumination(IlluminationTYPE::Emission));
    else if (working.GetWhiteBase() == WhiteBase::Paper && !GetSpecBasedToPapWhite(working, values.data()))
        return false;

    currentWeights.SetMeasuringConditions(working);
    result.SetMeasureConditions(working);
    Weigh(values, result);
    return true;
}
TRACE_GUARD(className, "GetVector_CIEXYZ")

bool CMetryCalculator::GetVector_CIELab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    return GetVector_CIEXYZ(spectrum, conditions, result) && GetVector_CIELab(result, result);
}
TRACE_GUARD(className, "GetVector_CIELab")

bool CMetryCalculator::GetVector_CIELCh_ab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                           VDColorVector& result)
try {
    return GetVector_CIELab(spectrum, conditions, result) && GetVector_CIELCh_ab(result, result);
}
TRACE_GUARD(className, "GetVector_CIELCh_ab")

bool CMetryCalculator::GetVector_CIExyY(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    return GetVector_CIEXYZ(spectrum, conditions, result) && GetVector_CIExyY(result, result);
}
TRACE_GUARD(className, "GetVector_CIExyY")

bool CMetryCalculator::GetVector_LCHvd(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                       VDColorVector& result)
try {
    if (!GetVector_CIELCh_ab(spectrum, conditions, result))
        return false;
    result = ToLCHvd(result);
    return true;
}
TRACE_GUARD(className, "GetVector_LCHvd")

bool CMetryCalculator::GetVector_LABvd(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                       VDColorVector& result)
try {
    if (!GetVector_LCHvd(spectrum, conditions, result))
        return false;
    const double angle = DegToRad(result[2]);
    result.SetElements(result[0], Single(result[1] * std::cos(angle)), Single(result[1] * std::sin(angle)));
    return true;
}
TRACE_GUARD(className, "GetVector_LABvd")

bool CMetryCalculator::GetVector_CIELuv(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    VDColorVector xyz;
    VDColorVector lab;
    if (!GetVector_CIEXYZ(spectrum, conditions, xyz) || !GetVector_CIELab(xyz, lab))
        return false;

    float denominator = Projection(xyz[0], xyz[1], xyz[2]);
    if (denominator == 0.0F) {
        if (!GetFlatXYZ(VDMeasureConditions(xyz.GetMeasureConditions()), xyz))
            return false;
        denominator = Projection(xyz[0], xyz[1], xyz[2]);
    }
    result = {lab[0], Single(4.0 * xyz[0] / denominator), Single(9.0 * xyz[1] / denominator),
              xyz.GetMeasureConditions()};
    return true;
}
TRACE_GUARD(className, "GetVector_CIELuv")

bool CMetryCalculator::GetVector_CIELCh_uv(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                           VDColorVector& result)
try {
    return GetVector_CIELuv(spectrum, conditions, result) && GetVector_CIELCh_ab(result, result);
}
TRACE_GUARD(className, "GetVector_CIELCh_uv")

bool CMetryCalculator::GetVector_HunterLab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                           VDColorVector& result)
try {
    VDColorVector xyz;
    VDColorVector white;
    if (!GetVector_CIEXYZ(spectrum, conditions, xyz) || !GetNormValence(xyz.GetMeasureConditions(), white))
        return false;

    const double y = xyz[1];
    constexpr float smallestRoot = 0.0001F;
    float root = y < 0 ? 0.0F : Single(std::sqrt(y));
    if (root < smallestRoot)
        root = smallestRoot;
    result = {Single(10.0 * root), Single((100.0 / white[0] * xyz[0] - y) * 17.5 / root),
              Single((y - 100.0 / white[2] * xyz[2]) * 7.0 / root), xyz.GetMeasureConditions()};
    return true;
}
TRACE_GUARD(className, "GetVector_HunterLab")

bool CMetryCalculator::GetVector_RxRyRz(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    VDColorVector xyz;
    VDColorVector white;
    if (!GetVector_CIEXYZ(spectrum, conditions, xyz) || !GetNormValence(xyz.GetMeasureConditions(), white))
        return false;

    float blue = 0.0F;
    for (std::size_t i = 0; i < blueLobePoints; ++i)
        blue += currentWeights[0][i];
    blue = Single(blue / 100.0);
    const float red = Single(white[0] / 100.0 - blue);
    const float z = Single(white[2] / 100.0);
    result = {
        Single(static_cast<double>(xyz[0]) / red - static_cast<double>(blue) * xyz[2] / (static_cast<double>(red) * z)),
        xyz[1], Single(static_cast<double>(xyz[2]) / z), xyz.GetMeasureConditions()};
    return true;
}
TRACE_GUARD(className, "GetVector_RxRyRz")

bool CMetryCalculator::GetVector_RGB(const VDSpectrum& spectrum, VDColorVector& result)
try {
    VDMeasureConditions conditions = result.GetMeasureConditions();
    conditions.SetColorSpace(ColorSpace::CIELab);
    VDColorVector lab;
    return GetVector_CIELab(spectrum, conditions, lab) && GetVector_CIELab_RGB(lab, result);
}
TRACE_GUARD(className, "GetVector_RGB")

bool CMetryCalculator::GetVector_CIELab(const VDColorVector& source, VDColorVector& result)
try {
    currentWeights.SetMeasuringConditions(source.GetMeasureConditions());
    const double fX = ToLabFunction(0, source[0]);
    const double fY = ToLabFunction(1, source[1]);
    const double fZ = ToLabFunction(2, source[2]);
    const float lightness = Single(116 * fY - 16);
    result.SetMeasureConditions(source.GetMeasureConditions());
    result.SetElements(lightness < 0.0F ? 0.0F : lightness, Single((fX - fY) * 500), Single((fY - fZ) * 200));
    return true;
}
TRACE_GUARD(className, "GetVector_CIELab")

bool CMetryCalculator::GetVector_CIEXYZ(const VDColorVector& source, VDColorVector& result)
try {
    currentWeights.SetMeasuringConditions(source.GetMeasureConditions());
    const float fY = Single((source[0] + 16.0) / 116);
    const float fX = Single(source[1] / 500.0 + fY);
    const float fZ = Single(fY - source[2] / 200.0);
    result.SetMeasureConditions(source.GetMeasureConditions());
    result.SetElements(FromLabFunction(0, fX), FromLabFunction(1, fY), FromLabFunction(2, fZ));
    return true;
}
TRACE_GUARD(className, "GetVector_CIEXYZ")

bool CMetryCalculator::GetVector_CIELCh_ab(const VDColorVector& source, VDColorVector& result)
{
    const float a = source[1];
    const float b = source[2];
    result.SetMeasureConditions(source.GetMeasureConditions());
    result.SetElements(source[0], Chroma(a, b), Hue(a, b));
    return true;
}

bool CMetryCalculator::GetVector_CIExyY(const VDColorVector& source, VDColorVector& result)
try {
    VDColorVector xyz = source;
    if (Single(Sum(xyz)) == 0.0F && !GetFlatXYZ(source.GetMeasureConditions(), xyz))
        return false;
    const double sum = Single(Sum(xyz));
    const float y = source[1];
    result.SetMeasureConditions(source.GetMeasureConditions());
    result.SetElements(Single(xyz[0] / sum), Single(xyz[1] / sum), y);
    return true;
}
TRACE_GUARD(className, "GetVector_CIExyY")

bool CMetryCalculator::GetVector_CIEuvY1976(const VDColorVector& source, VDColorVector& result)
try {
    const ColorSpace type = source.GetMeasureConditions().GetColorSpace();
    float u = blackU;
    float v = blackV;
    float luminance = 0.0F;
    if (type == ColorSpace::CIEXYZ) {
        luminance = source[1];
        const double sum = Single(Sum(source));
        const float x = sum == 0 ? 0.0F : Single(source[0] / sum);
        const float y = sum == 0 ? 0.0F : Single(source[1] / sum);
        const float z = sum == 0 ? 0.0F : Single(source[2] / sum);
        if (const float denominator = Projection(x, y, z); denominator != 0.0F) {
            u = Single(4.0 * x / denominator);
            v = Single(9.0 * y / denominator);
        }
    } else if (type == ColorSpace::CIExyY) {
        luminance = source[2];
        if (luminance != 0.0F) {
            const float denominator = Single(-2.0 * source[0] + 12.0 * source[1] + 3.0);
            u = Single(4.0 * source[0] / denominator);
            v = Single(9.0 * source[1] / denominator);
        }
    } else {
        return false;
    }
    result.SetMeasureConditions(source.GetMeasureConditions());
    result.GetMeasureConditions().SetColorSpace(ColorSpace::CIEuvY1976);
    result.SetElements(u, v, luminance);
    return true;
}
TRACE_GUARD(className, "GetVector_CIEuvY1976")

bool CMetryCalculator::GetVector_CIEuvY1960(const VDColorVector& source, VDColorVector& result)
try {
    if (!GetVector_CIEuvY1976(source, result))
        return false;
    result[1] = Single(2.0 * result[1] / 3);
    result.GetMeasureConditions().SetColorSpace(ColorSpace::CIEuvY1960);
    return true;
}
TRACE_GUARD(className, "GetVector_CIEuvY1960")

bool CMetryCalculator::GetVector_CIELab_RGB(const VDColorVector& source, VDColorVector& result)
try {
    VDColorVector xyz = source;
    xyz.GetMeasureConditions().SetColorSpace(ColorSpace::CIEXYZ);
    if (!GetVector_CIEXYZ(xyz, xyz))
        return false;

    float channels[3];
    for (std::size_t row = 0; row < 3; ++row) {
        float linear = 0.0F;
        for (std::size_t axis = 0; axis < 3; ++axis)
            linear = Accumulate(linear, rgbFromXYZ[row][axis], xyz[axis]);
        channels[row] = ToneValue(linear);
    }
    result.GetMeasureConditions().SetColorSpace(ColorSpace::RGB);
    result.SetElements(channels[0], channels[1], channels[2]);
    return true;
}
TRACE_GUARD(className, "GetVector_CIELab_RGB")

bool CMetryCalculator::GetNormValence(const VDMeasureConditions& conditions, VDColorVector& result)
try {
    currentWeights.SetMeasuringConditions(conditions);
    result = {currentWeights.GetFilterSum(0), currentWeights.GetFilterSum(1), currentWeights.GetFilterSum(2),
              conditions};
    return true;
}
TRACE_GUARD(className, "GetNormValence")

double CMetryCalculator::DegToRad(double degrees) noexcept
{
    return (degrees / 360 + degrees / 360) * std::numbers::pi;
}

double CMetryCalculator::RadToDeg(double radians) noexcept
{
    return radians * 360 / (2 * std::numbers::pi);
}

}
