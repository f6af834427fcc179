// The library down to the requests that libusb makes to a kernel, with the virtual firmware behind the cable. The same
// on a mocked kernel and on a real one.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "tests/support/Recorder.h"
#include "tests/support/Settled.h"
#include "tests/support/Thrown.h"
#include "tests/wire/Samples.h"
#include "tests/wire/real/WiredInstrument.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace Vondrel::DeviceDriver::ox;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using testing::ElementsAre;

namespace {

class RealUsb : public testing::Test {
protected:
    RealUsb()
    {
        conditions = BrindleRAM::GetDefaultPhysicalConditons();
        for (const auto id : {ScanMode, DarkMeasurement, Gain, SkipDarkCycle, SimulateDark, LogMeasurement})
            conditions.SetProperty(id, std::int32_t{0});
        conditions.SetProperty(FirmwareVersion, std::int32_t{302});
        conditions.SetProperty(IntegrationTime, 0.02F);
        conditions.SetProperty(TriggerDelay, 0.0F);
        conditions.SetProperty(SpectrumCount, std::int32_t{3});
    }

    std::string Measure(BrindleLowLevelDriver& driver)
    {
        return Thrown([&] { result = driver.ExecuteMeasurement(conditions); });
    }

    static std::string StoreLog(BrindleLowLevelDriver& driver)
    {
        Properties request;
        request.SetProperty(LogDumpRequest, std::int32_t{1});
        return Thrown([&] { driver.StoreData(request); });
    }

    const std::unique_ptr<WiredInstrument> instrument = PlugInInstrument();
    Properties conditions;
    std::vector<Vondrel::DeviceDriver::Generic::Calculation::SensorData> result;
};

TEST_F(RealUsb, OpensMeasuresAndLeavesNothingBehind)
{
    constexpr std::size_t logSize = 1064;
    EXPECT_THAT(USBBrowser::Instance()->GetDevices(), ElementsAre(instrument->Address())); // and what first use keeps
    const auto files = CountEntries("/proc/self/fd");
    const auto threads = CountEntries("/proc/self/task");
    const auto asBuilt = instrument->Memory(0, logSize);
    {
        BrindleLowLevelDriver driver(nullptr, 0);
        EXPECT_EQ(instrument->Setups().front(), "40 CA 00 00 00 00 01 00");
        EXPECT_EQ(instrument->Setups()[1], "40 C4 00 00 00 00 08 00");
        instrument->SetBlocks(Blocks(3, 700));
        EXPECT_EQ(Measure(driver), "nothing");
        ASSERT_EQ(result.size(), 1U);
        EXPECT_EQ(result[0].LoadRawData()[2], RawSpectrum(128, 702));

        conditions.SetProperty(ScanMode, std::int32_t{1});
        conditions.SetProperty(SpectrumCount, std::int32_t{1});
        instrument->SetBlocks(Blocks(25, 100));
        EXPECT_EQ(Measure(driver), "nothing");
        ASSERT_EQ(result.size(), 25U);
        EXPECT_EQ(result[24].LoadRawData()[0], RawSpectrum(128, 124));
        EXPECT_EQ(instrument->Memory(0, logSize), asBuilt);
        driver.DownloadFirmware({{0x0200, std::vector<std::uint8_t>(300)}});
        EXPECT_EQ(instrument->Setups().back(), "40 A0 00 02 00 00 2C 01") << "both bytes of the length";
    }
    EXPECT_NE(instrument->Memory(0, logSize), asBuilt);
    EXPECT_EQ(instrument->Memory(0, logSize), instrument->Memory(0x800, logSize)) << "the log's two copies";
    const auto setups = instrument->Setups();
    EXPECT_EQ(setups.back(), "40 D0 03 00 00 00 08 00");
    EXPECT_EQ(setups[setups.size() - 2], "00 00 84 00 00 00 08 00");
    EXPECT_TRUE(SettlesAt("/proc/self/fd", files));
    EXPECT_TRUE(SettlesAt("/proc/self/task", threads));
}

TEST_F(RealUsb, GoesOnAfterEachFailureOfATransfer)
{
    struct Case {
        const char* point;
        const char* how;
        const char* thrown;
        int clearedHalts;
    };
    const Case cases[] = {
        {"control", "stall", "IOException: Device IO control failed:  (Win32 Error (32) : broken pipe)", 0},
        {"bulk-read", "stall", "IOException: read data failed (Win32 Error (32) : broken pipe)", 2},
        {"bulk-read", "fail", "IOException: read data failed (Win32 Error (5) : input/output error)", 0},
        {"control", "timeout", "TimeoutException: Device IO control failed  (Win32 Error (110) : timed out)", 0},
    };
    BrindleLowLevelDriver driver(nullptr, 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.point) + " " + c.how);
        instrument->clearedHalts = 0;
        instrument->SetFault(c.point, c.how);
        EXPECT_EQ(Measure(driver), c.thrown);
        instrument->ClearFaults();
        EXPECT_EQ(Measure(driver), "nothing");
        EXPECT_EQ(instrument->clearedHalts, c.clearedHalts);
    }
}

