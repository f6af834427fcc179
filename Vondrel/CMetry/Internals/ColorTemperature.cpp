#include "Vondrel/CMetry/Internals/ColorTemperature.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

namespace Vondrel::CMetry {

namespace {

// Constants of the radiator, SI units, as of the publication that the expected temperatures rest on.
constexpr double h = 6.6262e-34;
constexpr double k = 1.3806e-23;
constexpr double c = 299790000.0;
constexpr double c1 = 2.0 * h * c * c;
constexpr double c2 = h * c / k;

using Radiator = std::array<double, SpectrumGrid::NumberOfDataPoints>;

Radiator GetRadiator(double temperature)
{
    Radiator radiator;
    for (std::size_t i = 0; i < radiator.size(); ++i) {
        const auto nanometres = static_cast<double>(SpectrumGrid::MinWavelength + SpectrumGrid::StepSize * i);
        const double wavelength = nanometres * 1e-9;
        const double power = wavelength * wavelength * wavelength * wavelength * wavelength;
        radiator[i] = c1 / power / (std::exp(c2 / (wavelength * temperature)) - 1.0);
    }
    return radiator;
}

VDMeasureConditions EmissionConditions(const VDMeasureConditions& conditions)
{
    VDMeasureConditions emission = conditions;
    emission.SetIllumination(VDIllumination(IlluminationTYPE::Emission));
    emission.SetColorSpace(ColorSpace::CIEXYZ);
    return emission;
}

struct XYZ {
    double x, y, z;
};

struct Chromaticity {
    double u, v;
};

Chromaticity operator-(const Chromaticity& a, const Chromaticity& b)
{
    return {a.u - b.u, a.v - b.v};
}
bool IsZero(const Chromaticity& a)
{
    return a.u == 0.0 && a.v == 0.0;
}

/// CIE 1960; not a number for a black.
Chromaticity GetChromaticity(const XYZ& xyz)
{
    const double d = xyz.x + 15.0 * xyz.y + 3.0 * xyz.z;
    return {4.0 * xyz.x / d, 6.0 * xyz.y / d};
}

/// The Planck locus under the weights of emission. In double throughout: at the hot end chromaticities 100 K apart
/// differ by 1e-8.
class PlanckLocus {
public:
    explicit PlanckLocus(const Weightfactors& ofEmission) : emission(ofEmission) { }

    XYZ GetXYZ(double temperature) const
    {
        const Radiator radiator = GetRadiator(temperature);
        std::array<double, Weightfactors::axes> sums{};
        for (std::size_t axis = 0; axis < sums.size(); ++axis) {
            const float* weights = emission[axis];
            for (std::size_t i = 0; i < radiator.size(); ++i)
                sums[axis] += weights[i] * radiator[i];
        }
        return {sums[0] * 100.0 / sums[1], 100.0, sums[2] * 100.0 / sums[1]};
    }

    /// On which side of the normal through the locus at a temperature the sample lies: whether towards higher ones.
    /// Empty where that cannot be told.
    std::optional<bool> IsBeyond(double temperature, const Chromaticity& sample) const
    {
        const Chromaticity distance = sample - At(temperature);
        const Chromaticity tangent = At(temperature + 50.0) - At(temperature - 50.0);
        if (IsZero(distance) || IsZero(tangent))
            return {};
        const double cosine = (distance.u * tangent.u + distance.v * tangent.v)
            / (std::hypot(distance.u, distance.v) * std::hypot(tangent.u, tangent.v));
        if (!std::isfinite(cosine))
            return {};
        return cosine >= 0.0;
    }

private:
    Chromaticity At(double temperature) const { return GetChromaticity(GetXYZ(temperature)); }

    const Weightfactors& emission;
};

const Weightfactors& FitEmission(const VDMeasureConditions& conditions)
{
    CMetryFilter& filter = CMetryCalculator::GetFilter();
    filter.SetMeasuringConditions(EmissionConditions(conditions));
    return filter.GetWeights();
}

/// The XYZ of a spectrum under its own conditions; empty if these allow none.
std::optional<Color> GetSampleXYZ(const VDSpectrum& spectrum)
{
    VDMeasureConditions conditions = spectrum.GetMeasureConditions();
    conditions.SetColorSpace(ColorSpace::CIEXYZ);
    VDColorVector xyz;
    try {
        if (!CMetryCalculator::GetVector_CIEXYZ(spectrum, conditions, xyz))
            return {};
    } catch (const Utilities::Exceptions::RuntimeException&) {
        return {}; // an illuminant or an observer without weights: no temperature, as with any other spectrum
    }
    return Color{xyz[0], xyz[1], xyz[2]};
}

constexpr float noTemperature = -1.0F;
constexpr double minTemperature = 200.0;     // kelvin
constexpr double maxTemperature = 1000000.0; // kelvin
constexpr double resolution = 0.5;           // kelvin

}

VDSpectrum ColorTemperature::GetPlanckRadiator(float temperature, const VDMeasureConditions& conditions) const
try {
    VDMeasureConditions emission = conditions;
    emission.SetIllumination(VDIllumination(IlluminationTYPE::Emission));
    return VDSpectrum(GetPlanckValues(temperature), emission);
}
TRACE_GUARD("ColorTemperature", "GetPlanckRadiator")

VDXYZ ColorTemperature::GetPlanckRadiatorXYZ(float temperature, const VDMeasureConditions& conditions) const
try {
    const XYZ xyz = PlanckLocus(FitEmission(conditions)).GetXYZ(static_cast<double>(temperature));
    if (!std::isfinite(xyz.x) || !std::isfinite(xyz.z))
        throw CMetryException("Planck radiator without light",
                              THROW_LOCATION("ColorTemperature", "GetPlanckRadiatorXYZ"));
    return VDColorVector(static_cast<float>(xyz.x), static_cast<float>(xyz.y), static_cast<float>(xyz.z),
                         EmissionConditions(conditions));
}
TRACE_GUARD("ColorTemperature", "GetPlanckRadiatorXYZ")

float ColorTemperature::GetColorTemperature(const VDSpectrum& spectrum) const
try {
    const auto xyz = GetSampleXYZ(spectrum);
    return xyz ? Find(FitEmission(spectrum.GetMeasureConditions()), *xyz) : noTemperature;
}
TRACE_GUARD("ColorTemperature", "GetColorTemperature")

float ColorTemperature::Find(const Weightfactors& emission, const Color& xyz)
{
    const Chromaticity sample = GetChromaticity({xyz[0], xyz[1], xyz[2]});
    const PlanckLocus locus(emission);
    double a = maxTemperature - 50.0;
    double b = minTemperature + 50.0;
    const auto atA = locus.IsBeyond(a, sample);
    const auto atB = locus.IsBeyond(b, sample);
    if (!atA || !atB || *atA == *atB)
        return noTemperature;
    while (std::abs(a - b) > resolution) {
        const double middle = (a + b) / 2.0;
        const auto atMiddle = locus.IsBeyond(middle, sample);
        if (!atMiddle)
            return noTemperature;
        (*atMiddle == *atA ? a : b) = middle;
    }
    return static_cast<float>(std::floor((a + b) / 2.0 + 0.5));
}

VDSpectrum::ValueArray ColorTemperature::GetPlanckValues(float temperature)
{
    const Radiator radiator = GetRadiator(static_cast<double>(temperature));
    VDSpectrum::ValueArray values;
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(radiator[i]);
    return values;
}

}
