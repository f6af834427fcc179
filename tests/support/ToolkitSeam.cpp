#include "tests/support/ToolkitSeam.h"

#include "platform/Clock.h"
#include "platform/DeviceChannel.h"

#include <algorithm>
#include <cstring>
#include <ctime>

namespace ToolkitSeam {

State state;

namespace {

constexpr int broken = 5;
std::array<std::uint8_t, 2048> receiver;
int port;

/// Notes what is asked of the platform.
/// @return the error of an entry that is to fail, 0 for others
int Note(const std::string& entry)
{
    if (!state.keepsLog)
        return 0;
    state.log += (state.log.empty() ? "" : ", ") + entry;
    return entry == state.failing ? broken : 0;
}

int Note(const char* what, std::int64_t number)
{
    return state.keepsLog ? Note(what + std::to_string(number)) : 0;
}

std::size_t Take(std::span<std::uint8_t> bytes)
{
    const std::size_t count = std::min(bytes.size(), state.waiting);
    std::copy_n(receiver.begin(), count, bytes.begin());
    std::copy(receiver.begin() + count, receiver.begin() + state.waiting, receiver.begin());
    state.waiting -= count;
    return count;
}

int Open(Platform::SerialHandle* handle, bool there)
{
    if (state.instrument == nullptr || !there)
        return broken;
    ++state.opened;
    state.waiting = 0;
    state.limits = {};
    *handle = &port;
    return 0;
}

/// The frame behind a header and its own length.
std::span<const std::uint8_t> Frame(std::span<const std::uint8_t> bytes)
{
    constexpr std::uint8_t header[] = {0x41, 0xFF, 0x41};
    const bool hasHeader = bytes.size() > sizeof header && std::equal(header, header + sizeof header, bytes.begin());
    return bytes.subspan(hasHeader ? sizeof header + 1 : 1);
}

}

void Arrive(std::span<const std::uint8_t> bytes)
{
    std::ranges::copy(bytes, receiver.begin() + state.waiting);
    state.waiting += bytes.size();
}

}

namespace Platform {

using namespace ToolkitSeam;

std::int64_t NowMicroseconds() noexcept
{
    return state.clock;
}
std::int64_t MonotonicMicroseconds() noexcept
{
    return state.clock;
}
void SleepMicroseconds(std::int64_t microseconds) noexcept
{
    Note("sleep ", microseconds / 1000);
    state.clock += microseconds;
}

bool ToLocalTime(std::int64_t seconds, CalendarTime& local) noexcept
{
    const std::time_t moment = seconds;
    std::tm broken{};
    if (gmtime_r(&moment, &broken) == nullptr)
        return false;
    local = {broken.tm_year + 1900, broken.tm_mon + 1, broken.tm_mday, broken.tm_hour, broken.tm_min, broken.tm_sec};
    return true;
}

std::size_t FormatLocalTime(std::int64_t seconds, const char* format, char* text, std::size_t size) noexcept
{
    const std::time_t moment = seconds;
    std::tm broken{};
    return gmtime_r(&moment, &broken) == nullptr ? 0 : std::strftime(text, size, format, &broken);
}

namespace {

class SeamPorts final : public SerialPorts {
public:
    int Open(std::int32_t number, SerialHandle* handle) noexcept override
    {
        return Note("open ", number) + ToolkitSeam::Open(handle, number == 1);
    }
    int Configure(SerialHandle) noexcept override { return Note("set up"); }
    int SetLines(SerialHandle, bool on) noexcept override { return Note("lines ", on); }
    int GetLimits(SerialHandle, SerialLimits* limits) noexcept override
    {
        *limits = state.limits;
        return 0;
    }

    int SetLimits(SerialHandle, const SerialLimits* limits) noexcept override
    {
        const auto& [interval, readMultiplier, readConstant, writeMultiplier, writeConstant] = *limits;
        std::string text = "limits";
        for (const std::uint32_t limit : {interval, readMultiplier, readConstant, writeMultiplier, writeConstant})
            text += " " + std::to_string(limit);
        if (const int error = Note(text))
            return error;
        state.limits = *limits;
        return 0;
    }

    int Read(SerialHandle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept override
    {
        state.unlimited |= state.limits.readMultiplier == 0 && state.limits.readConstant == 0;
        *moved = Take({bytes, size});
        const int error = Note("read ", static_cast<std::int64_t>(size));
        return state.instrument == nullptr ? broken : error;
    }

    int Write(SerialHandle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept override
    {
        state.unlimited |= state.limits.writeMultiplier == 0 && state.limits.writeConstant == 0;
        *moved = size;
        if (const int error = Note("write ", static_cast<std::int64_t>(size));
            error != 0 || state.instrument == nullptr)
            return broken;
        const Reply reply = state.instrument->Exchange(Frame({bytes, size}));
        if (reply.error != 0)
            return 0; // silence
        Arrive({&reply.length, 1});
        if (reply.length != 0 && reply.length < 10) // no others announce a reply
            Arrive(std::span(reply.bytes).first(reply.size));
        return 0;
    }

    int Purge(SerialHandle, bool received) noexcept override
    {
        if (received)
            state.waiting = 0;
        return Note("purge ", received);
    }
    int Close(SerialHandle) noexcept override
    {
        ++state.closed;
        return Note("close");
    }
    void Forget(SerialHandle) noexcept override
    {
        Note("forget");
        state.limits = {};
    }
    int SetName(std::int32_t, const char*) noexcept override { return 0; }
};

SeamPorts ports;

}

SerialPorts& Ports() noexcept
{
    return ports;
}

int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept
{
    return Note("open usb ", index) + ToolkitSeam::Open(handle, index == state.usbIndex);
}

int ChannelExchange(ChannelHandle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept
{
    if (state.instrument == nullptr)
        return broken;
    const Reply reply = state.instrument->Exchange({request + 1, std::min<std::size_t>(request[0], 7)});
    if (reply.error != 0)
        return reply.error;
    std::memset(answer, 0xCC, 8);
    answer[0] = 0x55;
    answer[1] = reply.length;
    std::copy_n(reply.bytes.begin(), std::min<std::size_t>(reply.size, 6), answer + 2);
    return 0;
}

int ChannelClose(ChannelHandle) noexcept
{
    ++state.closed;
    return Note("close usb");
}

int SetChannelNamePattern(const char*) noexcept
{
    return 0;
}

}
