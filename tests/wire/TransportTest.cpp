#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "Vondrel/DeviceDriver/ox/USB/RequestBlock.h"
#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "tests/wire/FakeInstrument.h"
#include "tests/wire/Recorder.h"
#include "tests/wire/Thrown.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

using namespace Vondrel::DeviceDriver::ox;
using Platform::TransferKind;
using Platform::TransferResult;
using testing::ElementsAre;

namespace {

constexpr auto anyRequest = MakeRequest(Direction::toDevice, RequestType::vendor, 0xCA);

class Transport : public testing::Test {
protected:
    void SetUp() override { instrument.Reset(); }
    void TearDown() override { EXPECT_EQ(instrument.openPipes, 0); }

    FakeInstrument& instrument = FakeInstrument::Get();
    Recorder recorder;
};

std::vector<std::string> Untouched()
{
    return {"control 00 out value 84 00 00 00 00 00 00 00 00 00", "control D0 out value 03 00 00 00 00 00 00 00 00 00"};
}

TEST_F(Transport, TellsHowEachKindOfTransferFailed)
{
    struct Case {
        const char* what;
        TransferResult end;
        const char* control;
        const char* read;
        const char* write;
    };
    const Case cases[] = {
        {"an error",
         {TransferKind::failed, 0, EIO},
         "IOException: Device IO control failed:  (Win32 Error (5) : input/output error)",
         "IOException: read data failed (Win32 Error (5) : input/output error)",
         "IOException: write data failed (Win32 Error (5) : input/output error)"},
        {"a stall",
         {TransferKind::stalled, 0, EPIPE},
         "IOException: Device IO control failed:  (Win32 Error (32) : broken pipe)",
         "IOException: read data failed (Win32 Error (32) : broken pipe)",
         "IOException: write data failed (Win32 Error (32) : broken pipe)"},
        {"a removal",
         {TransferKind::gone, 0, ENODEV},
         "IOException: Device IO control failed:  (Win32 Error (19) : no such device)",
         "IOException: read data failed (Win32 Error (19) : no such device)",
         "IOException: write data failed (Win32 Error (19) : no such device)"},
        {"no end",
         {TransferKind::pending, 0, 0},
         "TimeoutException: Device IO control failed  (Win32 Error (110) : timed out)",
         "TimeoutException: read data failed (timeout) (Win32 Error (110) : timed out)",
         "TimeoutException: write data failed (timeout) (Win32 Error (110) : timed out)"},
        {"too few bytes",
         {TransferKind::done, 3, 0},
         "DataException: Device IO control failed (Not enough data)",
         "IOException: read data failed (Not enough data)",
         "IOException: write data failed (Not enough data)"},
    };
    BrindleUSBDevice device(nullptr, "/dev/fake/1");
    std::vector<std::uint8_t> data(8);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        instrument.fault = [&](const std::string&) { return c.end; };
        EXPECT_EQ(Thrown([&] { device.PerformDeviceIOControl(anyRequest, data); }), c.control);
        EXPECT_EQ(Thrown([&] { device.ReadData(data, 0); }), c.read);
        EXPECT_EQ(Thrown([&] { device.WriteData(data, 0); }), c.write);
    }
    instrument.fault = nullptr;
    EXPECT_EQ(Thrown([&] { device.PerformDeviceIOControl(anyRequest, data); }), "nothing");
}

TEST_F(Transport, OpensAllPipesOrNone)
{
    const char* const reason = " (Win32 Error (13) : permission denied)";
    for (const char* pipe : {"open 0", "open 1", "open 2"}) {
        SCOPED_TRACE(pipe);
        instrument.fault = [&](const std::string& point) {
            return point == pipe ? TransferResult{TransferKind::denied, 0, EACCES} : TransferResult{TransferKind::done};
        };
        EXPECT_EQ(Thrown([&] { BrindleUSBDevice(nullptr, "/dev/fake/1"); }),
                  std::string("IOException: could not open pipe:") + reason);
        EXPECT_EQ(instrument.openPipes, 0);
        instrument.fault = nullptr;
        EXPECT_EQ(instrument.TakeTrace(), std::string(pipe) == "open 0" ? std::vector<std::string>() : Untouched());
    }
    instrument.fault = [](const std::string& point) {
        return TransferResult{point == "open 3" ? TransferKind::denied : TransferKind::done};
    };
    EXPECT_EQ(Thrown([] { BrindleUSBDevice(nullptr, "/dev/fake/1"); }),
              "IOException: interrupt listener thread had timeout");
}

struct ScanCase {
    const char* what;
    std::vector<TransferResult> packages;
    std::size_t lines;
    std::string thrown;
};

