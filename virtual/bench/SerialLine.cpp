#include "virtual/bench/SerialLine.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

namespace Virtual {

namespace {

constexpr Moment millisecond = 1000;

/// The end of a read of so many bytes; none without a limit.
std::optional<Moment> EndOfRead(const Platform::SerialLimits& limits, std::size_t size, Moment now)
{
    if (limits.readMultiplier == 0 && limits.readConstant == 0)
        return std::nullopt;
    return now + millisecond * (Moment{limits.readMultiplier} * static_cast<Moment>(size) + limits.readConstant);
}

}

SerialLine::SerialLine(std::shared_ptr<WireInstrument> farEnd, std::vector<Arrival> atOpen)
    : instrument(std::move(farEnd)), session(instrument->Session())
{
    Append(std::move(atOpen));
}

void SerialLine::Append(std::vector<Arrival> more)
{
    if (session != instrument->Session())
        arrivals.clear(); // what was under way when the cable was pulled is lost
    session = instrument->Session();
    std::ranges::move(more, std::back_inserter(arrivals));
}

std::optional<Moment> SerialLine::NextMoment()
{
    if (hungUp)
        return Bench::Instance().Now();
    if (!instrument->IsPlugged() || session != instrument->Session())
        arrivals.clear();
    return arrivals.empty() ? std::nullopt : std::optional(arrivals.front().due);
}

/// Takes what fits of the first arrival.
std::size_t SerialLine::Take(std::span<std::uint8_t> bytes)
{
    Bytes& waiting = arrivals.front().bytes;
    const auto count = static_cast<std::ptrdiff_t>(std::min(waiting.size(), bytes.size()));
    std::copy_n(waiting.begin(), count, bytes.begin());
    waiting.erase(waiting.begin(), waiting.begin() + count);
    if (waiting.empty() && arrivals.front().end == Arrival::End::none)
        arrivals.pop_front();
    return static_cast<std::size_t>(count);
}

int SerialLine::Read(BenchLock& lock, std::span<std::uint8_t> bytes, std::size_t* moved)
{
    Bench& bench = Bench::Instance();
    const auto total = EndOfRead(limits, bytes.size(), bench.Now());
    std::optional<Moment> deadline = total;
    while (*moved < bytes.size()) {
        // Without a limit the host gets what is under way all the same, and the clock goes there.
        const auto until = deadline ? deadline : NextMoment();
        if (!bench.WaitFor(
                lock, [this] { return NextMoment(); }, until))
            return 0;
        if (hungUp)
            return *moved > 0 ? 0 : EIO;
        const Arrival& first = arrivals.front();
        if (first.bytes.empty()) {
            hungUp = first.end == Arrival::End::hangUp;
            if (*moved == 0)
                arrivals.pop_front();
            return *moved > 0 ? 0 : EIO;
        }
        *moved += Take(bytes.subspan(*moved));
        if (limits.readInterval != 0) {
            const Moment next = bench.Now() + millisecond * limits.readInterval;
            deadline = total ? std::min(*total, next) : next;
        }
    }
    return 0;
}

int SerialLine::Write(std::span<const std::uint8_t> bytes, std::size_t* moved)
{
    if (hungUp)
        return EIO;
    Append(instrument->Receive(bytes, Bench::Instance().Now()));
    *moved = bytes.size();
    Bench::Instance().Changed();
    return 0;
}

void SerialLine::DropReceived(Moment now)
{
    std::erase_if(arrivals,
                  [now](const Arrival& arrival) { return arrival.due <= now && arrival.end == Arrival::End::none; });
}

void SerialLine::HangUp()
{
    hungUp = true;
    arrivals.clear();
    Bench::Instance().Changed();
}

}
