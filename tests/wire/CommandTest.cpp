// Each command as bytes on the wire, and the measure parameters that are made of seconds.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionality.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleRAM.h"
#include "tests/wire/WireBench.h"

#include <functional>
#include <limits>
#include <numeric>

using namespace Vondrel::DeviceDriver::ox;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using Vondrel::Utilities::Tools::SmartPointer;

namespace {

using Commands = WireBench;

std::vector<std::uint8_t> Counting(std::size_t size)
{
    std::vector<std::uint8_t> bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

TEST_F(Commands, SendExactlyTheseBytes)
{
    struct Case {
        const char* what;
        std::function<void(BrindleFunctionality&)> command;
        std::string expected;
    };
    Bytes data(512);
    Bytes all(8192);
    const Case cases[] = {
        {"parameters",
         [](auto& f) {
             f.SetMeasureParameters({0x0102, 0x0304, 2, 0x0E});
         },
         "control C1 out 01 02 03 04 00 02 0E 00"},
        {"measure", [&](auto& f) { f.MeasureRequest(data, 60); }, "control C0 out; submit bulk-read 512; done 512"},
        {"measure mode", [](auto& f) { f.SetMeasureMode(2); }, "control CF out 02"},
        {"present mode", [](auto& f) { f.GetMeasureMode(); }, "control D1 in 02 02 00 83 24 01"},
        {"identification", [](auto& f) { f.GetMISC(); }, identified},
        {"a write of nothing", [](auto& f) { f.WriteEEPROM(0x1000, {}); }, ""},
        {"a write of a byte more than a block", [](auto& f) { f.WriteEEPROM(0x0EFF, Counting(257)); },
         "control C3 out 00 00 0E FF 01 00 00 00; write 256; write 1 00; write 1 00; "
         "control C3 out 00 00 0F FF 00 01 00 00; write 1 01; write 1 00; write 1 00"},
        {"a read of the whole memory", [&](auto& f) { f.ReadEEPROM(0, all); },
         "control C4 out 00 00 00 00 20 00 00 00; submit bulk-read 8192; done 8192"},
        {"CPLD write", [](auto& f) { f.WriteCPLD(0x0102, 0xA1A2, 0xFFFE); }, "control C7 out 01 02 A1 A2 FF FE"},
        {"CPLD read", [](auto& f) { EXPECT_EQ(f.ReadCPLD(), 0xFFFE); }, "control C8 in FF FE"},
        {"reset by the low byte", [](auto& f) { f.Reset(0x011F); }, "control CA out 1F"},
        {"firmware to the RAM", [](auto& f) { f.DownloadFirmware(0x1234, Counting(3), false); },
         "control A0 out value 1234 01 02 03"},
        {"firmware to the EEPROM", [](auto& f) { f.DownloadFirmware(0x1234, Counting(3), true); },
         "control CB out 00 00 12 34 00 03 00 00; write 3 01 02 03; write 1 00; write 1 00"},
    };
    BrindleFunctionality functionality(nullptr, 0);
    EXPECT_EQ(TakeTrace(), "open 0; open 1; open 2; control CA out 1F");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        c.command(functionality);
        EXPECT_EQ(TakeTrace(), c.expected);
    }
    EXPECT_EQ(Memory()[0x0FFF], 1);
}

TEST_F(Commands, ReadNumbersMostSignificantByteFirst)
{
    BrindleFunctionality functionality(nullptr, 0);
    MeasureParameters parameters;
    Answer("control:C2", {1, 2, 3, 4, 5, 6, 0x0C, 0x77});
    EXPECT_EQ(functionality.GetMeasureParameters(parameters), 0x77);
    EXPECT_EQ(parameters.ticks, 0x0102);
    EXPECT_EQ(parameters.delay, 0x0304);
    EXPECT_EQ(parameters.count, 0x0506);
    EXPECT_EQ(parameters.flags, 0x0C);

    Answer("control:C9", {1, 2, 3, 4, 5, 6, 7, 8});
    const auto identification = functionality.GetMISC();
    EXPECT_EQ(identification.firmwareVersion, 0x0102);
    EXPECT_EQ(identification.word2006, 0x0304);
    EXPECT_EQ(identification.overflowThreshold, 0x0506);
    EXPECT_EQ(identification.deviceType, 7);
    EXPECT_EQ(identification.deviceStatus, 8);
}

TEST_F(Commands, HandOutTheLinesOfAScanOnceAndNoneAfterAFailure)
{
    BrindleFunctionality functionality(nullptr, 0);
    functionality.SetMeasureParameters({294, 0, 1, scanFlag});
    Bytes line(256, 0xEE);
    SetBlocks(Blocks(3, 0x0100));
    functionality.StartScan(256, 1);
    EXPECT_EQ(Thrown([&] { functionality.GetScanData(std::span(line).first(255)); }),
              "DataException: Scan line does not fit");
    for (std::uint8_t low = 0; low < 3; ++low) {
        ASSERT_EQ(functionality.GetScanData(line), 256U);
        EXPECT_EQ(line[1], low);
    }
    line.assign(256, 0xEE);
    EXPECT_EQ(functionality.GetScanData(line), 0U);
    EXPECT_EQ(line, Bytes(256, 0xEE));

    functionality.StartScan(256, 1); // leaves lines in the queue
    Fail("bulk-read", "fail", 2);
    EXPECT_EQ(Thrown([&] { functionality.StartScan(256, 1); }), "IOException: Read data failed (OverlappedRead)");
    EXPECT_EQ(functionality.GetScanData(line), 0U);
    functionality.StartScan(256, 1);
    SetBlocks(Blocks(3, 0x0200));
    functionality.StartScan(256, 1);
    EXPECT_EQ(functionality.GetScanData(line), 256U);
    EXPECT_EQ(line[0], 2) << "a scan begins with an empty queue";
}

TEST_F(Commands, RefuseWhatCannotBe)
{
    for (const int index : {1, -1})
        EXPECT_EQ(Thrown([&] { BrindleFunctionality(nullptr, index); }), "IOException: No such device connected");
    {
        BrindleFunctionality functionality(nullptr, 0);
        TakeTrace();
        for (const bool toEEPROM : {false, true})
            EXPECT_EQ(Thrown([&] { functionality.DownloadFirmware(0, Bytes(65536), toEEPROM); }),
                      "DataException: Firmware block is too large");
        EXPECT_EQ(TakeTrace(), "");
        functionality.DownloadFirmware(0, Bytes(65535), true);
        EXPECT_EQ(TakeTrace(), "control CB out 00 00 00 00 FF FF 00 00; write 65535; write 1 00; write 1 00");
    }
    oxv_unplug(device);
    EXPECT_EQ(Thrown([] { BrindleFunctionality(nullptr, 0); }), "IOException: No devices connected");
}

class Ram : public WireBench {
protected:
    Ram() { TakeTrace(); }

