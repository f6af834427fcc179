#include "virtual/transport/SerialLine.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Virtual {

namespace {

constexpr Moment millisecond = 1000;
constexpr Moment byteTime = ByteTime(9600);
constexpr Moment transmitterBytes = 1024; // that wait to be sent
constexpr Moment longUp = 3'600'000'000;  // an hour

/// The end of a transfer of so many bytes; none without a limit.
std::optional<Moment> EndOf(std::uint32_t multiplier, std::uint32_t constant, std::size_t size, Moment now)
{
    if (multiplier == 0 && constant == 0)
        return std::nullopt;
    return now + millisecond * (Moment{multiplier} * static_cast<Moment>(size) + constant);
}

}

SerialLine::SerialLine(Clock& benchClock, std::shared_ptr<WireInstrument> farEnd, const std::vector<Arrival>& atOpen)
    : clock(benchClock), instrument(std::move(farEnd)), losses(instrument->PowerLosses())
{
    Append(atOpen);
}

int SerialLine::SetUp()
{
    const int error = instrument->SetUp(clock.Now());
    isSetUp = isSetUp || error == 0;
    return error;
}

void SerialLine::SetControlLines(bool up)
{
    instrument->SetControlLines(up, clock.Now());
}

void SerialLine::TakeAsSetUp()
{
    isSetUp = true;
    instrument->SetControlLines(true, clock.Now() - longUp);
}

void SerialLine::Append(const std::vector<Arrival>& more)
{
    DropLost();
    for (const Arrival& arrival : more) {
        receivedUntil = std::max(receivedUntil, arrival.due);
        for (const std::uint8_t byte : arrival.bytes)
            incoming.push_back({byte, receivedUntil += byteTime, Arrival::End::none});
        if (arrival.end != Arrival::End::none)
            incoming.push_back({0, receivedUntil, arrival.end});
    }
}

/// What was under way when the instrument lost its power is lost; what had arrived is kept.
void SerialLine::DropLost()
{
    if (losses == instrument->PowerLosses())
        return;
    losses = instrument->PowerLosses();
    std::erase_if(incoming, [this](const Incoming& item) { return item.due > instrument->LastPowerLoss(); });
    receivedUntil = std::min(receivedUntil, instrument->LastPowerLoss());
}

std::optional<Moment> SerialLine::NextMoment()
{
    if (hungUp)
        return clock.Now();
    DropLost();
    return incoming.empty() ? std::nullopt : std::optional(incoming.front().due);
}

int SerialLine::Read(BenchLock& lock, std::span<std::uint8_t> bytes, std::size_t* moved)
{
    const Moment start = clock.Now();
    const auto total = EndOf(limits.readMultiplier, limits.readConstant, bytes.size(), start);
    const auto next = [this] { return NextMoment(); };
    const auto anything = [this] { return NextMoment() ? std::optional(clock.Now()) : std::nullopt; };
    std::optional<Moment> deadline = total;
    while (*moved < bytes.size()) {
        if (!deadline) // wait until something is under way: then the clock goes there
            clock.WaitFor(lock, anything, std::nullopt);
        if (!clock.WaitFor(lock, next, deadline ? deadline : NextMoment())) {
            if (deadline)
                return 0;
            continue;
        }
        if (hungUp)
            return *moved > 0 ? 0 : EIO;
        const Incoming item = incoming.front();
        if (item.end != Arrival::End::none) {
            hungUp = item.end == Arrival::End::hangUp;
            if (*moved == 0)
                incoming.pop_front();
            return *moved > 0 ? 0 : EIO;
        }
        incoming.pop_front();
        bytes[(*moved)++] = item.byte;
        if (limits.readInterval != 0) {
            const Moment end = std::max(start, item.due) + millisecond * limits.readInterval;
            deadline = total ? std::min(*total, end) : end;
        }
    }
    return 0;
}

void SerialLine::Send(std::uint8_t byte)
{
    sentUntil = std::max(sentUntil, clock.Now()) + byteTime;
    if (isSetUp)
        Append(instrument->Receive({&byte, 1}, sentUntil));
}

int SerialLine::Write(BenchLock& lock, std::span<const std::uint8_t> bytes, std::size_t* moved)
{
    const auto end = EndOf(limits.writeMultiplier, limits.writeConstant, bytes.size(), clock.Now());
    for (const std::uint8_t byte : bytes) {
        const Moment room = sentUntil - (transmitterBytes - 1) * byteTime;
        const auto due = [&] { return std::optional(hungUp ? clock.Now() : room); };
        if (!clock.WaitFor(lock, due, end ? *end : room))
            break;
        if (hungUp)
            return *moved > 0 ? 0 : EIO;
        Send(byte);
        ++*moved;
    }
    clock.Changed();
    return 0;
}

void SerialLine::DropReceived(Moment now)
{
    std::erase_if(incoming, [now](const Incoming& item) { return item.due <= now && item.end == Arrival::End::none; });
}

void SerialLine::HangUp()
{
    hungUp = true;
    incoming.clear();
    clock.Changed();
}

}
