#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "Vondrel/DeviceDriver/ox/USB/RequestBlock.h"
#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "platform/NamedLock.h"
#include "tests/support/Recorder.h"
#include "tests/support/Settled.h"
#include "tests/wire/WireBench.h"

#include <functional>
#include <future>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Vondrel::DeviceDriver::ox;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr std::size_t lineSize = 256;

class Transport : public WireBench {
protected:
    Transport() : address(USBBrowser::Instance()->GetDevices().at(0)) { TakeTrace(); }

    static void Order(BrindleUSBDevice& instrument, std::uint8_t code, Bytes payload)
    {
        instrument.PerformDeviceIOControl(MakeRequest(Direction::toDevice, RequestType::vendor, code), payload);
    }

    /// Begins a scan of these blocks.
    void StartScan(BrindleUSBDevice& instrument, std::size_t blocks)
    {
        SetBlocks(Blocks(blocks, 1));
        Order(instrument, 0xC1, {1, 0x26, 0, 0, 0, 1, 1, 0});
        Order(instrument, 0xC0, {});
        TakeTrace();
    }

    const std::string address;
    Recorder recorder;
};

const char* const untouched = "control 00 out standard value 0084 00 00 00 00 00 00 00 00; "
                              "control D0 out value 0003 00 00 00 00 00 00 00 00; close 2; close 1; close 0";

TEST_F(Transport, TellsHowEachKindOfTransferFailed)
{
    struct Case {
        const char* how;
        std::string control; ///< "C": what a control transfer says
        std::string bulk;    ///< "B": what a bulk transfer says, behind its direction
    };
    const Case cases[] = {
        {"fail", "IOException: C:  (Win32 Error (5) : input/output error)",
         "IOException: B (Win32 Error (5) : input/output error)"},
        {"stall", "IOException: C:  (Win32 Error (32) : broken pipe)",
         "IOException: B (Win32 Error (32) : broken pipe)"},
        {"unplug", "IOException: C:  (Win32 Error (19) : no such device)",
         "IOException: B (Win32 Error (19) : no such device)"},
        {"timeout", "TimeoutException: C  (Win32 Error (110) : timed out)",
         "TimeoutException: B (timeout) (Win32 Error (110) : timed out)"},
        {"one-short", "DataException: C (Not enough data)", "IOException: B (Not enough data)"},
    };
    const auto text = [](std::string form, const char* words) { return form.replace(form.find(": ") + 2, 1, words); };
    Bytes data(8);
    const Bytes place = {0, 0, 0, 0, 0, 8, 0, 0};
    for (const auto& c : cases)
        for (const char* point : {"control", "bulk-read", "bulk-write"}) {
            SCOPED_TRACE(std::string(point) + " " + c.how);
            BrindleUSBDevice instrument(nullptr, address);
            const bool reads = point == std::string("bulk-read");
            if (point[0] == 'b')
                Order(instrument, reads ? 0xC4 : 0xC3, place);
            Fail(point, c.how);
            if (point[0] == 'c')
                EXPECT_EQ(Thrown([&] { Order(instrument, 0xCA, {31}); }), text(c.control, "Device IO control failed"));
            else if (reads)
                EXPECT_EQ(Thrown([&] { instrument.ReadData(data, 0); }), text(c.bulk, "read data failed"));
            else
                EXPECT_EQ(Thrown([&] { instrument.WriteData(data, 0); }), text(c.bulk, "write data failed"));
            oxv_plug(device);
        }
}

TEST_F(Transport, OpensAllPipesOrNone)
{
    const auto threads = CountEntries("/proc/self/task");
    for (const char* pipe : {"open:0", "open:1", "open:2", "open:3"}) {
        SCOPED_TRACE(pipe);
        Fail(pipe, "denied");
        EXPECT_EQ(Thrown([&] { BrindleUSBDevice(nullptr, address); }),
                  pipe[5] == '3' ? "IOException: interrupt listener thread had timeout"
                                 : "IOException: could not open pipe: (Win32 Error (13) : permission denied)");
        const auto lines = TakeLines();
        const auto count = [&](const char* beginning) {
            return std::ranges::count_if(lines, [&](const auto& line) { return line.starts_with(beginning); });
        };
        EXPECT_EQ(count("open"), count("close"));
        EXPECT_EQ(count("control"), pipe[5] == '0' ? 0 : 2) << "the firmware is told where that is possible";
        EXPECT_TRUE(SettlesAt("/proc/self/task", threads));
    }
    EXPECT_EQ(Thrown([&] { BrindleUSBDevice(nullptr, address); }), "nothing");
}

