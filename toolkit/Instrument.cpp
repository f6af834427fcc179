#include "toolkit/Commands.h"
#include "toolkit/Device.h"

namespace Toolkit {

namespace {

std::int32_t ReadChannel(CalDataBlock* device, int channel, std::uint8_t tries, std::uint32_t* count)
{
    if (count == nullptr)
        return ZEL_BAD_ARGUMENT;
    Command command = Commands::channel[channel];
    command.tries = tries;
    Reply reply;
    if (const std::int32_t failure = Exchange(device, command, nullptr, &reply))
        return failure;
    if (channel == 0 && reply.length < 5)
        return ZEL_SHORT_REPLY;
    return ZKConvertToLong(reply.bytes + 1, count);
}

std::int32_t ReadPeriod(CalDataBlock* device, int channel, std::uint8_t periods, std::uint32_t* count)
{
    return ReadNumber(device, Commands::periodOf[channel], &periods, count);
}

std::int32_t ReadWidePeriod(CalDataBlock* device, int channel, std::uint16_t edges, std::uint32_t* count)
{
    const std::uint8_t parameters[] = {HighByte(edges), LowByte(edges)};
    return ReadNumber(device, Commands::widePeriodOf[channel], parameters, count);
}

/// A count, and behind it how many periods were left when the time limit ended the channel.
std::int32_t ReadLimited(CalDataBlock* device, const Command& command, const std::uint8_t* parameters,
                         std::uint32_t* count, std::uint8_t* periodsLeft)
{
    if (count == nullptr || periodsLeft == nullptr)
        return ZEL_BAD_ARGUMENT;
    Reply reply;
    if (const std::int32_t failure = Exchange(device, command, parameters, &reply))
        return failure;
    *periodsLeft = reply.bytes[5];
    return ZKConvertToLong(reply.bytes + 1, count);
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL AltrixMeasureRedChannel_M(CalDataBlock* device, uint32_t* count)
{
    return ReadChannel(device, 0, 1, count);
}

int32_t ZELCAL_CALL AltrixMeasureGreenChannel_M(CalDataBlock* device, uint32_t* count)
{
    return ReadChannel(device, 1, 1, count);
}

int32_t ZELCAL_CALL AltrixMeasureBlueChannel_M(CalDataBlock* device, uint32_t* count)
{
    return ReadChannel(device, 2, 1, count);
}

int32_t ZELCAL_CALL AltrixMeasureRawData_M(CalDataBlock* device, uint32_t out[3])
{
    if (const int32_t refusal = Enter(device, allTypes, out))
        return refusal;
    const uint8_t tries = device->header.calibratorType == 16 ? 5 : 1;
    for (int channel = 0; channel < 3; ++channel)
        if (const int32_t failure = ReadChannel(device, channel, tries, out + channel))
            return failure;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixMeasurePeriod_M(CalDataBlock* device, uint32_t* count)
{
    return ReadNumber(device, Commands::period, nullptr, count);
}

int32_t ZELCAL_CALL AltrixMeasurePeriod25uSecRes_M(CalDataBlock* device, uint32_t* count)
{
    return ReadNumber(device, Commands::period25uSec, nullptr, count);
}

int32_t ZELCAL_CALL AltrixMeasurePeriodHighRes_M(CalDataBlock* device, uint32_t* count)
{
    return ReadNumber(device, Commands::periodHighRes, nullptr, count);
}

int32_t ZELCAL_CALL AltrixSetIntegrationTime_M(CalDataBlock* device, uint32_t ticks)
{
    const LongBytes parameters = ToBytes(ticks);
    if (const int32_t failure = Send(device, Commands::setIntegrationTime, parameters.bytes))
        return failure;
    return AltrixGetIntegrationTime_M(device, &device->header.integrationTicks);
}

int32_t ZELCAL_CALL AltrixGetIntegrationTime_M(CalDataBlock* device, uint32_t* ticks)
{
    return ReadNumber(device, Commands::getIntegrationTime, nullptr, ticks);
}

int32_t ZELCAL_CALL AltrixMeasureRedPeriod_M(CalDataBlock* device, uint8_t periods, uint32_t* count)
{
    return ReadPeriod(device, 0, periods, count);
}

int32_t ZELCAL_CALL AltrixMeasureGreenPeriod_M(CalDataBlock* device, uint8_t periods, uint32_t* count)
{
    return ReadPeriod(device, 1, periods, count);
}

int32_t ZELCAL_CALL AltrixMeasureBluePeriod_M(CalDataBlock* device, uint8_t periods, uint32_t* count)
{
    return ReadPeriod(device, 2, periods, count);
}

int32_t ZELCAL_CALL AltrixMeasureRGBPeriod_M(CalDataBlock* device, uint8_t nRed, uint8_t nGreen, uint8_t nBlue,
                                             uint32_t* red)
{
    const uint8_t parameters[] = {nRed, nGreen, nBlue};
    return ReadNumber(device, Commands::edges, parameters, red);
}

int32_t ZELCAL_CALL AltrixMeasureLumEdge_M(CalDataBlock* device, uint32_t* count, uint8_t n)
{
    return AltrixMeasureRGBPeriod_M(device, n, n, n, count);
}

int32_t ZELCAL_CALL BassixMeasureEdge_M(CalDataBlock* device, uint32_t* count, uint8_t n)
{
    return AltrixMeasureLumEdge_M(device, count, n);
}

int32_t ZELCAL_CALL AltrixMeasureRedPeriodW_M(CalDataBlock* device, uint16_t edges, uint32_t* count)
{
    return ReadWidePeriod(device, 0, edges, count);
}

int32_t ZELCAL_CALL AltrixMeasureGreenPeriodW_M(CalDataBlock* device, uint16_t edges, uint32_t* count)
{
    return ReadWidePeriod(device, 1, edges, count);
}

int32_t ZELCAL_CALL AltrixMeasureBluePeriodW_M(CalDataBlock* device, uint16_t edges, uint32_t* count)
{
    return ReadWidePeriod(device, 2, edges, count);
}

int32_t ZELCAL_CALL AltrixMeasureRedChannelW_M(CalDataBlock* device, uint8_t channel, uint32_t* count)
{
    return ReadNumber(device, Commands::wideChannel, &channel, count);
}

int32_t ZELCAL_CALL AltrixMeasureRGBEdgeW_M(CalDataBlock* device, uint32_t* red)
{
    return ReadNumber(device, Commands::wideEdges, nullptr, red);
}

int32_t ZELCAL_CALL AltrixSetNumEdgesForMeasW_M(CalDataBlock* device, uint16_t edges, uint8_t channel)
{
    const uint8_t parameters[] = {HighByte(edges), LowByte(edges), channel};
    return Send(device, Commands::setWideEdges, parameters);
}

int32_t ZELCAL_CALL AltrixGetNumEdgesForMeasW_M(CalDataBlock* device, uint8_t channel, uint16_t* edges)
{
    if (edges == nullptr)
        return ZEL_BAD_ARGUMENT;
    Reply reply;
    if (const int32_t failure = Exchange(device, Commands::getWideEdges, &channel, &reply))
        return failure;
    return ZKConvertToWord(reply.bytes + 2, edges);
}

int32_t ZELCAL_CALL AltrixMeasureRGBEdgeTO_M(CalDataBlock* device, uint8_t nRed, uint8_t nGreen, uint8_t nBlue,
                                             uint8_t limit, uint32_t* red, uint8_t* periodsLeft)
{
    const uint8_t parameters[] = {nRed, nGreen, nBlue, limit};
    return ReadLimited(device, Commands::limitedEdges, parameters, red, periodsLeft);
}

int32_t ZELCAL_CALL AltrixGetGreenDataTO_M(CalDataBlock* device, uint32_t* count, uint8_t* periodsLeft)
{
    return ReadLimited(device, Commands::limitedGreen, nullptr, count, periodsLeft);
}

int32_t ZELCAL_CALL AltrixGetBlueDataTO_M(CalDataBlock* device, uint32_t* count, uint8_t* periodsLeft)
{
    return ReadLimited(device, Commands::limitedBlue, nullptr, count, periodsLeft);
}

int32_t ZELCAL_CALL AltrixResetCalHeaderMeasData_M(CalDataBlock* device)
{
    if (device == nullptr)
        return ZEL_BAD_ARGUMENT;
    ZelCalHeader& header = device->header;
    for (int i = 0; i < 3; ++i) {
        header.channelCount[i] = header.edgeCount[i] = header.periodCount[i] = header.wideCount[i] = 0;
        header.scaledRGB[i] = header.edgeRGB[i] = header.periodRGB[i] = 0.0;
        header.periodsRGB[i] = header.edgesRGB[i] = header.periodsLeft[i] = 0;
        header.wideEdges[i] = 0;
        header.repeatCount[i] = 0;
    }
    header.edgeTimeLimit = 255;
    return ZEL_OK;
}
}
