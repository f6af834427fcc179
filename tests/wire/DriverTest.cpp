#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLog.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/RawTransform.h"
#include "tests/wire/WireBench.h"

#include <functional>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using Vondrel::DeviceDriver::ox::BrindleFunctionality;
using Vondrel::DeviceDriver::ox::BrindleLowLevelDriver;
using Vondrel::DeviceDriver::ox::RawSpectrum;
using Vondrel::DeviceDriver::ox::TransformRawSpectra;

namespace {

class Driver : public WireBench {
protected:
    Driver() { Set(TriggerDelay, 0.25F); }

    std::string Measure(BrindleLowLevelDriver& driver)
    {
        return Thrown([&] { records = driver.ExecuteMeasurement(conditions); });
    }

    std::int32_t Log(BrindleLowLevelDriver& driver, std::uint16_t id)
    {
        return driver.GetLogData(false).GetItem(id).AsLong();
    }

    std::vector<Calculation::SensorData> records;
};

const std::string spot = "control C0 out; submit bulk-read 256; done 256; " + identified;
const std::string failedSpot = "control C0 out; submit bulk-read 256; done failed; control CA out 07";

TEST_F(Driver, OpensWithOneReadOfTheMemoryAndClosesWithTheLog)
{
    for (const auto& [version, shortest] : {std::pair{302, 0.004716F}, {301, 0.004716F}, {300, 0.00884F}}) {
        SCOPED_TRACE(version);
        SetNumber("firmware-version", version);
        auto driver = LowLevelDriver::Instance(nullptr, 0);
        const std::string known =
            "control C9 in 01 " + Hex(std::vector<std::uint8_t>{std::uint8_t(version & 0xFF)}) + " 00 00 EA 60 01 00";
        EXPECT_EQ(TakeTrace(),
                  "open 0; open 1; open 2; control CA out 1F; control C4 out 00 00 00 00 20 00 00 00; "
                  "submit bulk-read 8192; done 8192; "
                      + known + "; " + known + "; control CA out 1F");
        Properties calibration("CalibrationData");
        driver->LoadData(calibration);
        EXPECT_EQ(calibration.GetProperty(MinIntegrationTime).AsFloat(), shortest);
        driver->GetLogData(false).SetItem(LampMeasurementCount, version);
        const auto before = Memory();
        EXPECT_EQ(TakeTrace(), "");
        driver = {};
        const auto memory = Memory();
        EXPECT_NE(memory, before);
        EXPECT_TRUE(std::equal(memory.begin(), memory.begin() + 0x800, memory.begin() + 0x800)) << "both copies";
        EXPECT_TRUE(std::equal(memory.begin() + 0x1000, memory.end(), before.begin() + 0x1000));
        EXPECT_THAT(TakeTrace(),
                    testing::EndsWith("write 40; write 1 00; write 1 00; "
                                      "control 00 out standard value 0084 00 00 00 00 00 00 00 00; "
                                      "control D0 out value 0003 00 00 00 00 00 00 00 00; close 2; close 1; close 0"));
    }
}

TEST_F(Driver, WaitsForPowerAtMostTwentyTwoTimes)
{
    struct Case {
        int recoversAfter;
        std::string thrown;
        int sleeps;
    };
    for (const auto& c : {Case{0, "nothing", 0},
                          {3, "nothing", 3},
                          {21, "nothing", 21},
                          {22, "ResourceException: Not enough power available", 22},
                          {-1, "ResourceException: Not enough power available", 22}}) {
        SCOPED_TRACE(c.recoversAfter);
        oxv_unplug(device);
        oxv_plug(device);
        SetNumber("device-status", 8);
        SetNumber("power-recovers-after", c.recoversAfter);
        EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }), c.thrown);
        auto lines = TakeLines();
        EXPECT_EQ(std::ranges::count(lines, "sleep 100 ms"), c.sleeps);
        EXPECT_EQ(std::ranges::count(lines, "control CA out 01"), 1);
        EXPECT_EQ(std::ranges::count(lines, "control CA out 1F"), 2) << "one at the opening, one at its end";
        EXPECT_EQ(lines.back(), "close 0");
    }
}

