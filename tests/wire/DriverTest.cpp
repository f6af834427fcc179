#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLog.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/RawTransform.h"
#include "tests/wire/FakeInstrument.h"
#include "tests/wire/Thrown.h"

#include <gmock/gmock.h>

#include <cerrno>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using Platform::TransferKind;
using Platform::TransferResult;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Vondrel::DeviceDriver::ox::BrindleLowLevelDriver;
using Vondrel::DeviceDriver::ox::BrindleRAM;
using Vondrel::DeviceDriver::ox::RawSpectrum;
using Vondrel::DeviceDriver::ox::TransformRawSpectra;

namespace {

using Lines = std::vector<std::string>;

class Driver : public testing::Test {
protected:
    Driver()
    {
        instrument.Reset();
        conditions = BrindleRAM::GetDefaultPhysicalConditons();
        for (const auto id : {ScanMode, DarkMeasurement, Gain, SkipDarkCycle, SimulateDark, LogMeasurement})
            conditions.SetProperty(id, std::int32_t{0});
        conditions.SetProperty(FirmwareVersion, std::int32_t{302});
        conditions.SetProperty(IntegrationTime, 0.02F);
        conditions.SetProperty(TriggerDelay, 0.25F);
        Set(SpectrumCount, 1);
    }

    void Set(std::uint16_t id, std::int32_t value) { conditions.SetProperty(id, value); }

    auto Open() { return LowLevelDriver::Instance(nullptr, 0); }

    /// The next `times` transfers of this point fail.
    void Fail(const std::string& point, int times)
    {
        instrument.fault = [point, times](const std::string& passed) mutable {
            return passed == point && times-- > 0 ? TransferResult{TransferKind::failed, 0, EIO}
                                                  : TransferResult{TransferKind::done, 0, 0};
        };
    }

    FakeInstrument& instrument = FakeInstrument::Get();
    Properties conditions;
};

const Lines prepared = {"control CF out 01", "control D1 in", "control C1 out 01 26 00 1C 00 01 00 00"};
const Lines spot = {"control C0 out", "submit 256", "done 256"};
const Lines failedSpot = {"control C0 out", "submit 256", "done 0", "control CA out 07"};

Lines operator+(Lines a, const Lines& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST_F(Driver, OpensWithOneReadOfTheMemoryAndNoMoreThanItNeeds)
{
    const auto driver = Open();
    EXPECT_THAT(instrument.TakeTrace(),
                ElementsAre("control CA out 1F", "control C4 out 00 00 00 00 20 00 00 00", "submit 8192", "done 8192",
                            "control C9 in", "control C9 in", "control CA out 1F"));
    Properties calibration("CalibrationData");
    driver->LoadData(calibration);
    EXPECT_EQ(calibration.GetProperty(MinIntegrationTime).AsFloat(), 0.004716F);
}

TEST_F(Driver, WaitsForPowerAtMostTwentyTwoTimes)
{
    const std::vector<std::uint8_t> sound = {0x01, 0x2C, 0, 0, 0, 0, 1, 0};
    const std::vector<std::uint8_t> weak = {0x01, 0x2C, 0, 0, 0, 0, 1, 8};
    instrument.replies[0xC9] = {sound, weak, weak, weak, sound};
    {
        const auto driver = Open();
        EXPECT_THAT(Lines(instrument.TakeTrace()),
                    testing::IsSupersetOf({"control CA out 01", "sleep 100", "sleep 100", "control CA out 1F"}));
        Properties calibration("CalibrationData");
        driver->LoadData(calibration);
        EXPECT_EQ(calibration.GetProperty(MinIntegrationTime).AsFloat(), 0.00884F) << "version 300";
    }
    instrument.TakeTrace();
    instrument.replies[0xC9] = {sound, weak};
    EXPECT_EQ(Thrown([&] { Open(); }), "ResourceException: Not enough power available");
    const auto trace = instrument.TakeTrace();
    EXPECT_EQ(std::ranges::count(trace, "sleep 100"), 22);
    EXPECT_EQ(std::ranges::count(trace, "control CA out 1F"), 2) << "one at the opening, one after the failure";
    EXPECT_EQ(instrument.openPipes, 0);
}

TEST_F(Driver, RepeatsASpotOnceAfterAnIOException)
{
    struct Case {
        const char* what;
        int failures;
        std::string thrown;
        Lines sent;
    };
    const std::string readFailed = "IOException: read data failed (Win32 Error (5) : input/output error)";
    const Case cases[] = {
        {"sound", 0, "nothing", spot},
        {"once", 1, "nothing", failedSpot + spot},
        {"twice", 2, readFailed, failedSpot + failedSpot},
    };
    const auto driver = Open();
    instrument.measurement = Blocks(1, 500);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        instrument.TakeTrace();
        Fail("read", c.failures);
        EXPECT_EQ(Thrown([&] { driver->ExecuteMeasurement(conditions); }), c.thrown);
        EXPECT_EQ(instrument.TakeTrace(), prepared + c.sent + (c.failures < 2 ? Lines{"control C9 in"} : Lines{}));
    }
    instrument.TakeTrace();
    instrument.fault = [](const std::string& point) {
        return TransferResult{point == "read" ? TransferKind::pending : TransferKind::done, 0, 0};
    };
    EXPECT_EQ(Thrown([&] { driver->ExecuteMeasurement(conditions); }),
              "TimeoutException: read data failed (timeout) (Win32 Error (110) : timed out)");
    EXPECT_EQ(instrument.TakeTrace(), prepared + Lines({"control C0 out", "submit 256", "cancel"})) << "not repeated";
    instrument.fault = nullptr;
    EXPECT_EQ(driver->GetLogData(false).GetItem(LampMeasurementCount).AsLong(), 2) << "of those that arrived";
}

TEST_F(Driver, GivesASpotAsOneRecordAndAScanAsOneForEachSpectrum)
{
    const auto driver = Open();
    Set(SpectrumCount, 3);
    instrument.measurement = Blocks(3, 500);
    const auto records = driver->ExecuteMeasurement(conditions);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].LoadRawData().size(), 3U);
    EXPECT_EQ(records[0].LoadRawData()[2], RawSpectrum(128, 502));
    EXPECT_EQ(records[0].GetIntegrationTime(), 0.02F);
    EXPECT_EQ(records[0].GetGain(), 0);

    Set(ScanMode, 1);
    Set(SpectrumCount, 1);
    instrument.measurement = Blocks(25, 100);
    instrument.TakeTrace();
    const auto scan = driver->ExecuteMeasurement(conditions);
    ASSERT_EQ(scan.size(), 25U);
    for (std::int32_t i = 0; i < 25; ++i)
        EXPECT_EQ(scan[static_cast<std::size_t>(i)].LoadRawData(),
                  std::vector<RawSpectrum>(1, RawSpectrum(128, 100 + i)));

    auto& log = driver->GetLogData(false);
    EXPECT_EQ(log.GetItem(LampMeasurementCount).AsLong(), 2);
    EXPECT_EQ(log.GetItem(LastIntegrationTime).AsFloat(), 0.02F);
    EXPECT_FLOAT_EQ(log.GetItem(LampOnTime).AsFloat(), (3 * 0.02F + 0.25F) + (25 * 0.02F + 0.25F));
    EXPECT_EQ(log.GetItem(DarkMeasurementCount).AsLong(), 0);
}

