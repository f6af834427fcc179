#include "toolkit/Channels.h"
#include "toolkit/Device.h"
#include "toolkit/Numbers.h"
#include "toolkit/Refresh.h"

namespace Toolkit {

namespace {

constexpr double sweepShare = 0.9; // of the target, that the sum of a sweep must reach
constexpr double channel1Tick = 1e-6;

double ZeroIfNegative(double value)
{
    return value < 0.0 ? 0.0 : value;
}

/// Pulses in a second; `darkestValue` if there was no count or no clock.
double Hertz(const ZelCalHeader& header, double clocks, double pulses)
{
    const double seconds = SecondsPerPulse(header, clocks, pulses);
    return seconds == 0.0 ? darkestValue : 1.0 / seconds;
}

/// The USB electronics of types 5 and 6 count both edges of a pulse.
bool CountsTwiceOnUsb(const CalDataBlock* device)
{
    return IsType(device, Family::greenBassix) && device->header.portType == 1;
}

/// Reads the periods of one channel, and once more with a larger multiplier if they show too few clock counts.
std::int32_t ReadPeriodsTwice(CalDataBlock* device, int channel)
{
    ZelCalHeader& header = device->header;
    header.periodsRGB[channel] = 1;
    if (const std::int32_t failure = ReadPeriods(device, channel))
        return failure;
    const std::uint32_t count = header.periodCount[channel];
    if (count >= header.targetCount)
        return ZEL_OK;
    header.periodsRGB[channel] = static_cast<std::uint8_t>(Multiplier(header.targetCount, count, byteMultiplier));
    return ReadPeriods(device, channel);
}

std::int32_t MeasureLcdChannel(CalDataBlock* device, int channel, double* value)
{
    if (const std::int32_t refusal = Enter(device, allTypes, value))
        return refusal;
    if (const std::int32_t failure = ReadPeriodsTwice(device, channel))
        return failure;
    const ZelCalHeader& header = device->header;
    const double hertz = Hertz(header, header.periodCount[channel], header.periodsRGB[channel]);
    *value = ZeroIfNegative(hertz - header.darkCurrent[channel]);
    return ZEL_OK;
}

std::int32_t ReadLumEdge(CalDataBlock* device, std::uint8_t n)
{
    for (std::uint8_t& edges : device->header.edgesRGB)
        edges = n;
    return AltrixMeasureLumEdge_M(device, device->header.edgeCount, n);
}

double LumEdgeHertz(const CalDataBlock* device, double counts, double pulses)
{
    return Hertz(device->header, CountsTwiceOnUsb(device) ? counts : 2.0 * counts, pulses);
}

/// Readings with the same multiplier until their counts together are near the target, or the light is gone.
std::int32_t SweepLumEdges(CalDataBlock* device, std::uint8_t n, double* counts, double* pulses)
{
    ZelCalHeader& header = device->header;
    int darkInARow = 0;
    do {
        if (const std::int32_t failure = ReadLumEdge(device, n))
            return failure;
        if (header.sweepCount < INT16_MAX)
            ++header.sweepCount;
        ++darkInARow;
        if (header.edgeCount[0] != 0) {
            *counts += header.edgeCount[0];
            *pulses += n;
            darkInARow = 0;
        }
    } while (*counts < sweepShare * SweepTarget(header) && darkInARow < mostDarkReadings);
    return ZEL_OK;
}

using LumCall = std::int32_t(ZELCAL_CALL*)(CalDataBlock*, double*);

/// The luminance of a one-channel instrument, foot-lamberts.
std::int32_t LuminanceBy(CalDataBlock* device, LumCall measure, double* luminance)
{
    double hertz = 0.0;
    if (const std::int32_t failure = measure(device, &hertz))
        return failure;
    *luminance = ZeroIfNegative(hertz - device->header.darkCurrent[0]) * device->header.lumFactor;
    return ZEL_OK;
}

std::int32_t MeasureLcdLuminance(CalDataBlock* device, LumCall measure, std::uint16_t unit, double* out)
{
    double luminance = 0.0;
    if (const std::int32_t failure = LuminanceBy(device, measure, &luminance))
        return failure;
    *out = InUnit(luminance, unit);
    return ZEL_OK;
}

/// The channel that the light of a one-channel instrument falls on.
int LightChannel(const CalDataBlock* device)
{
    return IsType(device, Family::bassixPlus) ? 0 : 1;
}

/// The frequency reading of a one-channel instrument, hertz, less its dark value.
std::int32_t MeasureBassixFrequency(CalDataBlock* device, double* out)
{
    ZelCalHeader& header = device->header;
    const int channel = LightChannel(device);
    const double seconds = header.integrationTicks * header.tickLength;
    if (seconds == 0.0)
        return ZEL_NO_INTEGRATION_TIME;
    const std::int32_t failure = channel == 0 ? AltrixMeasureRedChannel_M(device, header.channelCount)
                                              : AltrixMeasureGreenChannel_M(device, header.channelCount + 1);
    if (failure != ZEL_OK)
        return failure;
    const double hertz = header.channelCount[channel] / seconds;
    *out = ZeroIfNegative(hertz - header.darkCurrent[0]);
    return ZEL_OK;
}

/// The luminances that the three channels of a Heron show: red, green, blue, foot-lamberts.
std::int32_t MeasureHeron(CalDataBlock* device, double luminances[3])
{
    const ZelCalHeader& header = device->header;
    double vector[3];
    if (const std::int32_t failure = AltrixMeasureRGBScaled_M(device, vector))
        return failure;
    luminances[0] = vector[0] * header.redFactor;
    luminances[1] = vector[1] * header.greenFactor;
    luminances[2] = vector[2] * header.blueFactor;
    return ZEL_OK;
}

/// The most sensitive channel of a Heron that is not saturated: a saturated one shows less than its neighbour.
std::int32_t PickHeronLuminance(CalDataBlock* device, double* luminance)
{
    ZelCalHeader& header = device->header;
    double rgb[3];
    if (const std::int32_t failure = MeasureHeron(device, rgb))
        return failure;
    if (rgb[2] >= rgb[1] - header.greenFactor)
        header.lumChannel = 2;
    else
        header.lumChannel = rgb[1] >= rgb[0] - header.redFactor ? 1 : 0;
    *luminance = rgb[header.lumChannel];
    return ZEL_OK;
}

/// Luminance in foot-lamberts of the families that leave the unit to the caller.
std::int32_t MeasureFamilyLuminance(CalDataBlock* device, double* luminance)
{
    if (IsType(device, Gate::heronLuminance))
        return PickHeronLuminance(device, luminance);
    if (IsType(device, Family::bassix)) {
        if (const std::int32_t failure = zelMeasureRawDataScaled_M(device, luminance))
            return failure;
        *luminance *= device->header.lumFactor;
        return ZEL_OK;
    }
    double XYZ[3];
    if (const std::int32_t failure = AltrixMeasureXYZ_M(device, XYZ))
        return failure;
    *luminance = XYZ[1];
    return ZEL_OK;
}

// ---- the channel-1 instrument

double ClampedAboveDark(const ZelCalHeader& header, double hertz)
{
    const double value = hertz - header.darkCurrent[0];
    return value <= 0.0 ? darkestValue : value;
}

/// Hertz, dark included.
std::int32_t MeasureChannel1Frequency(CalDataBlock* device, double* hertz)
{
    ZelCalHeader& header = device->header;
    if (header.integrationTicks == 0)
        return ZEL_NO_INTEGRATION_TIME;
    std::uint32_t selected = 0; // this command only selects: the count is that of the next one
    if (const std::int32_t failure = AltrixMeasureRedChannelW_M(device, 0, &selected))
        return failure;
    if (const std::int32_t failure = AltrixMeasureGreenChannel_M(device, header.channelCount))
        return failure;
    *hertz = header.channelCount[0] / (header.integrationTicks * channel1Tick);
    return ZEL_OK;
}

std::int32_t ReadChannel1Edges(CalDataBlock* device)
{
    return AltrixMeasureGreenPeriodW_M(device, device->header.wideEdges[0], device->header.wideCount);
}

/// Hertz above dark.
std::int32_t MeasureChannel1Edges(CalDataBlock* device, double* value)
{
    ZelCalHeader& header = device->header;
    header.wideEdges[0] = 1;
    if (const std::int32_t failure = ReadChannel1Edges(device))
        return failure;
    header.wideEdges[0] =
        static_cast<std::uint16_t>(Multiplier(header.targetCount, header.wideCount[0], channel1Multiplier));
    if (header.wideEdges[0] != 1)
        if (const std::int32_t failure = ReadChannel1Edges(device))
            return failure;
    const double hertz = Hertz(header, header.wideCount[0], header.wideEdges[0]);
    *value = ClampedAboveDark(header, hertz);
    return ZEL_OK;
}

std::int32_t MeasureChannel1(CalDataBlock* device, std::int32_t mode, double* value)
{
    if (mode == 1 || mode == 2)
        return MeasureChannel1Edges(device, value);
    if (const std::int32_t failure = MeasureChannel1Frequency(device, value))
        return failure;
    if (mode == 3)
        *value = ClampedAboveDark(device->header, *value);
    else if (device->header.channelCount[0] <= Truncate(BelievableCount(device)))
        return MeasureChannel1Edges(device, value);
    return ZEL_OK;
}

}

}