TEST_F(Transport, ReadsAScanUntilAShortPackage)
{
    struct Case {
        const char* what;
        std::size_t blocks, lines;
        const char* how; ///< of the nth package
        std::uint32_t nth;
        std::string thrown;
    };
    const Case cases[] = {
        {"one line at the first read", 1, 1, nullptr, 0, "nothing"},
        {"nothing at the first read", 1, 0, "empty", 1, "nothing"},
        {"an end within a package", 15, 15, nullptr, 0, "nothing"},
        {"an end at a package's end", 22, 22, nullptr, 0, "nothing"},
        {"half a line", 22, 2, "one-short", 2, "IOException: Read data failed (wrong data size)"},
        {"a failure", 22, 12, "fail", 3, "IOException: Read data failed (OverlappedRead)"},
        {"a read that never ends", 22, 2, "timeout", 2, "TimeoutException: Read data failed (Timeout)"},
    };
    BrindleUSBDevice instrument(nullptr, address);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        StartScan(instrument, c.blocks);
        if (c.how != nullptr)
            Fail("bulk-read", c.how, c.nth);
        ScanQueue lines;
        EXPECT_EQ(Thrown([&] { instrument.ReadDataStrip(lines, lineSize, 1000); }), c.thrown);
        ASSERT_EQ(lines.Count(), c.lines);
        for (std::size_t i = 0; i < c.lines; ++i, lines.DropFront()) {
            ASSERT_EQ(lines.Front().size(), lineSize);
            EXPECT_EQ(lines.Front()[1], i + 1) << "in the order of the scan";
        }
        EXPECT_TRUE(lines.Front().empty());
        int inFlight = 0;
        for (const auto& line : TakeLines())
            inFlight += line.starts_with("submit")                       ? 1
                : line.starts_with("done") || line.starts_with("cancel") ? -1
                                                                         : 0;
        EXPECT_EQ(inFlight, 0);
        Repair();
    }
}

TEST_F(Transport, KeepsAReadInFlightWhileItCopies)
{
    BrindleUSBDevice instrument(nullptr, address);
    for (const bool beep : {true, false}) {
        BrindleUSBDevice::SetBeep(beep);
        StartScan(instrument, 14);
        ScanQueue lines;
        instrument.ReadDataStrip(lines, lineSize, 1000);
        EXPECT_EQ(TakeTrace(),
                  "submit bulk-read 512; submit bulk-read 2560; done 512; " + std::string(beep ? "beep 400 75; " : "")
                      + "submit bulk-read 2560; done 2560; submit bulk-read 2560; done 512; submit bulk-read 2560; "
                        "done 0; done 0");
    }
    BrindleUSBDevice::SetBeep(true);
}

TEST_F(Transport, RefusesALineThatMakesTooLargeAPackage)
{
    SetNumber("strict", 0);
    BrindleUSBDevice instrument(nullptr, address);
    TakeTrace();
    ScanQueue lines;
    EXPECT_EQ(Thrown([&] { instrument.ReadDataStrip(lines, 6554, 0); }), "IOException: Max packages size is 65535");
    EXPECT_EQ(Thrown([&] { instrument.ReadDataStrip(lines, 0, 0); }), "DataException: A scan line holds no data");
    EXPECT_EQ(TakeTrace(), "");
    EXPECT_EQ(Thrown([&] { instrument.ReadDataStrip(lines, 6553, 0); }), "nothing");
}

TEST_F(Transport, WaitsAtEachPackageOfAScan)
{
    BrindleUSBDevice instrument(nullptr, address);
    for (const std::uint32_t nth : {1U, 2U, 3U}) {
        StartScan(instrument, 22);
        Fail("bulk-read", "timeout", nth);
        const auto before = oxv_clock_now();
        ScanQueue lines;
        EXPECT_NE(Thrown([&] { instrument.ReadDataStrip(lines, lineSize, 3000); }), "nothing");
        const auto delivered = nth == 1 ? 0.0 : nth == 2 ? 2.0 : 12.0;
        const auto dark = nth == 1 ? 0.0 : 1.0; // the dark cycle before the first reading
        EXPECT_NEAR(static_cast<double>(oxv_clock_now() - before), 8e6 + (delivered + dark) * 294 * 68, 1.0);
        Repair();
    }
}

TEST_F(Transport, TellsOfTheButtonAndThenSkipsTheRequestsForAnUntouchedOne)
{
    {
        BrindleUSBDevice instrument(&recorder, address);
        recorder.reaction = [] { throw 42; }; // goes no further
        for (std::size_t presses = 1; presses <= 2; ++presses) {
            oxv_press(device);
            EXPECT_THAT(recorder.Await(presses), ElementsAreArray(std::vector<int>(presses, 20011)));
        }
        TakeTrace();
    }
    EXPECT_EQ(TakeTrace(), "close 2; close 1; close 0");
    {
        BrindleUSBDevice instrument(&recorder, address);
        TakeTrace();
        TakeTrace("interrupt");
    }
    EXPECT_EQ(TakeTrace(), untouched);
    EXPECT_EQ(recorder.Await(2).size(), 2U) << "the end of the watch is no removal";
}

