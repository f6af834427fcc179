#include "platform/Clock.h"
#include "toolkit/Commands.h"
#include "toolkit/Device.h"
#include "toolkit/Layout.h"
#include "toolkit/Numbers.h"

#include <cmath>

namespace Toolkit {

namespace {

constexpr std::uint8_t lockedFrom = 240; // lock-detect reading of a loop that has settled
constexpr std::int64_t settlingSeconds = 15;
constexpr int mostLockReadings = 120'000; // more than the fastest bus gives in that time
constexpr std::int32_t extendedMemorySize = 8192;
constexpr std::uint8_t registerCForScreens = 240;
constexpr std::uint16_t lowestN = 40;
constexpr std::uint16_t lowestR = 6; // but for 1
constexpr std::uint16_t highestR = 32766;
constexpr double loopMultiple = 2560.0; // of the refresh rate
constexpr double highestLoopRate = 120.0;

/// The divider search of a type: the loop gives base * R / N.
struct LoopRow {
    TypeSet types;
    double base; ///< hertz
    std::uint32_t lowest;
    std::uint32_t highest;
    std::uint32_t fallbackN;
    std::uint32_t fallbackR;
};
constexpr LoopRow loops[] = {
    {Types(10), 1000000.0, 475, 525, 521, 80},
    {Family::pllRegisters, 750000.0, 350, 400, 376, 77},
};

struct Dividers {
    std::uint32_t n;
    std::uint32_t r;
};

/// The pair whose output comes closest to the target; of equally close ones the first.
Dividers FindDividers(const LoopRow& loop, double target)
{
    Dividers best = {loop.fallbackN, loop.fallbackR};
    double leastError = 100.0;
    for (std::uint32_t n = loop.lowest; n <= loop.highest; ++n) {
        const std::uint32_t first = Round(n * (target / loop.base));
        for (std::uint32_t r = first; r <= first + 1; ++r) {
            const double error = std::fabs(1.0 - target / (r * loop.base / n));
            if (error < leastError) {
                leastError = error;
                best = {n, r};
            }
        }
    }
    return best;
}

std::int32_t SetByte(CalDataBlock* device, TypeSet gate, const Command& command, std::uint8_t value)
{
    if (const std::int32_t refusal = Enter(device, gate))
        return refusal;
    return Send(device, command, &value);
}

std::int32_t SetWord(CalDataBlock* device, const Command& command, std::uint16_t value)
{
    const std::uint8_t parameters[] = {HighByte(value), LowByte(value)};
    return Send(device, command, parameters);
}

std::int32_t GetByte(CalDataBlock* device, TypeSet gate, const Command& command, std::uint8_t* value)
{
    if (const std::int32_t refusal = Enter(device, gate, value))
        return refusal;
    Reply reply;
    if (const std::int32_t failure = Exchange(device, command, nullptr, &reply))
        return failure;
    *value = reply.bytes[1];
    return ZEL_OK;
}

std::int32_t GetWord(CalDataBlock* device, TypeSet gate, const Command& command, std::uint16_t* value)
{
    if (const std::int32_t refusal = Enter(device, gate, value))
        return refusal;
    Reply reply;
    if (const std::int32_t failure = Exchange(device, command, nullptr, &reply))
        return failure;
    return ZKConvertToWord(reply.bytes + 1, value);
}

/// Of a clock that nobody sets.
std::int64_t NowSeconds()
{
    return Platform::MonotonicMicroseconds() / 1'000'000;
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL TenrixSetPLLPeriod_M(CalDataBlock* device, uint32_t ticks)
{
    if (const int32_t refusal = Enter(device, Gate::pllPeriod))
        return refusal;
    return Send(device, Commands::setPLLPeriod, ToBytes(ticks).bytes);
}

int32_t ZELCAL_CALL TenrixGetPLLPeriod_M(CalDataBlock* device, uint32_t* ticks)
{
    if (const int32_t refusal = Enter(device, Gate::pllPeriod, ticks))
        return refusal;
    return ReadNumber(device, Commands::getPLLPeriod, nullptr, ticks);
}

int32_t ZELCAL_CALL TenrixSetPLLPeriodEx_M(CalDataBlock* device, double hertz)
{
    if (const int32_t refusal = Enter(device, Family::tenrix))
        return refusal;
    if (hertz > highestLoopRate)
        hertz *= 0.5;
    const double target = hertz * loopMultiple;
    const LoopRow& loop = loops[IsType(device, loops[0].types) ? 0 : 1];
    if (!(target > 0.0) || target > loop.base * highestR / loop.highest)
        return ZEL_OUT_OF_RANGE;
    const Dividers dividers = FindDividers(loop, target);
    if (const int32_t failure = TenrixSetPLLRegisterC_M(device, registerCForScreens))
        return failure;
    if (const int32_t failure = TenrixSetPLLRegisterN_M(device, static_cast<uint16_t>(dividers.n)))
        return failure;
    return TenrixSetPLLRegisterR_M(device, static_cast<uint16_t>(dividers.r));
}

int32_t ZELCAL_CALL TenrixSetPLLRegisterC_M(CalDataBlock* device, uint8_t value)
{
    return SetByte(device, Family::pllRegisters, Commands::setRegisterC, value);
}

int32_t ZELCAL_CALL TenrixGetPLLRegisterC_M(CalDataBlock* device, uint8_t* value)
{
    return GetByte(device, Family::pllRegisters, Commands::getRegisterC, value);
}

int32_t ZELCAL_CALL TenrixSetPLLRegisterN_M(CalDataBlock* device, uint16_t value)
{
    if (const int32_t refusal = Enter(device, Family::pllRegisters))
        return refusal;
    return value < lowestN ? ZEL_OUT_OF_RANGE : SetWord(device, Commands::setRegisterN, value);
}

int32_t ZELCAL_CALL TenrixGetPLLRegisterN_M(CalDataBlock* device, uint16_t* value)
{
    return GetWord(device, Family::pllRegisters, Commands::getRegisterN, value);
}

int32_t ZELCAL_CALL TenrixSetPLLRegisterR_M(CalDataBlock* device, uint16_t value)
{
    if (const int32_t refusal = Enter(device, Family::pllRegisters))
        return refusal;
    const bool allowed = value == 1 || (value >= lowestR && value <= highestR);
    return allowed ? SetWord(device, Commands::setRegisterR, value) : ZEL_OUT_OF_RANGE;
}

int32_t ZELCAL_CALL TenrixGetPLLRegisterR_M(CalDataBlock* device, uint16_t* value)
{
    return GetWord(device, Family::pllRegisters, Commands::getRegisterR, value);
}

int32_t ZELCAL_CALL TenrixReadLockDetect_M(CalDataBlock* device, uint8_t* value)
{
    return GetByte(device, Family::pllRegisters, Commands::lockDetect, value);
}

int32_t ZELCAL_CALL TenrixWaitForPLLToSettle_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Family::pllRegisters))
        return refusal;
    const int64_t end = NowSeconds() + settlingSeconds;
    uint8_t reading = 0;
    int readings = 0;
    do {
        if (const int32_t failure = TenrixReadLockDetect_M(device, &reading))
            return failure;
        ++readings;
    } while (reading < lockedFrom && NowSeconds() < end && readings < mostLockReadings);
    return ZEL_OK;
}

