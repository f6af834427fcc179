#include "tests/toolkit/ScriptedSeam.h"

#include "toolkit/Channels.h"

#include <cmath>
#include <functional>

namespace {

ZelYxyz yxyz;
double number;
double vector[3];

}

class ValuesTest : public ToolkitTest { };

TEST_F(ValuesTest, ABlackScreenHasADefinedColour)
{
    Open(4, true);
    instrument.usualCount = 0;
    ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySim_M(&device, 1, &yxyz));
    for (const double value : device.header.edgeRGB)
        EXPECT_EQ(0.0001, value);
    EXPECT_NEAR(0.3121453, yxyz.x, 1e-6);
    EXPECT_NEAR(0.3291714, yxyz.y, 1e-6);
}

TEST_F(ValuesTest, CountsBecomeChannelValues)
{
    Open(4, true);
    const ZelCalHeader& header = device.header;
    const double time = header.calTime[0];
    const double clock = header.clockPeriod;
    instrument.counts = {{13, {1000000, 3000000}}, {2, {1500000, 3000000}}, {3, {9000000}}};
    ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySim_M(&device, 0, &yxyz));
    EXPECT_DOUBLE_EQ(time / (2.0 * 3000000 / 3 * clock) - header.darkCurrent[0], header.edgeRGB[0]);
    EXPECT_DOUBLE_EQ(time / (2.0 * 3000000 / 2 * clock) - header.darkCurrent[1], header.edgeRGB[1]);
    EXPECT_DOUBLE_EQ(0.0001, header.edgeRGB[2]) << "less than the dark";

    instrument.counts = {{10, {1000000, 3000000}}, {11, {3000001}}, {12, {3000001}}};
    ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySeq_M(&device, 0, &yxyz));
    EXPECT_DOUBLE_EQ(time / (3000000.0 / 3 * clock) - header.darkCurrent[0], header.periodRGB[0]);
}

TEST_F(ValuesTest, FrequencyCountsAreHalvedWhereBothEdgesCount)
{
    const struct {
        int type;
        const char* version;
        double factor;
    } cases[] = {{4, "4.10", 1.0}, {4, "5.18", 1.0}, {4, "5.19", 0.5}, {9, "5.20", 0.5}, {19, "6.05", 0.5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.version);
        Open(c.type, true, c.version);
        instrument.usualCount = 5000;
        ASSERT_EQ(ZEL_OK, AltrixMeasureRGBScaled_M(&device, vector));
        const double scaled = 5000.0 * device.header.calCount[0] / device.header.integrationTicks;
        EXPECT_DOUBLE_EQ(scaled * c.factor, vector[0]);
        EXPECT_EQ(5000U, device.header.channelCount[0]);
    }
}

TEST_F(ValuesTest, TimeLimitedChannelsMayEndEarly)
{
    Open(4, true, "4.45");
    instrument.counts = {{16, {1000000, 900000}}, {17, {3000001}}, {18, {3000001}}};
    instrument.periodsLeft = {0, 0, 0, 2, 0, 0};
    EXPECT_EQ(ZEL_TIME_LIMIT, zelMeasureLCDYxySimTO_M(&device, 1, &yxyz));
    const ZelCalHeader& header = device.header;
    EXPECT_DOUBLE_EQ(header.calTime[0] / (2.0 * 900000 / 1 * header.clockPeriod) - header.darkCurrent[0],
                     header.edgeRGB[0])
        << "one of three periods";
    EXPECT_GT(yxyz.Y, 0.0);

    instrument.counts[16] = {1000000};
    instrument.periodsLeft = {0, 0, 0, 3, 0, 0};
    EXPECT_EQ(ZEL_TIME_LIMIT, zelMeasureLCDYxySimTO_M(&device, 1, &yxyz));
    EXPECT_EQ(0.0001, header.edgeRGB[0]) << "no period at all";
}

TEST_F(ValuesTest, ProgressiveSumsSurviveMoreRepetitionsThanTheirField)
{
    Open(4, true);
    instrument.counts = {{13, {60}}, {2, {30}}, {3, {30}}};
    ASSERT_EQ(ZEL_OK, zelMeasureYxyProgressive_M(&device, 1, &yxyz));
    const ZelCalHeader& header = device.header;
    EXPECT_EQ(3000060U, header.wideCount[0]);
    EXPECT_EQ(32767, header.repeatCount[0]);
    EXPECT_DOUBLE_EQ(header.calTime[0] / (2.0 * 60 * header.clockPeriod) - header.darkCurrent[0], header.edgeRGB[0]);
}

