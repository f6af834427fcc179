#include "platform/Clock.h"

#include <climits>
#include <ctime>
#include <locale.h>

namespace Platform {

namespace {

bool Fits(std::int64_t value)
{
    return value >= INT_MIN && value <= INT_MAX;
}

/// English names of months and days, whatever the application's locale.
locale_t ClassicLocale()
{
    static const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return classic;
}

}

std::int64_t RealMicroseconds() noexcept
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(1'000'000) * now.tv_sec + now.tv_nsec / 1000;
}

bool ToLocalTime(std::int64_t seconds, CalendarTime& local) noexcept
{
    const std::time_t moment = seconds;
    std::tm parts{};
    if (::localtime_r(&moment, &parts) == nullptr)
        return false;
    local = {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
    return true;
}

std::int64_t FromLocalTime(const CalendarTime& local) noexcept
{
    const std::int64_t year = std::int64_t(local.year) - 1900;
    const std::int64_t month = std::int64_t(local.month) - 1;
    if (!Fits(year) || !Fits(month))
        return -1;
    std::tm parts{};
    parts.tm_year = static_cast<int>(year);
    parts.tm_mon = static_cast<int>(month);
    parts.tm_mday = local.day;
    parts.tm_hour = local.hour;
    parts.tm_min = local.minute;
    parts.tm_sec = local.second;
    return std::mktime(&parts);
}

std::size_t FormatLocalTime(std::int64_t seconds, const char* format, char* text, std::size_t size) noexcept
{
    const std::time_t moment = seconds;
    std::tm parts{};
    if (::localtime_r(&moment, &parts) == nullptr)
        return 0;
    return ClassicLocale() != nullptr ? ::strftime_l(text, size, format, &parts, ClassicLocale())
                                      : std::strftime(text, size, format, &parts);
}

}
