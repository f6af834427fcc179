#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Ox {

/// Appends the shortest digits that read back to the same float, never localised. NaN appends nothing.
void AppendNumber(std::string& text, float value);

/// A number with a fixed count of decimals, for people; "-" for NaN.
std::string FixedNumber(float value, int decimals);

/// Reads a whole text as a number: digits with a point, a sign, an exponent. Nothing for any other text, and for one
/// that is not finite as a float.
std::optional<float> ParseNumber(std::string_view text);

}
