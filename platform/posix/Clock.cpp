#include "platform/Clock.h"

#include <cerrno>
#include <ctime>

namespace Platform {

namespace {

constexpr std::int64_t million = 1'000'000;

}

std::int64_t NowMicroseconds() noexcept
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * million + now.tv_nsec / 1000;
}

std::int64_t MonotonicMicroseconds() noexcept
{
    return RealMicroseconds();
}

void SleepMicroseconds(std::int64_t microseconds) noexcept
{
    if (microseconds <= 0)
        return;
    timespec left{microseconds / million, microseconds % million * 1000};
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) { }
}

}
