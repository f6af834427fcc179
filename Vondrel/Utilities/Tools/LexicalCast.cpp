#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <charconv>
#include <cmath>
#include <locale>
#include <sstream>
#include <stdexcept>

namespace Vondrel::Utilities::Tools::Lexical {

namespace {

/// Plain numbers take the fast road. What has blanks, signs, other words or a tail is left to a real stream, whose ways
/// are the contract.
template<typename Number>
bool ReadNumber(std::string_view text, Number& value)
{
    const char* const end = text.data() + text.size();
    Number number{};
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && stop == end && std::isfinite(static_cast<double>(number))) {
        value = number;
        return true;
    }
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    return static_cast<bool>(stream >> value);
}

template<typename Number, typename... Format>
std::string WriteNumber(Number value, Format... format)
{
    char text[32]; // 20 digits and a sign, or -1.23457e-308
    return std::string(text, std::to_chars(text, text + sizeof text, value, format...).ptr);
}

}

bool Read(std::string_view text, std::int16_t& value)
{
    return ReadNumber(text, value);
}
bool Read(std::string_view text, std::uint16_t& value)
{
    return ReadNumber(text, value);
}
bool Read(std::string_view text, std::int32_t& value)
{
    return ReadNumber(text, value);
}
bool Read(std::string_view text, std::uint32_t& value)
{
    return ReadNumber(text, value);
}
bool Read(std::string_view text, float& value)
{
    return ReadNumber(text, value);
}
bool Read(std::string_view text, double& value)
{
    return ReadNumber(text, value);
}

std::string Write(long long value)
{
    return WriteNumber(value);
}
std::string Write(unsigned long long value)
{
    return WriteNumber(value);
}
std::string Write(double value)
{
    return WriteNumber(value, std::chars_format::general, 6);
}

void Refuse(std::string_view text, const std::type_info& from, const std::type_info& to)
{
    using Exceptions::TypeName;
    throw std::invalid_argument("lexical_cast(): fail to convert '" + std::string(text) + "' from " + TypeName(from)
                                + " to " + TypeName(to));
}

}
