#include "Vondrel/Utilities/Tools/DateTime.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "platform/Clock.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace Vondrel::Utilities::Tools {

namespace {

using std::string_view;

/// Cuts the part before the next `separator` off the text.
string_view CutPart(string_view& text, char separator)
{
    const std::size_t place = text.find(separator);
    if (place == string_view::npos)
        throw std::invalid_argument("a part is missing");
    const string_view part = text.substr(0, place);
    text.remove_prefix(place + 1);
    return part;
}

struct Triple {
    std::int32_t first, second, third;
};

/// Exactly three numbers.
Triple ReadTriple(string_view text, char separator)
{
    const string_view first = CutPart(text, separator);
    const string_view second = CutPart(text, separator);
    if (text.find(separator) != string_view::npos)
        throw std::invalid_argument("a part too many");
    return {lexical_cast<std::int32_t>(first), lexical_cast<std::int32_t>(second), lexical_cast<std::int32_t>(text)};
}

/// A moment that 32 bits can hold; "no time" for others.
std::int32_t ToSeconds(std::int64_t moment)
{
    return moment != -1 && std::in_range<std::int32_t>(moment) ? static_cast<std::int32_t>(moment) : 0;
}

}

DateTime::DateTime()
try {
    SetNow();
}
TRACE_GUARD("DateTime", "DateTime")

DateTime::DateTime(const std::string& text)
try {
    SetDateTime(text);
}
TRACE_GUARD("DateTime", "DateTime")

DateTime::DateTime(std::int32_t seconds_) : seconds(seconds_) { }

void DateTime::SetNow()
try {
    seconds = ToSeconds(Platform::NowMicroseconds() / 1'000'000);
}
TRACE_GUARD("DateTime", "SetNow")

std::string DateTime::GetDateTime() const
try {
    return Format(dateTimeFormat);
}
TRACE_GUARD("DateTime", "GetDateTime")

std::string DateTime::GetDate() const
try {
    return Format(dateFormat);
}
TRACE_GUARD("DateTime", "GetDate")

std::string DateTime::GetTime() const
try {
    return Format(timeFormat);
}
TRACE_GUARD("DateTime", "GetTime")

bool DateTime::SetDateTime(const std::string& text)
{
    try {
        string_view rest = text;
        const Triple date = ReadTriple(CutPart(rest, '/'), '-');
        const Triple time = ReadTriple(rest, ':');
        seconds = ToSeconds(
            Platform::FromLocalTime({date.first, date.second, date.third, time.first, time.second, time.third}));
        return true;
    } catch (...) {
        return false;
    }
}

std::string DateTime::Format(const std::string& format) const
{
    if (seconds == 0)
        return {};
    char text[64];
    return std::string(text, Platform::FormatLocalTime(seconds, format.c_str(), text, sizeof text));
}

}
