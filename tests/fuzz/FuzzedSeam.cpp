#include "tests/fuzz/FuzzedSeam.h"

#include "platform/Clock.h"
#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"

#include <cstring>

FuzzedInstrument fuzzed;

namespace {

std::int64_t now = 1'600'000'000'000'000;
int openHandle;

// the reply of a serial port that waits to be read
std::uint8_t waiting[16];
std::size_t waitingCount = 0;
std::size_t waitingAt = 0;

/// A sound reply from the echo on.
std::size_t SoundReply(const std::uint8_t* frame, std::uint8_t* reply)
{
    const std::uint8_t code = frame[1];
    reply[0] = code;
    if (code == 0) {
        std::memcpy(reply + 1, fuzzed.version, 8);
        return 1 + std::strlen(fuzzed.version);
    }
    if (code == 8) {
        reply[1] = frame[2];
        reply[2] = fuzzed.memory[frame[2]];
        return 3;
    }
    if (code == 7)
        fuzzed.memory[frame[2]] = frame[3];
    if (code == 20 && frame[0] == 3) {
        reply[3] = fuzzed.memory[frame[3]];
        return 4;
    }
    for (int i = 1; i < 6; ++i)
        reply[i] = fuzzed.bytes.Take();
    return 6;
}

}

namespace Platform {

std::int64_t NowMicroseconds() noexcept
{
    return now;
}
std::int64_t MonotonicMicroseconds() noexcept
{
    return now;
}
void SleepMicroseconds(std::int64_t microseconds) noexcept
{
    now += microseconds;
}

bool ToLocalTime(std::int64_t, CalendarTime& local) noexcept
{
    local = {2026, 1, 2, 3, 4, 5};
    return true;
}

std::size_t FormatLocalTime(std::int64_t, const char*, char* text, std::size_t) noexcept
{
    std::strcpy(text, "5");
    return 1;
}

int SerialOpen(std::int32_t, SerialHandle* handle) noexcept
{
    *handle = &openHandle;
    waitingCount = waitingAt = 0;
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
    return *limits = {}, 0;
}
int SerialSetLimits(SerialHandle, const SerialLimits*) noexcept
{
    return 0;
}

int SerialRead(SerialHandle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    *moved = 0;
    while (*moved < size) {
        if (waitingAt < waitingCount)
            bytes[(*moved)++] = waiting[waitingAt++];
        else if (!fuzzed.sound && fuzzed.bytes.Left() != 0)
            bytes[(*moved)++] = fuzzed.bytes.Take();
        else
            break;
    }
    return 0;
}

int SerialWrite(SerialHandle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    now += 1000;
    *moved = size;
    if (fuzzed.bytes.Left() == 0)
        return 5;
    if (fuzzed.sound) {
        waitingCount = 1 + SoundReply(bytes, waiting + 1);
        waiting[0] = static_cast<std::uint8_t>(waitingCount - 1);
        waitingAt = 0;
    }
    return 0;
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

int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept
{
    *handle = &openHandle;
    return index == 0 ? 0 : 2;
}

int ChannelExchange(ChannelHandle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept
{
    now += 1000;
    if (fuzzed.bytes.Left() == 0)
        return 5;
    if (fuzzed.sound) {
        std::uint8_t reply[16] = {};
        answer[1] = static_cast<std::uint8_t>(SoundReply(request, reply));
        std::memcpy(answer + 2, reply, 6);
        return 0;
    }
    // A wrong echo ends the session, so it must be rare to be worth trying.
    const std::uint8_t control = fuzzed.bytes.Take();
    answer[1] = control & 0x40U ? fuzzed.bytes.Take() : 6;
    answer[2] = control & 0x80U ? fuzzed.bytes.Take() : request[1];
    for (int i = 3; i < 8; ++i)
        answer[i] = fuzzed.bytes.Take();
    return control == 0x3F ? 5 : 0;
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

// ---- sessions

namespace {

ZelYxyz colour;
double values[16];
std::uint32_t counts[16];
char text[64];
std::uint8_t cells[8192];
ParsedEEPROMEx parsed;
CalibrationRecord slot;
std::uint16_t edges;

std::int32_t Open(CalDataBlock* device, std::uint8_t how)
{
    std::int32_t type = 0;
    std::uint8_t error = 0;
    switch (how % 7) {
    case 0:
        return zelOpenCalibrator_M(device, 0, text);
    case 1:
        return zelOpenCalibrator_M(device, 1, text);
    case 2:
        return zelOpenUSBBassix_M(device, text);
    case 3:
        return zelOpenSerialBassix_M(device, 1, text);
    case 4:
        return zelOpenExistingSerialAltrix_M(device, &openHandle, text);
    case 5:
        return zelOpenUSBLCDAltrix_M(device, 0, text);
    default:
        return zelOpenDevice_M(device, 1, 0, text, &type, &error);
    }
}

using Work = void (*)(CalDataBlock*);
const Work works[] = {
    [](auto* d) { zelAutoMeasureYxy_M(d, 1, &colour), zelAutoMeasureYxy_M(d, 1, &colour); },
    [](auto* d) { zelMeasureYxyEx_M(d, 1, &colour), zelMeasureYxy_M(d, 1, &colour); },
    [](auto* d) { zelMeasureLCDYxySim_M(d, 1, &colour), zelMeasureLCDYxySeq_M(d, 1, &colour); },
    [](auto* d) { zelMeasureLCDYxySimW_M(d, 1, &colour), zelMeasureAmbient_M(d, 1, &colour); },
    [](auto* d) { zelMeasureYxyProgressive_M(d, 1, &colour), zelDarkMeasureYxy_M(d, 1, 0, 1, 255, 1, &colour); },
    [](auto* d) { zelPelicanMeasure_M(d, 1, 4, &colour), zelOspreyMeasure_M(d, 1, 4, &colour); },
    [](auto* d) { zelMeasureLuminance_M(d, 1, values), zelAutoMeasureLuminance_M(d, 1, values); },
    [](auto* d) { zelMeasureLCDLuminanceEdgeEx_M(d, 1, values), zelMeasureLCDLuminancePeriod_M(d, 1, values); },
    [](auto* d) { zelMeasureRawDataScaled_M(d, values), zelMeasureLCDRawDataScaled_M(d, values); },
    [](auto* d) { zelChannel1Measure_M(d, 1, 5, 3, values), zelMeasureHeronLuminance_M(d, 1, values); },
    [](auto* d) { zelSetDarkCurrentEx_M(d), zelGetDarkCurrentEx_M(d, values), AltrixResetDarkCurrent_M(d); },
    [](auto* d) { zelMeasMonFreqAndSetIntTime_M(d, 0, values), TenrixWaitForPLLToSettle_M(d); },
    [](auto* d) { zelSetIntegrationTime_M(d, 1.0), zelGetIntegrationTime_M(d, values); },
    [](auto* d) { AltrixReadExtendedEEPROMStruct_M(d, &parsed), zelGetCalibrationDate_M(d, text); },
    [](auto* d) { zelRetrieveCRTCalibrationDataFromPod_M(d, &slot), zelStoreUserCalibrationDataToPodEx_M(d, &slot); },
    [](auto* d) { zelRestoreFactoryCalibration_M(d), zelSelectCalibration_M(d, 100), zelMeasureYxy_M(d, 0, &colour); },
    [](auto* d) { AltrixReadEEPROM_M(d, 0, 300, cells), AltrixGetNumEdgesForMeasW_M(d, 0, &edges); },
    [](auto* d) { zelMeasureRawData_M(d, counts), AltrixGetVersionString_M(d, text); },
    [](auto* d) { AltrixClearBuffer_M(d, 0, cells, counts), AltrixGetVersionString_M(d, text); },
    [](auto* d) {
        zelGetRGBvaluesFromYxy_M(d, 1, 100.0, 0.3, 0.3, values), zelMeasureYxyAvg_M(d, 1, &colour, values, 3);
    },
};

}

void RunSession(std::uint8_t how, std::uint8_t what)
{
    CalDataBlock device{};
    if (Open(&device, how) == ZEL_OK)
        works[what % (sizeof works / sizeof *works)](&device);
    AltrixClose_M(&device);
    if (device.header.isOpen != 0 || device.comm.usbHandle != nullptr || device.comm.portHandle != nullptr)
        __builtin_trap();
}