TEST_F(ValuesTest, DarkReadingsOfASweepAddNothing)
{
    Open(13, true);
    device.header.darkCurrent[0] = 0.0;
    instrument.counts = {{13, {400000, 500000, 0, 0, 100000, 0}}};
    ASSERT_EQ(ZEL_OK, AltrixMeasureLCDLumEdgeEx_M(&device, &number));
    EXPECT_NEAR(5.0, number, 1e-6) << "2 * 600000 us for 2 * 3 pulses";
    EXPECT_EQ(7, device.header.sweepCount);

    Open(4, true);
    instrument.counts = {{13, {1000000, 0, 1000000, 0}}, {2, {0}}, {3, {0}}};
    ASSERT_EQ(ZEL_OK, zelMeasureYxyProgressive_M(&device, 1, &yxyz));
    EXPECT_EQ(2, device.header.repeatCount[0]);
    EXPECT_NEAR(2.500002 - 0.251, device.header.edgeRGB[0], 1e-6);
    EXPECT_EQ(0.0001, device.header.edgeRGB[1]);
}

TEST_F(ValuesTest, WithoutAClockReadingsAreDarkAndNothingInfiniteIsStored)
{
    using Measure = std::function<int32_t(CalDataBlock*, double*)>;
    const auto colour = [](int32_t (*call)(CalDataBlock*, std::uint16_t, ZelYxyz*)) {
        return Measure([call](auto* d, double* out) { return call(d, 1, reinterpret_cast<ZelYxyz*>(out)); });
    };
    const auto luminance = [](int32_t (*call)(CalDataBlock*, std::uint16_t, double*)) {
        return Measure([call](auto* d, double* out) { return call(d, 1, out); });
    };
    const auto dark = [](int32_t (*call)(CalDataBlock*)) {
        return Measure([call](auto* d, double*) { return call(d); });
    };
    const std::vector<Measure> calls = {
        colour(zelMeasureLCDYxySim_M),
        colour(zelMeasureLCDYxySeq_M),
        colour(zelMeasureLCDYxySimW_M),
        colour(zelAutoMeasureYxy_M),
        colour(zelMeasureYxyEx_M),
        colour(zelMeasureYxyProgressive_M),
        colour(zelMeasureAmbient_M),
        luminance(zelMeasureLuminance_M),
        luminance(zelAutoMeasureLuminance_M),
        luminance(zelMeasureLCDLuminance_M),
        luminance(zelMeasureLCDLuminanceEdgeEx_M),
        luminance(zelMeasureLCDLuminancePeriod_M),
        AltrixMeasureLCDRed_M,
        AltrixMeasureLCDLumEdge_M,
        AltrixMeasureLCDLumEdgeEx_M,
        zelMeasureMonitorFrequency_M,
        zelGetLCDTargetTime_M,
        zelMeasureLCDRawDataScaled_M,
        [](auto* d, double* out) { return AltrixMeasureRGBbyPeriodScaled_M(d, 1, 1, 1, out); },
        [](auto* d, double*) { return zelSetLCDTargetTime_M(d, 0.0); },
        dark(zelSetLCDDarkCurrent_M),
        dark(zelSetLCDDarkCurrentSeq_M),
        dark(zelSetDarkCurrentEx_M),
        dark(zelSetBassixPlusDarkCurrentPeriod_M),
    };
    for (const int type : {9, 19, 20, 21, 22, 4, 13})
        for (const double clock : {0.0, double(INFINITY), double(NAN), -1e-6}) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", clock " << clock);
            Open(type, true);
            instrument.usualCount = 50;
            instrument.PutFloat(94, static_cast<float>(clock));
            AltrixClose_M(&device);
            char text[9];
            ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, text));
            for (const Measure& call : calls) {
                double out[4] = {};
                const int32_t status = call(&device, out);
                EXPECT_TRUE(status == ZEL_OK || status == ZEL_NOT_AVAILABLE || status == ZEL_NO_REFRESH
                            || status == ZEL_OUT_OF_RANGE)
                    << status;
                for (const double value : out)
                    EXPECT_TRUE(std::isfinite(value));
                for (int i = 0; i < 3; ++i) {
                    EXPECT_TRUE(std::isfinite(device.header.darkCurrent[i]));
                    EXPECT_TRUE(std::isfinite(device.header.edgeRGB[i]));
                    EXPECT_TRUE(std::isfinite(device.header.periodRGB[i]));
                    EXPECT_TRUE(std::isfinite(device.eeprom.darkFloats[i]));
                }
                EXPECT_TRUE(std::isfinite(device.header.monitorFrequency));
            }
        }
    Open(4, true);
    for (const double bad : {double(INFINITY), double(NAN), 1e39}) {
        const double values[3] = {0.25, 0.25, bad};
        EXPECT_EQ(ZEL_OUT_OF_RANGE, AltrixStoreDarkCurrent_M(&device, values));
        EXPECT_EQ("", instrument.TakeFrames());
    }
}

