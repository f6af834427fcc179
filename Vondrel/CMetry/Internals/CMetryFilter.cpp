#include "Vondrel/CMetry/Internals/CMetryFilter.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <iterator>

namespace Vondrel::CMetry {

namespace {

struct IlluminantRow {
    IlluminationTYPE type;
    const StandardTable* table;
};

constexpr IlluminantRow illuminantRows[] = {
    {IlluminationTYPE::A, &illuminantA},       {IlluminationTYPE::B, &illuminantB},
    {IlluminationTYPE::C, &illuminantC},       {IlluminationTYPE::D75, &illuminantD75},
    {IlluminationTYPE::D65, &illuminantD65},   {IlluminationTYPE::D55, &illuminantD55},
    {IlluminationTYPE::D50, &illuminantD50},   {IlluminationTYPE::F2, &illuminantsF[1]},
    {IlluminationTYPE::F7, &illuminantsF[6]},  {IlluminationTYPE::F11, &illuminantsF[10]},
    {IlluminationTYPE::S0, &daylightBasis[0]}, {IlluminationTYPE::S1, &daylightBasis[1]},
    {IlluminationTYPE::S2, &daylightBasis[2]},
};

}

void CMetryFilter::Renew(const VDMeasureConditions& other)
try {
    weights = Weightfactors(other);
    conditions = other;
}
TRACE_GUARD("CMetryFilter", "SetMeasuringConditions")

void CMetryFilter::RefuseEmpty()
{
    throw Utilities::Exceptions::NullPointerException("no weights have been set",
                                                      THROW_LOCATION("CMetryFilter", "GetWeights"));
}

StandardFilter CMetryFilter::GetIlluFilter(const VDIllumination& illumination)
try {
    const IlluminationTYPE type = illumination.GetIlluminationTYPE();
    if (type == IlluminationTYPE::Fxx) {
        const std::size_t number = illumination.GetFValue();
        return number >= 1 && number <= std::size(illuminantsF) ? StandardFilter(illuminantsF[number - 1])
                                                                : StandardFilter();
    }
    for (const auto& row : illuminantRows)
        if (row.type == type)
            return StandardFilter(*row.table);
    throw CMetryException("Unsupported Illumination type", THROW_LOCATION("CMetryFilter", "GetIlluFilter"));
}
TRACE_GUARD("CMetryFilter", "GetIlluFilter")

StandardFilter CMetryFilter::GetObserverFilter(Observer observer, std::size_t axis)
try {
    const StandardTable* const tables = GetObserverTables(observer);
    if (axis >= Weightfactors::axes)
        throw CMetryException("Invalid Axis", THROW_LOCATION("CMetryFilter", "GetObserverFilter"));
    return StandardFilter(tables[axis]);
}
TRACE_GUARD("CMetryFilter", "GetObserverFilter")

const StandardTable* CMetryFilter::GetObserverTables(Observer observer)
{
    if (observer != Observer::TwoDegree && observer != Observer::TenDegree)
        throw CMetryException("Unsupported Observer type", THROW_LOCATION("CMetryFilter", "GetObserverFilter"));
    return observer == Observer::TwoDegree ? observer1931 : observer1964;
}

}
