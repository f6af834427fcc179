#include "Vondrel/CMetry/VDColorVector.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/Utilities/Exceptions/Location.h"

#include <algorithm>
#include <cmath>

namespace Vondrel::CMetry {

VDColorVector::VDColorVector(const std::vector<float>& values, const VDMeasureConditions& conditions)
    : measureConditions(conditions)
{
    if (values.size() > elements.size())
        throw CMetryException("A color vector takes at most four values",
                              THROW_LOCATION("VDColorVector", "VDColorVector"));
    std::copy(values.begin(), values.end(), elements.begin());
}

VDColorVector& VDColorVector::operator-=(const VDColorVector& other) noexcept
{
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] -= other.elements[i];
    return *this;
}

VDColorVector& VDColorVector::operator*=(const VDColorVector& other) noexcept
{
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] *= other.elements[i];
    return *this;
}

float VDColorVector::Length() const noexcept
{
    float sum = 0.0F;
    for (const float element : elements)
        sum = Accumulate(sum, element, element);
    return Single(std::sqrt(static_cast<double>(sum)));
}

void VDColorVector::SetMeasureConditions(const VDMeasureConditions& physicalSource,
                                         const VDMeasureConditions& conditions)
{
    const auto filter = physicalSource; // it may be the one that is replaced
    measureConditions = conditions;
    measureConditions.SetPhysMeasCond(filter);
}

}
