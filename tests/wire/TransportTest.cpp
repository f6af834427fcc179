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

    const std::string address;
    Recorder recorder;
};

const char* const untouched = "control 00 out standard value 0084 00 00 00 00 00 00 00 00; "
                              "control D0 out value 0003 00 00 00 00 00 00 00 00; close 2; close 1; close 0";

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
    EXPECT_EQ(ScanQueue().Count(), 0U);
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