using namespace Toolkit;

extern "C" {

// ---- instrument level

int32_t ZELCAL_CALL AltrixMeasureLCDRed_M(CalDataBlock* device, double* value)
{
    return MeasureLcdChannel(device, 0, value);
}

int32_t ZELCAL_CALL AltrixMeasureLCDGreen_M(CalDataBlock* device, double* value)
{
    return MeasureLcdChannel(device, 1, value);
}

int32_t ZELCAL_CALL AltrixMeasureLCDBlue_M(CalDataBlock* device, double* value)
{
    return MeasureLcdChannel(device, 2, value);
}

int32_t ZELCAL_CALL AltrixMeasureLCDLumPeriod_M(CalDataBlock* device, double* value)
{
    if (const int32_t refusal = Enter(device, allTypes, value))
        return refusal;
    const int channel = LightChannel(device);
    if (const int32_t failure = ReadPeriodsTwice(device, channel))
        return failure;
    const ZelCalHeader& header = device->header;
    const double count = header.periodCount[channel] * (CountsTwiceOnUsb(device) ? 0.5 : 1.0);
    *value = Hertz(header, count, header.periodsRGB[channel]);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasureLCDLum_M(CalDataBlock* device, double* value)
{
    if (const int32_t failure = AltrixMeasureLCDLumPeriod_M(device, value))
        return failure;
    *value = ZeroIfNegative(*value - device->header.darkCurrent[0]);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasureLCDLumEdge_M(CalDataBlock* device, double* value)
{
    if (const int32_t refusal = Enter(device, allTypes, value))
        return refusal;
    const ZelCalHeader& header = device->header;
    if (const int32_t failure = ReadLumEdge(device, 1))
        return failure;
    if (header.edgeCount[0] < header.targetCount) {
        const uint32_t n = Multiplier(header.targetCount, header.edgeCount[0], byteMultiplier);
        if (const int32_t failure = ReadLumEdge(device, static_cast<uint8_t>(n)))
            return failure;
    }
    *value = LumEdgeHertz(device, header.edgeCount[0], header.edgesRGB[0]);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasureLCDLumEdgeEx_M(CalDataBlock* device, double* value)
{
    if (const int32_t refusal = Enter(device, allTypes, value))
        return refusal;
    ZelCalHeader& header = device->header;
    header.sweepCount = 0;
    if (const int32_t failure = ReadLumEdge(device, 1))
        return failure;
    double counts = header.edgeCount[0];
    double pulses = 1.0;
    if (counts < header.targetCount) {
        const uint32_t n = Multiplier(header.targetCount, header.edgeCount[0], byteMultiplier);
        counts = pulses = 0.0;
        if (const int32_t failure = SweepLumEdges(device, static_cast<uint8_t>(n), &counts, &pulses))
            return failure;
    }
    *value = LumEdgeHertz(device, counts, pulses);
    return ZEL_OK;
}

// ---- application level

int32_t ZELCAL_CALL zelMeasureLCDLuminance_M(CalDataBlock* device, uint16_t unit, double* out)
{
    return zelMeasureLCDLuminanceEdge_M(device, unit, out);
}

int32_t ZELCAL_CALL zelMeasureLCDLuminancePeriod_M(CalDataBlock* device, uint16_t unit, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::lcdLuminancePeriod, out))
        return refusal;
    return MeasureLcdLuminance(device, AltrixMeasureLCDLumPeriod_M, unit, out);
}

int32_t ZELCAL_CALL zelMeasureLCDLuminanceEdge_M(CalDataBlock* device, uint16_t unit, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::lcdLuminanceEdge, out))
        return refusal;
    if (IsType(device, Gate::channel1))
        return zelChannel1Measure_M(device, unit, 1, 3, out);
    return MeasureLcdLuminance(device, AltrixMeasureLCDLumEdge_M, unit, out);
}

