#include "toolkit/Device.h"

#include "platform/Clock.h"
#include "toolkit/Layout.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Toolkit {

namespace {

constexpr std::int32_t mostCalibrators = 128;

CalDataBlock defaultDevice;
CalDataBlock scanningDevice;
ZelCalibratorPresence inventory[mostCalibrators];
std::int32_t inventoryCount = 0;

constexpr char weekdays[][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr char months[][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}

CalDataBlock* DefaultDevice()
{
    return &defaultDevice;
}

void FormatDate(std::uint32_t seconds, char text[32])
{
    text[0] = '\0';
    Platform::CalendarTime local{};
    char weekday[4] = {};
    if (seconds == blankLong || !Platform::ToLocalTime(seconds, local)
        || Platform::FormatLocalTime(seconds, "%w", weekday, sizeof weekday) == 0)
        return;
    std::snprintf(text, 32, "%s %s %2d %02d:%02d:%02d %d\n", weekdays[std::atoi(weekday) % 7],
                  months[(local.month - 1) % 12], local.day, local.hour, local.minute, local.second, local.year);
}

namespace {

bool Supports(const CalDataBlock* device, const FunctionRow& row)
{
    return IsType(device, row.types) || (IsType(device, row.fromRevision601) && device->header.firmwareRevision >= 601);
}

/// Types 19 and 20 have the mode from a firmware revision on.
std::int32_t EnterSyncMode(const CalDataBlock* device)
{
    if (const std::int32_t refusal = Enter(device, Gate::syncMode))
        return refusal;
    return Supports(device, supportedFunctions[4]) ? ZEL_OK : ZEL_NOT_AVAILABLE;
}

}

}

using namespace Toolkit;

extern "C" {

CalDataBlock* ZELCAL_CALL zelGetCaldataBlockAddress(void)
{
    return DefaultDevice();
}

int32_t ZELCAL_CALL zelGetToolkitRev_M(CalDataBlock* device, char* buffer)
{
    if (device == nullptr || buffer == nullptr)
        return ZEL_BAD_ARGUMENT;
    std::memcpy(buffer, toolkitRevision, sizeof toolkitRevision);
    return ZEL_OK;
}

uint32_t ZELCAL_CALL zelGetCalibratorSerialNumber_M(CalDataBlock* device)
{
    return device == nullptr ? 0 : device->eeprom.serialNumber;
}

int32_t ZELCAL_CALL zelGetCalibratorType_M(CalDataBlock* device)
{
    return device == nullptr ? 0 : device->header.calibratorType;
}

int32_t ZELCAL_CALL zelGetCalibrationDate_M(CalDataBlock* device, char* buffer)
{
    if (const int32_t refusal = Enter(device, allTypes, buffer))
        return refusal;
    char text[32];
    FormatDate(device->eeprom.date1, text);
    std::memcpy(buffer, text, std::strlen(text) + 1);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelReturnActiveCalibration_M(CalDataBlock* device, int32_t* slot)
{
    if (const int32_t refusal = Enter(device, allTypes, slot))
        return refusal;
    *slot = device->header.activeCalibration;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelReturnLumCalFactor_M(CalDataBlock* device, double* factor)
{
    if (const int32_t refusal = Enter(device, Gate::lcdLum, factor))
        return refusal;
    *factor = device->header.lumFactor;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelReturnHeronCalFactors_M(CalDataBlock* device, double factors[3])
{
    if (const int32_t refusal = Enter(device, Gate::heronLuminance, factors))
        return refusal;
    factors[0] = device->header.redFactor;
    factors[1] = device->header.greenFactor;
    factors[2] = device->header.blueFactor;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelSupportsFunction_M(CalDataBlock* device, int32_t function)
{
    constexpr int32_t count = sizeof supportedFunctions / sizeof *supportedFunctions;
    if (device == nullptr || function < 1 || function > count)
        return 0;
    return Supports(device, supportedFunctions[function - 1]) ? 1 : 0;
}

int32_t ZELCAL_CALL zelSetSyncMode_M(CalDataBlock* device, int16_t mode)
{
    if (const int32_t refusal = EnterSyncMode(device))
        return refusal;
    if (mode == 1 && IsType(device, Types(21, 22)))
        return ZEL_OUT_OF_RANGE;
    device->header.syncMode = mode;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetSyncMode_M(CalDataBlock* device, int16_t* mode)
{
    if (const int32_t refusal = EnterSyncMode(device))
        return refusal;
    if (mode == nullptr)
        return ZEL_BAD_ARGUMENT;
    *mode = device->header.syncMode;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixReturnCalHeader_M(CalDataBlock* device, ZelCalHeader* out)
{
    if (device == nullptr || out == nullptr)
        return ZEL_BAD_ARGUMENT;
    *out = device->header;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixReturnEEPROMStructure_M(CalDataBlock* device, ZelEEPROM* out)
{
    if (device == nullptr || out == nullptr)
        return ZEL_BAD_ARGUMENT;
    *out = device->eeprom;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelInventoryCalibrators_M(void)
{
    inventoryCount = 0;
    for (int32_t index = 0; index < mostCalibrators; ++index) {
        int32_t type = 0;
        if (zelFindUSBDevice_M(&scanningDevice, index, &type) == ZEL_OK)
            inventory[inventoryCount++] = {1, type, index};
    }
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetCalibratorCount_M(int32_t* count)
{
    if (count == nullptr)
        return ZEL_BAD_ARGUMENT;
    *count = inventoryCount;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetCalibratorPresence_M(int32_t position, ZelCalibratorPresence* out)
{
    if (position < 0 || out == nullptr)
        return ZEL_BAD_ARGUMENT;
    if (position < inventoryCount)
        *out = inventory[position];
    return ZEL_OK;
}
}
