// Which device the exported calls work on.

#include "orvex/ox.h"
#include "tests/frame/ScriptedDevice.h"
#include "tests/support/LockName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using testing::HasSubstr;

namespace {

class Contexts : public testing::Test {
protected:
    void SetUp() override
    {
        OX_SetOption("Reset", "All");
        Scripted() = {};
    }

    void TearDown() override { OX_SetOption("Reset", "All"); }

    static std::string DeviceType() { return OX_GetOption("DeviceType"); }
};

TEST_F(Contexts, TheFirstDetectionChoosesAndAResetOfAllDetectsAnew)
{
    EXPECT_EQ(DeviceType(), "Orvex0");
    Scripted().colorimeterAttached = true;
    EXPECT_EQ(DeviceType(), "Orvex0") << "detected once";
    EXPECT_EQ(OX_SetOption("Reset", "All"), OX_NoError);
    EXPECT_EQ(Scripted().alive, 0);
    EXPECT_EQ(DeviceType(), "OrvexDisplay");
}

TEST_F(Contexts, AForkedChildMakesItsOwn)
{
    EXPECT_EQ(DeviceType(), "Orvex0");
    EXPECT_TRUE(InChild([] { return DeviceType() == "Orvex0" && Scripted().alive == 2; }));
    EXPECT_EQ(Scripted().alive, 1);
}

TEST_F(Contexts, DeviceTypeTextsAreTranslatedOrRefused)
{
    const struct {
        const char* text;
        OX_Result code;
        const char* current; ///< afterwards
    } cases[] = {
        {"Orvex12", OX_NoError, "Orvex12"},           {"Orvex127", OX_NoError, "Orvex127"},
        {"Orvex128", OX_NotAvailable, "Orvex127"},    {"Orvex200", OX_NotAvailable, "Orvex127"},
        {"Orvex1000", OX_NotAvailable, "Orvex127"},   {"Orvex-1", OX_NotAvailable, "Orvex127"},
        {"OrvexX", OX_InternalError, "Orvex127"},     {"orvex", OX_NotAvailable, "Orvex127"},
        {"Abacus", OX_NotAvailable, "Orvex127"},      {"Orvex99999999999", OX_InternalError, "Orvex127"},
        {"OrvexDisplay", OX_NoError, "OrvexDisplay"}, {"Orvex", OX_NoError, "Orvex0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(OX_SetOption("DeviceType", c.text), c.code);
        EXPECT_EQ(DeviceType(), c.current);
    }
    OX_SetOption("DeviceType", "OrvexX");
    EXPECT_THAT(OX_GetOption("LastError"),
                testing::MatchesRegex("lexical_cast\\(\\): .* 'X' from std::.*string.* to long\n.*"));
    OX_SetOption("DeviceType", "Abacus");
    EXPECT_STREQ(OX_GetOption("LastError"), "unknown device type \"Abacus\"");
    EXPECT_EQ(OX_SetOption("Reset", "Orvex200"), OX_NotAvailable);
}

TEST_F(Contexts, SwitchingKeepsBothAndErasingMakesAFreshOne)
{
    static int calls;
    calls = 0;
    const auto handler = [](const char*, int32_t, const char*) { ++calls; };
    OX_RegisterErrorHandler(handler);
    OX_SetOption("DeviceType", "OrvexDisplay");
    EXPECT_EQ(OX_RegisterErrorHandler(nullptr), nullptr) << "a handler belongs to its context";
    OX_SetOption("DeviceType", "Orvex");
    EXPECT_EQ(Scripted().alive, 2);
    EXPECT_NE(OX_RegisterErrorHandler(handler), nullptr);

    OX_SetOption("DeviceType", "OrvexDisplay");
    EXPECT_EQ(OX_SetOption("Reset", "Orvex"), OX_NoError);
    EXPECT_EQ(Scripted().alive, 1);
    EXPECT_EQ(DeviceType(), "Orvex0") << "the erased one is current, whatever was before";
    EXPECT_EQ(OX_RegisterErrorHandler(nullptr), nullptr) << "its handlers are gone";
}

TEST_F(Contexts, AHandlerThatCallsBackWhileAllIsResetFindsANewContext)
{
    OX_GetOption("Version");
    static int32_t samples;
    samples = 0;
    Scripted().farewell = [] {
        Scripted().farewell = [] {};
        samples = OX_GetNumberOfAvailableSamples();
    };
    EXPECT_EQ(OX_SetOption("Reset", "All"), OX_NoError);
    EXPECT_EQ(samples, 3);
    EXPECT_EQ(Scripted().alive, 1);
}

TEST_F(Contexts, AModeHasItsOwnStateUntilItIsReset)
{
    const auto observer = [] { return std::string(OX_GetOption("Colorimetric.Observer")); };
    OX_SetOption("Colorimetric.Observer", "TenDegree");
    Scripted().mode = 2;
    EXPECT_EQ(observer(), "TwoDegree");
    EXPECT_EQ(OX_SetOption("Reset", "SingleEmission"), OX_NoError);
    Scripted().mode = 0;
    EXPECT_EQ(observer(), "TenDegree");
    EXPECT_EQ(OX_SetOption("MeasurementMode", "Reset"), OX_NoError);
    EXPECT_THAT(Scripted().calls, testing::Contains("0 get MeasurementMode"));
    EXPECT_EQ(observer(), "TwoDegree");
    EXPECT_EQ(OX_SetOption("Reset", "NoMode"), OX_InvalidParameter);
    EXPECT_STREQ(OX_GetOption("LastError"), "No such measure interface NoMode");
    EXPECT_EQ(OX_SetOption("MeasurementMode", "ResetAll"), OX_NoError);
    EXPECT_EQ(Scripted().alive, 0);
}

}
