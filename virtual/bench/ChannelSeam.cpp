#include "virtual/transport/DeviceChannel.h"

#include "platform/DeviceChannel.h"
#include "virtual/bench/Bench.h"
#include "virtual/transport/HandleTable.h"

#include <algorithm>
#include <cerrno>
#include <exception>

namespace Platform {

using Virtual::Bench;
using Virtual::BenchLock;
using Channels = Virtual::HandleTable<Virtual::DeviceChannel>;

namespace {

constexpr Virtual::Moment frameTime = 1000; // microseconds that a request takes to the instrument and back

}

int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept
try {
    if (handle == nullptr)
        return EINVAL;
    *handle = nullptr;
    const BenchLock lock;
    Bench& bench = Bench::Instance();
    const auto found = bench.Colorimeter(Virtual::Place::Road::usb, static_cast<int>(std::min(index, 0xFFFFU)));
    const auto instrument = std::dynamic_pointer_cast<Virtual::WireInstrument>(found);
    if (!instrument)
        return ENOENT;
    std::vector<Virtual::Arrival> nothing;
    if (const int status = instrument->Open(bench.Now(), nothing); status != 0)
        return status;
    auto channel = std::make_shared<Virtual::DeviceChannel>();
    channel->instrument = instrument;
    channel->session = instrument->Session();
    *handle = Channels::Instance().Add(std::move(channel));
    return 0;
} catch (const std::exception&) {
    return ENOMEM;
}

int ChannelExchange(ChannelHandle handle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept
try {
    if (request == nullptr || answer == nullptr)
        return EINVAL;
    BenchLock lock;
    Bench& bench = Bench::Instance();
    const auto channel = Channels::Instance().Find(handle);
    if (!channel)
        return EBADF;
    if (!channel->IsAlive())
        return ENODEV;
    const auto reply =
        channel->instrument->Exchange(std::span<const std::uint8_t, 8>(request, 8), bench.Now() + frameTime);
    // A pulled cable ends the wait at once.
    const auto due = [&] { return std::optional(channel->IsAlive() ? reply.due : bench.Now()); };
    bench.WaitFor(lock, due, reply.due);
    if (!channel->IsAlive())
        return ENODEV;
    if (reply.error == 0)
        std::ranges::copy(reply.bytes, answer);
    return reply.error;
} catch (const std::exception&) {
    return ENOMEM;
}

int ChannelClose(ChannelHandle handle) noexcept
try {
    const BenchLock lock;
    const auto channel = Channels::Instance().Take(handle);
    if (!channel)
        return EBADF;
    return channel->instrument->Close(Bench::Instance().Now());
} catch (const std::exception&) {
    return ENOMEM;
}

int SetChannelNamePattern(const char* pattern) noexcept
{
    return pattern != nullptr && IsChannelPattern(pattern) ? 0 : EINVAL; // the places on the bench have no names
}

}
