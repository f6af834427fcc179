#include "toolkit/Channels.h"
#include "toolkit/Device.h"
#include "toolkit/Numbers.h"
#include "toolkit/Refresh.h"

namespace Toolkit {

namespace {

/// A measurement that starts with pulses in the integration time, and turns to edges for the channels that show too
/// few of them.
struct MixedForm {
    bool wide;  ///< with the commands for multipliers of 16 bits
    bool adapt; ///< first fits the integration time to the screen
};

std::int32_t ReadChannels(CalDataBlock* device, bool wide)
{
    if (wide)
        return ReadWideChannels(device, static_cast<std::uint8_t>(device->header.syncMode));
    std::uint32_t* counts = device->header.channelCount;
    if (const std::int32_t failure = AltrixMeasureRedChannel_M(device, counts))
        return failure;
    if (const std::int32_t failure = AltrixMeasureGreenChannel_M(device, counts + 1))
        return failure;
    return AltrixMeasureBlueChannel_M(device, counts + 2);
}

/// One bit for each channel whose count is at or below the believable count.
unsigned LowChannels(const CalDataBlock* device, const MixedForm& form)
{
    if (IsType(device, Family::pulsesOnly))
        return 0;
    double threshold = BelievableCount(device);
    if (!form.adapt)
        threshold = Truncate(threshold);
    unsigned low = 0;
    for (unsigned i = 0; i < 3; ++i)
        if (device->header.channelCount[i] <= threshold)
            low |= 1U << i;
    return low;
}

std::int32_t MeasureMixed(CalDataBlock* device, const MixedForm& form, std::uint16_t unit, ZelYxyz* out)
{
    ZelCalHeader& header = device->header;
    if (form.adapt)
        if (const std::int32_t failure = AdaptIntegrationTime(device))
            return failure;
    if (header.integrationTicks == 0)
        return ZEL_NO_INTEGRATION_TIME;
    if (const std::int32_t failure = ReadChannels(device, form.wide))
        return failure;
    const unsigned low = LowChannels(device, form);
    if (low != 0)
        if (const std::int32_t failure =
                form.wide ? MeasureSimultaneouslyWide(device, low) : MeasureSimultaneously(device, low))
            return failure;

    const bool halve = form.wide || CountsBothEdges(device);
    double vector[3];
    for (int i = 0; i < 3; ++i) {
        header.scaledRGB[i] = ScaledValue(header, i, halve);
        vector[i] = (low >> i & 1U) != 0 ? header.edgeRGB[i] : header.scaledRGB[i];
    }
    return Conclude(device, vector, unit, out);
}

std::int32_t MeasureTenrix(CalDataBlock* device, std::uint16_t unit, ZelYxyz* out)
{
    if ((device->header.timingFlags & rateIsMeasured) == 0) {
        double hertz = 0.0;
        const std::int32_t status = zelMeasMonFreqAndSetIntTime_M(device, device->header.numPeriods, &hertz);
        if (status != ZEL_OK && status != ZEL_NO_REFRESH)
            return status;
    }
    double vector[3];
    return zelMeasureYxyAvg_M(device, unit, out, vector, static_cast<std::uint16_t>(device->header.numMeasToAvg));
}

std::int32_t MeasureInFamilysWay(CalDataBlock* device, bool adapt, std::uint16_t unit, ZelYxyz* out)
{
    if (const std::int32_t refusal = Begin(device, Gate::measureYxy, out))
        return refusal;
    if (device->header.calibratorType == 9)
        return zelMeasureLCDYxy_M(device, unit, out);
    if (IsType(device, Family::laterOsprey)) {
        const std::int32_t frequencyMode = adapt ? 4 : 5;
        return zelOspreyMeasure_M(device, unit, device->header.activeCalibration != 0 ? 1 : frequencyMode, out);
    }
    if (IsType(device, Family::tenrix))
        return MeasureTenrix(device, unit, out);
    return MeasureMixed(device, {false, adapt}, unit, out);
}

/// The five modes of a family dispatcher.
std::int32_t MeasureInMode(CalDataBlock* device, std::int32_t mode, bool wide, std::uint16_t unit, ZelYxyz* out)
{
    double XYZ[3] = {};
    switch (mode) {
    case 1:
        return wide ? zelMeasureLCDYxySimW_M(device, unit, out) : zelMeasureLCDYxySim_M(device, unit, out);
    case 2:
        return zelMeasureLCDYxySeq_M(device, unit, out);
    case 3:
        if (const std::int32_t failure = wide ? AltrixMeasureXYZW_M(device, XYZ) : AltrixMeasureXYZ_M(device, XYZ))
            return failure;
        break;
    case 4:
    case 5:
        return MeasureMixed(device, {wide, mode == 4}, unit, out);
    default:
        break; // measures nothing: no light, no colour
    }
    return Conclude(XYZ, unit, out);
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL zelMeasureYxy_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::measureYxy, out))
        return refusal;
    if (device->header.calibratorType == 9)
        return zelMeasureLCDYxy_M(device, unit, out);
    if (IsType(device, Family::laterOsprey))
        return zelOspreyMeasure_M(device, unit, device->header.activeCalibration != 0 ? 1 : 3, out);
    double XYZ[3];
    if (const int32_t failure = AltrixMeasureXYZ_M(device, XYZ))
        return failure;
    return Conclude(XYZ, unit, out);
}

