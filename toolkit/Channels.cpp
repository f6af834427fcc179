#include "toolkit/Channels.h"

#include "toolkit/Device.h"
#include "toolkit/Matrix.h"
#include "toolkit/Numbers.h"

#include <cmath>

namespace Toolkit {

bool HasClock(const ZelCalHeader& header)
{
    return header.clockPeriod > 0.0 && std::isfinite(header.clockPeriod);
}

double SecondsPerPulse(const ZelCalHeader& header, double clocks, double pulses)
{
    return clocks == 0.0 || !HasClock(header) ? 0.0 : (clocks / pulses) * header.clockPeriod;
}

std::uint32_t Multiplier(double target, std::uint32_t count, const MultiplierLimit& limit)
{
    if (count >= target)
        return 1;
    const std::uint32_t multiplier = count == 0 ? 0 : Round(target / count);
    return multiplier == 0 || multiplier > limit.limit ? limit.fallback : multiplier;
}

namespace {

/// @param seconds  per pulse
double PulseValue(const ZelCalHeader& header, int channel, double seconds)
{
    if (seconds == 0.0)
        return darkestValue;
    const double value = header.calTime[channel] / seconds - header.darkCurrent[channel];
    return value <= 0.0 ? darkestValue : value;
}

}

double EdgeValue(const ZelCalHeader& header, int channel, double count, double multiplier)
{
    return PulseValue(header, channel, SecondsPerPulse(header, 2.0 * count, multiplier));
}

double PeriodValue(const ZelCalHeader& header, int channel, double count, double multiplier)
{
    return PulseValue(header, channel, SecondsPerPulse(header, count, multiplier));
}

double SweepTarget(const ZelCalHeader& header)
{
    return HasClock(header) ? std::fmin(header.targetCount, UINT32_MAX) : 0.0;
}

bool CountsBothEdges(const CalDataBlock* device)
{
    const std::int16_t revision = device->header.firmwareRevision;
    return revision == 519 || revision == 520 || IsType(device, Family::wide);
}

double ScaledValue(const ZelCalHeader& header, int channel, bool halve)
{
    const double count = header.channelCount[channel] * (halve ? 0.5 : 1.0);
    return count * header.calCount[channel] / header.integrationTicks;
}

std::int32_t ApplyMatrix(const double matrix[9], const double vector[3], double XYZ[3])
{
    return Multiply(matrix, 3, 3, vector, 3, 1, XYZ) == ZEL_OK ? ZEL_OK : ZEL_MATRIX;
}

namespace {

std::int32_t ToYxyz(const double XYZ[3], ZelYxyz* out)
{
    const double sum = XYZ[0] + XYZ[1] + XYZ[2];
    *out = {XYZ[1], 0.0, 0.0, 0.0};
    if (sum == 0.0)
        return ZEL_NO_COLOUR;
    out->x = XYZ[0] / sum;
    out->y = XYZ[1] / sum;
    out->z = XYZ[2] / sum;
    return ZEL_OK;
}

}

std::int32_t Conclude(const double XYZ[3], std::uint16_t unit, ZelYxyz* out, double factor)
{
    if (const std::int32_t failure = ToYxyz(XYZ, out))
        return failure;
    out->Y = InUnit(out->Y, unit, factor);
    return ZEL_OK;
}

std::int32_t Conclude(const CalDataBlock* device, const double vector[3], std::uint16_t unit, ZelYxyz* out)
{
    double XYZ[3];
    if (const std::int32_t failure = ApplyMatrix(device->header.calMatrix, vector, XYZ))
        return failure;
    return Conclude(XYZ, unit, out);
}

std::int32_t ReadEdges(CalDataBlock* device)
{
    const std::uint8_t* n = device->header.edgesRGB;
    std::uint32_t* counts = device->header.edgeCount;
    if (const std::int32_t failure = AltrixMeasureRGBPeriod_M(device, n[0], n[1], n[2], counts))
        return failure;
    if (const std::int32_t failure = AltrixMeasureGreenChannel_M(device, counts + 1))
        return failure;
    return AltrixMeasureBlueChannel_M(device, counts + 2);
}

std::int32_t ReadWideEdges(CalDataBlock* device)
{
    std::uint32_t* counts = device->header.wideCount;
    for (std::uint8_t channel = 0; channel < 3; ++channel)
        if (const std::int32_t failure =
                AltrixSetNumEdgesForMeasW_M(device, device->header.wideEdges[channel], channel))
            return failure;
    if (const std::int32_t failure = AltrixMeasureRGBEdgeW_M(device, counts))
        return failure;
    if (const std::int32_t failure = AltrixMeasureGreenChannel_M(device, counts + 1))
        return failure;
    return AltrixMeasureBlueChannel_M(device, counts + 2);
}

std::int32_t ReadPeriods(CalDataBlock* device, int channel)
{
    constexpr std::int32_t(ZELCAL_CALL * commands[])(CalDataBlock*, std::uint8_t, std::uint32_t*) = {
        AltrixMeasureRedPeriod_M, AltrixMeasureGreenPeriod_M, AltrixMeasureBluePeriod_M};
    return commands[channel](device, device->header.periodsRGB[channel], device->header.periodCount + channel);
}

std::int32_t ReadWideChannels(CalDataBlock* device, std::uint8_t channelArgument)
{
    std::uint32_t* counts = device->header.channelCount;
    if (const std::int32_t failure = AltrixMeasureRedChannelW_M(device, channelArgument, counts))
        return failure;
    if (const std::int32_t failure = AltrixMeasureGreenChannel_M(device, counts + 1))
        return failure;
    return AltrixMeasureBlueChannel_M(device, counts + 2);
}

std::int32_t MeasureSimultaneously(CalDataBlock* device, unsigned mask)
{
    ZelCalHeader& header = device->header;
    for (std::uint8_t& n : header.edgesRGB)
        n = 1;
    if (const std::int32_t failure = ReadEdges(device))
        return failure;
    if (SetMultipliers(device, header.edgeCount, mask, byteMultiplier, header.edgesRGB))
        if (const std::int32_t failure = ReadEdges(device))
            return failure;
    for (int i = 0; i < 3; ++i)
        header.edgeRGB[i] = EdgeValue(header, i, header.edgeCount[i], header.edgesRGB[i]);
    return ZEL_OK;
}

std::int32_t MeasureSimultaneouslyWide(CalDataBlock* device, unsigned mask)
{
    ZelCalHeader& header = device->header;
    for (std::uint16_t& n : header.wideEdges)
        n = 1;
    if (const std::int32_t failure = ReadWideEdges(device))
        return failure;
    if (SetMultipliers(device, header.wideCount, mask, wideMultiplier, header.wideEdges))
        if (const std::int32_t failure = ReadWideEdges(device))
            return failure;
    for (int i = 0; i < 3; ++i)
        header.edgeRGB[i] = EdgeValue(header, i, header.wideCount[i], header.wideEdges[i]);
    return ZEL_OK;
}

namespace {

/// The head of a call that gives a vector: zeros, until it is measured.
std::int32_t BeginVector(const CalDataBlock* device, double out[3])
{
    if (const std::int32_t refusal = Enter(device, allTypes, out))
        return refusal;
    std::fill_n(out, 3, 0.0);
    return ZEL_OK;
}

/// The channel values of the last frequency reading, by the type's own scale.
void ScaleChannels(CalDataBlock* device)
{
    ZelCalHeader& header = device->header;
    for (int i = 0; i < 3; ++i) {
        if (IsType(device, Family::tenrix)) {
            // the instrument has subtracted the dark, which may have been the larger
            if (header.channelCount[i] > INT32_MAX)
                header.channelCount[i] = 1;
            header.scaledRGB[i] = header.channelCount[i];
        } else if (header.calibratorType == 7) {
            const double count = header.channelCount[i] * (CountsBothEdges(device) ? 0.5 : 1.0);
            header.scaledRGB[i] = count / (header.integrationTicks * header.tickLength); // hertz
        } else {
            header.scaledRGB[i] = ScaledValue(header, i, CountsBothEdges(device));
        }
    }
}

void CopyVector(const double from[3], double to[3])
{
    for (int i = 0; i < 3; ++i)
        to[i] = from[i];
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL AltrixMeasureRGBScaled_M(CalDataBlock* device, double out[3])
{
    if (const int32_t refusal = BeginVector(device, out))
        return refusal;
    if (device->header.integrationTicks == 0)
        return ZEL_NO_INTEGRATION_TIME;
    if (const int32_t failure = AltrixMeasureRawData_M(device, device->header.channelCount))
        return failure;
    ScaleChannels(device);
    CopyVector(device->header.scaledRGB, out);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasureRGBScaledEx_M(CalDataBlock* device, double out[3])
{
    return AltrixMeasureRGBScaled_M(device, out); // the scale of type 16 is the default scale
}

int32_t ZELCAL_CALL AltrixMeasureRGBScaledW_M(CalDataBlock* device, double out[3])
{
    if (const int32_t refusal = BeginVector(device, out))
        return refusal;
    if (!IsType(device, Family::wide))
        return ZEL_BAD_ARGUMENT;
    if (device->header.integrationTicks == 0)
        return ZEL_NO_INTEGRATION_TIME;
    if (const int32_t failure = ReadWideChannels(device, 1))
        return failure;
    for (int i = 0; i < 3; ++i)
        device->header.scaledRGB[i] = ScaledValue(device->header, i, true);
    CopyVector(device->header.scaledRGB, out);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasureRGBbyPeriodScaled_M(CalDataBlock* device, uint8_t nRed, uint8_t nGreen, uint8_t nBlue,
                                                     double out[3])
{
    if (const int32_t refusal = BeginVector(device, out))
        return refusal;
    if (device->header.integrationTicks == 0)
        return ZEL_NO_INTEGRATION_TIME;
    ZelCalHeader& header = device->header;
    const uint8_t multipliers[] = {nRed, nGreen, nBlue};
    for (int i = 0; i < 3; ++i) {
        header.periodsRGB[i] = multipliers[i];
        if (const int32_t failure = ReadPeriods(device, i))
            return failure;
        const double seconds = SecondsPerPulse(header, header.periodCount[i], multipliers[i]);
        header.periodRGB[i] = seconds == 0.0 ? darkestValue : header.calTime[i] / seconds;
    }
    CopyVector(header.periodRGB, out);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasureRGBAvg_M(CalDataBlock* device, double out[3])
{
    if (const int32_t refusal = BeginVector(device, out))
        return refusal;
    ZelCalHeader& header = device->header;
    if (header.numMeasToAvg < 1)
        return ZEL_OUT_OF_RANGE;
    double sum[3] = {};
    for (int reading = 0; reading < header.numMeasToAvg; ++reading) {
        if (const int32_t failure = AltrixMeasureRawData_M(device, header.channelCount))
            return failure;
        for (int i = 0; i < 3; ++i)
            sum[i] += header.channelCount[i];
    }
    for (int i = 0; i < 3; ++i)
        header.scaledRGB[i] = sum[i] / header.numMeasToAvg;
    CopyVector(header.scaledRGB, out);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasureXYZ_M(CalDataBlock* device, double XYZ[3])
{
    if (const int32_t refusal = BeginVector(device, XYZ))
        return refusal;
    double vector[3];
    if (const int32_t failure = AltrixMeasureRGBScaled_M(device, vector))
        return failure;
    return ApplyMatrix(device->header.calMatrix, vector, XYZ);
}

int32_t ZELCAL_CALL AltrixMeasureXYZW_M(CalDataBlock* device, double XYZ[3])
{
    if (const int32_t refusal = BeginVector(device, XYZ))
        return refusal;
    double vector[3];
    if (const int32_t failure = AltrixMeasureRGBScaledW_M(device, vector))
        return failure;
    return ApplyMatrix(device->header.calMatrix, vector, XYZ);
}

int32_t ZELCAL_CALL AltrixMeasureXYZbyPeriod_M(CalDataBlock* device, uint8_t nRed, uint8_t nGreen, uint8_t nBlue,
                                               double out[3])
{
    if (const int32_t refusal = BeginVector(device, out))
        return refusal;
    double vector[3];
    if (const int32_t failure = AltrixMeasureRGBbyPeriodScaled_M(device, nRed, nGreen, nBlue, vector))
        return failure;
    return ApplyMatrix(device->header.calMatrix, vector, out);
}

int32_t ZELCAL_CALL AltrixMeasureXYZAvg_M(CalDataBlock* device, uint16_t count, double XYZ[3], double vector[3])
{
    if (const int32_t refusal = Enter(device, allTypes, XYZ, vector))
        return refusal;
    std::fill_n(XYZ, 3, 0.0);
    std::fill_n(vector, 3, 0.0);
    if (count == 0)
        return ZEL_OUT_OF_RANGE;
    double sum[3] = {};
    for (unsigned reading = 0; reading < count; ++reading) {
        double one[3];
        if (const int32_t failure = AltrixMeasureRGBScaledEx_M(device, one))
            return failure;
        for (int i = 0; i < 3; ++i)
            sum[i] += one[i];
    }
    for (int i = 0; i < 3; ++i)
        device->header.scaledRGB[i] = sum[i] / count;
    CopyVector(device->header.scaledRGB, vector);
    return ApplyMatrix(device->header.calMatrix, vector, XYZ);
}

int32_t ZELCAL_CALL AltrixConvertRGBToYxyThroughMatrix_M(CalDataBlock* device, const double vector[3], ZelYxyz* out)
{
    if (device == nullptr || vector == nullptr || out == nullptr)
        return ZEL_BAD_ARGUMENT;
    double XYZ[3];
    if (const int32_t failure = ApplyMatrix(device->header.calMatrix, vector, XYZ))
        return failure;
    if (const int32_t failure = ToYxyz(XYZ, out))
        return failure;
    out->z = 1.0 - (out->x + out->y);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixDetermineEquivalentRGBValues_M(CalDataBlock* device, double X, double Y, double Z,
                                                         double out[3])
{
    const double XYZ[3] = {X, Y, Z};
    return AltrixDetermineEquivalentRGBValuesEx_M(device, XYZ, out);
}

int32_t ZELCAL_CALL AltrixDetermineEquivalentRGBValuesEx_M(CalDataBlock* device, const double XYZ[3], double out[3])
{
    if (device == nullptr || XYZ == nullptr || out == nullptr)
        return ZEL_BAD_ARGUMENT;
    double inverse[9];
    for (int i = 0; i < 9; ++i)
        inverse[i] = device->header.calMatrix[i];
    Invert(inverse, 3);
    double vector[3];
    if (const int32_t failure = ApplyMatrix(inverse, XYZ, vector))
        return failure;
    CopyVector(vector, out);
    return ZEL_OK;
}
}
