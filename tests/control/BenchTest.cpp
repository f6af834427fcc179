// A script that measures: the control of the built library, with a virtual spectrophotometer. The host brings services
// of its own; it shares with the library their layout, and malloc.

#include "tests/control/Script.h"

#include "orvex/ox.h"

#include <orvex-virtual.h>

#include <cmath>

namespace {

constexpr GUID classId = ORVEX_CONTROL_CLASS_ID;
constexpr float grey = 0.25F;

int failuresHeard = 0;

class BenchScript : public testing::Test {
protected:
    BenchScript()
    {
        OX_SetOption("Reset", "All");
        EXPECT_EQ(oxv_reset(), OXV_OK);
        device = oxv_attach("spectrophotometer", "usb");
        EXPECT_EQ(oxv_set_curve(device, "sample", &grey, 1, 380, 10), OXV_OK);
        failuresHeard = 0;
        OX_RegisterErrorHandler([](const char*, std::int32_t, const char*) { ++failuresHeard; });
    }

    ~BenchScript() override
    {
        script.control.Drop();
        OX_SetOption("Reset", "All");
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
    }

    LONG Number(const std::u16string& method, std::vector<VARIANT> arguments = {}) const
    {
        const Outcome outcome = script.Call(method, std::move(arguments));
        EXPECT_EQ(outcome.status, S_OK);
        EXPECT_EQ(outcome.value.vt, VT_I4);
        return outcome.value.lVal;
    }

    LONG SetOption(const char* key, const char* value) const
    {
        const OwnedString wideKey(FromAnsi(key));
        const OwnedString wideValue(FromAnsi(value));
        return Number(u"SetOption", {Text(wideKey), Text(wideValue)});
    }

    std::string GetOption(const char* key) const
    {
        const OwnedString wideKey(FromAnsi(key));
        return script.Call(u"GetOption", {Text(wideKey)}).AsText();
    }

    void MeasureSpot() const
    {
        EXPECT_EQ(SetOption("MeasurementMode", "SingleReflectance"), OX_NoError);
        EXPECT_EQ(oxv_set_text(device, "position", "tile"), OXV_OK);
        EXPECT_EQ(Number(u"Calibrate"), OX_NoError);
        EXPECT_EQ(oxv_set_text(device, "position", "sample"), OXV_OK);
        EXPECT_EQ(Number(u"TriggerMeasurement"), OX_NoError);
    }

    Script script{classId};
    oxv_device device = 0;
};

}

TEST_F(BenchScript, MeasuresASpot)
{
    EXPECT_EQ(Number(u"IsConnected"), OX_NoError);
    EXPECT_EQ(GetOption("SerialNumber"), "100001");
    EXPECT_EQ(Number(u"KeyPressed"), OX_KeyNotPressed);
    MeasureSpot();
    EXPECT_EQ(GetOption("AvailableSamples"), "1");

    Array spectrum(36);
    EXPECT_EQ(Number(u"GetSpectrum", {spectrum.Passed(), Long(0)}), OX_NoError);
    for (int band = 0; band < 36; ++band)
        EXPECT_NEAR(spectrum.Data()[band], grey, 0.002) << 380 + 10 * band << " nm";

    Array color(3);
    EXPECT_EQ(SetOption("ColorSpaceDescription.Type", "CIEXYZ"), OX_NoError);
    EXPECT_EQ(Number(u"GetTriStimulus", {color.Passed(), Long(0)}), OX_NoError);
    EXPECT_NEAR(color.Data()[1], 100 * grey, 0.2);

    Array densities(4);
    LONG filter = -1;
    float density = 0.0F;
    EXPECT_EQ(Number(u"GetDensities", {densities.Passed(), Referring(VT_I4, &filter), Long(0)}), OX_NoError);
    EXPECT_EQ(Number(u"GetDensity", {Referring(VT_R4, &density), Long(0)}), OX_NoError);
    EXPECT_TRUE(filter >= 0 && filter < 4);
    EXPECT_NEAR(density, -std::log10(grey), 0.01);

    // The sample's own spectrum as its paper: what is printed on it is nothing.
    EXPECT_EQ(SetOption("Colorimetric.WhiteBase", "Paper"), OX_NoError);
    EXPECT_EQ(Number(u"GetDensity", {Referring(VT_R4, &density), Long(0)}), OX_NoSubstrate);
    EXPECT_EQ(Number(u"SetSubstrate", {spectrum.Passed()}), OX_NoError);
    EXPECT_EQ(Number(u"GetDensity", {Referring(VT_R4, &density), Long(0)}), OX_NoError);
    EXPECT_NEAR(density, 0.0, 0.001);
}

TEST_F(BenchScript, IsNotToldWhyItsArrayWasRefused)
{
    MeasureSpot();
    Array fits(36);
    Array shorter(35);
    shorter.Data()[0] = 7.0F;
    EXPECT_EQ(Number(u"GetSpectrum", {fits.Passed(), Long(1)}), OX_IndexOutOfRange);
    EXPECT_EQ(fits.Data()[35], -1000.0F);
    const std::string before = GetOption("LastError");
    EXPECT_NE(before.find("out of range"), std::string::npos) << before;
    EXPECT_EQ(failuresHeard, 1);

    EXPECT_EQ(Number(u"GetSpectrum", {shorter.Passed(), Long(0)}), OX_InvalidParameter);
    EXPECT_EQ(shorter.Data()[0], 7.0F);
    EXPECT_EQ(GetOption("LastError"), before);
    EXPECT_EQ(failuresHeard, 1);

    EXPECT_EQ(Number(u"GetDensity", {Referring(VT_R4, nullptr), Long(0)}), OX_InvalidParameter);
    EXPECT_EQ(GetOption("LastError").find("parameter must not be null"), 0U) << GetOption("LastError");
    EXPECT_EQ(failuresHeard, 2) << "this one went to the library";
}

TEST_F(BenchScript, SeesAPulledCable)
{
    EXPECT_EQ(oxv_unplug(device), OXV_OK);
    EXPECT_EQ(Number(u"IsConnected"), OX_DeviceNotConnected);
    EXPECT_EQ(Number(u"Calibrate"), OX_DeviceNotConnected);
    EXPECT_EQ(GetOption("SerialNumber"), "");
    EXPECT_EQ(oxv_plug(device), OXV_OK);
    MeasureSpot();
}