TEST_F(Driver, RepeatsASpotOnceAfterAnIOException)
{
    const std::string failed = "IOException: read data failed (Win32 Error (5) : input/output error)";
    const std::string timedOut = "TimeoutException: read data failed (timeout) (Win32 Error (110) : timed out)";
    struct Case {
        const char* how;
        std::uint32_t times;
        std::string thrown;
        std::string sent;
    };
    BrindleLowLevelDriver driver(nullptr, 0);
    for (const auto& c : {Case{"fail", 1, "nothing", failedSpot + "; " + spot},
                          {"fail", 2, failed, failedSpot + "; " + failedSpot},
                          {"timeout", 1, timedOut, "control C0 out; submit bulk-read 256; cancel"}}) {
        SCOPED_TRACE(c.thrown);
        TakeTrace();
        Fail("bulk-read", c.how, 1, c.times);
        EXPECT_EQ(Measure(driver), c.thrown);
        EXPECT_EQ(TakeTrace(), prepared + "1C 00 01 00 00; " + c.sent);
    }
    EXPECT_EQ(Log(driver, LampMeasurementCount), 1) << "of those that arrived";
    Fail("bulk-read", "fail", 1, 1);
    Fail("reset", "fail", 1, 1);
    EXPECT_EQ(Measure(driver), "nothing") << "a reset that fails is swallowed";
}

/// Every wait of the wire, as the bench's clock shows it when nothing comes.
TEST_F(Driver, WaitsNoLongerThanItIsTold)
{
    struct Case {
        const char* what;
        const char* point;
        std::uint32_t nth;
        double time, delay;
        int count;
        bool scan;
        double milliseconds;
    };
    const Case cases[] = {
        {"control", "control:C9", 1, 0.02, 0, 1, false, 2000 + 28.84 + 20}, // the one behind the spot
        {"a short spot", "bulk-read", 1, 0.02, 0, 1, false, 6000},
        {"1.7 s", "bulk-read", 1, 0.5, 0.2, 2, false, 6000},
        {"2.0 s", "bulk-read", 1, 0.5, 0.5, 2, false, 7000},
        {"5.5 s", "bulk-read", 1, 0.5, 0.0, 10, false, 10000},
        {"the delay counts", "bulk-read", 1, 0.02, 2.5, 1, false, 8000},
        {"the first package of a scan", "bulk-read", 1, 0.02, 2.5, 1, true, 8000},
    };
    BrindleLowLevelDriver driver(nullptr, 0);
    Set(SkipDarkCycle, 1);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Set(IntegrationTime, static_cast<float>(c.time));
        Set(TriggerDelay, static_cast<float>(c.delay));
        Set(SpectrumCount, c.count);
        Set(ScanMode, std::int32_t{c.scan});
        Fail(c.point, "timeout", c.nth);
        const auto before = oxv_clock_now();
        EXPECT_THAT(Measure(driver), testing::StartsWith("TimeoutException: "));
        const auto waited = static_cast<double>(oxv_clock_now() - before) / 1000.0;
        EXPECT_NEAR(waited, c.milliseconds, c.point[0] == 'c' ? 40.0 : 0.0);
        Repair();
    }
}

