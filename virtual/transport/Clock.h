#pragma once

#include "virtual/instrument/Instrument.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace Virtual {

/// The bench's one lock, for the length of a scope. It guards the clock, the registry and every instrument. Not
/// recursive; never held while anything of the library runs.
class BenchLock {
public:
    BenchLock();
    ~BenchLock();
    BenchLock(const BenchLock&) = delete;
    BenchLock& operator=(const BenchLock&) = delete;

private:
    friend class Clock;
    void Release();
    void Acquire();
};

/// The bench's clock, and whoever waits for something to happen on it. Every call needs the lock.
class Clock {
public:
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    Moment Now() const;             ///< microseconds, never steps back
    std::int64_t WallClock() const; ///< microseconds since 1970
    /// So long after now, or `longestWait` after now if that is earlier.
    Moment After(std::int64_t microseconds) const;
    static constexpr std::int64_t longestWait = 1000000000000000; ///< microseconds: some 31 years
    bool ClockIsReal() const { return real; }
    void SetClockReal(bool on);

    /// Moves a virtual clock on to a moment, if that lies ahead, and wakes those who wait for it. No effect on a real
    /// one.
    void AdvanceTo(Moment moment);

    using Due = std::function<std::optional<Moment>()>;

    /// Waits for something that is due at a moment, as far as that moment is known.
    ///
    /// With a deadline, virtual time moves to the earlier of the two and the call returns at once. Without a deadline
    /// it never moves: then the call waits in real time until the moment has come or `due` changes its mind. `due` is
    /// asked again after every Changed(). Gives the lock up while it blocks.
    /// @param due  the moment, none if nothing is to come as things stand
    /// @return true once `due` has come by the deadline, however far the clock has gone meanwhile
    bool WaitFor(BenchLock& lock, const Due& due, std::optional<Moment> deadline);

    /// Something has happened that may end a wait: everybody looks again.
    void Changed();

protected:
    Clock();
    ~Clock() = default;

    /// Virtual again, at the start of the wall clock.
    void ResetClock();

    /// Waits in real time until something has changed; none waits for ever.
    void Block(BenchLock& lock, std::optional<std::int64_t> realMilliseconds);

private:
    struct Waiter;

    std::vector<Waiter*> waiters;
    Moment monotonic = 0;        // of a virtual clock; of a real one at the moment in realSince
    std::int64_t wallOffset = 0; // wall clock less monotonic clock
    std::int64_t realSince = 0;  // the platform's time at which the clock became real
    bool real = false;
};

}