/// Takes root's right to open everything away from this thread.
class WithoutOverride {
public:
    WithoutOverride()
    {
        syscall(SYS_capget, &header, before.data());
        auto reduced = before;
        reduced[0].effective &= ~(1U << CAP_DAC_OVERRIDE);
        syscall(SYS_capset, &header, reduced.data());
    }
    ~WithoutOverride() { syscall(SYS_capset, &header, before.data()); }
    WithoutOverride(const WithoutOverride&) = delete;
    WithoutOverride& operator=(const WithoutOverride&) = delete;

private:
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> before{};
};

TEST_F(RealUsb, SaysThatThePermissionIsMissing)
{
    using std::filesystem::perms;
    std::filesystem::permissions(instrument->NodeFile(), perms::none);
    {
        const WithoutOverride ordinaryUser;
        EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }),
                  "IOException: could not open pipe: (Win32 Error (13) : permission denied)");
    }
    std::filesystem::permissions(instrument->NodeFile(), perms::owner_read | perms::owner_write);
    EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }), "nothing");
}

TEST_F(RealUsb, TellsOfTheButton)
{
    Recorder recorder;
    BrindleUSBDevice device(&recorder, instrument->Address());
    instrument->Press();
    EXPECT_THAT(recorder.Await(1), ElementsAre(20011));
    instrument->Press();
    EXPECT_THAT(recorder.Await(2), ElementsAre(20011, 20011));
}

constexpr const char* deadControl = "IOException: Device IO control failed:  (Win32 Error (19) : no such device)";

TEST_F(RealUsb, TellsOfACableThatIsPulledAtRest)
{
    Recorder recorder;
    BrindleLowLevelDriver driver(&recorder, 0);
    ASSERT_TRUE(instrument->AwaitHeld(WiredInstrument::interruptIn));
    instrument->Unplug();
    EXPECT_THAT(recorder.Await(1), ElementsAre(20010));
    EXPECT_EQ(Measure(driver), deadControl);
}

TEST_F(RealUsb, SurvivesAPulledCableInEachKindOfTransfer)
{
    enum class During { spot, scan, store };
    struct Case {
        const char* what;
        During action;
        const char* point;
        std::uint8_t endpoint;
        const char* thrown;
    };
    const Case cases[] = {
        {"control", During::spot, "control", 0, deadControl},
        {"read, whose repetition finds no instrument", During::spot, "bulk-read", WiredInstrument::bulkIn, deadControl},
        {"scan", During::scan, "bulk-read", WiredInstrument::bulkIn, "IOException: Read data failed (OverlappedRead)"},
        {"write", During::store, "bulk-write", WiredInstrument::bulkOut,
         "IOException: write data failed (Win32 Error (19) : no such device)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Recorder recorder;
        conditions.SetProperty(ScanMode, std::int32_t{c.action == During::scan});
        conditions.SetProperty(SpectrumCount, std::int32_t{c.action == During::scan ? 1 : 3});
        {
            BrindleLowLevelDriver driver(&recorder, 0);
            instrument->SetFault(c.point, "timeout");
            std::thread puller([&] {
                EXPECT_TRUE(instrument->AwaitHeld(c.endpoint));
                instrument->Unplug();
            });
            EXPECT_EQ(c.action == During::store ? StoreLog(driver) : Measure(driver), c.thrown);
            puller.join();
            EXPECT_THAT(recorder.Await(1), ElementsAre(20010));
            EXPECT_EQ(Measure(driver), deadControl);
            EXPECT_EQ(recorder.Await(1).size(), 1U);
        }
        EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }), "IOException: No devices connected");
        instrument->ClearFaults();
        instrument->Plug();
        BrindleLowLevelDriver driver(&recorder, 0);
        EXPECT_EQ(Measure(driver), "nothing");
    }
}

}