int32_t ZELCAL_CALL zelAutoMeasureYxy_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    return MeasureInFamilysWay(device, true, unit, out);
}

int32_t ZELCAL_CALL zelMeasureYxyEx_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out)
{
    return MeasureInFamilysWay(device, false, unit, out);
}

int32_t ZELCAL_CALL zelMeasureYxyAvg_M(CalDataBlock* device, uint16_t unit, ZelYxyz* out, double vector[3],
                                       uint16_t count)
{
    if (const int32_t refusal = Enter(device, Gate::averages, out, vector))
        return refusal;
    Begin(device, Gate::averages, out);
    double XYZ[3];
    if (const int32_t failure = AltrixMeasureXYZAvg_M(device, count, XYZ, vector))
        return failure;
    return Conclude(XYZ, unit, out);
}

int32_t ZELCAL_CALL zelPelicanMeasure_M(CalDataBlock* device, uint16_t unit, int32_t mode, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::pelicanMeasure, out))
        return refusal;
    return MeasureInMode(device, mode, false, unit, out);
}

int32_t ZELCAL_CALL zelOspreyMeasure_M(CalDataBlock* device, uint16_t unit, int32_t mode, ZelYxyz* out)
{
    if (const int32_t refusal = Begin(device, Gate::ospreyMeasure, out))
        return refusal;
    return MeasureInMode(device, mode, true, unit, out);
}

int32_t ZELCAL_CALL zelMeasureRawData_M(CalDataBlock* device, uint32_t out[3])
{
    if (const int32_t refusal = Begin(device, Gate::rawData, out, 3))
        return refusal;
    return AltrixMeasureRawData_M(device, out);
}

int32_t ZELCAL_CALL zelGetRGBvaluesFromYxy_M(CalDataBlock* device, uint16_t unit, double Y, double x, double y,
                                             double out[3])
{
    if (const int32_t refusal = Enter(device, Gate::measureYxy, out))
        return refusal;
    const double Yxy[3] = {Y, x, y};
    return zelGetRGBvaluesFromYxyEx_M(device, unit, Yxy, out);
}

int32_t ZELCAL_CALL zelGetRGBvaluesFromYxyEx_M(CalDataBlock* device, uint16_t unit, const double Yxy[3], double out[3])
{
    if (const int32_t refusal = Enter(device, Gate::rgbValuesEx, Yxy, out))
        return refusal;
    const double x = Yxy[1];
    const double y = Yxy[2];
    if (y == 0.0)
        return ZEL_OUT_OF_RANGE;
    const double Y = InUnit(Yxy[0], unit, inverseFootLambert);
    return AltrixDetermineEquivalentRGBValues_M(device, x * Y / y, Y, (1.0 - x - y) * Y / y, out);
}
}
