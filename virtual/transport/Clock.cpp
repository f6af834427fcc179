#include "virtual/transport/Clock.h"

#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/Semaphore.h"
#include "platform/Threading.h"

#include <algorithm>
#include <memory>

namespace Virtual {

namespace {

constexpr std::int64_t startOfWallClock = 1577836800000000; // 2020-01-01 00:00:00 UTC, microseconds

std::int64_t RealMillisecondsUntil(Moment now, Moment moment)
{
    return (moment - now + 999) / 1000;
}

Platform::Semaphore& Guard()
{
    static Platform::Semaphore* guard = Platform::Semaphore::Make({}, 1, 1).release();
    return *guard;
}

}

BenchLock::BenchLock()
{
    Acquire();
}

BenchLock::~BenchLock()
{
    Release();
}

void BenchLock::Acquire()
{
    Guard().Acquire(std::nullopt);
}

void BenchLock::Release()
{
    Guard().Release();
}

/// Somebody who blocks until something has changed.
struct Clock::Waiter {
    std::unique_ptr<Platform::Event> changed = Platform::Event::Make();
};

Clock::Clock() : wallOffset(startOfWallClock) { }

Moment Clock::Now() const
{
    return real ? monotonic + (Platform::RealMicroseconds() - realSince) : monotonic;
}

std::int64_t Clock::WallClock() const
{
    return Now() + wallOffset;
}

void Clock::SetClockReal(bool on)
{
    monotonic = Now();
    realSince = Platform::RealMicroseconds();
    real = on;
    Changed();
}

void Clock::AdvanceTo(Moment moment)
{
    if (real || moment <= monotonic)
        return;
    monotonic = moment;
    Changed();
}

Moment Clock::After(std::int64_t microseconds) const
{
    return Now() + std::min(microseconds, longestWait);
}

void Clock::ResetClock()
{
    monotonic = Now();
    real = false;
    wallOffset = startOfWallClock - monotonic;
}

void Clock::Changed()
{
    for (Waiter* waiter : waiters)
        if (waiter->changed)
            waiter->changed->Set();
}

void Clock::Block(BenchLock& lock, std::optional<std::int64_t> realMilliseconds)
{
    Waiter waiter;
    waiters.push_back(&waiter);
    lock.Release();
    if (waiter.changed)
        waiter.changed->Wait(realMilliseconds);
    else
        Platform::YieldThread();
    lock.Acquire();
    std::erase(waiters, &waiter);
}

bool Clock::WaitFor(BenchLock& lock, const Due& due, std::optional<Moment> deadline)
{
    for (;;) {
        const std::optional<Moment> moment = due();
        if (moment && *moment <= Now() && (!deadline || *moment <= *deadline))
            return true;
        if (deadline && Now() >= *deadline)
            return false;
        const auto end = moment && deadline ? std::min(*moment, *deadline) : moment ? moment : deadline;
        if (deadline && !real)
            AdvanceTo(*end);
        else
            Block(lock, real && end ? std::optional(RealMillisecondsUntil(Now(), *end)) : std::nullopt);
    }
}

}
