#include "tests/toolkit/ScriptedSeam.h"

#include "toolkit/Channels.h"

#include <cmath>
#include <functional>

namespace {

using Counts = std::map<int, std::deque<std::uint32_t>>;

/// `times` repetitions of a list of frames.
std::string Times(int times, const std::string& frames)
{
    std::string all;
    for (int i = 0; i < times; ++i)
        all += (i == 0 ? "" : ", ") + frames;
    return all;
}

ZelYxyz yxyz;
double number;
double vector[3];

struct Dialogue {
    const char* what;
    int type;
    const char* version; // null: the type's own
    Counts counts;
    std::function<int32_t(CalDataBlock*)> call;
    int32_t status;
    std::string frames;
};

const std::string wideOnes = "14 00 01 00, 14 00 01 01, 14 00 01 02, 16, 02, 03";

const Dialogue dialogues[] = {
    {"bright: one reading",
     4,
     nullptr,
     {{13, {3000001}}, {2, {3000001}}, {3, {3000001}}},
     [](auto* d) { return zelMeasureLCDYxySim_M(d, 1, &yxyz); },
     0,
     "0D 01 01 01, 02, 03"},
    {"a low channel repeats all three; a count of 0 takes the largest multiplier",
     4,
     nullptr,
     {{13, {1000000, 3000000}}, {2, {4000000}}, {3, {0, 0}}},
     [](auto* d) { return zelMeasureLCDYxySim_M(d, 1, &yxyz); },
     0,
     "0D 01 01 01, 02, 03, 0D 03 01 FF, 02, 03"},
    {"a multiplier above 255 becomes 255",
     4,
     nullptr,
     {{13, {11000}}, {2, {12000}}, {3, {3000001}}},
     [](auto* d) { return zelMeasureLCDYxySim_M(d, 1, &yxyz); },
     0,
     "0D 01 01 01, 02, 03, 0D FF FA 01, 02, 03"},
    {"a wide multiplier above 65535 becomes 2000",
     19,
     nullptr,
     {{22, {183}}, {2, {184}}, {3, {13000000}}},
     [](auto* d) { return zelMeasureLCDYxySimW_M(d, 1, &yxyz); },
     0,
     wideOnes + ", 14 07 D0 00, 14 FE C1 01, 14 00 01 02, 16, 02, 03"},
    {"channels in a row repeat one by one",
     9,
     nullptr,
     {{10, {1000000}}, {11, {4000000}}, {12, {0}}},
     [](auto* d) { return zelMeasureLCDYxySeq_M(d, 1, &yxyz); },
     0,
     "0A 01, 0A 03, 0B 01, 0C 01, 0C FF"},
    {"multipliers of the caller, edges",
     4,
     nullptr,
     {},
     [](auto* d) { return zelDarkMeasureYxy_M(d, 1, 1, 2, 3, 7, &yxyz); },
     0,
     "0D 01 02 03, 02, 03"},
    {"multipliers of the caller, periods",
     4,
     nullptr,
     {},
     [](auto* d) { return zelDarkMeasureYxy_M(d, 1, 1, 2, 3, 0, &yxyz); },
     0,
     "0A 01, 0B 02, 0C 03"},
    {"automatic: refresh rate and time first",
     4,
     nullptr,
     {{9, {50000}}},
     [](auto* d) { return zelAutoMeasureYxy_M(d, 1, &yxyz); },
     0,
     Times(5, "09") + ", 05 00 06 5B 9B, 06, 01, 02, 03"},
    {"automatic without refresh: the time of 60 Hz",
     19,
     nullptr,
     {{9, {0}}},
     [](auto* d) { return zelAutoMeasureYxy_M(d, 1, &yxyz); },
     0,
     "09, 05 00 19 6E 6B, 06, 01, 02, 03"},
    {"automatic on a type that measures no refresh: one second",
     2,
     nullptr,
     {},
     [](auto* d) { return zelAutoMeasureYxy_M(d, 1, &yxyz); },
     0,
     "05 00 0F 42 40, 06, 01, 02, 03"},
    {"without the refresh step",
     4,
     nullptr,
     {},
     [](auto* d) { return zelMeasureYxyEx_M(d, 1, &yxyz); },
     0,
     "01, 02, 03"},
    {"a low channel alone gets a multiplier",
     4,
     nullptr,
     {{1, {75}}, {13, {1000000}}},
     [](auto* d) { return zelMeasureYxyEx_M(d, 1, &yxyz); },
     0,
     "01, 02, 03, 0D 01 01 01, 02, 03, 0D 03 01 01, 02, 03"},
    {"wide automatic: channel argument from the sync mode, one second",
     22,
     nullptr,
     {},
     [](auto* d) { return zelOspreyMeasure_M(d, 1, 4, &yxyz); },
     0,
     "05 00 0F 42 40, 06, 13 02, 02, 03"},
    {"wide with a low channel",
     20,
     nullptr,
     {{19, {10}}, {22, {6000000}}},
     [](auto* d) { return zelOspreyMeasure_M(d, 1, 5, &yxyz); },
     0,
     "13 01, 02, 03, " + wideOnes + ", 14 00 02 00, 14 00 01 01, 14 00 01 02, 16, 02, 03"},
    {"wide frequency", 22, nullptr, {}, [](auto* d) { return zelOspreyMeasure_M(d, 1, 3, &yxyz); }, 0, "13 01, 02, 03"},
    {"ambient",
     20,
     nullptr,
     {{22, {12000001}}, {2, {12000001}}, {3, {12000001}}},
     [](auto* d) { return zelMeasureAmbient_M(d, 1, &yxyz); },
     0,
     wideOnes},
    {"no such mode", 20, nullptr, {}, [](auto* d) { return zelOspreyMeasure_M(d, 1, 6, &yxyz); }, ZEL_NO_COLOUR, ""},
    {"no such mode of the other dispatcher",
     9,
     nullptr,
     {},
     [](auto* d) { return zelPelicanMeasure_M(d, 1, 0, &yxyz); },
     ZEL_NO_COLOUR,
     ""},
    {"time-limited: raw channels need no more than the shortest limit",
     4,
     "4.45",
     {{16, {3000001}}, {17, {3000001}}, {18, {1000000}}},
     [](auto* d) { return zelMeasureLCDYxySim_M(d, 1, &yxyz); },
     0,
     "10 01 01 01 FF, 11, 12, 10 01 01 03 01, 11, 12"},
    {"time-limited commands end with revision 449",
     4,
     "4.50",
     {{13, {3000001}}, {2, {3000001}}, {3, {3000001}}},
     [](auto* d) { return zelMeasureLCDYxySim_M(d, 1, &yxyz); },
     0,
     "0D 01 01 01, 02, 03"},
    {"the time-limited call itself",
     4,
     "4.50",
     {},
     [](auto* d) { return zelMeasureLCDYxySimTO_M(d, 1, &yxyz); },
     ZEL_NOT_AVAILABLE,
     ""},
    {"sweeps until one channel has enough",
     4,
     nullptr,
     {{13, {1000000}}, {2, {1500001}}, {3, {10}}},
     [](auto* d) { return zelMeasureYxyProgressive_M(d, 1, &yxyz); },
     0,
     "0D 01 01 01, 02, 03, 0D 01 01 01, 02, 03"},
    {"sweeps without any light end",
     9,
     nullptr,
     {{13, {0}}, {2, {0}}, {3, {0}}},
     [](auto* d) { return zelMeasureYxyProgressive_M(d, 1, &yxyz); },
     0,
     "0D 01 01 01, 02, 03"},
    {"luminance by periods, red channel",
     13,
     nullptr,
     {{10, {400000}}},
     [](auto* d) { return zelMeasureLCDLuminancePeriod_M(d, 1, &number); },
     0,
     "0A 01, 0A 03"},
    {"luminance by periods, green channel",
     6,
     nullptr,
     {{11, {400000}}},
     [](auto* d) { return zelMeasureLCDLuminancePeriod_M(d, 1, &number); },
     0,
     "0B 01, 0B 03"},
    {"a low first count asks again, even for one pulse",
     6,
     nullptr,
     {{11, {900000}}},
     [](auto* d) { return zelMeasureLCDLuminancePeriod_M(d, 1, &number); },
     0,
     "0B 01, 0B 01"},
    {"luminance by edges",
     14,
     nullptr,
     {{13, {400000}}},
     [](auto* d) { return zelMeasureLCDLuminance_M(d, 1, &number); },
     0,
     "0D 01 01 01, 0D 03 03 03"},
    {"luminance by sweeps of edges",
     6,
     nullptr,
     {{13, {400000, 500000, 399999, 2}}},
     [](auto* d) { return zelMeasureLCDLuminanceEdgeEx_M(d, 1, &number); },
     0,
     "0D 01 01 01, 0D 03 03 03, 0D 03 03 03, 0D 03 03 03"},
    {"sweeps of edges without light end",
     6,
     nullptr,
     {{13, {0}}},
     [](auto* d) { return zelMeasureLCDLuminanceEdgeEx_M(d, 1, &number); },
     0,
     "0D 01 01 01, 0D FF FF FF"},
    {"luminance, frequency believed",
     13,
     nullptr,
     {{1, {76}}},
     [](auto* d) { return zelSetNumPeriodsToMeasure_M(d, 101) | zelAutoMeasureLuminance_M(d, 1, &number); },
     0,
     "01"},
    {"luminance, frequency not believed",
     13,
     nullptr,
     {{1, {75}}, {13, {1000001}}},
     [](auto* d) { return zelSetNumPeriodsToMeasure_M(d, 101) | zelAutoMeasureLuminance_M(d, 1, &number); },
     0,
     "01, 0D 01 01 01"},
    {"channel 1, frequency",
     21,
     nullptr,
     {},
     [](auto* d) { return zelChannel1Measure_M(d, 1, 3, 0, &number); },
     0,
     "13 00, 02"},
    {"channel 1, edges, at most 2000",
     21,
     nullptr,
     {{17, {499}}},
     [](auto* d) { return zelChannel1Measure_M(d, 1, 1, 0, &number); },
     0,
     "11 00 01, 11 07 D0"},
    {"channel 1, automatic in dim light",
     21,
     nullptr,
     {{2, {75}}, {17, {500}}},
     [](auto* d) { return zelChannel1Measure_M(d, 1, 5, 3, &number); },
     0,
     "13 00, 02, 11 00 01, 11 07 D0"},
    {"channel 1, no such mode",
     21,
     nullptr,
     {},
     [](auto* d) { return zelChannel1Measure_M(d, 1, 4, 0, &number); },
     ZEL_NOT_AVAILABLE,
     ""},
    {"channel 1, no such factor",
     21,
     nullptr,
     {},
     [](auto* d) { return zelChannel1Measure_M(d, 1, 3, 4, &number); },
     ZEL_OUT_OF_RANGE,
     ""},
    {"Tenrix automatic: the loop follows a screen of 75 Hz",
     11,
     nullptr,
     {{9, {40000}}},
     [](auto* d) { return zelAutoMeasureYxy_M(d, 1, &yxyz); },
     0,
     Times(5, "09") + ", 05 00 08 23 55, 06, 1E F0, 20 01 77, 22 00 60, 01, 02, 03"},
    {"Tenrix with a fixed loop",
     10,
     nullptr,
     {{9, {66667}}},
     [](auto* d) { return zelMeasMonFreqAndSetIntTime_M(d, 0, &number); },
     0,
     Times(5, "09") + ", 05 00 0A 2C 2E, 06, 11 00 00 1A 0B"},
    {"Tenrix dark: cleared, measured, given",
     11,
     nullptr,
     {{1, {10, 11}}, {2, {20}}, {3, {4294967295}}},
     [](auto* d) { return zelSetDarkCurrent_M(d, 2); },
     0,
     "15 00 00 00 00, 16 00 00 00 00, 17 00 00 00 00, 01, 02, 03, 01, 02, 03, 15 00 00 00 0B, 16 00 00 00 14, "
     "17 FF FF FF FF"},
    {"Heron luminance", 7, nullptr, {}, [](auto* d) { return zelMeasureLuminance_M(d, 1, &number); }, 0, "01, 02, 03"},
    {"raw values of the luminance heads",
     8,
     nullptr,
     {{11, {4000000}}},
     [](auto* d) { return zelMeasureRawDataScaled_M(d, vector); },
     0,
     "0B 01"},
    {"dark of the old head stays in the record",
     5,
     nullptr,
     {},
     [](auto* d) { return zelSetLCDBassixDarkCurrent_M(d); },
     0,
     "0B 01"},
    {"a register below its range sends nothing",
     11,
     nullptr,
     {},
     [](auto* d) { return TenrixSetPLLRegisterN_M(d, 39); },
     ZEL_OUT_OF_RANGE,
     ""},
    {"R of 5", 11, nullptr, {}, [](auto* d) { return TenrixSetPLLRegisterR_M(d, 5); }, ZEL_OUT_OF_RANGE, ""},
    {"R of 32767", 11, nullptr, {}, [](auto* d) { return TenrixSetPLLRegisterR_M(d, 32767); }, ZEL_OUT_OF_RANGE, ""},
    {"registers at their limits",
     11,
     nullptr,
     {},
     [](auto* d) {
         return TenrixSetPLLRegisterN_M(d, 40) | TenrixSetPLLRegisterR_M(d, 1) | TenrixSetPLLRegisterR_M(d, 6)
             | TenrixSetPLLRegisterR_M(d, 32766);
     },
     0,
     "20 00 28, 22 00 01, 22 00 06, 22 7F FE"},
    {"an equal cell is not written",
     11,
     nullptr,
     {},
     [](auto* d) { return TenrixWriteExtendedEEPROMByte_M(d, 300, 0xFF); },
     0,
     "14 01 2C"},
    {"a different cell is written",
     10,
     nullptr,
     {},
     [](auto* d) { return AltrixWriteExtendedEEPROMByte_M(d, 300, 1); },
     0,
     "14 01 2C, 13 01 2C 01"},
};

}

