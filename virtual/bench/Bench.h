#pragma once

#include "virtual/bench/Instrument.h"
#include "virtual/orvex-virtual.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Virtual {

class Bench;

/// The bench's one lock, for the length of a scope. It guards the clock, the registry and every instrument. Not
/// recursive; never held while anything of the library runs.
class BenchLock {
public:
    BenchLock();
    ~BenchLock();
    BenchLock(const BenchLock&) = delete;
    BenchLock& operator=(const BenchLock&) = delete;

private:
    friend class Bench;
    void Release();
    void Acquire();
};

/// The bench: a clock, the instruments on their places, and whoever waits for something to happen to them. One for the
/// process, never destroyed. Every call but Instance needs the lock.
class Bench {
public:
    static Bench& Instance();

    // ---- instruments

    /// A whole instrument with its place and its number on the bench.
    struct Entry {
        oxv_device handle;
        bool spectrophotometer;
        Place place;
        std::shared_ptr<Instrument> instrument;
    };

    oxv_device Attach(std::string_view kind, std::string_view where);
    void Remove(oxv_device device);
    void Reset();

    /// Throw Refusal for a handle that names no instrument.
    const Entry& EntryOf(oxv_device device) const;
    Instrument& Find(oxv_device device) const;

    /// All instruments, ordered by kind, road and place.
    const std::vector<Entry>& Entries() const { return entries; }

    /// The colorimeter at a USB place (from 0) or at a serial port (from 1), plugged or not; null if the place is
    /// empty.
    std::shared_ptr<Instrument> Colorimeter(Place::Road road, int number) const;

    void Seed(std::uint64_t seed);

    /// Adds a line to the trace of every instrument: for what the host does with no instrument in particular.
    void TraceEverywhere(const std::string& line);

    // ---- the clock

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

    // ---- waiting

    using Due = std::function<std::optional<Moment>()>;

    /// Waits for something that is due at a moment, as far as that moment is known.
    ///
    /// With a deadline, virtual time moves to the earlier of the two and the call returns at once. Without a deadline
    /// it never moves: then the call waits in real time until the moment has come or `due` changes its mind. `due` is
    /// asked again after every Changed(). Gives the lock up while it blocks.
    /// @param due  the moment, none if nothing is to come as things stand
    /// @return true once `due` has come by the deadline, however far the clock has gone meanwhile
    bool WaitFor(BenchLock& lock, const Due& due, std::optional<Moment> deadline);

    /// A sleep of the host: interrupt messages and removals that are due before its end are delivered first.
    void Sleep(BenchLock& lock, std::int64_t microseconds);

    /// Waits in real time until the host has taken up every interrupt message and removal that is due by now.
    bool Settle(BenchLock& lock, std::int64_t realMilliseconds);

    /// Something has happened that may end a wait: everybody looks again.
    void Changed();

private:
    struct Waiter;
    Bench();
    void ChoosePlace(Entry& entry) const;
    std::uint64_t SeedOf(const Entry& entry) const;
    bool IsSettled() const;
    std::optional<Moment> NextMessage() const;
    void Block(BenchLock& lock, std::optional<std::int64_t> realMilliseconds);

    std::vector<Entry> entries;
    std::vector<Waiter*> waiters;
    oxv_device lastHandle = 0;
    std::uint64_t noiseSeed = 0;
    Moment monotonic = 0;        // of a virtual clock; of a real one at the moment in realSince
    std::int64_t wallOffset = 0; // wall clock less monotonic clock
    std::int64_t realSince = 0;  // the platform's time at which the clock became real
    bool real = false;
};

}
