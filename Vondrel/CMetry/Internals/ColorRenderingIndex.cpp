#include "Vondrel/CMetry/Internals/ColorRenderingIndex.h"

#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/ColorTemperature.h"
#include "Vondrel/CMetry/Internals/StandardTables.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace Vondrel::CMetry {

namespace {

constexpr float firstDaylight = 5000.0F; // kelvin
constexpr double maxChromaticityDistance = 0.0054;

constexpr std::array daylights = {IlluminationTYPE::D50, IlluminationTYPE::D55, IlluminationTYPE::D65,
                                  IlluminationTYPE::D75};

/// A colour in the diagram of CIE 1960.
struct Yuv {
    double y, u, v;
};

double Distance(const Yuv& a, const Yuv& b)
{
    return std::hypot(a.u - b.u, a.v - b.v);
}

VDMeasureConditions EmissionConditions()
{
    VDMeasureConditions conditions; // 2 degree observer, absolute vectors
    conditions.SetIllumination(VDIllumination(IlluminationTYPE::Emission));
    conditions.SetColorSpace(ColorSpace::CIEXYZ);
    return conditions;
}

Yuv GetYuv(const Weightfactors& weights, const float* values)
{
    const Color xyz = Formulas::Weigh(weights, values);
    const double x = xyz[0], y = xyz[1], z = xyz[2];
    const double d = x + 15.0 * y + 3.0 * z;
    return {y, 4.0 * x / d, 6.0 * y / d};
}

/// The eight samples under a light, and the light itself.
struct Rendering {
    Yuv white;
    std::array<Yuv, std::tuple_size_v<decltype(renderingSamples)>> samples;
};

using Light = VDSpectrum::ValueArray;

Rendering Render(const Weightfactors& emission, const float* light)
{
    Rendering rendering;
    rendering.white = GetYuv(emission, light);
    const Weightfactors underLight(VDIllumination(IlluminationTYPE::Userdefined), Observer::TwoDegree, light);
    for (std::size_t i = 0; i < rendering.samples.size(); ++i)
        rendering.samples[i] = GetYuv(underLight, renderingSamples[i].data());
    return rendering;
}

Light GetDaylight(IlluminationTYPE type)
{
    const StandardFilter table = CMetryFilter::GetIlluFilter(VDIllumination(type));
    Light light;
    for (std::size_t i = 0; i < light.size(); ++i) {
        const int wavelength = VDSpectrum::GetWaveLength(i);
        light[i] =
            table.GetFilter()[static_cast<std::size_t>((wavelength - table.GetMinWavelength()) / table.GetStepSize())];
    }
    return light;
}

/// The daylight whose chromaticity lies nearest, the first of equal ones.
IlluminationTYPE FindDaylight(const Weightfactors& emission, const Yuv& source)
{
    IlluminationTYPE nearest = daylights.front();
    double smallest = HUGE_VAL;
    for (const IlluminationTYPE type : daylights) {
        const double distance = Distance(GetYuv(emission, GetDaylight(type).data()), source);
        if (distance < smallest) {
            smallest = distance;
            nearest = type;
        }
    }
    return nearest;
}

/// Adaptation from the white of the source to that of the reference, after von Kries.
class Adaptation {
public:
    Adaptation(const Yuv& reference, const Yuv& source) : c(C(reference) / C(source)), d(D(reference) / D(source)) { }

    Yuv operator()(const Yuv& colour) const
    {
        const double adaptedC = c * C(colour);
        const double adaptedD = d * D(colour);
        const double e = 16.518 + 1.481 * adaptedC - adaptedD;
        return {colour.y, (10.872 + 0.404 * adaptedC - 4.0 * adaptedD) / e, 5.52 / e};
    }

private:
    static double C(const Yuv& colour) { return (4.0 - colour.u - 10.0 * colour.v) / colour.v; }
    static double D(const Yuv& colour) { return (1.708 * colour.v + 0.404 - 1.481 * colour.u) / colour.v; }

    double c, d;
};

/// CIE 1964 U*V*W*.
struct UVW {
    double u, v, w;
};

UVW GetUVW(const Yuv& colour, const Yuv& white)
{
    const double w = 25.0 * std::cbrt(colour.y) - 17.0;
    return {13.0 * w * (colour.u - white.u), 13.0 * w * (colour.v - white.v), w};
}

double GetSpecialIndex(const UVW& a, const UVW& b)
{
    return 100.0 - 4.6 * std::hypot(a.u - b.u, a.v - b.v, a.w - b.w);
}

double GetGeneralIndex(const Rendering& reference, const Rendering& source)
{
    const Adaptation adapt(reference.white, source.white);
    const Yuv adaptedWhite = adapt(source.white);
    double sum = 0.0;
    for (std::size_t i = 0; i < source.samples.size(); ++i)
        sum += GetSpecialIndex(GetUVW(reference.samples[i], reference.white),
                               GetUVW(adapt(source.samples[i]), adaptedWhite));
    return sum / static_cast<double>(source.samples.size());
}

}

float ColorRenderingIndex::GetColorRenderingIndex(const VDSpectrum& spectrum, bool& valid, std::string& reference) const
try {
    valid = false;
    reference.clear();
    const float temperature = ColorTemperature().GetColorTemperature(spectrum);
    CMetryFilter& filter = CMetryCalculator::GetFilter();
    filter.SetMeasuringConditions(EmissionConditions());
    IlluminationTYPE daylight = IlluminationTYPE::Undefined;
    const float index = Find(filter.GetWeights(), spectrum.Values().data(), temperature, valid, daylight);
    if (daylight != IlluminationTYPE::Undefined)
        reference = MeasureConditionTranslator::ToString(VDIllumination(daylight));
    return index;
}
TRACE_GUARD("ColorRenderingIndex", "GetColorRenderingIndex")

float ColorRenderingIndex::Find(const Weightfactors& emission, const float* light, float temperature, bool& valid,
                                IlluminationTYPE& daylight)
{
    valid = false;
    daylight = IlluminationTYPE::Undefined;
    if (!(temperature > 0.0F))
        return 0.0F;

    const Rendering source = Render(emission, light);
    if (!(temperature < firstDaylight))
        daylight = FindDaylight(emission, source.white);
    const Light reference = daylight == IlluminationTYPE::Undefined ? ColorTemperature::GetPlanckValues(temperature)
                                                                    : GetDaylight(daylight);
    const Rendering ideal = Render(emission, reference.data());
    const double index = GetGeneralIndex(ideal, source);
    if (!std::isfinite(index))
        return 0.0F; // a light with so much negative power that a sample has no chromaticity
    valid = !(Distance(ideal.white, source.white) > maxChromaticityDistance);
    return static_cast<float>(std::trunc(index + 0.5));
}

}
