#pragma once

#include "virtual/instrument/Instrument.h"
#include "virtual/orvex-virtual.h"
#include "virtual/transport/Clock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Virtual {

/// The bench: its clock, and the instruments on their places. One for the process, never destroyed. Every call but
/// Instance needs the lock.
class Bench : public Clock {
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

    // ---- sleeping

    /// A sleep of the host: interrupt messages and removals that are due before its end are delivered first.
    void Sleep(BenchLock& lock, std::int64_t microseconds);

    /// Waits in real time until the host has taken up every interrupt message and removal that is due by now.
    bool Settle(BenchLock& lock, std::int64_t realMilliseconds);

private:
    Bench() = default;
    void ChoosePlace(Entry& entry) const;
    std::uint64_t SeedOf(const Entry& entry) const;
    bool IsSettled() const;
    std::optional<Moment> NextMessage() const;

    std::vector<Entry> entries;
    oxv_device lastHandle = 0;
    std::uint64_t noiseSeed = 0;
};

}
