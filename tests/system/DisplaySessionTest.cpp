// The display colorimeter through the same exported calls: what it measures, what it refuses, a pulled cable.

#include "SystemBench.h"

using testing::ElementsAre;
using testing::StartsWith;

namespace {

using Color = std::array<float, 3>;

class DisplaySession : public SystemBench {
protected:
    void Attach(const char* kind)
    {
        device = oxv_attach(kind, "usb");
        ASSERT_GT(device, 0) << oxv_last_error();
        RegisterHandlers();
        ASSERT_EQ(Option("DeviceType"), "OrvexDisplay");
    }

    Color Measure(const char* space)
    {
        Color color{};
        EXPECT_OK(Set("ColorSpaceDescription.Type", space));
        EXPECT_OK(OX_TriggerMeasurement());
        EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
        EXPECT_OK(OX_GetTriStimulus(color.data(), 0));
        return color;
    }

    static void ExpectFailure(const char* function, OX_Result result, OX_Result code, const std::string& text)
    {
        SCOPED_TRACE(text);
        EXPECT_EQ(result, code);
        EXPECT_THAT(TakeReports(), ElementsAre(Report{function, code, text}));
        EXPECT_EQ(Option("LastError"), text);
    }
};

}

TEST_F(DisplaySession, MeasuresTheScreen)
{
    Attach("colorimeter-20");
    ASSERT_OK(Set("ScreenType", "LCD"));
    EXPECT_OK(OX_Calibrate());
    for (const char* intensity : {"Auto", "Bright", "Bleak"}) {
        SCOPED_TRACE(intensity);
        ASSERT_OK(Set("PatchIntensity", intensity));
        EXPECT_THAT(Measure("CIEXYZ"),
                    ElementsAre(testing::FloatNear(95.047F, 0.5F), testing::FloatNear(100, 0.5F),
                                testing::FloatNear(108.883F, 0.6F)));
    }
    const Color xyy = Measure("CIExyY");
    EXPECT_NEAR(xyy[0], 0.3127, 0.002);
    EXPECT_NEAR(xyy[1], 0.3290, 0.002);
    EXPECT_EQ(Option("LastCalibrationCounter"), "4");
    oxv_clock_advance(60'000'000);
    EXPECT_NE(Option("LastCalibrationTime"), "-1");

    EXPECT_EQ(Option("AvailableMeasurementModes"), "SingleEmission;SingleAmbientLight");
    ASSERT_OK(Set("MeasurementMode", "SingleAmbientLight"));
    ASSERT_EQ(oxv_set_text(device, "position", "diffuser"), OXV_OK);
    EXPECT_NEAR(Measure("CIEXYZ")[1], 100, 1);
    ASSERT_OK(Set("LastCalibrationCounter", "2147483647"));
    EXPECT_OK(OX_TriggerMeasurement());
}