TEST_F(Driver, WaitsTenMillisecondsForEachByteOfMemory)
{
    BrindleFunctionality functionality(nullptr, 0);
    Bytes data(300);
    const auto read = [&] { functionality.ReadEEPROM(0, data); };
    const auto write = [&] { functionality.WriteEEPROM(0, data); };
    const auto program = [&] { functionality.DownloadFirmware(0, data, true); };
    struct Case {
        const char* point;
        std::uint32_t nth;
        std::function<void()> act;
        int milliseconds;
    };
    for (const auto& c : {Case{"bulk-read", 1, read, 3000 + 5000},
                          {"bulk-write", 1, write, 2560 + 5000},
                          {"bulk-write", 2, write, 5 + 5000},
                          {"bulk-write", 3, write, 5 + 5000},
                          {"bulk-write", 4, write, 5 + 440 + 5000},
                          {"bulk-write", 1, program, 3000 + 5000}}) {
        SCOPED_TRACE(testing::Message() << c.point << " " << c.nth);
        Fail(c.point, "timeout", c.nth);
        const auto before = oxv_clock_now();
        EXPECT_THAT(Thrown(c.act), testing::StartsWith("TimeoutException: "));
        EXPECT_EQ(oxv_clock_now() - before, c.milliseconds * 1000);
    }
}

TEST_F(Driver, GivesASpotAsOneRecordAndAScanAsOneForEachSpectrum)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    Set(SpectrumCount, 3);
    Set(Gain, 1);
    SetBlocks(Blocks(3, 500, 100));
    ASSERT_EQ(Measure(driver), "nothing");
    ASSERT_EQ(records.size(), 1U);
    ASSERT_EQ(records[0].LoadRawData().size(), 3U);
    EXPECT_EQ(records[0].LoadRawData()[2], RawSpectrum(128, 402));
    EXPECT_EQ(records[0].GetIntegrationTime(), 0.02F);
    EXPECT_EQ(records[0].GetGain(), 1);

    Set(ScanMode, 1);
    Set(SpectrumCount, 1);
    SetBlocks(Blocks(25, 100));
    ASSERT_EQ(Measure(driver), "nothing");
    ASSERT_EQ(records.size(), 25U);
    for (std::int32_t i = 0; i < 25; ++i)
        EXPECT_EQ(records[static_cast<std::size_t>(i)].LoadRawData(),
                  std::vector<RawSpectrum>(1, RawSpectrum(128, 100 + i)));
    EXPECT_EQ(records[24].GetIntegrationTime(), 0.02F);
    EXPECT_EQ(records[24].GetGain(), 1);

    EXPECT_EQ(Log(driver, LampMeasurementCount), 2);
    EXPECT_EQ(Log(driver, DarkMeasurementCount), 0);
    EXPECT_EQ(driver.GetLogData(false).GetItem(LastIntegrationTime).AsFloat(), 0.02F);
    EXPECT_FLOAT_EQ(driver.GetLogData(false).GetItem(LampOnTime).AsFloat(), 3 * 0.02F + 0.25F + 25 * 0.02F + 0.25F);

    for (const auto& [id, count] : {std::pair{ScanMode, 1U}, {DarkMeasurement, 1U}}) { // flags on the wire only
        Set(id, std::int32_t{2});
        Set(SimulateDark, std::int32_t{1});
        ASSERT_EQ(Measure(driver), "nothing");
        EXPECT_EQ(records.size(), count);
        EXPECT_EQ(Log(driver, DarkMeasurementCount), 0);
        Set(SimulateDark, std::int32_t{0});
        Set(id, std::int32_t{0});
    }
    Set(FirmwareVersion, 300);
    SetBlocks(Blocks(1, 500, 100));
    ASSERT_EQ(Measure(driver), "nothing");
    EXPECT_EQ(records[0].LoadRawData()[0], RawSpectrum(128, 500)) << "no modes, no offsets";
}

TEST_F(Driver, SimulatesADarkOfASpotWithoutTheInstrument)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    TakeTrace();
    Set(DarkMeasurement, 1);
    Set(SimulateDark, 1);
    Set(SpectrumCount, 2);
    ASSERT_EQ(Measure(driver), "nothing");
    EXPECT_EQ(records[0].LoadRawData(), std::vector<RawSpectrum>(2, RawSpectrum(128)));
    EXPECT_EQ(TakeTrace(), "");
    EXPECT_EQ(Log(driver, DarkMeasurementCount), 1);
    EXPECT_EQ(Log(driver, LampMeasurementCount), 0);
    Set(ScanMode, 1);
    Set(SpectrumCount, 1);
    ASSERT_EQ(Measure(driver), "nothing");
    EXPECT_EQ(records.size(), 25U) << "a scan is measured";
    Set(ScanMode, 0);
    Set(DarkMeasurement, 0);
    ASSERT_EQ(Measure(driver), "nothing");
    EXPECT_NE(records[0].LoadRawData()[0], RawSpectrum(128)) << "and so is light";
}

