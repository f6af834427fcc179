// The library down to the requests that libusb makes to the kernel, against an instrument that umockdev shows.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "tests/wire/Recorder.h"
#include "tests/wire/Samples.h"
#include "tests/wire/Settled.h"
#include "tests/wire/Thrown.h"
#include "tests/wire/real/MockUsb.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <thread>

using namespace Vondrel::DeviceDriver::ox;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using testing::ElementsAre;

namespace {

using Behaviour = MockUsb::Behaviour;

class RealUsb : public testing::Test {
protected:
    void SetUp() override
    {
        const char* const preloaded = std::getenv("LD_PRELOAD");
        ASSERT_TRUE(preloaded != nullptr && std::string(preloaded).find("umockdev") != std::string::npos)
            << "to be run under umockdev-wrapper";
        testbed = umockdev_testbed_new();
        mock = std::make_unique<MockUsb>(testbed, 4);
        mock->control = [this](const std::uint8_t* setup, std::uint8_t* data) { return Answer(setup, data); };
        conditions = BrindleRAM::GetDefaultPhysicalConditons();
        for (const auto id : {ScanMode, DarkMeasurement, Gain, SkipDarkCycle, SimulateDark, LogMeasurement})
            conditions.SetProperty(id, std::int32_t{0});
        conditions.SetProperty(FirmwareVersion, std::int32_t{302});
        conditions.SetProperty(IntegrationTime, 0.02F);
        conditions.SetProperty(TriggerDelay, 0.0F);
        conditions.SetProperty(SpectrumCount, std::int32_t{3});
    }

    void TearDown() override
    {
        mock.reset();
        if (testbed != nullptr)
            g_object_unref(testbed);
    }

    /// The firmware, as far as these tests go.
    int Answer(const std::uint8_t* setup, std::uint8_t* data)
    {
        const int length = setup[6] | setup[7] << 8;
        const auto reply = [&](std::vector<std::uint8_t> bytes) {
            std::ranges::copy(bytes, data);
            return static_cast<int>(bytes.size());
        };
        if (setup[0] == 0xC0 && setup[1] == 0xC9)
            return reply({0x01, 0x2E, 0, 0, 0xEA, 0x60, 1, 0});
        if (setup[0] == 0xC0 && setup[1] == 0xD1)
            return reply({1, 1, 0, 130, 68, 0});
        if (setup[0] == 0x40 && setup[1] == 0xC4)
            mock->stream = NewMemory();
        if (setup[0] == 0x40 && setup[1] == 0xC0)
            mock->stream = measurement;
        return length;
    }

    std::string Measure(BrindleLowLevelDriver& driver)
    {
        return Thrown([&] { result = driver.ExecuteMeasurement(conditions); });
    }

    void Behave(std::uint8_t endpoint, Behaviour behaviour)
    {
        const std::lock_guard lock(mock->guard);
        mock->behaviours[endpoint] = behaviour;
    }

