#include "benchmarks/toolkit/InstantSeam.h"

#include "platform/Clock.h"
#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"

#include <bit>
#include <cstring>

InstantInstrument instant;

namespace {

void PutLong(int address, std::uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        instant.memory[address + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

int openHandle;

}

void PrepareInstant()
{
    constexpr float matrix[] = {4.0e-3F, 1.2e-3F, 3e-4F, 2.1e-3F, 3.6e-3F, 1e-4F, 2e-5F, 4e-4F, 5.9e-3F};
    std::memset(instant.memory, 0, sizeof instant.memory);
    for (int i = 0; i < 9; ++i) {
        PutLong(4 + 4 * i, std::bit_cast<std::uint32_t>(matrix[i]));
        PutLong(54 + 4 * i, std::bit_cast<std::uint32_t>(matrix[i]));
    }
    PutLong(40, 4000U << 16 | 6000U); // tick length in nanoseconds, refresh rate in hundredths of a hertz
    PutLong(44, 100U << 16 | 100U);
    PutLong(46, 100U << 16 | 100U);
    PutLong(94, std::bit_cast<std::uint32_t>(3.3333333e-7F));
    instant.memory[121] = 'C';
    instant.memory[127] = 13;
}

namespace Platform {

std::int64_t NowMicroseconds() noexcept
{
    return 0;
}
std::int64_t MonotonicMicroseconds() noexcept
{
    return 0;
}
void SleepMicroseconds(std::int64_t) noexcept { }
bool ToLocalTime(std::int64_t, CalendarTime&) noexcept
{
    return false;
}
std::size_t FormatLocalTime(std::int64_t, const char*, char*, std::size_t) noexcept
{
    return 0;
}

int SerialOpen(std::int32_t, SerialHandle*) noexcept
{
    return 2;
}
int SerialConfigure(SerialHandle) noexcept
{
    return 0;
}
int SerialSetDtr(SerialHandle, bool) noexcept
{
    return 0;
}
int SerialSetRts(SerialHandle, bool) noexcept
{
    return 0;
}
int SerialGetLimits(SerialHandle, SerialLimits*) noexcept
{
    return 0;
}
int SerialSetLimits(SerialHandle, const SerialLimits*) noexcept
{
    return 0;
}
int SerialRead(SerialHandle, std::uint8_t*, std::size_t, std::size_t*) noexcept
{
    return 5;
}
int SerialWrite(SerialHandle, const std::uint8_t*, std::size_t, std::size_t*) noexcept
{
    return 5;
}
int SerialPurgeTransmit(SerialHandle) noexcept
{
    return 0;
}
int SerialPurgeReceive(SerialHandle) noexcept
{
    return 0;
}
int SerialClearError(SerialHandle) noexcept
{
    return 0;
}
int SerialClose(SerialHandle) noexcept
{
    return 0;
}
void SerialForget(SerialHandle) noexcept { }
int SetSerialPortName(std::int32_t, const char*) noexcept
{
    return 0;
}

int ChannelOpen(std::uint32_t, ChannelHandle* handle) noexcept
{
    *handle = &openHandle;
    return 0;
}

int ChannelExchange(ChannelHandle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept
{
    ++instant.exchanges;
    const std::uint8_t code = request[1];
    const std::uint8_t count[8] = {0, 5, code, 0, 0x40, 0, 0, 0};
    const std::uint8_t cell[8] = {0, 3, code, request[2], instant.memory[request[2]], 0, 0, 0};
    const std::uint8_t version[8] = {0, 5, code, '4', '.', '1', '0', 0};
    std::memcpy(answer, code == 8 ? cell : code == 0 ? version : count, 8);
    return 0;
}

int ChannelClose(ChannelHandle) noexcept
{
    return 0;
}
int SetChannelNamePattern(const char*) noexcept
{
    return 0;
}

}