TEST_F(Driver, SimulatesADarkWithoutTheInstrument)
{
    const auto driver = Open();
    instrument.TakeTrace();
    Set(DarkMeasurement, 1);
    Set(SimulateDark, 1);
    Set(SpectrumCount, 2);
    EXPECT_EQ(driver->ExecuteMeasurement(conditions)[0].LoadRawData(), std::vector<RawSpectrum>(2, RawSpectrum(128)));
    EXPECT_TRUE(instrument.TakeTrace().empty());
    EXPECT_EQ(driver->GetLogData(false).GetItem(DarkMeasurementCount).AsLong(), 1);
    EXPECT_EQ(driver->GetLogData(false).GetItem(LampMeasurementCount).AsLong(), 0);
}

TEST_F(Driver, RefusesNumbersOfSpectraThatCannotBe)
{
    const auto driver = Open();
    instrument.TakeTrace();
    for (const std::int32_t count : {0, -1, 65536, 0x7FFFFFFF}) {
        Set(SpectrumCount, count);
        EXPECT_EQ(Thrown([&] { driver->ExecuteMeasurement(conditions); }),
                  "DataException: Number of spectra out of range")
            << count;
    }
    EXPECT_TRUE(instrument.TakeTrace().empty());
    Set(ScanMode, 1);
    Set(SpectrumCount, 26);
    EXPECT_EQ(Thrown([&] { driver->ExecuteMeasurement(conditions); }), "IOException: Max packages size is 65535");
    EXPECT_EQ(Thrown([&] {
                  Properties incomplete;
                  driver->ExecuteMeasurement(incomplete);
              }),
              "ResourceException: id 2010 doesn't exist");
}

TEST_F(Driver, WritesTheLogWhenItIsTimeAndTheMeasurementAllowsIt)
{
    const auto driver = Open();
    instrument.measurement = Blocks(1, 1);
    const auto measure = [&] {
        driver->ExecuteMeasurement(conditions);
        return std::ranges::count_if(instrument.TakeTrace(), [](const auto& l) { return l.starts_with("control C3"); });
    };
    for (int i = 0; i < 8; ++i) // three changes each
        EXPECT_EQ(measure(), 0);
    Set(LogMeasurement, 1);
    EXPECT_EQ(measure(), 10);
    EXPECT_EQ(measure(), 0);

    for (int i = 0; i < 4; ++i)
        measure();
    Fail("write", 1);
    EXPECT_EQ(Thrown(measure), "IOException: write data failed (Win32 Error (5) : input/output error)");
    EXPECT_FALSE(driver->GetLogData(false).IsDumpRecommended()) << "the count is 0 already";
}