TEST_F(Transport, TellsOnceThatTheInstrumentHasGoneAndFailsFromThenOn)
{
    struct Case {
        const char* how; ///< of what the interrupt pipe reads
        int message;
        bool gone;
    };
    for (const auto& c : {Case{"unplug", 20010, true},
                          {"fail", 20010, true},
                          {"stall", 20010, true},
                          {"empty", 20010, true},
                          {"short", 20011, false},
                          {"garbage", 20011, false}}) {
        SCOPED_TRACE(c.how);
        Recorder messages;
        BrindleUSBDevice instrument(&messages, address);
        ASSERT_EQ(oxv_settle(5000), OXV_OK);
        Fail("interrupt-read", c.how);
        EXPECT_THAT(messages.Await(1), ElementsAre(c.message));
        ASSERT_EQ(oxv_settle(5000), OXV_OK);
        const std::string dead = "IOException: Device IO control failed:  (Win32 Error (19) : no such device)";
        EXPECT_EQ(Thrown([&] { Order(instrument, 0xCA, {31}); }), c.gone ? dead : "nothing");
        EXPECT_EQ(messages.Await(1).size(), 1U);
        oxv_plug(device);
        oxv_faults_clear(device);
    }
}

TEST_F(Transport, CallsNobodyOnceTheListenerIsRemoved)
{
    for (int round = 0; round < 50; ++round) {
        Recorder shortLived;
        BrindleUSBDevice instrument(&shortLived, address);
        std::thread presser([&] { oxv_press(device); });
        instrument.RemoveListener(&shortLived);
        const auto before = shortLived.Await(0).size();
        presser.join();
        oxv_press(device);
        ASSERT_EQ(oxv_settle(5000), OXV_OK);
        EXPECT_EQ(shortLived.Await(0).size(), before);
    }
}

TEST_F(Transport, ListsWhatIsAttached)
{
    EXPECT_THAT(USBBrowser::Instance()->GetDevices(), ElementsAre(address));
    for (int place = 1; place < 127; ++place)
        ASSERT_GT(oxv_attach("spectrophotometer", "usb"), 0) << oxv_last_error();
    EXPECT_EQ(USBBrowser::Instance()->GetDevices().size(), 127U);
    EXPECT_TRUE(USBBrowser::Instance()->IsAnyOrvexConnected());
    oxv_reset();
    EXPECT_FALSE(USBBrowser::Instance()->IsAnyOrvexConnected());
}

/// A second process that takes a system-wide lock ('+') and gives it back ('-') as it is told.
class OtherProcess {
public:
    explicit OtherProcess(const std::string& name)
    {
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, line) != 0 || (child = ::fork()) < 0)
            throw std::runtime_error("no other process");
        if (child != 0)
            return;
        ::close(line[0]);
        const auto lock = Platform::NamedLock::Make(name, true);
        for (char order = 0; ::read(line[1], &order, 1) == 1;) {
            if (order == '+' && lock->Acquire(10000) != Platform::Waitable::Outcome::acquired)
                order = '!';
            if (order == '-')
                lock->Release();
            if (::write(line[1], &order, 1) != 1)
                break;
        }
        ::_exit(0);
    }
    ~OtherProcess()
    {
        ::close(line[0]);
        ::close(line[1]);
        ::waitpid(child, nullptr, 0);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    void Do(char order) const
    {
        char answer = 0;
        EXPECT_EQ(::write(line[0], &order, 1) + ::read(line[0], &answer, 1), 2);
        EXPECT_EQ(answer, order);
    }

private:
    int line[2] = {};
    pid_t child = 0;
};

TEST_F(Transport, WaitsWhileAnotherProcessUsesTheSameInstrument)
{
    // Places of this run's own, since other runs on this machine may do the same.
    const int place = 1 + static_cast<int>(::getpid() % 60) * 2;
    OtherProcess other("virtualusb" + std::to_string(place));
    ASSERT_EQ(oxv_share_locks(1), OXV_OK);
    for (const int number : {place, place + 1})
        ASSERT_GT(oxv_attach("spectrophotometer", ("usb:" + std::to_string(number)).c_str()), 0) << oxv_last_error();
    const auto addresses = USBBrowser::Instance()->GetDevices();
    BrindleUSBDevice same(&recorder, addresses.at(1));
    BrindleUSBDevice neighbour(nullptr, addresses.at(2));
    Bytes data(8);
    ScanQueue lines;
    const std::pair<const char*, std::function<void()>> uses[] = {
        {"control", [&] { Order(same, 0xCA, {31}); }},
        {"read", [&] { same.ReadData(data, 0); }},
        {"write", [&] { same.WriteData(data, 0); }},
        {"scan", [&] { same.ReadDataStrip(lines, lineSize, 0); }},
        {"message", [&] { same.MessageFromDevice(20011, 0); }},
        {"listener", [&] { same.RemoveListener(&recorder); }},
    };
    for (const auto& [what, use] : uses) {
        SCOPED_TRACE(what);
        other.Do('+');
        auto done = std::async(std::launch::async, [&use = use] { return Thrown(use); });
        EXPECT_EQ(done.wait_for(std::chrono::milliseconds(30)), std::future_status::timeout);
        EXPECT_EQ(Thrown([&] { Order(neighbour, 0xCA, {31}); }), "nothing") << "another instrument";
        other.Do('-');
        EXPECT_EQ(done.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    }
    ASSERT_EQ(oxv_share_locks(0), OXV_OK);
}

}
