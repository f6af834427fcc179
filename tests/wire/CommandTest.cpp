#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionality.h"
#include "tests/wire/FakeInstrument.h"
#include "tests/wire/Thrown.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <functional>
#include <numeric>

using namespace Vondrel::DeviceDriver::ox;
using Platform::TransferKind;
using Platform::TransferResult;

namespace {

class Commands : public testing::Test {
protected:
    void SetUp() override { instrument.Reset(); }

    FakeInstrument& instrument = FakeInstrument::Get();
};

std::vector<std::uint8_t> Counting(std::size_t size)
{
    std::vector<std::uint8_t> bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

TEST_F(Commands, SendExactlyTheseBytes)
{
    using Lines = std::vector<std::string>;
    struct Case {
        const char* what;
        std::function<void(BrindleFunctionality&)> command;
        Lines expected;
    };
    std::vector<std::uint8_t> data(512);
    const Case cases[] = {
        {"measure", [&](auto& f) { f.MeasureRequest(data, 1); }, {"control C0 out", "submit 512", "done 512"}},
        {"measure parameters",
         [](auto& f) {
             f.SetMeasureParameters({0x0102, 0x0304, 0x0506, 0x0F});
         },
         {"control C1 out 01 02 03 04 05 06 0F 00"}},
        {"measure mode", [](auto& f) { f.SetMeasureMode(2); }, {"control CF out 02"}},
        {"present measure mode", [](auto& f) { f.GetMeasureMode(); }, {"control D1 in"}},
        {"identification", [](auto& f) { f.GetMISC(); }, {"control C9 in"}},
        {"a write of nothing", [](auto& f) { f.WriteEEPROM(0x1000, {}); }, {}},
        {"a write of a byte more than a block",
         [](auto& f) { f.WriteEEPROM(0x0FFF, Counting(257)); },
         {"control C3 out 00 00 0F FF 01 00 00 00", "write 256", "write 00", "write 00",
          "control C3 out 00 00 10 FF 00 01 00 00", "write 01", "write 00", "write 00"}},
        {"a read of the whole memory",
         [](auto& f) {
             std::vector<std::uint8_t> all(8192);
             f.ReadEEPROM(0, all);
         },
         {"control C4 out 00 00 00 00 20 00 00 00", "submit 8192", "done 8192"}},
        {"CPLD write", [](auto& f) { f.WriteCPLD(0x0102, 0xA1A2, 0xFFFE); }, {"control C7 out 01 02 A1 A2 FF FE"}},
        {"CPLD read", [](auto& f) { EXPECT_EQ(f.ReadCPLD(), 0x1234); }, {"control C8 in"}},
        {"reset by the low byte", [](auto& f) { f.Reset(0x011F); }, {"control CA out 1F"}},
        {"firmware to the RAM",
         [](auto& f) { f.DownloadFirmware(0x1234, Counting(3), false); },
         {"control A0 out value 34 12 01 02 03"}},
        {"firmware to the EEPROM",
         [](auto& f) { f.DownloadFirmware(0x1234, Counting(3), true); },
         {"control CB out 00 00 12 34 00 03 00 00", "write 01 02 03", "write 00", "write 00"}},
    };
    BrindleFunctionality functionality(nullptr, 0);
    EXPECT_EQ(instrument.TakeTrace(), Lines{"control CA out 1F"});
    instrument.measurement = Blocks(2, 1);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        c.command(functionality);
        EXPECT_EQ(instrument.TakeTrace(), c.expected);
    }
}

TEST_F(Commands, ReadNumbersMostSignificantByteFirst)
{
    BrindleFunctionality functionality(nullptr, 0);
    MeasureParameters parameters;
    EXPECT_EQ(functionality.GetMeasureParameters(parameters), 0x77);
    EXPECT_EQ(parameters.ticks, 130);
    EXPECT_EQ(parameters.delay, 2);
    EXPECT_EQ(parameters.count, 5);
    EXPECT_EQ(parameters.flags, 0x0C);

    const auto identification = functionality.GetMISC();
    EXPECT_EQ(identification.firmwareVersion, 302);
    EXPECT_EQ(identification.word2006, 7);
    EXPECT_EQ(identification.overflowThreshold, 60000);
    EXPECT_EQ(identification.deviceType, 1);
    EXPECT_EQ(identification.deviceStatus, 0);
}

TEST_F(Commands, HandOutTheLinesOfAScanOnceAndNoneAfterAFailure)
{
    BrindleFunctionality functionality(nullptr, 0);
    std::vector<std::uint8_t> line(256, 0xEE);
    instrument.measurement = Blocks(3, 0x0100);
    functionality.StartScan(256, 1);
    for (std::uint8_t low = 0; low < 3; ++low) {
        ASSERT_EQ(functionality.GetScanData(line), 256U);
        EXPECT_EQ(line[1], low);
    }
    line.assign(256, 0xEE);
    EXPECT_EQ(functionality.GetScanData(line), 0U);
    EXPECT_EQ(line, std::vector<std::uint8_t>(256, 0xEE));

    functionality.StartScan(256, 1); // leaves lines in the queue
    int reads = 0;
    instrument.fault = [&](const std::string& point) {
        const bool fails = point == "read" && ++reads == 2;
        return TransferResult{fails ? TransferKind::failed : TransferKind::done};
    };
    EXPECT_EQ(Thrown([&] { functionality.StartScan(256, 1); }), "IOException: Read data failed (OverlappedRead)");
    instrument.fault = nullptr;
    EXPECT_EQ(functionality.GetScanData(line), 0U);
}

TEST_F(Commands, RefuseAnInstrumentThatIsNotThere)
{
    EXPECT_EQ(Thrown([] { BrindleFunctionality(nullptr, 2); }), "IOException: No such device connected");
    EXPECT_EQ(Thrown([] { BrindleFunctionality(nullptr, -1); }), "IOException: No such device connected");
    instrument.addresses.clear();
    EXPECT_EQ(Thrown([] { BrindleFunctionality(nullptr, 0); }), "IOException: No devices connected");
}

TEST_F(Commands, RefuseFirmwareThatTheSizeFieldCannotHold)
{
    BrindleFunctionality functionality(nullptr, 0);
    instrument.TakeTrace();
    const std::vector<std::uint8_t> tooMuch(65536);
    for (const bool toEEPROM : {false, true})
        EXPECT_EQ(Thrown([&] { functionality.DownloadFirmware(0, tooMuch, toEEPROM); }),
                  "DataException: Firmware block is too large");
    EXPECT_TRUE(instrument.TakeTrace().empty());
}

}
