#include "Vondrel/DeviceDriver/GENERIC/Configuration/Property.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <utility>

namespace Vondrel::DeviceDriver::Generic::Configuration {

namespace {

constexpr std::size_t elementSize = 4;

template<typename T>
std::vector<T> Decode(const std::vector<std::uint8_t>& bytes, T (*decode)(const std::uint8_t*))
{
    std::vector<T> values(bytes.size() / elementSize);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = decode(bytes.data() + i * elementSize);
    return values;
}

template<typename T>
std::vector<std::uint8_t> Encode(const std::vector<T>& values, void (*encode)(T, std::uint8_t*))
{
    std::vector<std::uint8_t> bytes(values.size() * elementSize);
    for (std::size_t i = 0; i < values.size(); ++i)
        encode(values[i], bytes.data() + i * elementSize);
    return bytes;
}

}

Property::Property(const std::vector<float>& value) : floatValues(value), memberType(FloatVector) { }

Property::Property(const std::vector<std::int32_t>& value) : longValues(value), memberType(LongVector) { }

Property::Property(float value) : floatValues{value}, memberType(FloatScalar) { }

Property::Property(std::int32_t value) : longValues{value}, memberType(LongScalar) { }

Property::Property(std::int16_t value) : Property(std::int32_t{value}) { }

Property::Property(std::int8_t value) : Property(std::int32_t{value}) { }

Property& Property::Assign(float value)
try {
    return AssignInternal(std::vector<float>{value}, FloatScalar);
}
TRACE_GUARD("Property", "Assign")

Property& Property::Assign(std::int32_t value)
try {
    return AssignInternal(std::vector<std::int32_t>{value}, LongScalar);
}
TRACE_GUARD("Property", "Assign")

Property& Property::Assign(std::int16_t value)
{
    return Assign(std::int32_t{value});
}

Property& Property::Assign(std::int8_t value)
{
    return Assign(std::int32_t{value});
}

Property& Property::Assign(const std::vector<float>& value)
try {
    return AssignInternal(value, FloatVector);
}
TRACE_GUARD("Property", "Assign")

Property& Property::Assign(const std::vector<std::int32_t>& value)
try {
    return AssignInternal(value, LongVector);
}
TRACE_GUARD("Property", "Assign")

Property& Property::Assign(const std::vector<std::uint8_t>& bytes)
try {
    switch (memberType) {
    case LongScalar:
    case LongVector:
        return AssignInternal(Decode<std::int32_t>(bytes, EndianConversion::ByteArrayToLong), memberType);
    case FloatScalar:
    case FloatVector:
        return AssignInternal(Decode<float>(bytes, EndianConversion::ByteArrayToFloat), memberType);
    case NoValue:
        break;
    }
    throw DataException("Invalid configuration data type.", THROW_LOCATION("Property", "Assign"));
}
TRACE_GUARD("Property", "Assign")

Property& Property::AssignInternal(std::vector<float> values, MemberType type)
{
    floatValues = std::move(values);
    longValues.clear();
    memberType = type;
    return *this;
}

Property& Property::AssignInternal(std::vector<std::int32_t> values, MemberType type)
{
    longValues = std::move(values);
    floatValues.clear();
    memberType = type;
    return *this;
}

std::int32_t Property::AsLong() const
try {
    if (longValues.empty())
        throw DataException("Configuration data holds no integer", THROW_LOCATION("Property", "AsLong"));
    return longValues.front();
}
TRACE_GUARD("Property", "AsLong")

float Property::AsFloat() const
try {
    if (floatValues.empty())
        throw DataException("Configuration data holds no float", THROW_LOCATION("Property", "AsFloat"));
    return floatValues.front();
}
TRACE_GUARD("Property", "AsFloat")

std::vector<std::uint8_t> Property::AsByteVector() const
try {
    switch (memberType) {
    case LongScalar:
    case LongVector:
        return Encode<std::int32_t>(longValues, EndianConversion::LongToByteArray);
    case FloatScalar:
    case FloatVector:
        return Encode<float>(floatValues, EndianConversion::FloatToByteArray);
    case NoValue:
        break;
    }
    throw DataException("Invalid configuration data type.", THROW_LOCATION("Property", "AsByteVector"));
}
TRACE_GUARD("Property", "AsByteVector")

}
