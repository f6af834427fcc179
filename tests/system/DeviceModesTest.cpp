// The device object below the exported calls: the modes that have none of their own, its lock, and how it comes back.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/Orvex.h"
#include "Vondrel/Utilities/Multithreading/Mutex.h"
#include "tests/support/Thrown.h"
#include "virtual/orvex-virtual.h"

#include <array>
#include <chrono>
#include <gmock/gmock.h>
#include <string>
#include <thread>

using namespace Vondrel::DeviceDriver::Generic::Configuration;
using namespace Vondrel::DeviceDriver::ox;
using testing::Each;
using testing::FloatNear;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// The text of what an operation throws, or "nothing".
template<typename Operation>
std::string FailureOf(Operation operation)
{
    const std::string thrown = Thrown(operation);
    return thrown == "nothing" ? thrown : thrown.substr(thrown.find(": ") + 2);
}

class DeviceModes : public testing::Test {
protected:
    ~DeviceModes() override { oxv_reset(); }

    void Show(const char* position) const { ASSERT_EQ(oxv_set_text(bench, "position", position), OXV_OK); }

    void ShowFilter(float transmittance) const
    {
        const std::array<float, 2> flat{transmittance, transmittance};
        ASSERT_EQ(oxv_set_curve(bench, "transmission", flat.data(), flat.size(), 380, 350), OXV_OK);
        Show("transmission");
    }

    void Break(const char* point, std::uint32_t nth, const char* how) const
    {
        ASSERT_EQ(oxv_fault(bench, point, nth, 1, how), OXV_OK) << oxv_last_error();
    }

    static std::vector<float> Sample(Orvex& device) { return device.TriggerMeasurement().at(0).LoadData(); }

    const oxv_device bench = oxv_attach("spectrophotometer", "usb");
};

}

TEST_F(DeviceModes, TransmissionIsCalibratedByADarkAndByWhateverIsTheReference)
{
    for (const std::int32_t adaptive : {0, 1}) {
        SCOPED_TRACE(adaptive);
        Orvex device(nullptr, 0);
        device.Activate(TransmissionMode);
        device.SetCondition(AdaptiveMode, adaptive);
        ShowFilter(1);
        EXPECT_EQ(FailureOf([&] { Sample(device); }), "Sample calculation: Data not valid");
        Show("dark");
        device.Calibrate(true);
        ShowFilter(1);
        EXPECT_EQ(FailureOf([&] { Sample(device); }), "Sample calculation: Reference data not valid");
        for (const float reference : {1.0F, 0.5F}) {
            ShowFilter(reference);
            device.Calibrate(false);
            for (const float transmittance : {0.5F, 0.1F}) {
                ShowFilter(transmittance);
                EXPECT_THAT(Sample(device),
                            testing::AllOf(SizeIs(36), Each(FloatNear(transmittance / reference, 3e-3F))));
            }
        }
        device.Reset();
        EXPECT_EQ(FailureOf([&] { Sample(device); }), "Sample calculation: Data not valid") << "a new connection";
    }
}

TEST_F(DeviceModes, RawModesGiveTheCountsAsTheyCome)
{
    Orvex device(nullptr, 0);
    Show("source");
    for (const auto& [mode, readings, results] :
         {std::tuple{RawMode, 1, 1U}, std::tuple{RawMode, 3, 3U}, std::tuple{RawScanMode, 5, 20U}}) {
        SCOPED_TRACE(testing::Message() << mode << ' ' << readings);
        ASSERT_EQ(oxv_set_number(bench, "scan-readings", 20), OXV_OK);
        device.Activate(mode);
        EXPECT_EQ(device.GetCondition(SpectrumCount).AsLong(), mode == RawScanMode ? 10 : 1);
        device.SetCondition(SpectrumCount, readings);
        const auto before = oxv_count(bench, "control:C0");
        device.Calibrate(true);
        EXPECT_EQ(oxv_count(bench, "control:C0"), before) << "there is nothing to calibrate";
        const auto measured = device.TriggerMeasurement();
        ASSERT_THAT(measured, SizeIs(results));
        for (const auto& result : measured) {
            ASSERT_THAT(result.LoadData(), SizeIs(128));
            EXPECT_EQ(result.LoadData()[0], result.LoadData()[1]);
            EXPECT_GT(result.LoadData()[60], 1000);
        }
        device.SetCondition(SpectrumCount, 1);
    }
}

TEST_F(DeviceModes, TheServiceModeReadsAndWritesSinglePropertiesAndMeasuresNothing)
{
    Orvex device(nullptr, 0);
    device.Activate(ServiceMode);
    EXPECT_EQ(FailureOf([&] { Sample(device); }), "Not supported!");
    EXPECT_EQ(FailureOf([&] { device.GetCondition(1); }).substr(0, 21), "invalid property id 1");
    EXPECT_EQ(device.GetCondition(SerialNumber).AsLong(), 100001);
    device.SetCondition(MaxIntegrationTime, 3.5F);
    EXPECT_EQ(device.GetCondition(MaxIntegrationTime).AsFloat(), 3.5F);
    device.Activate(EmissionMode);
    EXPECT_EQ(device.GetCondition(IntegrationTime).AsFloat(), 0.5F);
    device.Activate(9);
    EXPECT_EQ(FailureOf([&] { Sample(device); }), "No such mode (Unknown interface (9))");
    ASSERT_EQ(oxv_set_number(bench, "device-type", 2), OXV_OK);
    device.Reset();
    device.Activate(RemissionMode);
    EXPECT_EQ(FailureOf([&] { Sample(device); }), "No such mode (RemissionHandle)") << "a monitor's";
}