TEST_F(DisplaySession, RefusesWhatItCannotDo)
{
    Attach("colorimeter-4");
    std::array<float, 36> values{};
    ExpectFailure("OX_TriggerMeasurement", OX_TriggerMeasurement(), 10, "screen type not set");
    ExpectFailure("OX_Calibrate", OX_Calibrate(), 10, "unknown screen type not set");
    ASSERT_OK(Set("ScreenType", "LCD"));
    ASSERT_OK(Set("PatchIntensity", "Foo"));
    ExpectFailure("OX_TriggerMeasurement", OX_TriggerMeasurement(), 10, "unknown patch intensity Foo");
    ASSERT_OK(Set("PatchIntensity", "Auto"));
    ExpectFailure("OX_GetTriStimulus", OX_GetTriStimulus(values.data(), 0), 8, "index out of range (0 > 0)");
    ASSERT_OK(OX_TriggerMeasurement());
    ExpectFailure("OX_GetTriStimulus", OX_GetTriStimulus(values.data(), 1), 8, "index out of range (1 > 1)");
    ExpectFailure("OX_GetTriStimulus", OX_GetTriStimulus(values.data(), -2), 10, "index < 0 !");
    ExpectFailure("OX_GetTriStimulus", OX_GetTriStimulus(nullptr, 0), 10, "parameter must not be null");
    EXPECT_OK(OX_GetTriStimulus(values.data(), -1));
    ExpectFailure("OX_TriggerCountedScan", OX_TriggerCountedScan(5), 12, "This device doesn't support scanning");
    ExpectFailure("OX_GetSpectrum", OX_GetSpectrum(values.data(), 0), 12, "This device can measure tristimulus only");
    ExpectFailure("OX_GetDensity", OX_GetDensity(values.data(), 0), 12, "This device doesn't support densities");
    ExpectFailure("OX_GetDensities", OX_GetDensities(nullptr, nullptr, 0), 12, "This device doesn't support densities");
    ExpectFailure("OX_SetSubstrate", OX_SetSubstrate(nullptr), 12, "This device doesn't support densities");
    ExpectFailure("OX_SetOption", Set("MeasurementMode", "SingleAmbientLight"), 6,
                  "this device doesn't have ambient light support");
    ExpectFailure("OX_SetOption", Set("MeasurementMode", "Foo"), 6, "this device doesn't support measure modeFoo");
    ExpectFailure("OX_SetOption", Set("PatchIntensity", ""), 10, "parameter must not be empty");
    EXPECT_STREQ(OX_GetOption("Recognition"), "");
    EXPECT_EQ(LastCode(), OX_InternalError);
    EXPECT_EQ(Option("LastError"), "invalid key Recognition for Orvex-Display");
    EXPECT_STREQ(OX_GetOption("Anything"), "");
    EXPECT_EQ(LastCode(), OX_InvalidParameter);
    ASSERT_OK(Set("Anything", "x"));
    EXPECT_EQ(Option("Anything"), "x");
    EXPECT_EQ(Option("PhysicalFilter"), "1");
    EXPECT_EQ(OX_KeyPressed(), OX_KeyNotPressed);
}

TEST_F(DisplaySession, ReopensAfterAFailureAndAPulledCable)
{
    Attach("colorimeter-20");
    ASSERT_OK(Set("ScreenType", "LCD"));
    ASSERT_EQ(oxv_fault(device, "command", 3, 1, "timeout"), OXV_OK);
    EXPECT_OK(OX_TriggerMeasurement());
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
    ASSERT_EQ(oxv_unplug(device), OXV_OK);
    EXPECT_EQ(OX_IsConnected(), OX_DeviceNotConnected);
    EXPECT_THAT(Option("LastError"), StartsWith("no ox-display connected (code "));
    EXPECT_EQ(Option("Connection"), "no");
    EXPECT_NE(OX_Calibrate(), OX_NoError);
    EXPECT_NE(OX_KeyPressed(), OX_NoError);
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), -1);
    ASSERT_EQ(oxv_plug(device), OXV_OK);
    EXPECT_OK(OX_IsConnected());
    EXPECT_OK(OX_TriggerMeasurement());
    EXPECT_OK(Set("Reset", "OrvexDisplay"));
    EXPECT_EQ(Option("ScreenType"), "not set");
    EXPECT_OK(OX_IsConnected());
}

TEST_F(DisplaySession, StandsBesideASpectrophotometer)
{
    Plug();
    const oxv_device display = oxv_attach("colorimeter-20", "usb");
    ASSERT_GT(display, 0);
    EXPECT_EQ(Option("DeviceType"), "Orvex") << "it comes first";
    CalibrateIn("SingleReflectance");
    ASSERT_OK(Set("DeviceType", "OrvexDisplay"));
    ASSERT_OK(Set("ScreenType", "CRT"));
    EXPECT_OK(OX_TriggerMeasurement());
    ASSERT_OK(Set("DeviceType", "Orvex"));
    Show("sample");
    EXPECT_OK(OX_TriggerMeasurement());
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
    ASSERT_OK(Set("DeviceType", "OrvexDisplay"));
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
    EXPECT_EQ(Option("ScreenType"), "CRT");
}