TEST_F(Driver, RefusesNumbersOfSpectraThatCannotBe)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    TakeTrace();
    for (const std::int32_t count : {0, -1, 65536, 0x7FFFFFFF}) {
        Set(SpectrumCount, count);
        EXPECT_EQ(Measure(driver), "DataException: Number of spectra out of range") << count;
    }
    EXPECT_EQ(TakeTrace(), "");
    Set(ScanMode, 1);
    Set(SpectrumCount, 25);
    EXPECT_EQ(Measure(driver), "nothing");
    EXPECT_EQ(records.size(), 25U);
    Set(SpectrumCount, 26);
    EXPECT_EQ(Measure(driver), "IOException: Max packages size is 65535");
    Properties incomplete;
    EXPECT_EQ(Thrown([&] { driver.ExecuteMeasurement(incomplete); }), "ResourceException: id 2010 doesn't exist");
}

TEST_F(Driver, WritesTheLogWhenItIsTimeAndTheMeasurementAllowsIt)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    const auto writes = [&] {
        TakeTrace();
        EXPECT_EQ(Measure(driver), "nothing");
        return TakeCount("control C3");
    };
    for (const bool dark : {false, true}) {
        SCOPED_TRACE(dark);
        Set(DarkMeasurement, std::int32_t{dark});
        Set(LogMeasurement, 0);
        for (int i = 0; i < (dark ? 25 : 8); ++i) // three changes each; one of a dark
            EXPECT_EQ(writes(), 0);
        Set(LogMeasurement, 1);
        EXPECT_EQ(writes(), 10);
        EXPECT_EQ(writes(), 0);
    }
    for (int i = 0; i < 18; ++i)
        EXPECT_EQ(writes(), 0);
    Fail("bulk-write");
    EXPECT_EQ(Measure(driver), "IOException: write data failed (Win32 Error (5) : input/output error)");
    EXPECT_FALSE(driver.GetLogData(false).IsDumpRecommended()) << "the count is 0 already";
    EXPECT_EQ(writes(), 0);
}

TEST_F(Driver, TransformsWordsToSignedCounts)
{
    struct Case {
        const char* what;
        std::uint16_t word, offset;
        bool withOffsets;
        std::int32_t threshold, expected;
    };
    for (const auto& c : {Case{"plain", 1000, 300, false, 60000, 1000},
                          {"less the offset", 1000, 300, true, 60000, 700},
                          {"below the offset", 0, 16, true, 60000, -16},
                          {"above the threshold", 0xFFF0, 0, false, 60000, -16},
                          {"at the threshold", 60000, 0, false, 60000, 60000},
                          {"above it only with the offset", 60010, 20, true, 60000, 59990}}) {
        SCOPED_TRACE(c.what);
        std::vector<RawSpectrum> result;
        TransformRawSpectra(Blocks(1, c.word, c.offset), c.withOffsets, c.threshold, result);
        EXPECT_THAT(result, testing::ElementsAre(RawSpectrum(128, c.expected)));
    }
    auto blocks = Blocks(3, 100, 10);
    blocks[2 * 256 + 255] = 12; // offsets 10, 10, 12: mean 10.67, of which 10 counts
    blocks[0] = 1;              // the first word of the first block
    blocks[2 * 126] = 2;        // and its last
    std::vector<RawSpectrum> result;
    TransformRawSpectra(blocks, true, 60000, result);
    ASSERT_EQ(result.size(), 3U);
    EXPECT_EQ(result[0][0], 90) << "the copy of its neighbour";
    EXPECT_EQ(result[0][125], 90);
    EXPECT_EQ(result[0][126], 90 + 512);
    EXPECT_EQ(result[0][127], 90 + 512);
    EXPECT_EQ(result[2][5], 92);
    EXPECT_EQ(Thrown([&] { TransformRawSpectra(std::span(blocks).first(255), true, 60000, result); }),
              "DataException: No measurement block");
}

