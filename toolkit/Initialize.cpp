#include "toolkit/Device.h"
#include "toolkit/Layout.h"
#include "toolkit/Numbers.h"
#include "toolkit/Transport.h"

namespace Toolkit {

namespace {

constexpr TypeSet slot1IsActive =
    Types(7, 12, 18) | Family::lcdLum | Family::lcdAltrix | Family::bassixPlus | Family::laterOsprey | Family::channel1;
constexpr TypeSet withLumFactor = Types(6, 13) | Family::lcdLum;

/// The clock of instruments whose memory does not tell it, seconds. On the others the field keeps its value.
struct ClockRow {
    TypeSet types;
    double serial;
    double usb;
};
constexpr ClockRow defaultClocks[] = {
    {Types(2, 3, 6, 13), 1e-6, 1e-6},
    {Types(4, 7, 8), 2.5e-7, 3.3333333e-7},
    {Types(10), 2.5e-7, 2.5e-7},
    {Types(11), 3.3333333e-7, 3.3333333e-7},
};

/// Types 5, 14 and 16 tell neither clock nor tick.
constexpr double olderClock = 1e-6;
constexpr double olderTick = 3.2e-5;
constexpr double olderUsbTick = 1e-6; // type 5

/// What the dark floats of type 16 hold when they were never measured: 4294967296.0.
constexpr std::uint32_t unmeasuredDark = 0x4F800000;

double PickByPort(const ZelCalHeader& header, double serial, double usb)
{
    return header.portType == usbPort ? usb : serial;
}

void SetLuminanceHead(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    header.clockPeriod = olderClock;
    header.tickLength = PickByPort(header, olderTick, olderUsbTick);
    header.targetCount = 1.0 / header.clockPeriod;
}

void SetPlover(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    const ZelEEPROM& eeprom = device->eeprom;
    const int channels = header.calibratorType == 16 ? 3 : 1;
    header.clockPeriod = olderClock;
    header.tickLength = olderTick;
    const std::uint32_t firstDark = BitsOf(eeprom.darkFloats[0]);
    const bool noDark = channels == 3 && (firstDark == unmeasuredDark || firstDark == blankLong);
    for (int i = 0; i < channels; ++i) {
        header.darkCurrent[i] = noDark ? 0.0 : eeprom.darkFloats[i];
        header.calCount[i] = eeprom.calRateWord;
        header.calTime[i] = header.calCount[i] * header.tickLength;
    }
    header.redFactor = eeprom.eepromMatrix1[0];
    header.greenFactor = eeprom.eepromMatrix1[1];
    header.blueFactor = eeprom.eepromMatrix1[2];
    header.lumFactor = header.redFactor;
    header.targetCount = 1.0 / header.clockPeriod;
    header.frequencySamples = 30;
}

void SetClock(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    if (device->eeprom.formatWord >= 8 && BitsOf(device->eeprom.clockFloat) != blankLong) {
        header.clockPeriod = device->eeprom.clockFloat;
        return;
    }
    for (const ClockRow& row : defaultClocks)
        if (IsType(device, row.types))
            header.clockPeriod = PickByPort(header, row.serial, row.usb);
}

void SetDark(CalDataBlock* device)
{
    const ZelEEPROM& eeprom = device->eeprom;
    const bool valid = eeprom.formatWord >= 13 && BitsOf(eeprom.darkFloats[0]) != blankLong;
    for (int i = 0; i < 3; ++i)
        device->header.darkCurrent[i] = valid ? eeprom.darkFloats[i] : 0.0;
}

/// The integration time at calibration, from the refresh rate and the number of refresh periods that it held.
std::int32_t SetCalibrationCounts(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    const ZelEEPROM& eeprom = device->eeprom;
    bool missing = eeprom.calRateWord == 0 || eeprom.tickWord == 0;
    for (const std::uint16_t periods : eeprom.calPeriods)
        missing = missing || periods == 0;
    header.eepromState = missing ? 2 : 0;
    if (missing)
        return ZEL_COUNTS_MISSING;

    const double tick = eeprom.tickWord;
    for (int i = 0; i < 3; ++i) {
        header.calCount[i] = Round(1e11 / (eeprom.calRateWord * tick) * eeprom.calPeriods[i]);
        header.calTime[i] = header.calCount[i] * tick * 1e-9;
    }
    header.tickLength = tick * 1e-9;
    for (int i = 0; i < 9; ++i)
        header.calMatrix[i] = eeprom.eepromMatrix1[i];
    return ZEL_OK;
}

std::int32_t SetCalibration(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    const ZelEEPROM& eeprom = device->eeprom;
    if (IsType(device, Family::colour))
        return SetCalibrationCounts(device);
    if (header.calibratorType == 7) {
        header.greenFactor = eeprom.eepromMatrix1[0];
        header.redFactor = eeprom.eepromMatrix1[1];
        header.blueFactor = eeprom.eepromMatrix1[2];
        header.tickLength = PickByPort(header, 3.75e-6, 5e-6);
    } else if (IsType(device, withLumFactor)) {
        header.lumFactor = eeprom.eepromMatrix1[0];
        header.tickLength = eeprom.tickWord * 1e-9;
        header.darkCurrent[0] = eeprom.darkFloats[0];
    } else if (header.calibratorType == 21) {
        for (int i = 0; i < 8; ++i)
            header.channel1Factors[i] = eeprom.eepromMatrix1[i];
        header.tickLength = 1e-6;
    }
    return ZEL_OK;
}

/// The ambient head sees through the mean of both slots, scaled row by row.
void SetAmbientMatrix(CalDataBlock* device)
{
    const ZelEEPROM& eeprom = device->eeprom;
    for (int i = 0; i < 9; ++i) {
        const double sum = static_cast<double>(eeprom.eepromMatrix2[i]) + static_cast<double>(eeprom.eepromMatrix1[i]);
        device->header.ambientMatrix[i] = sum * 0.5 * eeprom.ambientScale[i / 3];
    }
}

std::int32_t SetWorkingConstants(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    SetClock(device);
    SetDark(device);
    header.monitorFrequency = 0.0;
    header.numPeriods = 100;
    header.timingFlags = 0;
    if (const std::int32_t failure = SetCalibration(device))
        return failure;
    if (header.calibratorType == 20)
        SetAmbientMatrix(device);
    if (header.calibratorType == 22)
        header.syncMode = 2;
    if (IsType(device, Family::tenrix))
        header.numDarkMeas = 50;
    header.targetCount = 1.0 / header.clockPeriod;
    return ZEL_OK;
}

}

}

using namespace Toolkit;

extern "C" int32_t ZELCAL_CALL AltrixInitialize_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    ZelCalHeader& header = device->header;
    if (const int32_t failure = AltrixGetIntegrationTime_M(device, &header.integrationTicks))
        return failure;
    header.numMeasToAvg = 1;
    header.numDarkMeas = 1;
    header.frequencySamples = 5;
    header.syncMode = 1;
    if (device->eeprom.formatWord == blankWord) {
        header.eepromState = 1;
        return ZEL_EEPROM_BLANK;
    }
    header.activeCalibration = IsType(device, slot1IsActive) ? 1 : 0;
    if (header.calibratorType == 5)
        SetLuminanceHead(device);
    else if (IsType(device, Family::plover))
        SetPlover(device);
    else
        return SetWorkingConstants(device);
    return ZEL_OK;
}