TEST_F(ValuesTest, UnitsMultiplyLuminanceForTheirFlagOnly)
{
    Open(20, true);
    instrument.usualCount = 12'000'001;
    ZelYxyz plain;
    for (const bool ambient : {false, true}) {
        const auto measure = ambient ? zelMeasureAmbient_M : zelMeasureLCDYxySimW_M;
        ASSERT_EQ(ZEL_OK, measure(&device, 0, &plain));
        ASSERT_EQ(ZEL_OK, measure(&device, 2, &yxyz));
        EXPECT_EQ(plain.Y, yxyz.Y);
        ASSERT_EQ(ZEL_OK, measure(&device, 1, &yxyz));
        EXPECT_DOUBLE_EQ(plain.Y * (ambient ? 10.76 : 3.425014379251237), yxyz.Y);
        EXPECT_EQ(plain.x, yxyz.x);
    }
}

TEST_F(ValuesTest, RefreshFlagsJoinMeasurements)
{
    Open(4, true);
    instrument.usualCount = 4'000'000;
    instrument.counts[9] = {50000};
    ASSERT_EQ(ZEL_OK, zelAutoMeasureYxy_M(&device, 1, &yxyz));
    EXPECT_EQ(3, device.header.timingFlags);
    instrument.TakeFrames();
    ASSERT_EQ(ZEL_OK, zelAutoMeasureYxy_M(&device, 1, &yxyz));
    EXPECT_EQ("01, 02, 03", instrument.TakeFrames());

    ASSERT_EQ(ZEL_OK, zelSetIntegrationTime_M(&device, 0.5));
    EXPECT_EQ(2, device.header.timingFlags);
    EXPECT_EQ("05 00 01 E8 48, 06", instrument.TakeFrames());
    ASSERT_EQ(ZEL_OK, zelAutoMeasureYxy_M(&device, 1, &yxyz));
    EXPECT_EQ("05 00 06 5B 9B, 06, 01, 02, 03", instrument.TakeFrames()) << "restored, not measured again";

    instrument.counts[9] = {0};
    EXPECT_EQ(ZEL_NO_REFRESH, zelMeasMonFreqAndSetIntTime_M(&device, 50, &number));
    EXPECT_EQ(0.0, number);
    EXPECT_EQ(1, device.header.timingFlags);
    EXPECT_EQ(50, device.header.numPeriods);
    EXPECT_EQ("09, 05 00 03 2D CD, 06", instrument.TakeFrames()) << "half as many periods of the last rate";
}

TEST_F(ValuesTest, TheInstrumentsOwnTimeScalesWhatItCounts)
{
    Open(4, true);
    instrument.usualCount = 1000;
    ASSERT_EQ(ZEL_OK, AltrixSetIntegrationTime_M(&device, 250000));
    EXPECT_EQ(250000U, device.header.integrationTicks);
    ASSERT_EQ(ZEL_OK, AltrixMeasureRGBScaled_M(&device, vector));
    EXPECT_DOUBLE_EQ(1000.0 * device.header.calCount[0] / 250000, vector[0]);

    ASSERT_EQ(ZEL_OK, AltrixSetIntegrationTime_M(&device, 0));
    EXPECT_EQ(ZEL_NO_INTEGRATION_TIME, AltrixMeasureRGBScaled_M(&device, vector));
    EXPECT_EQ(0.0, vector[0]);
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelSetIntegrationTime_M(&device, -1.0));
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelSetIntegrationTime_M(&device, NAN));
}

