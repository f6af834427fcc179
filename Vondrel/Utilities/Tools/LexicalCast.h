#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace Vondrel::Utilities::Tools {

namespace Lexical {

// Reads as a stream in the classic locale would. False if there is no number or it does not fit.
bool Read(std::string_view text, std::int16_t& value);
bool Read(std::string_view text, std::uint16_t& value);
bool Read(std::string_view text, std::int32_t& value);
bool Read(std::string_view text, std::uint32_t& value);
bool Read(std::string_view text, float& value);
bool Read(std::string_view text, double& value);

// Writes as a stream with default settings in the classic locale would.
std::string Write(long long value);
std::string Write(unsigned long long value);
std::string Write(double value);

[[noreturn]] void Refuse(std::string_view text, const std::type_info& from, const std::type_info& to);

/// What a type reads as: `long` is a number of 32 bits in text, whatever it is on this machine.
template<typename T>
struct ReadAs {
    using Type = T;
};
template<>
struct ReadAs<long> {
    using Type = std::int32_t;
};
template<>
struct ReadAs<unsigned long> {
    using Type = std::uint32_t;
};

}

/// Converts text to a number: leading white space is skipped, reading stops at the first character that does not belong
/// to the number ("12ab" gives 12), a negative number becomes an unsigned one modulo its range.
/// Converts a number or an enumeration to text: whole numbers in decimal, floats with six significant digits.
/// Always in the classic locale.
/// @throws std::invalid_argument "lexical_cast(): fail to convert ...": no number there, or out of range
template<typename To, typename From>
To lexical_cast(const From& value)
{
    if constexpr (std::is_convertible_v<const From&, std::string_view>) {
        typename Lexical::ReadAs<To>::Type number{};
        if (!Lexical::Read(value, number))
            Lexical::Refuse(value, typeid(std::decay_t<const From&>), typeid(To));
        return number;
    } else {
        static_assert(std::is_same_v<To, std::string>);
        static_assert(std::is_enum_v<From> || (std::is_arithmetic_v<From> && !std::is_same_v<From, char>));
        if constexpr (std::is_floating_point_v<From>)
            return Lexical::Write(static_cast<double>(value));
        else if constexpr (std::is_enum_v<From>)
            return Lexical::Write(static_cast<long long>(value));
        else if constexpr (std::is_signed_v<From>)
            return Lexical::Write(static_cast<long long>(value));
        else
            return Lexical::Write(static_cast<unsigned long long>(value));
    }
}

}
