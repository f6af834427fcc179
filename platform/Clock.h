#pragma once

#include <cstddef>
#include <cstdint>

/// The platform's clock. Timing, DateTime, the limits of transfers and the toolkit's waits use it, and nothing else:
/// locks, conditions, joins and the start and end of threads use real monotonic time. On the virtual bench this clock
/// is the bench's. Plain functions that never throw, callable from any thread.
namespace Platform {

/// Wall clock, microseconds since 1970-01-01 UTC.
std::int64_t NowMicroseconds() noexcept;

/// A clock that never steps back, microseconds since an arbitrary start.
std::int64_t MonotonicMicroseconds() noexcept;

/// Real time that never steps back, microseconds since an arbitrary start: on the bench too, whatever its clock says.
std::int64_t RealMicroseconds() noexcept;

/// Blocks the calling thread; zero and negative times return at once.
void SleepMicroseconds(std::int64_t microseconds) noexcept;

/// Local time, broken down.
struct CalendarTime {
    std::int32_t year;   ///< full year
    std::int32_t month;  ///< 1 to 12
    std::int32_t day;    ///< 1 to 31
    std::int32_t hour;   ///< 0 to 23
    std::int32_t minute; ///< 0 to 59
    std::int32_t second; ///< 0 to 60
};

/// Local time of a moment in seconds since 1970. False if the platform cannot say.
bool ToLocalTime(std::int64_t seconds, CalendarTime& local) noexcept;

/// Moment of a local time, told in the zone's standard time all year round; fields outside their range are carried
/// over.
/// @return seconds since 1970, or -1 if there is no such moment
std::int64_t FromLocalTime(const CalendarTime& local) noexcept;

/// Formats a moment as local time by the rules of strftime.
/// @return bytes written without the final zero; 0 if the text does not fit into `size` bytes
std::size_t FormatLocalTime(std::int64_t seconds, const char* format, char* text, std::size_t size) noexcept;

}
