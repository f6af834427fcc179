#include "toolkit/Channels.h"
#include "toolkit/Device.h"
#include "toolkit/Layout.h"
#include "toolkit/Numbers.h"

#include <cfloat>
#include <cmath>

namespace Toolkit {

namespace {

constexpr double mostDark = 2.0; // pulses in the calibration time that an LCD dark may show

/// Where the memory keeps the dark values of a type.
Field DarkField(const CalDataBlock* device)
{
    if (IsType(device, Family::lcd))
        return Fields::dark;
    return device->header.calibratorType == 14 ? Fields::ploverFirstDark : Fields::firstDark;
}

/// Keeps the values as floats in the instrument's memory, and puts them in force. Nothing is stored that is not a
/// finite float.
std::int32_t StoreDark(CalDataBlock* device, const double* values)
{
    const Field field = DarkField(device);
    for (int i = 0; i < field.count; ++i)
        if (!(std::fabs(values[i]) <= FLT_MAX))
            return ZEL_OUT_OF_RANGE;
    for (int i = 0; i < field.count; ++i)
        device->eeprom.darkFloats[i] = static_cast<float>(values[i]);
    if (const std::int32_t failure = WriteField(device, field, device->eeprom))
        return failure;
    for (int i = 0; i < field.count; ++i)
        device->header.darkCurrent[i] = values[i];
    return ZEL_OK;
}

/// The dark value that one reading with a single pulse shows; none if no pulse came.
double DarkValue(const ZelCalHeader& header, double seconds, double clocks)
{
    const double period = SecondsPerPulse(header, clocks, 1.0);
    return period == 0.0 ? 0.0 : seconds / period;
}

std::int32_t AddEdgeReading(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    for (std::uint8_t& n : header.edgesRGB)
        n = 1;
    if (const std::int32_t failure = ReadEdges(device))
        return failure;
    for (int i = 0; i < 3; ++i) {
        header.edgeCount[i] = Truncate(2.0 * header.edgeCount[i]);
        header.edgeRGB[i] += DarkValue(header, header.calTime[i], header.edgeCount[i]);
    }
    return ZEL_OK;
}

std::int32_t AddPeriodReading(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    for (int i = 0; i < 3; ++i) {
        header.periodsRGB[i] = 1;
        if (const std::int32_t failure = ReadPeriods(device, i))
            return failure;
        header.periodRGB[i] += DarkValue(header, header.calTime[i], header.periodCount[i]);
    }
    return ZEL_OK;
}

/// Averages the record's number of readings into `sums`, one of its vectors, and stores the means.
std::int32_t SetLcdDark(CalDataBlock* device, std::int32_t (*add)(CalDataBlock*), double sums[3])
{
    const int readings = device->header.numDarkMeas;
    if (readings < 1)
        return ZEL_OUT_OF_RANGE;
    AltrixResetCalHeaderMeasData_M(device);
    for (int reading = 0; reading < readings; ++reading)
        if (const std::int32_t failure = add(device))
            return failure;
    for (int i = 0; i < 3; ++i)
        sums[i] /= readings;
    return StoreDark(device, sums);
}

std::int32_t SetBassixPlusDark(CalDataBlock* device, std::int32_t(ZELCAL_CALL* measure)(CalDataBlock*, double*))
{
    const int readings = device->header.numDarkMeas;
    if (readings < 1)
        return ZEL_OUT_OF_RANGE;
    AltrixResetCalHeaderMeasData_M(device);
    double sum = 0.0;
    for (int reading = 0; reading < readings; ++reading) {
        double hertz = 0.0;
        if (const std::int32_t failure = measure(device, &hertz))
            return failure;
        sum += hertz;
    }
    const double mean = sum / readings;
    return StoreDark(device, &mean);
}

/// The instrument subtracts its dark values by itself: they are cleared, measured as counts, and given to it.
std::int32_t SetTenrixDark(CalDataBlock* device, int readings)
{
    if (readings < 1)
        return ZEL_OUT_OF_RANGE;
    if (const std::int32_t failure = TenrixSetDarkCurrent_M(device, 0, 0, 0))
        return failure;
    double sums[3] = {};
    for (int reading = 0; reading < readings; ++reading) {
        if (const std::int32_t failure = AltrixMeasureRawData_M(device, device->header.channelCount))
            return failure;
        for (int i = 0; i < 3; ++i)
            sums[i] += device->header.channelCount[i];
    }
    return TenrixSetDarkCurrent_M(device, Round(sums[0] / readings), Round(sums[1] / readings),
                                  Round(sums[2] / readings));
}

constexpr TypeSet lcdDark = Family::lcd | Family::reserved18;

/// The dark reference of the families that both forms of the call serve.
std::int32_t SetFamilyDark(CalDataBlock* device, int tenrixReadings)
{
    if (IsType(device, Family::tenrix))
        return SetTenrixDark(device, tenrixReadings);
    if (IsType(device, lcdDark))
        return zelSetLCDDarkCurrent_M(device);
    return IsType(device, Family::bassix) ? zelSetBassixPlusDarkCurrent_M(device) : ZEL_NOT_AVAILABLE;
}

std::int32_t GetTenrixDark(CalDataBlock* device, double* out)
{
    std::uint32_t dark[3] = {};
    if (const std::int32_t failure = TenrixGetDarkCurrent_M(device, dark, dark + 1, dark + 2))
        return failure;
    if (device->header.calibratorType == 10) // does not tell them
        return ZEL_OK;
    for (int i = 0; i < 3; ++i)
        out[i] = dark[i];
    return ZEL_OK;
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL zelSetDarkCurrent_M(CalDataBlock* device, uint16_t count)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    return SetFamilyDark(device, count);
}

int32_t ZELCAL_CALL zelSetDarkCurrentEx_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    if (IsType(device, Gate::lcdLum))
        return zelSetLCDLumDarkCurrent_M(device);
    if (IsType(device, Gate::channel1))
        return zelChannel1SetDarkCurrent_M(device);
    return SetFamilyDark(device, device->header.numDarkMeas);
}

int32_t ZELCAL_CALL zelSetLCDDarkCurrent_M(CalDataBlock* device)
{
    return zelSetLCDDarkCurrentSim_M(device);
}

int32_t ZELCAL_CALL zelSetAltrixDarkCurrent_M(CalDataBlock* device)
{
    return zelSetLCDDarkCurrentSim_M(device);
}

int32_t ZELCAL_CALL zelSetLCDDarkCurrentSim_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::measureLCDYxySim))
        return refusal;
    if (const int32_t failure = SetLcdDark(device, AddEdgeReading, device->header.edgeRGB))
        return failure;
    for (const double dark : device->header.darkCurrent)
        if (dark > mostDark)
            return ZEL_TOO_MUCH_LIGHT;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelSetLCDDarkCurrentSeq_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::measureLCDYxySim))
        return refusal;
    return SetLcdDark(device, AddPeriodReading, device->header.periodRGB);
}