TEST_F(DeviceModes, AMeasurementWithoutAnyReadingFails)
{
    Orvex device(nullptr, 0);
    device.Activate(EmissionMode);
    Show("dark");
    device.Calibrate(true);
    device.SetCondition(ScanMode, 1);
    Break("bulk-read", 1, "empty");
    EXPECT_EQ(FailureOf([&] { Sample(device); }), "Data not valid");
}

TEST_F(DeviceModes, AMeasurementWaitsForWhoeverHasTheLockOfAllInstruments)
{
    Orvex device(nullptr, 0);
    device.Activate(RawMode);
    Vondrel::Utilities::Multithreading::Mutex others("default");
    others.Lock();
    const auto before = oxv_count(bench, "control:C0");
    std::thread measuring([&] { device.TriggerMeasurement(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(oxv_count(bench, "control:C0"), before);
    others.Unlock();
    measuring.join();
    EXPECT_EQ(oxv_count(bench, "control:C0"), before + 1);
    EXPECT_TRUE(others.TryLock(0)) << "and gives it back";
    others.Unlock();
}

TEST_F(DeviceModes, ASpotWhoseInstrumentGoesIsMeasuredOnTheOneThatIsThere)
{
    const oxv_device second = oxv_attach("spectrophotometer", "usb");
    for (const std::int32_t index : {1, 0}) {
        Orvex device(nullptr, index);
        device.Activate(RemissionMode);
        device.Calibrate(true);
    }
    const std::array<float, 2> grey{0.25F, 0.25F};
    oxv_set_curve(second, "sample", grey.data(), grey.size(), 380, 350);
    oxv_set_text(second, "position", "sample");
    for (const std::int32_t mode : {RemissionMode, RemissionScanMode, EmissionMode}) {
        SCOPED_TRACE(mode);
        Orvex device(nullptr, 0);
        device.Activate(RemissionScanMode);
        device.Calibrate(true);
        device.Activate(mode);
        Break("bulk-read", 2, "unplug"); // the first is the dark
        if (mode == EmissionMode)
            device.Calibrate(true); // its dark
        const std::string failure = FailureOf([&] { EXPECT_THAT(Sample(device), Each(FloatNear(0.25F, 3e-3F))); });
        if (mode == RemissionMode)
            EXPECT_EQ(failure, "nothing");
        else
            EXPECT_THAT(failure, testing::HasSubstr(" failed")) << "not repeated, and no reset of the new one";
        EXPECT_TRUE(device.IsConnected());
        ASSERT_EQ(oxv_plug(bench), OXV_OK);
    }
    oxv_unplug(second);
    Orvex device(nullptr, 0);
    device.Activate(RemissionMode);
    Break("bulk-read", 1, "unplug");
    EXPECT_THAT(FailureOf([&] { Sample(device); }), testing::HasSubstr(" failed")) << "there is no other";
    EXPECT_EQ(FailureOf([] { Orvex none(nullptr, 0); }), "No devices connected");
}

TEST_F(DeviceModes, AConnectionThatFailsHalfWayIsNone)
{
    Orvex device(nullptr, 0);
    const auto perOpening = oxv_count(bench, "control:C9");
    for (std::uint32_t nth = 3; nth <= perOpening; nth += 2) {
        SCOPED_TRACE(nth);
        oxv_faults_clear(bench);
        Break("control:C9", nth, "fail");
        EXPECT_NE(FailureOf([&] { device.Reset(); }), "nothing");
        EXPECT_TRUE(device.IsConnected());
        device.Activate(RawScanMode);
        EXPECT_EQ(FailureOf([&] { Sample(device); }), "nothing");
    }
}

TEST_F(DeviceModes, AScanBeginsWithTheFirstWhiteAndKeepsNothingOfTheOneBefore)
{
    Orvex device(nullptr, 0);
    device.Activate(RemissionScanMode);
    ASSERT_EQ(oxv_set_number(bench, "noise", 100), OXV_OK); // so that the whites differ
    device.Calibrate(true);
    ASSERT_EQ(oxv_set_number(bench, "noise", 0), OXV_OK);
    ASSERT_EQ(oxv_set_number(bench, "scan-readings", 20), OXV_OK);
    std::vector<std::vector<float>> scans;
    for (int scan = 0; scan < 2; ++scan) {
        scans.emplace_back();
        for (const auto& reading : device.TriggerMeasurement())
            scans.back().push_back(reading.LoadData()[20]);
    }
    EXPECT_EQ(scans[0], scans[1]);
    EXPECT_NE(scans[0][0], scans[0][1]);
    EXPECT_THAT(device.GetLastMeasurementResult(), SizeIs(20));
    Break("bulk-read", 2, "fail");
    EXPECT_NE(FailureOf([&] { device.TriggerMeasurement(); }), "nothing");
    EXPECT_THAT(device.GetLastMeasurementResult(), IsEmpty());
}
