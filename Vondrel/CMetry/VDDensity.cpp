#include "Vondrel/CMetry/VDDensity.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/DensityCalculator.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::CMetry {

namespace {

std::size_t Index(DensityFilterMode channel)
{
    if (channel < DensityFilterMode::Black || channel > DensityFilterMode::Yellow)
        throw CMetryException("Invalid density channel", THROW_LOCATION("VDDensity", "operator[]"));
    return static_cast<std::size_t>(channel);
}

}

VDDensity::VDDensity(const Sequence& densities_, const VDMeasureConditions& conditions, DensityStandard standard,
                     const UserFilter& userFilter)
    : densities(densities_), valid(true), userDefinedFilter(userFilter), densityStd(standard), physMeasCond(conditions)
{
}

float VDDensity::GetDensity(DensityFilterMode mode) const
try {
    if (mode == DensityFilterMode::Max)
        return 0.0F;
    return (*this)[mode == DensityFilterMode::Auto ? DensityCalculator::GetDensityFilter(*this) : mode];
}
TRACE_GUARD("VDDensity", "GetDensity")

void VDDensity::SetDensity(float value, DensityFilterMode channel)
try {
    (*this)[channel] = value;
}
TRACE_GUARD("VDDensity", "SetDensity")

float& VDDensity::operator[](DensityFilterMode channel)
try {
    return densities[Index(channel)];
}
TRACE_GUARD("VDDensity", "operator[]")

float VDDensity::operator[](DensityFilterMode channel) const
try {
    return densities[Index(channel)];
}
TRACE_GUARD("VDDensity", "operator[]")

void VDDensity::SetAllDensities(const Sequence& values)
{
    densities = values;
    valid = true;
}

}
