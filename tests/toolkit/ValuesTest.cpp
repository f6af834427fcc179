// What rows cannot hold: the whole of a search, clocks that there are not, limits of a count.

#include "tests/support/Rows.h"
#include "tests/toolkit/Calls.h"
#include "tests/toolkit/ScriptedInstrument.h"

#include "toolkit/Channels.h"

#include <cmath>

class ValuesTest : public ToolkitTest { };

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