TEST_F(ValuesTest, WithoutAnIntegrationTimeTheOutputsAreZero)
{
    using Call = int32_t (*)(CalDataBlock*, double*);
    static double* const ignored = vector;
    const struct {
        const char* what;
        int type;
        int values;
        Call call;
    } cases[] = {
        {"scaled", 4, 3, AltrixMeasureRGBScaled_M},
        {"scaled, wide", 20, 3, AltrixMeasureRGBScaledW_M},
        {"scaled periods", 4, 3, [](auto* d, double* v) { return AltrixMeasureRGBbyPeriodScaled_M(d, 1, 1, 1, v); }},
        {"XYZ", 4, 3, AltrixMeasureXYZ_M},
        {"XYZ, wide", 20, 3, AltrixMeasureXYZW_M},
        {"XYZ by periods", 4, 3, [](auto* d, double* v) { return AltrixMeasureXYZbyPeriod_M(d, 1, 1, 1, v); }},
        {"mean XYZ", 10, 3, [](auto* d, double* v) { return AltrixMeasureXYZAvg_M(d, 2, v, ignored); }},
        {"mean vector", 10, 3, [](auto* d, double* v) { return AltrixMeasureXYZAvg_M(d, 2, ignored, v); }},
        {"colour", 4, 4, [](auto* d, double* v) { return zelMeasureYxy_M(d, 1, reinterpret_cast<ZelYxyz*>(v)); }},
        {"mean colour", 10, 4,
         [](auto* d, double* v) { return zelMeasureYxyAvg_M(d, 1, reinterpret_cast<ZelYxyz*>(v), ignored, 2); }},
        {"mixed", 4, 4, [](auto* d, double* v) { return zelMeasureYxyEx_M(d, 1, reinterpret_cast<ZelYxyz*>(v)); }},
        {"wide", 22, 4, [](auto* d, double* v) { return zelOspreyMeasure_M(d, 1, 3, reinterpret_cast<ZelYxyz*>(v)); }},
        {"raw", 13, 1, zelMeasureRawDataScaled_M},
        {"luminance", 16, 1, [](auto* d, double* v) { return zelMeasureLuminance_M(d, 1, v); }},
        {"automatic luminance", 6, 1, [](auto* d, double* v) { return zelAutoMeasureLuminance_M(d, 1, v); }},
        {"Heron", 7, 3, [](auto* d, double* v) { return zelMeasureHeronLuminance_M(d, 1, v); }},
        {"channel 1", 21, 1, [](auto* d, double* v) { return zelChannel1Measure_M(d, 1, 3, 0, v); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Open(c.type, true);
        ASSERT_EQ(ZEL_OK, AltrixSetIntegrationTime_M(&device, 0));
        double values[4] = {5, 5, 5, 5};
        EXPECT_EQ(ZEL_NO_INTEGRATION_TIME, c.call(&device, values));
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(i < c.values ? 0.0 : 5.0, values[i]);
    }
    Open(6, true);
    instrument.PutWord(40, 0); // no tick
    AltrixClose_M(&device);
    char text[9];
    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, text));
    EXPECT_EQ(ZEL_NO_INTEGRATION_TIME, zelMeasureLuminance_M(&device, 1, &number));
}

