#include "toolkit/Refresh.h"

#include "toolkit/Channels.h"
#include "toolkit/Device.h"
#include "toolkit/Numbers.h"

namespace Toolkit {

namespace {

constexpr double usualPeriod = 0.016666666666666666; // seconds, of 60 Hz
constexpr std::uint16_t usualPeriods = 100;

/// The mean of the record's number of readings, seconds; 0 if one of them showed no refresh.
std::int32_t MeasurePeriod(CalDataBlock* device, double* period)
{
    const ZelCalHeader& header = device->header;
    double sum = 0.0;
    *period = 0.0;
    for (int sample = 0; sample < header.frequencySamples; ++sample) {
        std::uint32_t count = 0;
        const std::int32_t failure = header.calibratorType < 4 ? AltrixMeasurePeriod_M(device, &count)
                                                               : AltrixMeasurePeriodHighRes_M(device, &count);
        if (failure != ZEL_OK)
            return failure;
        if (count == 0)
            return ZEL_OK;
        sum += count;
    }
    if (header.frequencySamples > 0)
        *period = SecondsPerPulse(header, sum, header.frequencySamples);
    return ZEL_OK;
}

std::int32_t SetTimeForPeriod(CalDataBlock* device, std::uint16_t periods, double period)
{
    device->header.numPeriods = periods;
    device->header.timingFlags |= timeIsSet;
    return AltrixSetIntegrationTime_M(device, Round(periods * (period / device->header.tickLength)));
}

/// Lets the loop of the instruments that have one follow the screen.
std::int32_t FollowRate(CalDataBlock* device, double period)
{
    if (device->header.calibratorType == 10)
        return TenrixSetPLLPeriod_M(device, Round(period / device->header.tickLength));
    if (device->header.calibratorType == 11)
        return TenrixSetPLLPeriodEx_M(device, device->header.monitorFrequency);
    return ZEL_OK;
}

std::int32_t ContinueWithoutRefresh(CalDataBlock* device, std::uint16_t periods)
{
    const double rate = device->header.monitorFrequency;
    device->header.timingFlags &= static_cast<std::uint16_t>(~rateIsMeasured);
    const std::int32_t failure = SetTimeForPeriod(device, periods, rate != 0.0 ? 1.0 / rate : usualPeriod);
    return failure != ZEL_OK ? failure : ZEL_NO_REFRESH;
}

}

std::int32_t AdaptIntegrationTime(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    if ((header.timingFlags & rateIsMeasured) == 0) {
        double hertz = 0.0;
        const std::int32_t status = zelMeasMonFreqAndSetIntTime_M(device, header.numPeriods, &hertz);
        if (status == ZEL_NOT_AVAILABLE)
            return zelSetIntegrationTime_M(device, 1.0);
        return status == ZEL_NO_REFRESH ? ZEL_OK : status;
    }
    if ((header.timingFlags & timeIsSet) != 0)
        return ZEL_OK;
    const double ticks = 1.0 / header.monitorFrequency / header.tickLength;
    header.timingFlags |= timeIsSet;
    return AltrixSetIntegrationTime_M(device, Round(ticks * header.numPeriods));
}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL zelMeasMonFreqAndSetIntTime_M(CalDataBlock* device, uint16_t periods, double* hertz)
{
    if (const int32_t refusal = Enter(device, Gate::monitorFrequency, hertz))
        return refusal;
    ZelCalHeader& header = device->header;
    if (periods == 0)
        periods = usualPeriods;
    *hertz = 0.0;
    double period = 0.0;
    if (const int32_t failure = MeasurePeriod(device, &period))
        return failure;
    if (period == 0.0)
        return ContinueWithoutRefresh(device, periods);
    *hertz = header.monitorFrequency = 1.0 / period;
    header.timingFlags |= rateIsMeasured;
    if (const int32_t failure = SetTimeForPeriod(device, periods, period))
        return failure;
    return FollowRate(device, period);
}

int32_t ZELCAL_CALL zelMeasureMonitorFrequency_M(CalDataBlock* device, double* hertz)
{
    if (const int32_t refusal = Enter(device, Gate::monitorFrequency, hertz))
        return refusal;
    ZelCalHeader& header = device->header;
    *hertz = 0.0;
    double period = 0.0;
    if (const int32_t failure = MeasurePeriod(device, &period))
        return failure;
    if (period == 0.0)
        return ZEL_NO_REFRESH;
    *hertz = header.monitorFrequency = 1.0 / period;
    header.timingFlags = rateIsMeasured; // the integration time fits the rate before, if any
    return FollowRate(device, period);
}

int32_t ZELCAL_CALL zelSetIntegrationTime_M(CalDataBlock* device, double seconds)
{
    if (const int32_t refusal = Enter(device, Gate::integrationTime))
        return refusal;
    const double ticks = seconds / device->header.tickLength + 0.5;
    if (!(ticks >= 0.0) || ticks > UINT32_MAX)
        return ZEL_OUT_OF_RANGE;
    if (const int32_t failure = AltrixSetIntegrationTime_M(device, Truncate(ticks)))
        return failure;
    device->header.timingFlags &= static_cast<uint16_t>(~timeIsSet);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetIntegrationTime_M(CalDataBlock* device, double* seconds)
{
    if (const int32_t refusal = Enter(device, Gate::integrationTime, seconds))
        return refusal;
    ZelCalHeader& header = device->header;
    if (const int32_t failure = AltrixGetIntegrationTime_M(device, &header.integrationTicks))
        return failure;
    *seconds = header.integrationTicks * header.tickLength;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelSetNumPeriodsToMeasure_M(CalDataBlock* device, uint16_t value)
{
    if (const int32_t refusal = Enter(device, Gate::numPeriods))
        return refusal;
    if (value != device->header.numPeriods)
        device->header.timingFlags &= static_cast<uint16_t>(~timeIsSet);
    device->header.numPeriods = value;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetNumPeriodsToMeasure_M(CalDataBlock* device, uint16_t* value)
{
    if (const int32_t refusal = Enter(device, Gate::numPeriods, value))
        return refusal;
    *value = device->header.numPeriods;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelSetLCDTargetTime_M(CalDataBlock* device, double seconds)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    if (!(seconds >= 0.0) || seconds > UINT32_MAX || !HasClock(device->header))
        return ZEL_OUT_OF_RANGE;
    device->header.targetCount = seconds / device->header.clockPeriod;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetLCDTargetTime_M(CalDataBlock* device, double* seconds)
{
    if (const int32_t refusal = Enter(device, allTypes, seconds))
        return refusal;
    if (!HasClock(device->header))
        return ZEL_OUT_OF_RANGE;
    *seconds = device->header.targetCount * device->header.clockPeriod;
    return ZEL_OK;
}

// ---- how many readings make a mean

int32_t ZELCAL_CALL zelSetNumMeasToAvg_M(CalDataBlock* device, uint16_t value)
{
    if (const int32_t refusal = Enter(device, Gate::averages))
        return refusal;
    if (value < 1 || value > INT16_MAX)
        return ZEL_OUT_OF_RANGE;
    device->header.numMeasToAvg = static_cast<int16_t>(value);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelGetNumMeasToAvg_M(CalDataBlock* device, uint16_t* value)
{
    if (const int32_t refusal = Enter(device, Gate::averages, value))
        return refusal;
    *value = static_cast<uint16_t>(device->header.numMeasToAvg);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelSetNumDarkMeas_M(CalDataBlock* device, uint16_t value)
{
    if (const int32_t refusal = Enter(device, Gate::averages))
        return refusal;
    if (value < 1 || value > INT16_MAX)
        return ZEL_OUT_OF_RANGE;
    device->header.numDarkMeas = static_cast<int16_t>(value);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelTenrixSetNumDarkMeas_M(CalDataBlock* device, uint16_t value)
{
    return zelSetNumDarkMeas_M(device, value);
}

int32_t ZELCAL_CALL zelGetNumDarkMeas_M(CalDataBlock* device, uint16_t* value)
{
    if (const int32_t refusal = Enter(device, Gate::averages, value))
        return refusal;
    *value = static_cast<uint16_t>(device->header.numDarkMeas);
    return ZEL_OK;
}
}