class DialogueTest : public ToolkitTest { };

TEST_F(DialogueTest, EachPathSendsItsCommandsAndNoOthers)
{
    for (const Dialogue& dialogue : dialogues) {
        SCOPED_TRACE(dialogue.what);
        Open(dialogue.type, true, dialogue.version);
        instrument.usualCount = 4'000'000'000;
        instrument.counts = dialogue.counts;
        instrument.periodsLeft = {0};
        EXPECT_EQ(dialogue.status, dialogue.call(&device));
        EXPECT_EQ(dialogue.frames, instrument.TakeFrames());
    }
}

TEST_F(DialogueTest, ABlackScreenHasADefinedColour)
{
    Open(4, true);
    instrument.usualCount = 0;
    ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySim_M(&device, 1, &yxyz));
    for (const double value : device.header.edgeRGB)
        EXPECT_EQ(0.0001, value);
    EXPECT_NEAR(0.3121453, yxyz.x, 1e-6);
    EXPECT_NEAR(0.3291714, yxyz.y, 1e-6);
}

TEST_F(DialogueTest, CountsBecomeChannelValues)
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

TEST_F(DialogueTest, FrequencyCountsAreHalvedWhereBothEdgesCount)
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

TEST_F(DialogueTest, TimeLimitedChannelsMayEndEarly)
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

