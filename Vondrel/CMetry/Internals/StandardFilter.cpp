#include "Vondrel/CMetry/Internals/StandardFilter.h"

#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <cmath>

namespace Vondrel::CMetry {

namespace {

struct DaylightFactors {
    double m1, m2;
};

double RoundToThreeDecimals(double value)
{
    return std::floor(value * 1000.0 + 0.5) / 1000.0;
}

/// The weights of S1 and S2 for a nominal temperature in kelvin.
DaylightFactors GetDaylightFactors(double nominal)
{
    // The nominal temperatures rest on c2 = 1.4380 cm K; the radiation constant has since become 1.4388.
    const double t = nominal * 1.4388 / 1.438;
    const double t2 = t * t;
    const double t3 = t2 * t;
    const double x = t < 7000.0 ? 0.244063 + 99.11 / t + 2967800.0 / t2 - 4607000000.0 / t3
                                : 0.23704 + 247.48 / t + 1901800.0 / t2 - 2006400000.0 / t3;
    const double y = -3.0 * x * x + 2.87 * x - 0.275;
    const double m = 0.0241 + 0.2562 * x - 0.7341 * y;
    return {RoundToThreeDecimals((-1.3515 - 1.7703 * x + 5.9114 * y) / m),
            RoundToThreeDecimals((0.03 - 31.4424 * x + 30.0717 * y) / m)};
}

}

StandardFilter::StandardFilter(const StandardTable& table)
    : stepSize(table.stepSize),
      maxWavelength(table.lastWavelength),
      minWavelength(table.firstWavelength),
      count(table.Size())
{
    std::copy_n(table.values, count, values.begin());
}

void StandardFilter::SetUserIllumination(const VDMeasureConditions& conditions)
try {
    SetUserIllumination(conditions.GetUserdefinedIllumination().Values().data());
}
TRACE_GUARD("StandardFilter", "SetUserIllumination")

void StandardFilter::SetUserIllumination(const float* spectrum)
{
    minWavelength = SpectrumGrid::MinWavelength;
    maxWavelength = SpectrumGrid::MaxWavelength;
    stepSize = SpectrumGrid::StepSize;
    count = SpectrumGrid::NumberOfDataPoints;
    std::copy_n(spectrum, count, values.begin());
}

void StandardFilter::SetDxxIllumination(const VDMeasureConditions& conditions)
{
    SetDxxIllumination(conditions.GetIllumination().GetColorTemperature());
}

void StandardFilter::SetDxxIllumination(std::uint16_t nominal)
{
    const auto [m1, m2] = GetDaylightFactors(static_cast<std::int16_t>(nominal));
    const auto& [s0, s1, s2] = daylightBasis;
    const auto power = [&s0 = s0, &s1 = s1, &s2 = s2, m1 = m1, m2 = m2](std::size_t i) {
        return s0.values[i] + m1 * s1.values[i] + m2 * s2.values[i];
    };
    *this = StandardFilter(s0);
    const double unity = power(static_cast<std::size_t>((560 - s0.firstWavelength) / s0.stepSize));
    for (std::size_t i = 0; i < count; ++i)
        values[i] = static_cast<float>(power(i) * 100.0 / unity);
}

}