int32_t ZELCAL_CALL TenrixSetTriggerMode_M(CalDataBlock* device, uint8_t value)
{
    return SetByte(device, Gate::triggerMode, Commands::setTriggerMode, value);
}

int32_t ZELCAL_CALL TenrixGetTriggerMode_M(CalDataBlock* device, uint8_t* value)
{
    return GetByte(device, Gate::triggerMode, Commands::getTriggerMode, value);
}

int32_t ZELCAL_CALL TenrixSetMeasDataFormat_M(CalDataBlock* device, uint8_t value)
{
    return SetByte(device, Family::tenrix, Commands::setDataFormat, value);
}

int32_t ZELCAL_CALL TenrixGetMeasDataFormat_M(CalDataBlock* device, uint8_t* value)
{
    return GetByte(device, Family::tenrix, Commands::getDataFormat, value);
}

int32_t ZELCAL_CALL TenrixSetDarkCurrent_M(CalDataBlock* device, uint32_t red, uint32_t green, uint32_t blue)
{
    if (const int32_t refusal = Enter(device, Family::tenrix))
        return refusal;
    const uint32_t values[] = {red, green, blue};
    for (int i = 0; i < 3; ++i)
        if (const int32_t failure = Send(device, Commands::setDark[i], ToBytes(values[i]).bytes))
            return failure;
    return ZEL_OK;
}

int32_t ZELCAL_CALL TenrixGetDarkCurrent_M(CalDataBlock* device, uint32_t* red, uint32_t* green, uint32_t* blue)
{
    if (const int32_t refusal = Enter(device, Family::tenrix, red, green, blue))
        return refusal;
    if (device->header.calibratorType == 10)
        return ZEL_OK;
    ZelEEPROM memory{};
    if (const int32_t failure = ReadFields(ReadCell, device, &Fields::dark, 1, &memory))
        return failure;
    *red = BitsOf(memory.darkFloats[0]);
    *green = BitsOf(memory.darkFloats[1]);
    *blue = BitsOf(memory.darkFloats[2]);
    return ZEL_OK;
}

int32_t ZELCAL_CALL TenrixReadEEPROM_M(CalDataBlock* device, uint16_t first, int32_t count, uint8_t* buffer)
{
    if (const int32_t refusal = Enter(device, Family::pllRegisters, buffer))
        return refusal;
    if (count < 1)
        return ZEL_OK;
    if (count > extendedMemorySize || first + count > extendedMemorySize)
        return ZEL_BAD_ARGUMENT;
    return AltrixReadEEPROM_M(device, first, static_cast<uint16_t>(first + count), buffer);
}
}
