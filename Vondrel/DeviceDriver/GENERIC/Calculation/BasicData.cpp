#include "Vondrel/DeviceDriver/GENERIC/Calculation/BasicData.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace Vondrel::DeviceDriver::Generic::Calculation {

namespace {

constexpr double integrationTimeTolerance = 0.001; // seconds

}

void BasicData::StoreData(const std::vector<float>& values)
try {
    LoadData() = values;
}
TRACE_GUARD("BasicData", "StoreData")

const std::vector<float>& BasicData::LoadData() const
try {
    ThrowIfDataNotValid();
    return data[index];
}
TRACE_GUARD("BasicData", "LoadData")

std::vector<float>& BasicData::LoadData()
try {
    ThrowIfDataNotValid();
    return data[index];
}
TRACE_GUARD("BasicData", "LoadData")

// One operation on two floats rounds to the same float whether it is computed in single or in double precision.

BasicData& BasicData::operator-=(const BasicData& other)
try {
    ThrowIfDataNotConsistent(other);
    std::vector<float>& left = LoadData();
    std::transform(left.begin(), left.end(), other.LoadData().begin(), left.begin(), std::minus<>());
    return *this;
}
TRACE_GUARD("BasicData", "operator-=")

BasicData& BasicData::operator*=(const BasicData& other)
try {
    ThrowIfDataNotConsistent(other);
    std::vector<float>& left = LoadData();
    std::transform(left.begin(), left.end(), other.LoadData().begin(), left.begin(), std::multiplies<>());
    return *this;
}
TRACE_GUARD("BasicData", "operator*=")

BasicData& BasicData::operator/=(const BasicData& other)
try {
    ThrowIfDataNotConsistent(other);
    std::vector<float>& left = LoadData();
    const std::vector<float>& right = other.LoadData();
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (right[i] == 0)
            throw CalculationException("Unable to divide (division by zero)",
                                       THROW_LOCATION("BasicData", "operator/="));
        left[i] /= right[i];
    }
    return *this;
}
TRACE_GUARD("BasicData", "operator/=")

void BasicData::operator++(int)
{
    if (index + 1 < data.size())
        ++index;
}

void BasicData::SetSize(std::size_t count)
try {
    data.resize(count);
    Begin();
}
TRACE_GUARD("BasicData", "SetSize")

bool BasicData::DataIsFinite() const
{
    const auto isFinite = [](const std::vector<float>& values) {
        return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
    };
    return DataIsValid() && std::all_of(data.begin(), data.end(), isFinite);
}

void BasicData::ThrowIfDataNotValid() const
{
    if (!DataIsValid())
        throw DataException("Data not valid", THROW_LOCATION("BasicData", "ThrowIfDataNotValid"));
}

void BasicData::ThrowIfDataNotConsistent(const BasicData& other) const
try {
    const char* different = nullptr;
    if (LoadData().size() != other.LoadData().size())
        different = "vector size";
    else if (gain != other.gain)
        different = "gain";
    else if (!(integrationTime >= other.integrationTime - integrationTimeTolerance
               && integrationTime <= other.integrationTime + integrationTimeTolerance))
        different = "integration time";
    if (different != nullptr)
        throw CalculationException(std::string("Unable to calculate (different ") + different + ")",
                                   THROW_LOCATION("BasicData", "ThrowIfDataNotConsistent"));
}
TRACE_GUARD("BasicData", "ThrowIfDataNotConsistent")

}