TEST_F(Driver, TransformsWordsToSignedCounts)
{
    struct Case {
        const char* what;
        std::uint16_t word, offset;
        bool withOffsets;
        std::int32_t threshold, expected;
    };
    const Case cases[] = {
        {"plain", 1000, 300, false, 60000, 1000},
        {"less the offset", 1000, 300, true, 60000, 700},
        {"below the offset", 0, 16, true, 60000, -16},
        {"above the threshold", 0xFFF0, 0, false, 60000, -16},
        {"at the threshold", 60000, 0, false, 60000, 60000},
        {"above it only with the offset", 60010, 20, true, 60000, 59990},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<RawSpectrum> result;
        TransformRawSpectra(Blocks(1, c.word, c.offset), c.withOffsets, c.threshold, result);
        EXPECT_THAT(result, ElementsAre(RawSpectrum(128, c.expected)));
    }
    auto blocks = Blocks(3, 100, 10);
    blocks[2 * 256 + 255] = 12; // offsets 10, 10, 12: mean 10.67, of which 10 counts
    blocks[0] = 1;              // the first word of the first block
    blocks[2 * 126] = 2;        // and its last
    std::vector<RawSpectrum> result;
    TransformRawSpectra(blocks, true, 60000, result);
    ASSERT_EQ(result.size(), 3U);
    EXPECT_EQ(result[0][0], 90) << "the copy of its neighbour";
    EXPECT_EQ(result[0][126], 90 + 512);
    EXPECT_EQ(result[0][127], 90 + 512);
    EXPECT_EQ(result[2][5], 92);
    EXPECT_EQ(Thrown([&] { TransformRawSpectra(std::span(blocks).first(255), true, 60000, result); }),
              "DataException: No measurement block");
}

TEST_F(Driver, ReportsTheFilterInTheDeviceType)
{
    constexpr std::size_t physicalFilter = 0x1200 + 4 * 35;
    for (const auto& [filter, type] : {std::pair{130, 11}, {129, 1}}) {
        instrument.memory[physicalFilter + 3] = static_cast<std::uint8_t>(filter);
        Properties container;
        container.SetProperty(DeviceType, std::int32_t{0});
        const auto driver = Open();
        driver->LoadData(container);
        EXPECT_EQ(container.GetProperty(DeviceType).AsLong(), type);
    }
}

TEST_F(Driver, TakesProgramsAsValuesOnly)
{
    const auto driver = Open();
    const auto store = [&](std::initializer_list<std::uint16_t> ids) {
        Properties container;
        for (const auto id : ids)
            container.SetProperty(id, std::int32_t{0x1F});
        instrument.TakeTrace();
        return Thrown([&] { driver->StoreData(container); });
    };
    EXPECT_EQ(store({20000}), "DataException: CPLD program must be handed over as a value");
    EXPECT_EQ(store({20003}), "DataException: Firmware image must be handed over as a value");
    EXPECT_EQ(store({20000, 2007}), "nothing") << "only the reset";
    EXPECT_THAT(instrument.TakeTrace(), ElementsAre("control CA out 1F"));

    const CPLDStep steps[] = {
        {.words = {1, 2, 3}, .delayMicroseconds = 1999},
        {.check = true, .words = {4, 5, 6}, .expected = 0xFF34, .mask = 0x00FF, .delayMicroseconds = 5000},
        {.check = true, .words = {7, 8, 9}, .expected = 0x0035, .mask = 0x00FF},
        {.words = {10, 11, 12}},
    };
    EXPECT_EQ(Thrown([&] { driver->ProgramCPLD(steps); }), "DataException: CPLD Error: Programming failed");
    EXPECT_THAT(instrument.TakeTrace(),
                ElementsAre("control C7 out 00 01 00 02 00 03", "sleep 1", "control C7 out 00 04 00 05 00 06",
                            "control C8 in", "sleep 5", "control C7 out 00 07 00 08 00 09", "control C8 in"));

    driver->DownloadFirmware({{0x0200, {3}}, {0x0100, {1, 2}}});
    EXPECT_THAT(instrument.TakeTrace(),
                ElementsAre("control A0 out value 00 01 01 02", "control A0 out value 00 02 03"));
    driver->DownloadFirmware({{0, {0xB2}}, {2, {7}}});
    EXPECT_THAT(instrument.TakeTrace(),
                ElementsAre("control CB out 00 00 00 00 00 01 00 00", "write B2", "write 00", "write 00",
                            "control CB out 00 00 00 02 00 01 00 00", "write 07", "write 00", "write 00"));
}

}
