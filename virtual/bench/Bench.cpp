#include "virtual/bench/Bench.h"

#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/Semaphore.h"
#include "platform/Threading.h"
#include "virtual/bench/Furnish.h"
#include "virtual/bench/Kinds.h"
#include "virtual/bench/Refusal.h"
#include "virtual/bench/SerialTransport.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <tuple>
#include <utility>

namespace Virtual {

namespace {

constexpr std::int64_t startOfWallClock = 1577836800000000; // 2020-01-01 00:00:00 UTC, microseconds
constexpr std::int64_t mostRealMillisecondsOfASleep = 3000; // that a sleep spends on deliveries
constexpr int usbPlaces = 128;
constexpr int serialPorts = 8;
constexpr std::string_view colorimeterPrefix = "colorimeter-";

std::int64_t RealMillisecondsUntil(Moment now, Moment moment)
{
    return (moment - now + 999) / 1000;
}

Platform::Semaphore& Guard()
{
    static Platform::Semaphore* guard = Platform::Semaphore::Make({}, 1, 1).release();
    return *guard;
}

/// A decimal number without anything else; -1 for another text.
int Number(std::string_view text)
{
    int number = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : -1;
}

std::shared_ptr<Instrument> Make(std::string_view kind)
{
    std::shared_ptr<Instrument> instrument;
    if (kind == "spectrophotometer")
        instrument = MakeSpectrophotometer();
    else if (kind.starts_with(colorimeterPrefix))
        instrument = MakeColorimeter(Number(kind.substr(colorimeterPrefix.size())));
    if (!instrument)
        throw Refusal(OXV_NO_SUCH_NAME, "there is no instrument of the kind \"" + std::string(kind) + "\"");
    return instrument;
}

/// The place of a text, its number -1 where the bench is to choose.
Place PlaceNamed(std::string_view where, bool spectrophotometer)
{
    const auto colon = where.find(':');
    const auto road = where.substr(0, colon);
    const int number = colon == std::string_view::npos ? -1 : Number(where.substr(colon + 1));
    if (where == "usb")
        return {Place::Road::usb, -1};
    if (road == "usb" && number >= 0 && number < usbPlaces)
        return {Place::Road::usb, number};

    const bool onPort = road == "serial" && number >= 1 && number <= serialPorts;
    if (!onPort && where != "pty")
        throw Refusal(OXV_BAD_VALUE, "there is no place \"" + std::string(where) + "\"");
    if (spectrophotometer)
        throw Refusal(OXV_NOT_POSSIBLE, "a spectrophotometer goes on USB only");
    return onPort ? Place{Place::Road::serial, number} : Place{Place::Road::pty, 0};
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
struct Bench::Waiter {
    std::unique_ptr<Platform::Event> changed = Platform::Event::Make();
};

Bench::Bench() : wallOffset(startOfWallClock) { }

Bench& Bench::Instance()
{
    static Bench* bench = new Bench;
    static std::atomic<bool> furnished = false; // attaching comes back here
    if (!furnished.exchange(true))
        FurnishFromEnvironment(*bench);
    return *bench;
}

// ---- instruments

oxv_device Bench::Attach(std::string_view kind, std::string_view where)
{
    Entry entry{lastHandle + 1, kind == "spectrophotometer", {}, Make(kind)};
    entry.place = PlaceNamed(where, entry.spectrophotometer);
    ChoosePlace(entry);

    Instrument& instrument = *entry.instrument;
    instrument.TakePlace(entry.place);
    instrument.Seed(SeedOf(entry));
    if (entry.place.road == Place::Road::pty)
        OpenPseudoTerminal(entry.instrument);
    ++lastHandle;
    entries.push_back(std::move(entry));
    std::ranges::sort(entries, {}, [](const Entry& each) {
        return std::tuple(!each.spectrophotometer, each.place.road, each.place.number, each.handle);
    });
    instrument.Plug(Now());
    Changed();
    return lastHandle;
}

void Bench::ChoosePlace(Entry& entry) const
{
    const auto isTaken = [&](int number) {
        return std::ranges::any_of(entries, [&](const Entry& other) {
            return other.spectrophotometer == entry.spectrophotometer && other.place.road == entry.place.road
                && other.place.number == number;
        });
    };
    Place& place = entry.place;
    if (place.road == Place::Road::pty)
        return;
    if (place.number < 0)
        for (place.number = 0; place.number < usbPlaces && isTaken(place.number);)
            ++place.number;
    if (place.number == usbPlaces || isTaken(place.number))
        throw Refusal(OXV_NOT_POSSIBLE, "the place is taken");
}

void Bench::Remove(oxv_device device)
{
    Instrument& instrument = Find(device);
    instrument.Unplug(Now());
    CloseRoads(instrument);
    std::erase_if(entries, [&](const Entry& entry) { return entry.handle == device; });
    Changed();
}

void Bench::Reset()
{
    for (const auto& entry : std::vector<Entry>(entries))
        Remove(entry.handle);
    monotonic = Now();
    real = false;
    wallOffset = startOfWallClock - monotonic;
    noiseSeed = 0;
    Changed();
}

const Bench::Entry& Bench::EntryOf(oxv_device device) const
{
    const auto entry = std::ranges::find(entries, device, &Entry::handle);
    if (entry == entries.end())
        throw Refusal(OXV_NO_SUCH_DEVICE, "no instrument on the bench has the handle " + std::to_string(device));
    return *entry;
}

Instrument& Bench::Find(oxv_device device) const
{
    return *EntryOf(device).instrument;
}

std::shared_ptr<Instrument> Bench::Colorimeter(Place::Road road, int number) const
{
    const auto entry = std::ranges::find_if(entries, [&](const Entry& each) {
        return !each.spectrophotometer && each.place.road == road && each.place.number == number;
    });
    return entry == entries.end() ? nullptr : entry->instrument;
}

std::uint64_t Bench::SeedOf(const Entry& entry) const
{
    // Instruments differ in their noise, and an instrument on the same place has the same.
    const auto place =
        static_cast<std::uint64_t>(entry.place.number) * 4 + static_cast<std::uint64_t>(entry.place.road);
    return noiseSeed * 1000003 + place * 2 + (entry.spectrophotometer ? 1 : 0);
}

void Bench::Seed(std::uint64_t seed)
{
    noiseSeed = seed;
    for (const auto& entry : entries)
        entry.instrument->Seed(SeedOf(entry));
}

void Bench::TraceEverywhere(const std::string& line)
{
    for (const auto& entry : entries)
        entry.instrument->trace.Add(Trace::Channel::main, line);
}

// ---- the clock

Moment Bench::Now() const
{
    return real ? monotonic + (Platform::RealMicroseconds() - realSince) : monotonic;
}

std::int64_t Bench::WallClock() const
{
    return Now() + wallOffset;
}

void Bench::SetClockReal(bool on)
{
    monotonic = Now();
    realSince = Platform::RealMicroseconds();
    real = on;
    Changed();
}

void Bench::AdvanceTo(Moment moment)
{
    if (real || moment <= monotonic)
        return;
    monotonic = moment;
    Changed();
}

Moment Bench::After(std::int64_t microseconds) const
{
    return Now() + std::min(microseconds, longestWait);
}

// ---- waiting

void Bench::Changed()
{
    for (Waiter* waiter : waiters)
        if (waiter->changed)
            waiter->changed->Set();
}

void Bench::Block(BenchLock& lock, std::optional<std::int64_t> realMilliseconds)
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

bool Bench::WaitFor(BenchLock& lock, const Due& due, std::optional<Moment> deadline)
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

bool Bench::IsSettled() const
{
    return std::ranges::all_of(entries, [&](const Entry& entry) { return entry.instrument->IsSettled(Now()); });
}

bool Bench::Settle(BenchLock& lock, std::int64_t realMilliseconds)
{
    const std::int64_t start = Platform::RealMicroseconds();
    while (!IsSettled()) {
        const std::int64_t left = realMilliseconds - (Platform::RealMicroseconds() - start) / 1000;
        if (left <= 0)
            return false;
        Block(lock, left);
    }
    return true;
}

std::optional<Moment> Bench::NextMessage() const
{
    std::optional<Moment> next;
    for (const auto& entry : entries)
        if (const auto due = entry.instrument->NextMessage())
            next = next ? std::min(*next, *due) : *due;
    return next;
}

void Bench::Sleep(BenchLock& lock, std::int64_t microseconds)
{
    if (microseconds <= 0)
        return;
    const Moment end = After(microseconds);
    if (!real) {
        bool settled = Settle(lock, mostRealMillisecondsOfASleep);
        for (auto next = NextMessage(); settled && next && *next <= end; next = NextMessage()) {
            AdvanceTo(*next);
            settled = Settle(lock, mostRealMillisecondsOfASleep);
        }
    }
    WaitFor(
        lock, [] { return std::optional<Moment>(); }, end);
}

}