int32_t ZELCAL_CALL zelMeasureLCDLuminanceEdgeEx_M(CalDataBlock* device, uint16_t unit, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::lcdLuminanceEdge, out))
        return refusal;
    if (IsType(device, Gate::channel1))
        return zelChannel1Measure_M(device, unit, 1, 3, out);
    return MeasureLcdLuminance(device, AltrixMeasureLCDLumEdgeEx_M, unit, out);
}

int32_t ZELCAL_CALL zelMeasureLCDRawDataScaled_M(CalDataBlock* device, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::lcdRawDataScaled, out))
        return refusal;
    if (const int32_t failure = AltrixMeasureLCDLumEdgeEx_M(device, out))
        return failure;
    *out -= device->header.darkCurrent[0];
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelMeasureRawDataScaled_M(CalDataBlock* device, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::rawDataScaled, out))
        return refusal;
    if (IsType(device, Family::bassix))
        return MeasureBassixFrequency(device, out);
    if (IsType(device, Gate::lcdLum))
        return AltrixMeasureLCDLum_M(device, out);
    return AltrixMeasureRGBScaled_M(device, out);
}

int32_t ZELCAL_CALL zelMeasureLuminance_M(CalDataBlock* device, uint16_t unit, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::measureLuminance, out))
        return refusal;
    if (IsType(device, Gate::channel1))
        return zelChannel1Measure_M(device, unit, 3, 3, out);
    if (IsType(device, Gate::pelicanMeasure)) {
        ZelYxyz colour;
        if (const int32_t failure = zelMeasureLCDYxy_M(device, unit, &colour))
            return failure;
        *out = colour.Y;
        return ZEL_OK;
    }
    double luminance = 0.0;
    if (const int32_t failure = MeasureFamilyLuminance(device, &luminance))
        return failure;
    *out = InUnit(luminance, unit);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelAutoMeasureLuminance_M(CalDataBlock* device, uint16_t unit, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::lcdLuminanceEdge, out))
        return refusal;
    if (IsType(device, Gate::channel1))
        return zelChannel1Measure_M(device, unit, 5, 3, out);
    double luminance = 0.0;
    if (const int32_t failure = zelMeasureRawDataScaled_M(device, &luminance))
        return failure;
    luminance *= device->header.lumFactor;
    if (device->header.channelCount[LightChannel(device)] <= Truncate(BelievableCount(device)))
        if (const int32_t failure = LuminanceBy(device, AltrixMeasureLCDLumEdge_M, &luminance))
            return failure;
    *out = InUnit(luminance, unit);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelMeasureHeronLuminance_M(CalDataBlock* device, uint16_t unit, double out[3])
{
    if (const int32_t refusal = Begin(device, Gate::heronLuminance, out, 3))
        return refusal;
    double luminances[3];
    if (const int32_t failure = MeasureHeron(device, luminances))
        return failure;
    for (int i = 0; i < 3; ++i)
        out[i] = InUnit(luminances[i], unit);
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelChannel1Measure_M(CalDataBlock* device, uint16_t unit, int32_t mode, int32_t index, double* out)
{
    if (const int32_t refusal = Begin(device, Gate::channel1, out))
        return refusal;
    if (mode != 1 && mode != 2 && mode != 3 && mode != 5)
        return ZEL_NOT_AVAILABLE;
    if (index < 0 || index > 3)
        return ZEL_OUT_OF_RANGE;
    double value = 0.0;
    if (const int32_t failure = MeasureChannel1(device, mode, &value))
        return failure;
    const int group = mode == 1 || mode == 2 ? 4 : 0;
    *out = InUnit(value * device->header.channel1Factors[group + index], unit);
    return ZEL_OK;
}
}
