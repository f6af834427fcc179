// The device object's transmission mode, which has no exported call of its own: a dark first, a reference second.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/Orvex.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "orvex-virtual.h"

#include <array>
#include <gmock/gmock.h>
#include <string>

using Vondrel::DeviceDriver::Generic::Configuration::AdaptiveMode;
using Vondrel::DeviceDriver::ox::Orvex;
using Vondrel::DeviceDriver::ox::TransmissionMode;

namespace {

class DeviceTransmission : public testing::Test {
protected:
    ~DeviceTransmission() override { oxv_reset(); }

    void Show(const char* position) const { ASSERT_EQ(oxv_set_text(bench, "position", position), OXV_OK); }

    void ShowFilter(float transmittance) const
    {
        const std::array<float, 2> flat{transmittance, transmittance};
        ASSERT_EQ(oxv_set_curve(bench, "transmission", flat.data(), flat.size(), 380, 350), OXV_OK);
        Show("transmission");
    }

    static void ExpectSample(Orvex& device, float transmittance)
    {
        const auto results = device.TriggerMeasurement();
        ASSERT_EQ(results.size(), 1U);
        const auto& spectrum = results.front().LoadData();
        ASSERT_EQ(spectrum.size(), 36U);
        EXPECT_THAT(spectrum, testing::Each(testing::FloatNear(transmittance, 0.003F)));
    }

    static std::string FailureOf(Orvex& device)
    {
        try {
            device.TriggerMeasurement();
        } catch (const CalculationException& e) {
            return e.what();
        }
        return "none";
    }

    const oxv_device bench = oxv_attach("spectrophotometer", "usb");
};

}

TEST_F(DeviceTransmission, IsCalibratedInTwoStages)
{
    for (const std::int32_t adaptive : {0, 1}) {
        SCOPED_TRACE(adaptive);
        Orvex device(nullptr, 0);
        device.Activate(TransmissionMode);
        device.SetCondition(AdaptiveMode, adaptive);
        ShowFilter(1);
        EXPECT_EQ(FailureOf(device), "Sample calculation: Data not valid");
        Show("dark");
        device.Calibrate(true);
        ShowFilter(1);
        EXPECT_EQ(FailureOf(device), "Sample calculation: Reference data not valid");
        device.Calibrate(false);
        ExpectSample(device, 1);
        for (const float transmittance : {0.5F, 0.1F, 0.9F}) {
            ShowFilter(transmittance);
            ExpectSample(device, transmittance);
        }
    }
}

TEST_F(DeviceTransmission, RefersToWhateverWasTheReference)
{
    Orvex device(nullptr, 0);
    device.Activate(TransmissionMode);
    Show("dark");
    device.Calibrate(true);
    ShowFilter(0.5F);
    device.Calibrate(false);
    ShowFilter(0.25F);
    ExpectSample(device, 0.5F);
    device.Reset();
    EXPECT_EQ(FailureOf(device), "Sample calculation: Data not valid") << "a new connection has neither";
}
