#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vondrel::DeviceDriver::Generic::Configuration {

/// One typed value: a 32-bit integer or a single-precision float, scalar or vector.
///
/// A scalar differs from a vector by its tag only: a scalar that was decoded from eight bytes holds two elements and
/// stays a scalar. Nothing converts between integer and float; ask for the type that the id has by its definition.
/// No operation changes the object when it fails.
class Property {
public:
    enum MemberType : std::int32_t { NoValue = -1, LongScalar, LongVector, FloatScalar, FloatVector };

    Property() = default;
    Property(const std::vector<float>& value);
    Property(const std::vector<std::int32_t>& value);
    Property(float value);
    Property(std::int32_t value);
    Property(std::int16_t value);
    Property(std::int8_t value);

    Property& Assign(float value);
    Property& Assign(std::int32_t value);
    Property& Assign(std::int16_t value);
    Property& Assign(std::int8_t value);
    Property& Assign(const std::vector<float>& value);
    Property& Assign(const std::vector<std::int32_t>& value);

    /// Decodes elements of four bytes each, most significant byte first; up to three trailing bytes are ignored. The
    /// type, which must be set before, stays.
    /// @throws DataException "Invalid configuration data type."
    Property& Assign(const std::vector<std::uint8_t>& bytes);

    MemberType GetMemberType() const { return memberType; }

    /// Bytes of the dump form: four for every element.
    std::size_t GetSize() const { return 4 * (longValues.size() + floatValues.size()); }

    /// The first element.
    /// @throws DataException  there is none of this kind
    std::int32_t AsLong() const;
    /// The first element.
    /// @throws DataException  there is none of this kind
    float AsFloat() const;
    /// Empty if the value is not of integers.
    const std::vector<std::int32_t>& AsLongVector() const { return longValues; }
    /// Empty if the value is not of floats.
    const std::vector<float>& AsFloatVector() const { return floatValues; }

    /// The dump form: every element in four bytes, most significant first, a float by its IEEE 754 bits.
    /// @throws DataException "Invalid configuration data type."
    std::vector<std::uint8_t> AsByteVector() const;

private:
    Property& AssignInternal(std::vector<float> values, MemberType type);
    Property& AssignInternal(std::vector<std::int32_t> values, MemberType type);

    std::vector<float> floatValues;
    std::vector<std::int32_t> longValues;
    MemberType memberType = NoValue;
};

}