int32_t ZELCAL_CALL zelSetBassixPlusDarkCurrent_M(CalDataBlock* device)
{
    return zelSetBassixPlusDarkCurrentEdge_M(device);
}

int32_t ZELCAL_CALL zelSetBassixPlusDarkCurrentEdge_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::lcdLuminanceEdge))
        return refusal;
    return SetBassixPlusDark(device, AltrixMeasureLCDLumEdge_M);
}

int32_t ZELCAL_CALL zelSetBassixPlusDarkCurrentPeriod_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::lcdLuminancePeriod))
        return refusal;
    return SetBassixPlusDark(device, AltrixMeasureLCDLumPeriod_M);
}

int32_t ZELCAL_CALL zelSetLCDLumDarkCurrent_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::lcdLum))
        return refusal;
    uint32_t count = 0;
    if (const int32_t failure = AltrixMeasureGreenPeriod_M(device, 1, &count))
        return failure;
    const double dark = DarkValue(device->header, 1.0, count);
    return StoreDark(device, &dark);
}

int32_t ZELCAL_CALL zelSetLCDBassixDarkCurrent_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::lcdBassixDark))
        return refusal;
    uint32_t count = 0;
    if (const int32_t failure = AltrixMeasureGreenPeriod_M(device, 1, &count))
        return failure;
    device->header.darkCurrent[0] = DarkValue(device->header, 1.0, count);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelChannel1SetDarkCurrent_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::channel1))
        return refusal;
    uint32_t count = 0;
    if (const int32_t failure = AltrixMeasureGreenPeriodW_M(device, 1, &count))
        return failure;
    const double dark = DarkValue(device->header, 1.0, count);
    return StoreDark(device, &dark);
}

int32_t ZELCAL_CALL zelGetDarkCurrentEx_M(CalDataBlock* device, double* out)
{
    if (const int32_t refusal = Enter(device, Gate::getDarkCurrent, out))
        return refusal;
    if (IsType(device, Family::tenrix))
        return GetTenrixDark(device, out);
    const int count = IsType(device, lcdDark) ? 3 : 1;
    for (int i = 0; i < count; ++i)
        out[i] = device->header.darkCurrent[i];
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetDarkCurrent_M(CalDataBlock* device, double* out)
{
    return zelGetDarkCurrentEx_M(device, out);
}

int32_t ZELCAL_CALL AltrixStoreDarkCurrent_M(CalDataBlock* device, const double* values)
{
    if (const int32_t refusal = Enter(device, Gate::storeDarkCurrent, values))
        return refusal;
    return StoreDark(device, values);
}

int32_t ZELCAL_CALL AltrixResetDarkCurrent_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Gate::resetDarkCurrent))
        return refusal;
    const double none[3] = {};
    if (!IsType(device, Family::tenrix))
        return StoreDark(device, none);
    for (int i = 0; i < 3; ++i) {
        device->header.darkCurrent[i] = 0.0;
        device->eeprom.darkFloats[i] = 0.0F;
    }
    return TenrixSetDarkCurrent_M(device, 0, 0, 0);
}
}
