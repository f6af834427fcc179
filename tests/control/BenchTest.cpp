// A script that measures: the control of the built library, with a virtual spectrophotometer. The host brings services
// of its own; it shares with the library their layout, and malloc.

#include "tests/control/Script.h"

#include "orvex/ox.h"

#include <orvex-virtual.h>

namespace {

int failuresHeard = 0;

}

TEST(BenchScript, IsNotToldWhyItsArrayWasRefused)
{
    OX_SetOption("Reset", "All");
    EXPECT_EQ(oxv_reset(), OXV_OK);
    EXPECT_GT(oxv_attach("spectrophotometer", "usb"), 0);
    OX_RegisterErrorHandler([](const char*, std::int32_t, const char*) { ++failuresHeard; });
    Script script(ORVEX_CONTROL_CLASS_ID);
    const auto number = [&](const std::u16string& method, std::vector<VARIANT> arguments = {}) {
        return script.Call(method, std::move(arguments)).value.lVal;
    };
    const OwnedString key(FromAnsi("LastError"));
    const auto lastError = [&] { return script.Call(u"GetOption", {Text(key)}).AsText(); };
    EXPECT_EQ(number(u"Calibrate"), OX_NoError);
    EXPECT_EQ(number(u"TriggerMeasurement"), OX_NoError);

    Array fits(36);
    Array shorter(35);
    shorter.Data()[0] = 7.0F;
    EXPECT_EQ(number(u"GetSpectrum", {fits.Passed(), Long(0)}), OX_NoError);
    EXPECT_NEAR(fits.Data()[35], 0.93, 0.002) << "the white tile at 730 nm";
    EXPECT_EQ(number(u"GetSpectrum", {fits.Passed(), Long(1)}), OX_IndexOutOfRange);
    EXPECT_EQ(fits.Data()[35], -1000.0F);
    const std::string before = lastError();
    EXPECT_NE(before.find("out of range"), std::string::npos) << before;
    EXPECT_EQ(number(u"GetSpectrum", {shorter.Passed(), Long(0)}), OX_InvalidParameter);
    EXPECT_EQ(shorter.Data()[0], 7.0F);
    EXPECT_EQ(lastError(), before);
    EXPECT_EQ(failuresHeard, 1);

    EXPECT_EQ(number(u"GetDensity", {Referring(VT_R4, nullptr), Long(0)}), OX_InvalidParameter);
    EXPECT_EQ(lastError(), "parameter must not be null");
    EXPECT_EQ(failuresHeard, 2) << "this one went to the library";
    script.control.Drop();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    OX_SetOption("Reset", "All");
}
