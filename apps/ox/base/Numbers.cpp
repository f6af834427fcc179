#include "apps/ox/base/Numbers.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace Ox {

void AppendNumber(std::string& text, float value)
{
    if (std::isnan(value))
        return;
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    text.append(digits, end);
}

std::string FixedNumber(float value, int decimals)
{
    if (std::isnan(value))
        return "-";
    char digits[80];
    std::snprintf(digits, sizeof digits, "%.*f", decimals, static_cast<double>(value));
    // What rounds to nothing has no sign.
    const std::string_view text = digits;
    return std::string(text.find_first_not_of("-0.") == std::string_view::npos && text[0] == '-' ? text.substr(1)
                                                                                                 : text);
}

std::optional<float> ParseNumber(std::string_view text)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    float value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (stop != end || text.empty())
        return std::nullopt;
    if (error == std::errc::result_out_of_range) { // too small or too large for a float
        double wide = 0;
        if (std::from_chars(text.data(), end, wide).ec != std::errc() || std::abs(wide) > 1)
            return std::nullopt;
        return static_cast<float>(wide);
    }
    return error == std::errc() && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

}