TEST_F(ValuesTest, DarkReferencesAreStoredWhereTheTypeKeepsThem)
{
    const struct {
        const char* what;
        int type;
        int32_t (*call)(CalDataBlock*);
        unsigned address;
        int values;
        double expected;
    } cases[] = {
        {"edges", 4, zelSetLCDDarkCurrent_M, 103, 3, 1.666668 / (2.0 * 4e6 * 3.3333333e-7)},
        {"periods", 4, zelSetLCDDarkCurrentSeq_M, 103, 3, 1.666668 / (4e6 * 3.3333333e-7)},
        {"luminance head by edges", 6, zelSetDarkCurrentEx_M, 103, 1, 1.0 / (2.0 * 4e6 * 1e-6)},
        {"luminance head by periods", 13, zelSetBassixPlusDarkCurrentPeriod_M, 103, 1, 1.0 / (4e6 * 1e-6)},
        {"Plover", 14, zelSetDarkCurrentEx_M, 44, 1, 1.0 / (2.0 * 4e6 * 1e-6)},
        {"LCD luminance", 8, zelSetDarkCurrentEx_M, 103, 1, 1.0 / (4e6 * 3.3333333e-7)},
        {"channel 1", 21, zelSetDarkCurrentEx_M, 103, 1, 1.0 / (4e6 * 1e-6)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Open(c.type, false);
        instrument.usualCount = 4'000'000;
        ASSERT_EQ(ZEL_OK, c.call(&device));
        for (int i = 0; i < c.values; ++i) {
            float stored = 0;
            ZKConvertToFloat(instrument.cells.data() + c.address + 4 * i, &stored);
            EXPECT_NEAR(c.expected, stored, c.expected * 1e-6);
            EXPECT_NEAR(c.expected, device.header.darkCurrent[i], c.expected * 1e-7);
        }
    }
}

TEST_F(ValuesTest, TooMuchLightForADarkReferenceIsToldAndStored)
{
    Open(9, true);
    instrument.usualCount = 1'000'000; // 2.5 pulses in the calibration time
    EXPECT_EQ(ZEL_TOO_MUCH_LIGHT, zelSetDarkCurrentEx_M(&device));
    EXPECT_NEAR(2.5, device.header.darkCurrent[2], 1e-3);
    EXPECT_FLOAT_EQ(static_cast<float>(device.header.darkCurrent[2]), device.eeprom.darkFloats[2]);

    instrument.usualCount = 0;
    EXPECT_EQ(ZEL_OK, zelSetDarkCurrentEx_M(&device));
    EXPECT_EQ(0.0, device.header.darkCurrent[0]) << "no pulse is no dark";
}

TEST_F(ValuesTest, TheLoopSearchFindsTheClosestPair)
{
    Open(11, true);
    for (double rate = 20.0; rate < 240.0; rate += 0.7) {
        const double target = (rate > 120.0 ? rate / 2 : rate) * 2560.0;
        double least = HUGE_VAL; // over all R, not only the two neighbours
        for (int n = 350; n <= 400; ++n)
            for (int r = 1; r < 400; ++r)
                least = std::fmin(least, std::fabs(1.0 - target / (r * 750000.0 / n)));
        ASSERT_EQ(ZEL_OK, TenrixSetPLLPeriodEx_M(&device, rate));
        ASSERT_EQ(3U, instrument.frames.size());
        EXPECT_EQ("1E F0", instrument.frames[0]);
        const int n = std::stoi(instrument.frames[1].substr(3, 2) + instrument.frames[1].substr(6, 2), nullptr, 16);
        const int r = std::stoi(instrument.frames[2].substr(3, 2) + instrument.frames[2].substr(6, 2), nullptr, 16);
        EXPECT_DOUBLE_EQ(least, std::fabs(1.0 - target / (r * 750000.0 / n))) << rate;
        instrument.frames.clear();
    }
    for (const double bad : {0.0, -60.0, double(NAN), double(INFINITY)})
        EXPECT_EQ(ZEL_OUT_OF_RANGE, TenrixSetPLLPeriodEx_M(&device, bad));
    Open(10, true);
    EXPECT_EQ(ZEL_NOT_AVAILABLE, TenrixSetPLLPeriodEx_M(&device, 75.0)) << "has no register C";
}

TEST_F(ValuesTest, TheWaitForTheLoopEnds)
{
    Open(11, true);
    instrument.lockDetect = 239;
    instrument.exchangeMicroseconds = 100'000;
    const std::int64_t start = seamClock;
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
    EXPECT_NEAR(15.0, static_cast<double>(seamClock - start) * 1e-6, 1.1);
    instrument.lockDetect = 240;
    instrument.TakeFrames();
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
    EXPECT_EQ("24", instrument.TakeFrames());

    instrument.lockDetect = 0;
    instrument.exchangeMicroseconds = 0; // a clock that stands still
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
}

TEST_F(ValuesTest, ChannelVectorsOfAWantedColourComeBackThroughTheMatrix)
{
    Open(19, true);
    double rgb[3];
    ASSERT_EQ(ZEL_OK, zelGetRGBvaluesFromYxy_M(&device, 1, 100.0, 0.3127, 0.329, rgb));
    ASSERT_EQ(ZEL_OK, AltrixConvertRGBToYxyThroughMatrix_M(&device, rgb, &yxyz));
    EXPECT_NEAR(100.0, yxyz.Y * 3.425014379251237, 1e-9);
    EXPECT_NEAR(0.3127, yxyz.x, 1e-12);
    EXPECT_NEAR(0.329, yxyz.y, 1e-12);
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelGetRGBvaluesFromYxy_M(&device, 1, 100.0, 0.3, 0.0, rgb));
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
