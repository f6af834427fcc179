#include "virtual/bench/Bench.h"

#include "platform/Clock.h"
#include "virtual/bench/Furnish.h"
#include "virtual/bench/SerialSeam.h"
#include "virtual/colorimeter/Colorimeter.h"
#include "virtual/instrument/Refusal.h"
#include "virtual/spectrophotometer/Spectrophotometer.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <tuple>
#include <utility>

namespace Virtual {

namespace {

constexpr std::int64_t mostRealMillisecondsOfASleep = 3000; // that a sleep spends on deliveries
constexpr int usbPlaces = 128;
constexpr int serialPorts = 8;
constexpr std::string_view colorimeterPrefix = "colorimeter-";

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
    ResetClock();
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

// ---- sleeping

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
    if (!ClockIsReal()) {
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
