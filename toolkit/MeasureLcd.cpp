#include "toolkit/Channels.h"
#include "toolkit/Device.h"
#include "toolkit/Numbers.h"

#include <cmath>

namespace Toolkit {

namespace {

constexpr unsigned allChannels = 7;

// Turn seconds per pulse of the dimmest channel into the unit of the instrument's time limit.
constexpr double limitMargin = 2.5;
constexpr double limitScale = 0.2386634844868735;

std::int32_t ReadLimitedEdges(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    const std::uint8_t* n = header.edgesRGB;
    std::uint32_t* counts = header.edgeCount;
    std::uint8_t* left = header.periodsLeft;
    if (const std::int32_t failure =
            AltrixMeasureRGBEdgeTO_M(device, n[0], n[1], n[2], header.edgeTimeLimit, counts, left))
        return failure;
    if (const std::int32_t failure = AltrixGetGreenDataTO_M(device, counts + 1, left + 1))
        return failure;
    return AltrixGetBlueDataTO_M(device, counts + 2, left + 2);
}

/// The time limit that lets the dimmest channel of the first reading end in time.
std::uint8_t EdgeTimeLimit(const ZelCalHeader& header)
{
    double dimmest = HUGE_VAL;
    for (int i = 0; i < 3; ++i) {
        const double seconds = SecondsPerPulse(header, 2.0 * header.edgeCount[i], 1.0);
        const double value = seconds == 0.0 ? 0.0 : header.calTime[i] / seconds;
        dimmest = std::fmin(dimmest, value);
    }
    const std::uint32_t limit = Round(1.0 / dimmest * limitMargin * limitScale);
    if (limit == 0)
        return 1;
    return limit > 255 ? 255 : static_cast<std::uint8_t>(limit);
}

std::int32_t MeasureTimeLimited(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    for (std::uint8_t& n : header.edgesRGB)
        n = 1;
    if (const std::int32_t failure = ReadLimitedEdges(device))
        return failure;
    if (SetMultipliers(device, header.edgeCount, allChannels, byteMultiplier, header.edgesRGB)) {
        header.edgeTimeLimit = EdgeTimeLimit(header);
        if (const std::int32_t failure = ReadLimitedEdges(device))
            return failure;
    }
    for (int i = 0; i < 3; ++i)
        header.edgeRGB[i] = EdgeValue(header, i, header.edgeCount[i], header.edgesRGB[i] - header.periodsLeft[i]);
    return ZEL_OK;
}

/// Sums of the progressive measurement, wider than the fields of the record.
struct Sweeps {
    double sums[3];
    std::uint32_t repeats;
};

void NoteSweeps(ZelCalHeader& header, const Sweeps& sweeps)
{
    const std::uint32_t most = INT16_MAX;
    for (int i = 0; i < 3; ++i) {
        header.wideCount[i] = Truncate(sweeps.sums[i]);
        header.repeatCount[i] = static_cast<std::int16_t>(sweeps.repeats < most ? sweeps.repeats : most);
    }
}

/// Whether a channel has enough.
bool AreEnough(const ZelCalHeader& header, const double sums[3])
{
    const double target = SweepTarget(header);
    return sums[0] >= target || sums[1] >= target || sums[2] >= target;
}

std::int32_t SweepEdges(CalDataBlock* device, Sweeps* sweeps)
{
    const std::uint32_t* counts = device->header.edgeCount;
    int darkInARow = 0;
    do {
        if (const std::int32_t failure = ReadEdges(device))
            return failure;
        ++darkInARow;
        if (counts[0] != 0 || counts[1] != 0 || counts[2] != 0) {
            for (int i = 0; i < 3; ++i)
                sweeps->sums[i] += counts[i];
            ++sweeps->repeats;
            darkInARow = 0;
        }
        NoteSweeps(device->header, *sweeps);
    } while (!AreEnough(device->header, sweeps->sums) && darkInARow < mostDarkReadings);
    return ZEL_OK;
}

bool HasTimeLimitedEdges(const CalDataBlock* device)
{
    return device->header.firmwareRevision >= 441 && device->header.firmwareRevision <= 449;
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL zelMeasureLCDYxy_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Enter(device, Gate::measureLCDYxy, out))
        return refusal;
    if (!IsType(device, Family::tenrix))
        return zelMeasureLCDYxySim_M(device, unit, out);
    double vector[3];
    return zelMeasureYxyAvg_M(device, unit, out, vector, static_cast<uint16_t>(device->header.numMeasToAvg));
}

int32_t ZELCAL_CALL zelMeasureLCDYxySeq_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::measureLCDYxySim, out))
        return refusal;
    ZelCalHeader& header = device->header;
    for (int i = 0; i < 3; ++i) {
        header.periodsRGB[i] = 1;
        if (const int32_t failure = ReadPeriods(device, i))
            return failure;
        if (header.periodCount[i] < header.targetCount) {
            header.periodsRGB[i] =
                static_cast<uint8_t>(Multiplier(header.targetCount, header.periodCount[i], byteMultiplier));
            if (const int32_t failure = ReadPeriods(device, i))
                return failure;
        }
        header.periodRGB[i] = PeriodValue(header, i, header.periodCount[i], header.periodsRGB[i]);
    }
    return Conclude(device, header.periodRGB, unit, out);
}

