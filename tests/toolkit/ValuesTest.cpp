// What the dialogues cannot hold: means over several readings, the whole of a loop, clocks.

#include "tests/support/Rows.h"
#include "tests/toolkit/Calls.h"
#include "tests/toolkit/ScriptedInstrument.h"

#include "toolkit/Channels.h"

#include <cmath>

using ToolkitSeam::state;

class ValuesTest : public ToolkitTest { };

TEST_F(ValuesTest, ColoursAreWholeRecords)
{
    Open(4);
    instrument.Script("13:0 2:0 3:0");
    ZelYxyz black;
    ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySim_M(&device, 1, &black));
    EXPECT_NEAR(0.3121453, black.x, 1e-6);
    EXPECT_NEAR(0.3291714, black.y, 1e-6);
    EXPECT_NEAR(1.0, black.x + black.y + black.z, 1e-12);
    const double opposite[9] = {1, 0, 0, 0, 1, 0, -1, -1, 0};
    std::copy_n(opposite, 9, device.header.calMatrix);
    EXPECT_EQ(ZEL_NO_COLOUR, zelMeasureLCDYxySim_M(&device, 1, &black));
    EXPECT_EQ(black.Y, 0.0001) << "stands, in its own unit";
    EXPECT_EQ(black.x, 0.0);
}

TEST_F(ValuesTest, EveryMeasurementStartsAnew)
{
    Open(4);
    const Arguments none;
    for (const char* call : {"zelMeasureYxyProgressive 1", "zelMeasureLCDYxySeq 1", "zelMeasureYxy 1"}) {
        instrument.Script("13:1500001 2:1500001 3:1500001 10:3000001 11:3000001 12:3000001 1:5 2:5 3:5");
        Arguments arguments;
        ASSERT_EQ(ZEL_OK, MakeCall(call, &device, arguments));
    }
    ZelCalHeader& header = device.header;
    EXPECT_EQ(header.channelCount[2], 5U);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(header.edgeCount[i] + header.periodCount[i] + header.wideCount[i], 0U);
        EXPECT_EQ(header.edgeRGB[i] + header.periodRGB[i], 0.0);
        EXPECT_EQ(header.periodsRGB[i] + header.edgesRGB[i] + header.repeatCount[i] + header.periodsLeft[i], 0);
    }
    header.scaledRGB[0] = header.wideEdges[1] = header.edgeTimeLimit = 1;
    std::uint32_t raw[3];
    ASSERT_EQ(ZEL_OK, zelMeasureRawData_M(&device, raw));
    EXPECT_EQ(header.scaledRGB[0], 0.0);
    EXPECT_EQ(header.wideEdges[1], 0);
    EXPECT_EQ(header.edgeTimeLimit, 255);
    EXPECT_EQ(header.channelCount[2], 0U) << "raw counts go to the caller alone";
}

TEST_F(ValuesTest, ProgressiveSumsSurviveMoreRepetitionsThanTheirField)
{
    Open(4);
    instrument.Script("13:60 2:30 3:30");
    ZelYxyz colour;
    ASSERT_EQ(ZEL_OK, zelMeasureYxyProgressive_M(&device, 1, &colour));
    EXPECT_EQ(device.header.wideCount[0], 3000060U);
    EXPECT_EQ(device.header.repeatCount[0], 32767);
    EXPECT_NEAR(41666.449, device.header.edgeRGB[0], 1e-2);
}

