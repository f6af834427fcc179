// The seam of the library for real instruments: the machine's own clock, ports and locks.

#include "platform/Clock.h"
#include "platform/NamedLock.h"
#include "platform/Tone.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/DeviceChannel.h"
#include "platform/posix/SerialPort.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <linux/kd.h>
#include <sys/ioctl.h>

namespace Platform {

namespace {

constexpr std::int64_t million = 1'000'000;

}

std::int64_t NowMicroseconds() noexcept
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * million + now.tv_nsec / 1000;
}

std::int64_t MonotonicMicroseconds() noexcept
{
    return RealMicroseconds();
}

void SleepMicroseconds(std::int64_t microseconds) noexcept
{
    if (microseconds <= 0)
        return;
    timespec left{microseconds / million, microseconds % million * 1000};
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) { }
}

bool LocksAreSystemWide()
{
    return true;
}

void Beep(std::int32_t frequency, std::int32_t milliseconds) noexcept
{
    constexpr std::int32_t timer = 1193180; // hertz of the timer that drives the speaker
    constexpr std::int32_t largest = 0xFFFF;
    if (frequency <= 0 || milliseconds <= 0)
        return;
    const int console = Posix::OpenDescriptor("/dev/console", O_WRONLY | O_NOCTTY | O_NONBLOCK);
    if (console < 0)
        return;
    const auto period = static_cast<unsigned long>(std::clamp(timer / frequency, 1, largest));
    const auto length = static_cast<unsigned long>(std::min(milliseconds, largest));
    ::ioctl(console, KDMKTONE, length << 16 | period);
    Posix::CloseDescriptor(console);
}

int SerialOpen(std::int32_t port, SerialHandle* handle) noexcept
{
    return Posix::SerialOpen(port, handle);
}
int SerialConfigure(SerialHandle handle) noexcept
{
    return Posix::SerialConfigure(handle);
}
int SerialSetDtr(SerialHandle handle, bool on) noexcept
{
    return Posix::SerialSetDtr(handle, on);
}
int SerialSetRts(SerialHandle handle, bool on) noexcept
{
    return Posix::SerialSetRts(handle, on);
}
int SerialGetLimits(SerialHandle handle, SerialLimits* limits) noexcept
{
    return Posix::SerialGetLimits(handle, limits);
}
int SerialSetLimits(SerialHandle handle, const SerialLimits* limits) noexcept
{
    return Posix::SerialSetLimits(handle, limits);
}
int SerialRead(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    return Posix::SerialRead(handle, bytes, size, moved);
}
int SerialWrite(SerialHandle handle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    return Posix::SerialWrite(handle, bytes, size, moved);
}
int SerialPurgeTransmit(SerialHandle handle) noexcept
{
    return Posix::SerialPurgeTransmit(handle);
}
int SerialPurgeReceive(SerialHandle handle) noexcept
{
    return Posix::SerialPurgeReceive(handle);
}
int SerialClearError(SerialHandle handle) noexcept
{
    return Posix::SerialClearError(handle);
}
int SerialClose(SerialHandle handle) noexcept
{
    return Posix::SerialClose(handle);
}
void SerialForget(SerialHandle handle) noexcept
{
    Posix::SerialForget(handle);
}
int SetSerialPortName(std::int32_t port, const char* name) noexcept
{
    return Posix::SetSerialPortName(port, name);
}

int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept
{
    return Posix::ChannelOpen(index, handle);
}
int ChannelExchange(ChannelHandle handle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept
{
    return Posix::ChannelExchange(handle, request, answer);
}
int ChannelClose(ChannelHandle handle) noexcept
{
    return Posix::ChannelClose(handle);
}
int SetChannelNamePattern(const char* pattern) noexcept
{
    return Posix::SetChannelNamePattern(pattern);
}

}
