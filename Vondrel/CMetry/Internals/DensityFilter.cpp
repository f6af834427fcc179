#include "Vondrel/CMetry/Internals/DensityFilter.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::CMetry {

namespace {

DensityCurves userCurves{};

static_assert(std::size(densityCurves) == static_cast<std::size_t>(DensityStandard::User),
              "the published standards stand before \"User\"");

std::size_t CheckChannel(std::size_t channel)
{
    if (channel >= densityChannels)
        throw CMetryException("Invalid density channel", THROW_LOCATION("DensityFilter", "operator[]"));
    return channel;
}

}

void DensityFilter::SetDensityStandard(DensityStandard standard)
try {
    if (standard == densityStandard)
        return;
    if (standard < DensityStandard::DIN || standard > DensityStandard::User)
        throw CMetryException("Unsupported density standard", THROW_LOCATION("DensityFilter", "SetDensityStandard"));
    const auto& curves =
        standard == DensityStandard::User ? userCurves : densityCurves[static_cast<std::size_t>(standard)];
    for (std::size_t channel = 0; channel < densityChannels; ++channel)
        filters[channel] = Filter(curves[channel]);
    densityStandard = standard;
}
TRACE_GUARD("DensityFilter", "SetDensityStandard")

void DensityFilter::SetUserDensityStandardToDefault()
{
    for (auto& curve : userCurves)
        curve.fill(1.0F);
}

const Filter::Curve& DensityFilter::GetUserDefinedFilter(std::size_t channel)
try {
    return userCurves[CheckChannel(channel)];
}
TRACE_GUARD("DensityFilter", "GetUserDefinedFilter")

void DensityFilter::SetUserDefinedFilter(const Filter::Curve& values, std::size_t channel)
try {
    userCurves[CheckChannel(channel)] = values;
}
TRACE_GUARD("DensityFilter", "SetUserDefinedFilter")

ResponseCurves DensityFilter::GetCurves() const
{
    ResponseCurves curves;
    for (std::size_t channel = 0; channel < densityChannels; ++channel)
        curves[channel] = filters[channel].GetFilterSpectrum().data();
    return curves;
}

const Filter& DensityFilter::operator[](std::size_t channel) const
try {
    return filters[CheckChannel(channel)];
}
TRACE_GUARD("DensityFilter", "operator[]")

}