TEST_F(Transport, ReadsAScanUntilAShortPackage)
{
    constexpr std::size_t lineSize = 4;
    const auto bytes = [](std::size_t moved) { return TransferResult{TransferKind::done, moved, 0}; };
    const TransferResult failure{TransferKind::failed, 0, EIO};
    const ScanCase cases[] = {
        {"one line at the first read", {bytes(4)}, 1, "nothing"},
        {"nothing at the first read", {}, 0, "nothing"},
        {"an end within a package", {bytes(8), bytes(40), bytes(12)}, 15, "nothing"},
        {"an end at a package's end", {bytes(8), bytes(40), bytes(40), bytes(0)}, 22, "nothing"},
        {"half a line", {bytes(8), bytes(6)}, 2, "IOException: Read data failed (wrong data size)"},
        {"a failure", {bytes(8), bytes(40), failure}, 12, "IOException: Read data failed (OverlappedRead)"},
        {"a read that never ends", {bytes(8), {}}, 2, "TimeoutException: Read data failed (Timeout)"},
    };
    BrindleUSBDevice device(nullptr, "/dev/fake/1");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::size_t next = 0;
        instrument.fault = [&](const std::string&) {
            return next < c.packages.size() ? c.packages[next++] : TransferResult{TransferKind::done};
        };
        ScanQueue lines;
        EXPECT_EQ(Thrown([&] { device.ReadDataStrip(lines, lineSize, 1000); }), c.thrown);
        EXPECT_EQ(lines.Count(), c.lines);
        EXPECT_EQ(lines.Front().size(), c.lines == 0 ? 0 : lineSize);
        instrument.fault = nullptr;
    }
}

TEST_F(Transport, KeepsAReadInFlightWhileItCopies)
{
    BrindleUSBDevice device(nullptr, "/dev/fake/1");
    instrument.measurement = Blocks(14, 1);
    device.PerformDeviceIOControl(MakeRequest(Direction::toDevice, RequestType::vendor, 0xC0), {});
    instrument.TakeTrace();
    ScanQueue lines;
    device.ReadDataStrip(lines, 256, 1000);
    EXPECT_THAT(instrument.TakeTrace(),
                ElementsAre("submit 512", "submit 2560", "done 512", "beep 400 75", "submit 2560", "done 2560",
                            "submit 2560", "done 512", "submit 2560", "cancel", "cancel"));
    ASSERT_EQ(lines.Count(), 14U);
    for (std::size_t i = 0; i < 14; ++i, lines.DropFront())
        EXPECT_EQ(lines.Front()[1], i + 1) << "in the order of the scan";
    EXPECT_TRUE(lines.Front().empty());
}

TEST_F(Transport, RefusesALineThatMakesTooLargeAPackage)
{
    BrindleUSBDevice device(nullptr, "/dev/fake/1");
    ScanQueue lines;
    EXPECT_EQ(Thrown([&] { device.ReadDataStrip(lines, 6554, 0); }), "IOException: Max packages size is 65535");
    EXPECT_EQ(Thrown([&] { device.ReadDataStrip(lines, 0, 0); }), "DataException: A scan line holds no data");
    EXPECT_TRUE(instrument.TakeTrace().empty());
    EXPECT_EQ(Thrown([&] { device.ReadDataStrip(lines, 6553, 0); }), "nothing");
}

TEST_F(Transport, TellsOfTheButtonAndThenSkipsTheRequestsForAnUntouchedOne)
{
    {
        BrindleUSBDevice device(&recorder, "/dev/fake/1");
        recorder.reaction = [] { throw 42; }; // goes no further
        instrument.Press();
        EXPECT_THAT(recorder.Await(1), ElementsAre(20011));
        instrument.Press();
        EXPECT_THAT(recorder.Await(2), ElementsAre(20011, 20011));
    }
    EXPECT_TRUE(instrument.TakeTrace().empty());
    {
        BrindleUSBDevice device(&recorder, "/dev/fake/1");
    }
    EXPECT_EQ(instrument.TakeTrace(), Untouched());
}

TEST_F(Transport, TellsOnceThatTheInstrumentHasGoneAndFailsFromThenOn)
{
    BrindleUSBDevice device(&recorder, "/dev/fake/1");
    instrument.Unplug();
    EXPECT_THAT(recorder.Await(1), ElementsAre(20010));
    std::vector<std::uint8_t> data(8);
    EXPECT_EQ(Thrown([&] { device.PerformDeviceIOControl(anyRequest, data); }),
              "IOException: Device IO control failed:  (Win32 Error (19) : no such device)");
    EXPECT_EQ(Thrown([&] { device.ReadData(data, 0); }),
              "IOException: read data failed (Win32 Error (19) : no such device)");
    EXPECT_EQ(recorder.Await(1).size(), 1U);
}

TEST_F(Transport, CallsNobodyOnceTheListenerIsRemoved)
{
    for (int round = 0; round < 50; ++round) {
        Recorder shortLived;
        BrindleUSBDevice device(&shortLived, "/dev/fake/1");
        std::thread presser([&] { instrument.Press(); });
        device.RemoveListener(&shortLived);
        const auto before = shortLived.Await(0).size();
        instrument.Press();
        presser.join();
        EXPECT_EQ(shortLived.Await(0).size(), before);
    }
}

TEST_F(Transport, ListsWhatIsAttached)
{
    EXPECT_THAT(USBBrowser::Instance()->GetDevices(), ElementsAre("/dev/fake/1", "/dev/fake/2"));
    instrument.addresses.assign(200, "x");
    EXPECT_EQ(USBBrowser::Instance()->GetDevices().size(), 127U);
    EXPECT_TRUE(USBBrowser::Instance()->IsAnyOrvexConnected());
    instrument.addresses.clear();
    EXPECT_FALSE(USBBrowser::Instance()->IsAnyOrvexConnected());
}

}