    SmartPointer<BrindleFunctionality> functionality{new BrindleFunctionality(nullptr, 0)};
    SmartPointer<BrindleRAM> ram{new BrindleRAM(functionality)};
};

TEST_F(Ram, TakesTheFirstModeThatHoldsTheTime)
{
    const Bytes both = {130, 68, 1, 131, 36, 1};
    const Bytes longTick = {130, 68, 0};
    Bytes many;
    for (int mode = 0; mode < 255; ++mode)
        many.insert(many.end(), longTick.begin(), longTick.end());
    const std::string tooHigh = "ResourceException: Integration time too high";
    const std::string tooLow = "ResourceException: Integration time too low";
    constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        const char* what;
        Bytes modes;
        float time;
        std::string thrown;
        int tried;
        std::string sent; ///< the ticks
    };
    const Case cases[] = {
        {"the first", both, 0.02F, "nothing", 1, "01 26"},
        {"at the first's shortest", both, 0.00884F, "nothing", 1, "00 82"},
        {"below it the second", both, 0.0088F, "nothing", 2, "00 F4"},
        {"at the second's shortest", both, 0.004716F, "nothing", 2, "00 83"},
        {"below all", both, 0.0047F, tooLow, 2, ""},
        {"no time at all", both, 0.0F, tooLow, 2, ""},
        {"the first's longest", both, 4.45629F, "nothing", 1, "FF FE"},
        {"its end", both, 4.45638F, tooHigh, 1, ""},
        {"a short tick in front refuses what the next would hold", {131, 36, 1, 130, 68, 1}, 3.0F, tooHigh, 1, ""},
        {"beyond all numbers", both, 1e30F, tooHigh, 1, ""},
        {"no number", both, noNumber, "DataException: Number out of range", 0, ""},
        {"255 modes of which none fits", many, 0.001F, tooLow, 255, ""},
        {"a tick without length", {130, 0, 0}, 0.02F, tooHigh, 1, ""},
        {"no delay unit", {0, 68, 0}, 0.02F, "DataException: Measure mode without a delay unit", 1, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SetModes(c.modes);
        Set(IntegrationTime, c.time);
        EXPECT_EQ(Thrown([&] { ram->Store(conditions); }), c.thrown);
        const auto lines = TakeLines();
        ASSERT_EQ(lines.size(), static_cast<std::size_t>(2 * c.tried + (c.sent.empty() ? 0 : 1)));
        for (int mode = 0; mode < c.tried; ++mode) {
            const auto number = static_cast<std::uint8_t>(mode + 1);
            EXPECT_EQ(lines[static_cast<std::size_t>(2 * mode)], "control CF out " + Hex(std::span(&number, 1)));
        }
        if (!c.sent.empty()) {
            EXPECT_EQ(lines.back(), "control C1 out " + c.sent + " 00 00 00 01 00 00");
        }
    }
    SetModes({});
    Set(IntegrationTime, 0.001F);
    EXPECT_EQ(Thrown([&] { ram->Store(conditions); }), tooHigh) << "no mode: a tick without length";
}

TEST_F(Ram, SendsCountDelayAndFlags)
{
    struct Case {
        const char* what;
        std::vector<std::pair<std::uint16_t, Property>> set;
        const char* sent;
    };
    const std::int32_t one = 1;
    const Case cases[] = {
        {"delay in units of 8.84 ms", {{TriggerDelay, 0.0177F}}, "01 26 00 02 00 01 00 00"},
        {"up to 256 spectra", {{SpectrumCount, std::int32_t{257}}}, "01 26 00 02 01 00 00 00"},
        {"an override needs a scan", {{ScanCountOverride, std::int32_t{300}}}, "01 26 00 02 01 00 00 00"},
        {"and then passes 256", {{ScanMode, one}}, "01 26 00 02 01 2C 01 00"},
        {"an override of 0 does nothing", {{ScanCountOverride, std::int32_t{0}}}, "01 26 00 02 01 00 01 00"},
        {"the largest", {{ScanCountOverride, std::int32_t{65535}}}, "01 26 00 02 FF FF 01 00"},
        {"dark", {{ScanMode, std::int32_t{0}}, {DarkMeasurement, one}}, "01 26 00 02 01 00 02 00"},
        {"gain", {{Gain, one}}, "01 26 00 02 01 00 06 00"},
        {"no dark cycle", {{SkipDarkCycle, one}}, "01 26 00 02 01 00 0E 00"},
    };
    for (const auto& c : cases) { // each on top of those before
        SCOPED_TRACE(c.what);
        for (const auto& [id, value] : c.set)
            Set(id, value);
        ram->Store(conditions);
        EXPECT_EQ(TakeLines().back(), std::string("control C1 out ") + c.sent);
    }
    Set(ScanMode, 1);
    Set(ScanCountOverride, 65536);
    EXPECT_EQ(Thrown([&] { ram->Store(conditions); }), "DataException: Number of spectra too high");
}

TEST_F(Ram, ReadsBackWithTheTickThatWasSent)
{
    EXPECT_FLOAT_EQ(ram->Load(IntegrationTime).AsFloat(), 0.0F);
    EXPECT_FALSE(ram->IsPerfectMode());
    SetModes({131, 36, 3});
    Set(TriggerDelay, 0.0095F);
    ram->Store(conditions);
    EXPECT_TRUE(ram->IsPerfectMode());
    EXPECT_FLOAT_EQ(ram->Load(IntegrationTime).AsFloat(), 556 * 36e-6F);
    EXPECT_FLOAT_EQ(ram->Load(TriggerDelay).AsFloat(), 2 * 131 * 36e-6F);
    Answer("control:C2", {0, 130, 0, 2, 1, 5, 0x06, 0x77});
    Properties read;
    read.SetProperty(Gain, std::int32_t{9});
    ram->Load(read);
    for (const auto& [id, value] : {std::pair{SpectrumCount, 0x105},
                                    {DeviceReply2021, 0x77},
                                    {ScanMode, 0},
                                    {DarkMeasurement, 1},
                                    {Gain, 1},
                                    {SkipDarkCycle, 0}})
        EXPECT_EQ(read.GetProperty(id).AsLong(), value) << id;

    // The mode is chosen anew for each measurement: nothing of the one before stays when none fits.
    SetModes({130, 68, 1});
    Set(IntegrationTime, 0.001F);
    EXPECT_NE(Thrown([&] { ram->Store(conditions); }), "nothing");
    EXPECT_FALSE(ram->IsPerfectMode());
    Answer("control:C2", {0, 100, 0, 2, 0, 1, 0x09, 0});
    EXPECT_FLOAT_EQ(ram->Load(TriggerDelay).AsFloat(), 2 * 130 * 68e-6F);
    Answer("control:C2", {0, 100, 0, 2, 0, 1, 0x09, 0});
    EXPECT_EQ(ram->Load(SkipDarkCycle).AsLong(), 1);
}

TEST_F(Ram, KnowsNoModesBelowVersion301)
{
    SetModes({131, 36, 1});
    ram->Store(conditions);
    ASSERT_TRUE(ram->IsPerfectMode());
    TakeTrace();
    Set(FirmwareVersion, 300);
    Set(IntegrationTime, 5.0F); // 73529 ticks, of which 16 bits go out
    ram->Store(conditions);
    EXPECT_EQ(TakeTrace(), "control C1 out 1F 39 00 00 00 01 00 00");
    EXPECT_FALSE(ram->IsPerfectMode());
}

TEST_F(Ram, LoadsOnlyTheGroupsThatAreAskedFor)
{
    Properties unnamed;
    ram->Load(unnamed);
    EXPECT_EQ(unnamed.GetItemCount(), 0);
    ram->Store(unnamed);
    EXPECT_EQ(TakeTrace(), "");

    EXPECT_EQ(ram->Load(DeviceType).AsLong(), 1);
    EXPECT_EQ(TakeTrace(), identified);
    Properties all("PhysicalConditions");
    ram->Load(all);
    EXPECT_EQ(TakeTrace(), identified + "; control C2 in 00 00 00 00 00 00 00 00");
    EXPECT_THAT(all.GetPropertyKeys(),
                testing::ElementsAre(2000, 2001, 2002, 2003, 2008, 2009, 2010, 2004, 2005, 2006, 2012, 2013, 2020, 2011,
                                     2014, 2015, 2016, 2017, 9189, 2021));
    struct Case {
        int version;
        float level, time;
    };
    for (const auto& c : {Case{302, 0.25F, 0.005F}, {301, 0.25F, 0.005F}, {300, 0.5F, 0.012F}}) {
        SetNumber("firmware-version", c.version);
        EXPECT_EQ(ram->Load(ScanLevelFactor).AsFloat(), c.level);
        EXPECT_EQ(ram->Load(ScanMinIntegrationTime).AsFloat(), c.time);
        EXPECT_EQ(ram->Load(FirmwareVersion).AsLong(), c.version);
    }
}

}
