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

TEST_F(Ram, TriesNoMoreModesThanThereAreNumbers)
{
    Bytes many;
    for (int mode = 0; mode < 255; ++mode)
        many.insert(many.end(), {130, 68, 0});
    SetModes(many);
    Set(IntegrationTime, 0.001F);
    EXPECT_EQ(Thrown([&] { ram->Store(conditions); }), "ResourceException: Integration time too low");
    EXPECT_EQ(TakeCount("control CF"), 255);
    SetModes({131, 36, 1});
    Set(IntegrationTime, 0.02F);
    ram->Store(conditions);
    EXPECT_TRUE(ram->IsPerfectMode());
    Set(FirmwareVersion, 300);
    ram->Store(conditions);
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
}

}