TEST_F(Driver, ReadsTheThresholdForEachTransform)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    for (const auto& [threshold, count] : {std::pair{60000, 50000}, {49999, 50000 - 65536}}) {
        SetNumber("overflow-threshold", threshold);
        SetBlocks(Blocks(1, 50000));
        ASSERT_EQ(Measure(driver), "nothing");
        EXPECT_EQ(records[0].LoadRawData()[0], RawSpectrum(128, count));
    }
}

TEST_F(Driver, ReportsTheFilterInTheDeviceType)
{
    struct Case {
        int filter, type, reported;
    };
    for (const auto& c : {Case{1, 1, 11}, {0, 1, 1}, {1, 2, 2}}) {
        SetNumber("uv-cut", c.filter);
        SetNumber("device-type", c.type);
        EXPECT_EQ(BrindleLowLevelDriver(nullptr, 0).LoadData(DeviceType).AsLong(), c.reported);
    }
}

TEST_F(Driver, TakesProgramsAsValuesOnly)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    const auto store = [&](std::initializer_list<std::uint16_t> ids) {
        Properties container;
        for (const auto id : ids)
            container.SetProperty(id, std::int32_t{0x0107});
        TakeTrace();
        return Thrown([&] { driver.StoreData(container); });
    };
    EXPECT_EQ(store({CPLDProgram}), "DataException: CPLD program must be handed over as a value");
    EXPECT_EQ(store({FirmwareImage}), "DataException: Firmware image must be handed over as a value");
    EXPECT_EQ(store({CPLDProgram, ResetMask}), "nothing") << "only the reset";
    EXPECT_EQ(TakeTrace(), "control CA out 07");

    const CPLDStep steps[] = {
        {.words = {1, 2, 3}, .delayMicroseconds = 1999},
        {.check = true, .words = {4, 5, 0x1234}, .expected = 0xFF34, .mask = 0x00FF, .delayMicroseconds = 5000},
        {.check = true, .words = {7, 8, 0x1234}, .expected = 0x0035, .mask = 0x00FF},
        {.words = {10, 11, 12}},
    };
    EXPECT_EQ(Thrown([&] { driver.ProgramCPLD(steps); }), "DataException: CPLD Error: Programming failed");
    EXPECT_EQ(TakeTrace(),
              "control C7 out 00 01 00 02 00 03; sleep 1 ms; control C7 out 00 04 00 05 12 34; control C8 in 12 34; "
              "sleep 5 ms; control C7 out 00 07 00 08 12 34; control C8 in 12 34");

    struct Image {
        FirmwareBlocks blocks;
        const char* sent;
    };
    const std::string zeros = "; write 1 00; write 1 00";
    for (const auto& [blocks, sent] :
         {Image{{{0x0200, {3}}, {0x0100, {1, 2}}}, "control A0 out value 0100 01 02; control A0 out value 0200 03"},
          {{{0, {0xB2, 0}}}, "control A0 out B2 00"},
          {{{1, {0xB2}}}, "control A0 out value 0001 B2"},
          {{}, ""}}) {
        driver.DownloadFirmware(blocks);
        EXPECT_EQ(TakeTrace(), sent);
    }
    driver.DownloadFirmware({{0, {0xB2}}, {2, {7}}});
    EXPECT_EQ(TakeTrace(),
              "control CB out 00 00 00 00 00 01 00 00; write 1 B2" + zeros
                  + "; control CB out 00 00 00 02 00 01 00 00; write 1 07" + zeros);
}

}