TEST_F(DialogueTest, ProgressiveSumsSurviveMoreRepetitionsThanTheirField)
{
    Open(4, true);
    instrument.counts = {{13, {60}}, {2, {30}}, {3, {30}}};
    ASSERT_EQ(ZEL_OK, zelMeasureYxyProgressive_M(&device, 1, &yxyz));
    const ZelCalHeader& header = device.header;
    EXPECT_EQ(3000060U, header.wideCount[0]);
    EXPECT_EQ(32767, header.repeatCount[0]);
    EXPECT_DOUBLE_EQ(header.calTime[0] / (2.0 * 60 * header.clockPeriod) - header.darkCurrent[0], header.edgeRGB[0]);
}

TEST_F(DialogueTest, UnitsMultiplyLuminanceForTheirFlagOnly)
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

TEST_F(DialogueTest, RefreshFlagsJoinMeasurements)
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

TEST_F(DialogueTest, TheInstrumentsOwnTimeScalesWhatItCounts)
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
    EXPECT_EQ(ZEL_NO_INTEGRATION_TIME, zelMeasureYxyEx_M(&device, 1, &yxyz));
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelSetIntegrationTime_M(&device, -1.0));
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelSetIntegrationTime_M(&device, NAN));
}

TEST_F(DialogueTest, DarkReferencesAreStoredWhereTheTypeKeepsThem)
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

TEST_F(DialogueTest, TooMuchLightForADarkReferenceIsToldAndStored)
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

TEST_F(DialogueTest, TheLoopSearchFindsTheClosestPair)
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

TEST_F(DialogueTest, TheWaitForTheLoopEnds)
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
}

TEST_F(DialogueTest, ChannelVectorsOfAWantedColourComeBackThroughTheMatrix)
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