    UMockdevTestbed* testbed = nullptr;
    std::unique_ptr<MockUsb> mock;
    std::vector<std::uint8_t> measurement = Blocks(3, 700);
    Properties conditions;
    std::vector<Vondrel::DeviceDriver::Generic::Calculation::SensorData> result;
};

TEST_F(RealUsb, ListsOnlyInstrumentsOfOurs)
{
    MockUsb mouse(testbed, 3, "046d", "c077");
    MockUsb second(testbed, 12);
    EXPECT_THAT(USBBrowser::Instance()->GetDevices(), ElementsAre("/dev/bus/usb/001/004", "/dev/bus/usb/001/012"));
    mock->Unplug();
    EXPECT_THAT(USBBrowser::Instance()->GetDevices(), ElementsAre("/dev/bus/usb/001/012"));
}

TEST_F(RealUsb, OpensMeasuresAndLeavesNothingBehind)
{
    USBBrowser::Instance()->GetDevices(); // what the first use keeps
    const auto files = CountEntries("/proc/self/fd");
    const auto threads = CountEntries("/proc/self/task");
    {
        BrindleLowLevelDriver driver(nullptr, 0);
        EXPECT_EQ(mock->setups.front(), "40 CA 00 00 00 00 01 00");
        EXPECT_EQ(mock->setups[1], "40 C4 00 00 00 00 08 00");
        EXPECT_EQ(Measure(driver), "nothing");
        ASSERT_EQ(result.size(), 1U);
        EXPECT_EQ(result[0].LoadRawData()[2], RawSpectrum(128, 702));

        conditions.SetProperty(ScanMode, std::int32_t{1});
        conditions.SetProperty(SpectrumCount, std::int32_t{1});
        measurement = Blocks(25, 100);
        EXPECT_EQ(Measure(driver), "nothing");
        ASSERT_EQ(result.size(), 25U);
        EXPECT_EQ(result[24].LoadRawData()[0], RawSpectrum(128, 124));
        EXPECT_TRUE(mock->written.empty());
    }
    EXPECT_EQ(mock->written.size(), 2U * (1064 + 5 * 2)) << "the log, twice, with two zero bytes a block";
    EXPECT_EQ(mock->setups.back(), "40 D0 03 00 00 00 08 00");
    EXPECT_EQ(mock->setups[mock->setups.size() - 2], "00 00 84 00 00 00 08 00");
    EXPECT_TRUE(SettlesAt("/proc/self/fd", files));
    EXPECT_TRUE(SettlesAt("/proc/self/task", threads));
}

TEST_F(RealUsb, GoesOnAfterEachFailureOfATransfer)
{
    struct Case {
        const char* what;
        std::uint8_t endpoint;
        Behaviour behaviour;
        const char* thrown;
        int clearedHalts;
    };
    const Case cases[] = {
        {"a control request stalls", 0, Behaviour::stall,
         "IOException: Device IO control failed:  (Win32 Error (32) : broken pipe)", 0},
        {"a read stalls", MockUsb::bulkIn, Behaviour::stall,
         "IOException: read data failed (Win32 Error (32) : broken pipe)", 2},
        {"a read fails", MockUsb::bulkIn, Behaviour::fail,
         "IOException: read data failed (Win32 Error (5) : input/output error)", 0},
        {"a control request never ends", 0, Behaviour::hold,
         "TimeoutException: Device IO control failed  (Win32 Error (110) : timed out)", 0},
    };
    BrindleLowLevelDriver driver(nullptr, 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        mock->clearedHalts = 0;
        Behave(c.endpoint, c.behaviour);
        EXPECT_EQ(Measure(driver), c.thrown);
        Behave(c.endpoint, Behaviour::answer);
        EXPECT_EQ(Measure(driver), "nothing");
        EXPECT_EQ(mock->clearedHalts, c.clearedHalts);
    }
}

TEST_F(RealUsb, TellsOfTheButton)
{
    Recorder recorder;
    BrindleUSBDevice device(&recorder, "/dev/bus/usb/001/004");
    mock->Press();
    EXPECT_THAT(recorder.Await(1), ElementsAre(20011));
    mock->Press();
    EXPECT_THAT(recorder.Await(2), ElementsAre(20011, 20011));
}

TEST_F(RealUsb, SurvivesAPulledCableInEachKindOfTransfer)
{
    struct Case {
        const char* what;
        std::uint8_t endpoint;
        bool scan;
        const char* thrown;
    };
    const Case cases[] = {
        {"control", 0, false, "IOException: Device IO control failed:  (Win32 Error (19) : no such device)"},
        {"read, whose repetition finds no instrument", MockUsb::bulkIn, false,
         "IOException: Device IO control failed:  (Win32 Error (19) : no such device)"},
        {"scan", MockUsb::bulkIn, true, "IOException: Read data failed (OverlappedRead)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Recorder recorder;
        conditions.SetProperty(ScanMode, std::int32_t{c.scan});
        {
            BrindleLowLevelDriver driver(&recorder, 0);
            Behave(c.endpoint, Behaviour::hold);
            std::thread puller([&] {
                EXPECT_TRUE(mock->AwaitHeld(c.endpoint));
                mock->Unplug();
            });
            EXPECT_EQ(Measure(driver), c.thrown);
            puller.join();
            EXPECT_THAT(recorder.Await(1), ElementsAre(20010));
            EXPECT_EQ(Measure(driver), "IOException: Device IO control failed:  (Win32 Error (19) : no such device)");
            EXPECT_EQ(recorder.Await(1).size(), 1U);
        }
        EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }), "IOException: No devices connected");
        Behave(c.endpoint, Behaviour::answer);
        mock->Plug();
        BrindleLowLevelDriver driver(&recorder, 0);
        EXPECT_EQ(Measure(driver), "nothing");
    }
}

TEST_F(RealUsb, SaysThatAnotherProcessHasTheInstrument)
{
    mock->claimError = EBUSY;
    EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }),
              "IOException: could not open pipe: (Win32 Error (16) : device or resource busy)");
    mock->claimError = 0;
    EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }), "nothing");
}

}
