#include "Vondrel/CMetry/Internals/ColorFormulas.h"

#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/CMetry/Internals/Weightfactors.h"

#include <algorithm>
#include <cmath>

namespace Vondrel::CMetry {

namespace {

constexpr std::size_t points = SpectrumGrid::NumberOfDataPoints;

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

double Sum(const Color& xyz)
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

}

namespace Formulas {

Color Weigh(const Weightfactors& weights, const float* values)
{
    const float* const weightsX = weights[0];
    const float* const weightsY = weights[1];
    const float* const weightsZ = weights[2];
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;
    for (std::size_t i = 0; i < points; ++i) {
        x = Accumulate(x, weightsX[i], values[i]);
        y = Accumulate(y, weightsY[i], values[i]);
        z = Accumulate(z, weightsZ[i], values[i]);
    }
    return {x, y, z};
}

Color SpectrumToXYZ(const ColorBasis& basis, const float* values)
{
    if (basis.paper == nullptr)
        return Weigh(basis.weights, values);
    std::array<float, points> relative;
    for (std::size_t i = 0; i < points; ++i)
        relative[i] = values[i] / basis.paper[i];
    return Weigh(basis.weights, relative.data());
}

Color ToLCh(const Color& color)
{
    return {color[0], Chroma(color[1], color[2]), Hue(color[1], color[2])};
}

bool LacksXY(const Color& xyz)
{
    return Single(Sum(xyz)) == 0.0F;
}

bool LacksUV(const Color& xyz)
{
    return Projection(xyz[0], xyz[1], xyz[2]) == 0.0F;
}

Color FlatXYZ(const ColorBasis& basis)
{
    std::array<float, points> values;
    values.fill(flatSpectrumValue);
    return SpectrumToXYZ({basis.weights, basis.weights.IsEmission() ? nullptr : basis.paper}, values.data());
}

Color XYZToxyY(const Color& xyz, const Color& colored)
{
    const double sum = Single(Sum(colored));
    return {Single(colored[0] / sum), Single(colored[1] / sum), xyz[1]};
}

Color XYZTouvY1976(const Color& xyz)
{
    const double sum = Single(Sum(xyz));
    const float x = sum == 0 ? 0.0F : Single(xyz[0] / sum);
    const float y = sum == 0 ? 0.0F : Single(xyz[1] / sum);
    const float z = sum == 0 ? 0.0F : Single(xyz[2] / sum);
    const float denominator = Projection(x, y, z);
    if (denominator == 0.0F)
        return {blackU, blackV, xyz[1]};
    return {Single(4.0 * x / denominator), Single(9.0 * y / denominator), xyz[1]};
}

Color xyYTouvY1976(const Color& xyY)
{
    if (xyY[2] == 0.0F)
        return {blackU, blackV, xyY[2]};
    const float denominator = Single(-2.0 * xyY[0] + 12.0 * xyY[1] + 3.0);
    return {Single(4.0 * xyY[0] / denominator), Single(9.0 * xyY[1] / denominator), xyY[2]};
}

Color uvY1976To1960(const Color& uvY)
{
    return {uvY[0], Single(2.0 * uvY[1] / 3), uvY[2]};
}

Color XYZToLuv(const Weightfactors& weights, const Color& xyz, const Color& colored)
{
    const float denominator = Projection(colored[0], colored[1], colored[2]);
    return {XYZToLab(weights, xyz)[0], Single(4.0 * colored[0] / denominator), Single(9.0 * colored[1] / denominator)};
}

Color LChToLCHvd(const Color& lch)
{
    const double lightness = lch[0];
    const double chroma = lch[1];
    const float angle = Single(DegToRad(lch[2]));
    float hue = Single(angle + 0.17914);
    for (int n = 1; n <= 4; ++n) {
        const double harmonic = static_cast<double>(n) * angle;
        hue = Single(hue + hueCosine[n - 1] * std::cos(harmonic) + hueSine[n - 1] * std::sin(harmonic));
    }
    return {lightness < 16 ? Single(lightness / 0.511)
                           : Single(std::log(0.040975 * lightness) / 0.040975 + 0.01765 * lightness + 34.7231),
            Single(12.253 * std::log(0.072158 * chroma + 0.638) + 0.181547 * chroma + 5.506710052490234),
            Single(RadToDeg(hue))};
}

Color LCHvdToLABvd(const Color& lch)
{
    const double angle = DegToRad(lch[2]);
    return {lch[0], Single(lch[1] * std::cos(angle)), Single(lch[1] * std::sin(angle))};
}

Color XYZToHunterLab(const Weightfactors& weights, const Color& xyz)
{
    const double y = xyz[1];
    constexpr float smallestRoot = 0.0001F;
    float root = y < 0 ? 0.0F : Single(std::sqrt(y));
    if (root < smallestRoot)
        root = smallestRoot;
    return {Single(10.0 * root), Single((100.0 / weights.GetFilterSum(0) * xyz[0] - y) * 17.5 / root),
            Single((y - 100.0 / weights.GetFilterSum(2) * xyz[2]) * 7.0 / root)};
}

Color XYZToRxRyRz(const Weightfactors& weights, const Color& xyz)
{
    float blue = 0.0F;
    for (std::size_t i = 0; i < blueLobePoints; ++i)
        blue += weights[0][i];
    blue = Single(blue / 100.0);
    const float red = Single(weights.GetFilterSum(0) / 100.0 - blue);
    const float z = Single(weights.GetFilterSum(2) / 100.0);
    return {
        Single(static_cast<double>(xyz[0]) / red - static_cast<double>(blue) * xyz[2] / (static_cast<double>(red) * z)),
        xyz[1], Single(static_cast<double>(xyz[2]) / z)};
}

Color LabToRGB(const Weightfactors& weights, const Color& lab)
{
    const Color xyz = LabToXYZ(weights, lab);
    Color channels;
    for (std::size_t row = 0; row < 3; ++row) {
        float linear = 0.0F;
        for (std::size_t axis = 0; axis < 3; ++axis)
            linear = Accumulate(linear, rgbFromXYZ[row][axis], xyz[axis]);
        channels[row] = ToneValue(linear);
    }
    return channels;
}

}

}