TEST_F(ValuesTest, DarkReferencesAreMeansOfTheirReadings)
{
    const struct {
        int type;
        std::int32_t (*call)(CalDataBlock*);
        const char* counts;
        double expected[3];
    } cases[] = {
        {4, zelSetLCDDarkCurrentSim_M, "13:4000000,5000000 2:3000000 3:0", {0.5625005, 0.8333341, 0.0}},
        {9, zelSetLCDDarkCurrentSeq_M, "10:4000000,5000000 11:6000000 12:0", {1.125001, 0.833334, 0.0}},
        {13, zelSetBassixPlusDarkCurrentEdge_M, "13:4000000,5000000", {0.1125, 0, 0}},
        {6, zelSetBassixPlusDarkCurrentPeriod_M, "11:4000000,5000000", {0.45, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        Open(c.type);
        device.header.numDarkMeas = 2;
        for (double& dark : device.header.darkCurrent)
            dark = 0.0;
        instrument.Script(c.counts);
        ASSERT_EQ(ZEL_OK, c.call(&device));
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(c.expected[i], device.header.darkCurrent[i], 2e-6);
        EXPECT_EQ(static_cast<float>(device.header.darkCurrent[0]), device.eeprom.darkFloats[0]);
        device.header.numDarkMeas = 0;
        EXPECT_EQ(ZEL_OUT_OF_RANGE, c.call(&device));
    }
    Open(9);
    instrument.Script("13:5000000 2:1000000 3:5000000");
    EXPECT_EQ(ZEL_TOO_MUCH_LIGHT, zelSetDarkCurrentEx_M(&device));
    EXPECT_NEAR(2.500002, device.header.darkCurrent[1], 1e-5);
    EXPECT_EQ(static_cast<float>(device.header.darkCurrent[1]), device.eeprom.darkFloats[1]) << "stored all the same";
    for (const double bad : {double(INFINITY), double(NAN), 1e39, -1e39}) {
        const double values[3] = {0.25, 0.25, bad};
        instrument.TakeFrames();
        EXPECT_EQ(ZEL_OUT_OF_RANGE, AltrixStoreDarkCurrent_M(&device, values));
        EXPECT_EQ(instrument.TakeFrames(), "");
    }
}

TEST_F(ValuesTest, WithoutAClockReadingsAreDarkAndNothingInfiniteIsStored)
{
    const char* const calls[] = {"zelMeasureLCDYxySim 1",
                                 "zelMeasureLCDYxySeq 1",
                                 "zelMeasureLCDYxySimW 1",
                                 "zelAutoMeasureYxy 1",
                                 "zelMeasureYxyEx 1",
                                 "zelMeasureYxyProgressive 1",
                                 "zelMeasureAmbient 1",
                                 "zelMeasureLuminance 1",
                                 "zelAutoMeasureLuminance 1",
                                 "zelMeasureLCDLuminance 1",
                                 "zelMeasureLCDLuminanceEdgeEx 1",
                                 "zelMeasureLCDLuminancePeriod 1",
                                 "AltrixMeasureLCDRed",
                                 "AltrixMeasureLCDLumEdge",
                                 "AltrixMeasureLCDLumEdgeEx",
                                 "zelMeasureMonitorFrequency",
                                 "zelGetLCDTargetTime",
                                 "zelMeasureLCDRawDataScaled",
                                 "AltrixMeasureRGBbyPeriodScaled 1 1 1",
                                 "zelSetLCDTargetTime 0",
                                 "zelSetLCDDarkCurrent",
                                 "zelSetLCDDarkCurrentSeq",
                                 "zelSetDarkCurrentEx",
                                 "zelSetBassixPlusDarkCurrentPeriod"};
    for (const char* text : {"9 ", "19 ", "20 ", "21 ", "22 ", "4 ", "13 ", "4 4.45 "})
        for (const char* clock : {"@94=00000000", "@94=7f800000", "@94=7fc00000", "@94=b5000000"}) {
            AttachBy(text + std::string(clock));
            instrument.usualCount = 50;
            ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
            for (const char* call : calls) {
                SCOPED_TRACE(text + std::string(clock) + ": " + call);
                Arguments arguments;
                const std::int64_t status = MakeCall(call, &device, arguments);
                EXPECT_TRUE(status == ZEL_OK || status == ZEL_NOT_AVAILABLE || status == ZEL_NO_REFRESH
                            || status == ZEL_OUT_OF_RANGE)
                    << status;
                for (std::size_t i = 0; i < 4 && !arguments.results.empty(); ++i)
                    EXPECT_TRUE(std::isfinite(arguments.results[0](i)));
                const ZelCalHeader& h = device.header;
                for (int i = 0; i < 3; ++i)
                    EXPECT_TRUE(std::isfinite(h.darkCurrent[i] + h.edgeRGB[i] + h.periodRGB[i] + h.monitorFrequency
                                              + device.eeprom.darkFloats[i]));
            }
        }
    AttachBy("9 @126=0007");
    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
    EXPECT_TRUE(std::isinf(device.header.targetCount));
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelSetLCDTargetTime_M(&device, 1.0));
    double seconds = 7;
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelGetLCDTargetTime_M(&device, &seconds));
    EXPECT_EQ(seconds, 7.0);
    AttachBy("6 @40=0000");
    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
    EXPECT_EQ(ZEL_NO_INTEGRATION_TIME, zelMeasureLuminance_M(&device, 1, &seconds)) << "no tick";
}