int32_t ZELCAL_CALL zelMeasureLCDYxySim_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::measureLCDYxySim, out))
        return refusal;
    if (HasTimeLimitedEdges(device))
        return zelMeasureLCDYxySimTO_M(device, unit, out);
    if (const int32_t failure = MeasureSimultaneously(device, allChannels))
        return failure;
    return Conclude(device, device->header.edgeRGB, unit, out);
}

int32_t ZELCAL_CALL zelMeasureLCDYxySimW_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::ospreyMeasure, out))
        return refusal;
    if (const int32_t failure = MeasureSimultaneouslyWide(device, allChannels))
        return failure;
    return Conclude(device, device->header.edgeRGB, unit, out);
}

int32_t ZELCAL_CALL zelMeasureAmbient_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::ambient, out))
        return refusal;
    if (const int32_t failure = MeasureSimultaneouslyWide(device, allChannels))
        return failure;
    double XYZ[3];
    if (const int32_t failure = ApplyMatrix(device->header.ambientMatrix, device->header.edgeRGB, XYZ))
        return failure;
    return Conclude(XYZ, unit, out, footCandle);
}

int32_t ZELCAL_CALL zelMeasureLCDYxySimTO_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::progressive, out))
        return refusal;
    if (!HasTimeLimitedEdges(device))
        return ZEL_NOT_AVAILABLE;
    ZelCalHeader& header = device->header;
    if (const int32_t failure = MeasureTimeLimited(device))
        return failure;
    if (const int32_t failure = Conclude(device, header.edgeRGB, unit, out))
        return failure;
    const bool ended = header.periodsLeft[0] != 0 || header.periodsLeft[1] != 0 || header.periodsLeft[2] != 0;
    return ended ? ZEL_TIME_LIMIT : ZEL_OK;
}

int32_t ZELCAL_CALL zelMeasureYxyProgressive_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::progressive, out))
        return refusal;
    ZelCalHeader& header = device->header;
    for (uint8_t& n : header.edgesRGB)
        n = 1;
    Sweeps sweeps = {};
    if (const int32_t failure = SweepEdges(device, &sweeps))
        return failure;
    for (int i = 0; i < 3; ++i)
        header.edgeRGB[i] = EdgeValue(header, i, sweeps.sums[i], sweeps.repeats);
    return Conclude(device, header.edgeRGB, unit, out);
}

int32_t ZELCAL_CALL zelDarkMeasureYxy_M(CalDataBlock* device, uint16_t unit, uint8_t nRed, uint8_t nGreen,
                                        uint8_t nBlue, int32_t edgeFlag, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::measureLCDYxySim, out))
        return refusal;
    ZelCalHeader& header = device->header;
    uint8_t* multipliers = edgeFlag != 0 ? header.edgesRGB : header.periodsRGB;
    multipliers[0] = nRed;
    multipliers[1] = nGreen;
    multipliers[2] = nBlue;
    if (edgeFlag != 0) {
        if (const int32_t failure = ReadEdges(device))
            return failure;
        for (int i = 0; i < 3; ++i)
            header.edgeRGB[i] = EdgeValue(header, i, header.edgeCount[i], multipliers[i]);
        return Conclude(device, header.edgeRGB, unit, out);
    }
    for (int i = 0; i < 3; ++i) {
        if (const int32_t failure = ReadPeriods(device, i))
            return failure;
        header.periodRGB[i] = PeriodValue(header, i, header.periodCount[i], multipliers[i]);
    }
    return Conclude(device, header.periodRGB, unit, out);
}
}
