// The bench's side of the platform seam, but for ports and pipes.

#include "platform/Clock.h"
#include "platform/NamedLock.h"
#include "platform/Tone.h"
#include "virtual/bench/Bench.h"
#include "virtual/bench/SharedLocks.h"

#include <atomic>
#include <string>

namespace {

std::atomic<bool> locksAreShared{false};

/// Milliseconds, with up to three decimals where they are not whole.
std::string MillisecondText(std::int64_t microseconds)
{
    std::string text = std::to_string(microseconds / 1000);
    const std::int64_t rest = microseconds % 1000;
    if (rest == 0)
        return text;
    std::string decimals = std::to_string(1000 + rest).substr(1);
    decimals.erase(decimals.find_last_not_of('0') + 1);
    return text + "." + decimals;
}

}

namespace Virtual {

void ShareLocks(bool on) noexcept
{
    locksAreShared = on;
}

}

namespace Platform {

std::int64_t NowMicroseconds() noexcept
{
    const Virtual::BenchLock lock;
    return Virtual::Bench::Instance().WallClock();
}

std::int64_t MonotonicMicroseconds() noexcept
{
    const Virtual::BenchLock lock;
    return Virtual::Bench::Instance().Now();
}

void SleepMicroseconds(std::int64_t microseconds) noexcept
try {
    if (microseconds <= 0)
        return;
    Virtual::BenchLock lock;
    auto& bench = Virtual::Bench::Instance();
    bench.TraceEverywhere("sleep " + MillisecondText(microseconds) + " ms");
    bench.Sleep(lock, microseconds);
} catch (...) {
    // Out of memory: a sleep that has become shorter is no failure.
}

bool LocksAreSystemWide()
{
    return locksAreShared;
}

void Beep(std::int32_t frequency, std::int32_t milliseconds) noexcept
try {
    const Virtual::BenchLock lock;
    Virtual::Bench::Instance().TraceEverywhere("beep " + std::to_string(frequency) + " "
                                               + std::to_string(milliseconds));
} catch (...) {
    // Out of memory: a line is missing in the traces.
}

}