TEST_F(ValuesTest, TheLoopSearchFindsTheClosestPair)
{
    Open(11);
    for (double rate = 20.0; rate < 240.0; rate += 0.7) {
        const double target = (rate > 120.0 ? rate / 2 : rate) * 2560.0;
        double least = HUGE_VAL; // over all R, not only the two neighbours
        for (int n = 350; n <= 400; ++n)
            for (int r = 1; r < 400; ++r)
                least = std::fmin(least, std::fabs(1.0 - target / (r * 750000.0 / n)));
        ASSERT_EQ(ZEL_OK, TenrixSetPLLPeriodEx_M(&device, rate));
        const std::string frames = instrument.TakeFrames(); // 1E F0, 20 nn nn, 22 rr rr
        const int n = std::stoi(frames.substr(10, 2) + frames.substr(13, 2), nullptr, 16);
        const int r = std::stoi(frames.substr(20, 2) + frames.substr(23, 2), nullptr, 16);
        EXPECT_DOUBLE_EQ(least, std::fabs(1.0 - target / (r * 750000.0 / n))) << rate;
    }
}

TEST_F(ValuesTest, TheWaitForTheLoopEnds)
{
    Open(11);
    instrument.lockDetect = 239;
    instrument.exchangeMicroseconds = 100'000;
    const std::int64_t start = state.clock;
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
    EXPECT_NEAR(15.0, static_cast<double>(state.clock - start) * 1e-6, 1.1);
    instrument.lockDetect = 240;
    instrument.TakeFrames();
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
    EXPECT_EQ(instrument.TakeFrames(), "24");

    instrument.lockDetect = 0;
    instrument.exchangeMicroseconds = 0; // a clock that stands still
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
}

TEST(Multipliers, KeepTheirLimits)
{
    using namespace Toolkit;
    const struct {
        double target;
        std::uint32_t count;
        MultiplierLimit limit;
        std::uint32_t expected;
    } cases[] = {
        {100, 100, byteMultiplier, 1},       {100, 67, byteMultiplier, 1},
        {100, 66, byteMultiplier, 2},        {100, 0, byteMultiplier, 255},
        {25549, 100, byteMultiplier, 255},   {25550, 100, byteMultiplier, 255},
        {65535, 1, wideMultiplier, 65535},   {65536, 1, wideMultiplier, 2000},
        {1, 0, wideMultiplier, 2000},        {2000, 1, channel1Multiplier, 2000},
        {2001, 1, channel1Multiplier, 2000}, {NAN, 5, byteMultiplier, 255},
        {INFINITY, 5, wideMultiplier, 2000}, {INFINITY, UINT32_MAX, byteMultiplier, 255},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.expected, Multiplier(c.target, c.count, c.limit)) << c.target << " / " << c.count;
}
