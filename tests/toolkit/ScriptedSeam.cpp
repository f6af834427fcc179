#include "tests/toolkit/ScriptedSeam.h"

#include "platform/Clock.h"
#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

ScriptedInstrument* attached = nullptr;
std::int64_t seamClock = 1'600'000'000'000'000;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Fault = ScriptedInstrument::Fault;

constexpr int linkBroken = 5;

void Append(Bytes& bytes, std::uint32_t value)
{
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<std::uint8_t>(value >> shift & 0xFFU));
}

}

std::string ScriptedInstrument::TakeFrames()
{
    std::string joined;
    for (const std::string& frame : frames)
        joined += (joined.empty() ? "" : ", ") + frame;
    frames.clear();
    return joined;
}

void ScriptedInstrument::SetFault(Fault how, int at, int times, int code)
{
    fault = how;
    faultAt = at;
    faultTimes = times;
    faultCode = code;
}

void ScriptedInstrument::PutLong(unsigned address, std::uint32_t value)
{
    for (unsigned i = 0; i < 4; ++i)
        cells[address + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

void ScriptedInstrument::PutWord(unsigned address, std::uint16_t value)
{
    cells[address] = static_cast<std::uint8_t>(value >> 8);
    cells[address + 1] = static_cast<std::uint8_t>(value);
}

void ScriptedInstrument::PutFloat(unsigned address, float value)
{
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, 4);
    PutLong(address, bits);
}

std::uint32_t ScriptedInstrument::NextCount(std::uint8_t code)
{
    std::deque<std::uint32_t>& queue = counts[code];
    if (queue.empty())
        return usualCount;
    const std::uint32_t count = queue.front();
    if (queue.size() > 1)
        queue.pop_front();
    return count;
}

ScriptedInstrument::Fault ScriptedInstrument::NextFault(std::uint8_t code)
{
    if (faultAt == 0 || (faultCode >= 0 && faultCode != code))
        return Fault::none;
    if (faultAt > 1) {
        --faultAt;
        return Fault::none;
    }
    if (--faultTimes == 0)
        faultAt = 0;
    return fault;
}

std::vector<std::uint8_t> ScriptedInstrument::Answer(const std::vector<std::uint8_t>& frame)
{
    std::string text;
    for (const std::uint8_t byte : frame) {
        char hex[4];
        std::snprintf(hex, sizeof hex, text.empty() ? "%02X" : " %02X", byte);
        text += hex;
    }
    frames.push_back(text);
    ++exchanges;
    seamClock += exchangeMicroseconds;

    const std::uint8_t code = frame[0];
    Bytes reply;
    reply.reserve(16);
    reply.push_back(code);
    const auto is = [&](int wanted, std::size_t size) { return code == wanted && frame.size() == size; };
    const auto cell = [&](std::size_t high, std::size_t low) -> std::uint8_t& {
        const std::size_t address = (high == low ? 0U : frame[high] * 256U) + frame[low];
        return cells[address % cells.size()];
    };
    if (code == 0) {
        reply.insert(reply.end(), version.begin(), version.end());
    } else if (code == 5) {
        ZKConvertToLong(frame.data() + 1, &ticks);
    } else if (code == 6) {
        Append(reply, ticks);
    } else if (is(7, 3)) {
        if (memoryWritable)
            cell(1, 1) = frame[2];
    } else if (code == 8) {
        reply.push_back(frame[1]);
        reply.push_back(cell(1, 1));
    } else if (is(19, 4)) {
        cell(1, 2) = frame[3];
    } else if (is(20, 3)) {
        reply.insert(reply.end(), {frame[1], frame[2], cell(1, 2)});
    } else if (is(20, 4) || code == 5 || (code >= 17 && code <= 23 && frame.size() == 5) || code == 26 || code == 28
               || code == 30 || code == 32 || code == 34) {
        // the echo alone
    } else if (is(21, 2)) {
        reply.insert(reply.end(), {0x77, 0x12, 0x34});
    } else if (code == 36) {
        reply.push_back(lockDetect);
    } else {
        Append(reply, NextCount(code));
        if (!periodsLeft.empty() && code >= 16 && code <= 18) {
            reply.push_back(periodsLeft.front());
            if (periodsLeft.size() > 1)
                periodsLeft.pop_front();
        }
    }
    return reply;
}

// ---- instruments

namespace {

struct Kind {
    int type;
    const char* version;
    char letter;
    std::uint16_t tickWord;
    float clock;
};
constexpr Kind kinds[] = {
    {2, "3.50", 'C', 1000, 1e-6F},          {4, "4.10", 'C', 4000, 3.3333333e-7F},
    {5, "1.20", 'B', 32000, 1e-6F},         {6, "1.20", 'B', 32000, 1e-6F},
    {7, "5.12", 'W', 3750, 3.3333333e-7F},  {8, "5.12", 'l', 4000, 3.3333333e-7F},
    {9, "5.01", 'L', 4000, 3.3333333e-7F},  {10, "3.01", 'C', 2500, 2.5e-7F},
    {11, "3.10", 'C', 2500, 3.3333333e-7F}, {13, "1.20", 'F', 32000, 1e-6F},
    {14, "1.20", 'D', 32000, 1e-6F},        {16, "1.50", 'D', 32000, 1e-6F},
    {19, "6.05", 'X', 1000, 8.3333333e-8F}, {20, "6.05", 'L', 1000, 8.3333333e-8F},
    {21, "6.05", 'U', 1000, 1e-6F},         {22, "6.05", 'T', 1000, 8.3333333e-8F},
};

void PutMainLayout(ScriptedInstrument& instrument, const Kind& kind)
{
    constexpr float matrix[] = {4.0e-3F, 1.2e-3F, 3e-4F, 2.1e-3F, 3.6e-3F, 1e-4F, 2e-5F, 4e-4F, 5.9e-3F};
    instrument.PutLong(0, 20000U + static_cast<unsigned>(kind.type));
    for (unsigned i = 0; i < 9; ++i) {
        instrument.PutFloat(4 + 4 * i, matrix[i]);
        instrument.PutFloat(54 + 4 * i, matrix[i] * 1.05F);
    }
    instrument.PutWord(40, kind.tickWord);
    instrument.PutWord(42, 6000);
    for (unsigned i = 0; i < 3; ++i) {
        instrument.PutWord(44 + 2 * i, 100);
        instrument.PutFloat(103 + 4 * i, 0.251F + 0.05F * static_cast<float>(i));
        instrument.PutFloat(128 + 4 * i, 1.5F + static_cast<float>(i));
        instrument.PutFloat(144 + 4 * i, 0.5F + 0.1F * static_cast<float>(i));
    }
    instrument.PutLong(50, 1'000'000'000);
    instrument.PutLong(90, 1'000'000'001);
    instrument.PutFloat(94, kind.clock);
    instrument.PutLong(98, 1'000'000'002);
    instrument.cells[102] = 1;
    instrument.cells[115] = 2;
}

void PutPloverLayout(ScriptedInstrument& instrument)
{
    for (const unsigned address : {0U, 16U, 28U, 32U, 36U, 40U})
        instrument.PutFloat(address, 0.01F * static_cast<float>(address + 1));
    instrument.PutWord(6, 31250);
    instrument.PutLong(8, 14014);
    for (unsigned i = 0; i < 3; ++i)
        instrument.PutFloat(44 + 4 * i, 0.25F + 0.05F * static_cast<float>(i));
}

}

ScriptedInstrument SoundInstrument(int type)
{
    const Kind& kind = *std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind& k) { return k.type == type; });
    ScriptedInstrument instrument;
    instrument.version = kind.version;
    instrument.cells.fill(0xFF);
    if (type == 14 || type == 16)
        PutPloverLayout(instrument);
    else
        PutMainLayout(instrument, kind);
    instrument.cells[121] = static_cast<std::uint8_t>(kind.letter);
    instrument.PutWord(126, 13);
    instrument.memoryWritable = type != 5;
    return instrument;
}

// ---- the seam

namespace Platform {

namespace {

int handleObject;
std::deque<std::uint8_t> receiver;
SerialLimits portLimits{};

SerialHandle Handle()
{
    return &handleObject;
}

/// Shapes the reply of a serial port by the fault.
int Receive(const Bytes& reply, Fault fault)
{
    Bytes bytes = reply;
    std::uint8_t length = static_cast<std::uint8_t>(bytes.size());
    switch (fault) {
    case Fault::silence:
    case Fault::fail:
        return 0;
    case Fault::wrongEcho:
        bytes[0] = 0xEE;
        break;
    case Fault::lengthZero:
        bytes.clear();
        length = 0;
        break;
    case Fault::lengthTen:
        length = 10;
        bytes.clear();
        break;
    case Fault::oneShort:
        bytes.pop_back();
        break;
    case Fault::threeBytes:
        bytes.resize(3);
        length = 3;
        break;
    case Fault::none:
        break;
    }
    receiver.push_back(length);
    receiver.insert(receiver.end(), bytes.begin(), bytes.end());
    return 0;
}

}

std::int64_t NowMicroseconds() noexcept
{
    return seamClock;
}
std::int64_t MonotonicMicroseconds() noexcept
{
    return seamClock;
}
void SleepMicroseconds(std::int64_t microseconds) noexcept
{
    seamClock += microseconds;
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

int SerialOpen(std::int32_t port, SerialHandle* handle) noexcept
{
    if (attached == nullptr || port != 1)
        return 2;
    ++attached->opened;
    receiver.clear();
    portLimits = {};
    *handle = Handle();
    return 0;
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

int SerialGetLimits(SerialHandle, SerialLimits* limits) noexcept
{
    *limits = portLimits;
    return 0;
}

int SerialSetLimits(SerialHandle, const SerialLimits* limits) noexcept
{
    portLimits = *limits;
    if (attached != nullptr)
        attached->readConstants.push_back(limits->readConstant);
    return 0;
}

int SerialRead(SerialHandle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    EXPECT_TRUE(portLimits.readMultiplier != 0 || portLimits.readConstant != 0) << "a read without an end";
    *moved = std::min(size, receiver.size());
    std::copy_n(receiver.begin(), *moved, bytes);
    receiver.erase(receiver.begin(), receiver.begin() + static_cast<std::ptrdiff_t>(*moved));
    return attached == nullptr ? linkBroken : 0;
}

int SerialWrite(SerialHandle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    *moved = size;
    EXPECT_TRUE(portLimits.writeMultiplier != 0 || portLimits.writeConstant != 0) << "a write without an end";
    if (attached == nullptr)
        return linkBroken;
    attached->lastWrite.assign(bytes, bytes + size);
    const std::size_t head = size > 3 && bytes[0] == 0x41 && bytes[1] == 0xFF && bytes[2] == 0x41 ? 3 : 0;
    const Bytes frame(bytes + head + 1, bytes + size);
    const Fault fault = attached->NextFault(frame[0]);
    return Receive(attached->Answer(frame), fault);
}

int SerialPurgeTransmit(SerialHandle) noexcept
{
    return 0;
}
int SerialPurgeReceive(SerialHandle) noexcept
{
    return receiver.clear(), 0;
}
int SerialClearError(SerialHandle) noexcept
{
    return 0;
}

int SerialClose(SerialHandle) noexcept
{
    if (attached != nullptr)
        ++attached->closed;
    return 0;
}

void SerialForget(SerialHandle) noexcept
{
    portLimits = {};
    if (attached != nullptr)
        ++attached->forgotten;
}

int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept
{
    if (attached == nullptr || index != attached->usbIndex)
        return 2;
    ++attached->opened;
    *handle = Handle();
    return 0;
}

int ChannelExchange(ChannelHandle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept
{
    if (attached == nullptr)
        return linkBroken;
    const Bytes frame(request + 1, request + 1 + std::min<std::size_t>(request[0], 7));
    const Fault fault = attached->NextFault(frame[0]);
    Bytes reply = attached->Answer(frame);
    if (fault == Fault::fail || fault == Fault::silence)
        return linkBroken;
    if (fault == Fault::wrongEcho)
        reply[0] = 0xEE;
    if (fault == Fault::threeBytes)
        reply.resize(3);
    if (fault == Fault::oneShort)
        reply.pop_back();
    answer[0] = 0x55;
    answer[1] = fault == Fault::lengthTen ? 200
        : fault == Fault::lengthZero      ? 0
                                          : static_cast<std::uint8_t>(reply.size());
    reply.resize(6, 0xCC);
    std::copy_n(reply.begin(), 6, answer + 2);
    return 0;
}

int ChannelClose(ChannelHandle) noexcept
{
    if (attached != nullptr)
        ++attached->closed;
    return 0;
}

int SetSerialPortName(std::int32_t, const char*) noexcept
{
    return 0;
}
int SetChannelNamePattern(const char*) noexcept
{
    return 0;
}

}
