// Texts to numbers, samples by index, messages to the application.

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/ColorMetryProvider.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SampleCache.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "orvex/ox.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace OrvexSDK;

namespace {

void ExpectError(std::int32_t code, const std::string& text, const std::function<void()>& call)
{
    try {
        call();
        ADD_FAILURE() << "no error, expected: " << text;
    } catch (const SDKError& e) {
        EXPECT_EQ(e.Code(), code);
        EXPECT_EQ(e.what(), text);
    }
}

TEST(Vocabulary, ModesAreTranslatedBothWays)
{
    for (std::int32_t mode = 0; mode <= 4; ++mode)
        EXPECT_EQ(TranslateMeasureMode(TranslateMeasureMode(mode)), mode);
    EXPECT_EQ(TranslateMeasureMode("ScanningAmbientLight"), 4);
    ExpectError(OX_InvalidParameter, "Unknown measure mode 5", [] { TranslateMeasureMode(5); });
    ExpectError(OX_InvalidParameter, "Unknown measure mode -1", [] { TranslateMeasureMode(-1); });
    ExpectError(OX_InvalidParameter, "No such measure interface singleemission",
                [] { TranslateMeasureMode("singleemission"); });
    ExpectError(OX_InvalidParameter, "unknown key Beep", [] { TranslateKey("Beep"); });
    ExpectError(OX_InvalidParameter, "Unknown device message 20012", [] { TranslateDeviceMessage(20012); });
    EXPECT_EQ(TranslateDeviceMessage(20010), 1);
    EXPECT_EQ(TranslateDeviceMessage(20011), 0);
}

TEST(SampleCache, AnIndexIsCheckedAndMinusOneIsTheFirst)
{
    SampleCache cache;
    ExpectError(OX_IndexOutOfRange, "index 0 out of range", [&] { cache[0xFFFFFFFF]; });
    for (const float value : {1.0F, 2.0F, 3.0F})
        cache.Append(&value, 1);
    EXPECT_EQ(cache[2], std::vector<float>{3.0F});
    EXPECT_EQ(cache[0xFFFFFFFF], std::vector<float>{1.0F});
    ExpectError(OX_IndexOutOfRange, "index 3 out of range", [&] { cache[3]; });
    ExpectError(OX_IndexOutOfRange, "index 4294967294 out of range", [&] { cache[static_cast<std::uint32_t>(-2)]; });
    cache = std::vector<float>{7.0F, 8.0F};
    EXPECT_EQ(cache.Count(), 1);
}

TEST(ColorMetryProvider, DensitiesLeaveTheFilterModeAsItWas)
{
    ColorMetryProvider provider;
    provider.SetCondition("Colorimetric.DensityFilterMode", "Cyan");
    std::vector<float> magenta(36, 0.8F);
    for (int band = 12; band < 20; ++band)
        magenta[static_cast<std::size_t>(band)] = 0.05F;
    const auto [densities, filter] = provider.GetDensities(magenta);
    EXPECT_EQ(filter, "Magenta");
    EXPECT_GT(densities[1], densities[0]);
    EXPECT_GT(densities[1], densities[2]);
    EXPECT_EQ(provider.GetCondition("Colorimetric.DensityFilterMode"), "Cyan");
    EXPECT_FLOAT_EQ(provider.GetDensity(magenta).first, densities[0]);
    EXPECT_EQ(provider.GetDensity(magenta).second, "Cyan");

    provider.SetCondition("Colorimetric.WhiteBase", "Paper");
    ExpectError(OX_NoSubstrate, "no substrate set", [&] { provider.GetDensities(magenta); });
    EXPECT_EQ(provider.GetCondition("Colorimetric.DensityFilterMode"), "Cyan") << "also after a failure";
    provider.SetDensitySubstrat(std::vector<float>(36, 0.0F).data());
    ExpectError(OX_NoSubstrate, "no substrate set", [&] { provider.GetDensity(magenta); });
    provider.SetDensitySubstrat(magenta.data());
    EXPECT_NEAR(provider.GetDensity(magenta).first, 0.0F, 1e-6F) << "the paper itself";
    EXPECT_EQ(ColorMetryProvider::GetFilterIndex("Black"), 3);
    EXPECT_EQ(ColorMetryProvider::GetFilterIndex("not set"), 4);
}

}
