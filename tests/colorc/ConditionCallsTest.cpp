// What a conditions object of the public calls takes, refuses and tells.
#include "tests/colorc/ColorConditions.h"
#include "tests/colorc/RandomSpectra.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

using testing::HasSubstr;

namespace {

constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();

TEST(Conditions, AreThoseOfAFreshReflectanceMode)
{
    const Conditions c(oxc_conditions_new());
    EXPECT_STREQ(oxc_get(c.get(), illuminationKey.c_str()), "D65");
    EXPECT_STREQ(oxc_get(c.get(), observerKey.c_str()), "TwoDegree");
    EXPECT_STREQ(oxc_get(c.get(), whiteBaseKey.c_str()), "Absolute");
    EXPECT_STREQ(oxc_get(c.get(), standardKey.c_str()), "DIN");
    EXPECT_STREQ(oxc_get(c.get(), filterKey.c_str()), "Auto");
    EXPECT_STREQ(oxc_get(c.get(), spaceKey.c_str()), "CIELab");
    EXPECT_STREQ(oxc_get(c.get(), formulaKey.c_str()), "CIELab");
    EXPECT_STREQ(oxc_get(c.get(), "Physical.Filter"), "");
    EXPECT_STREQ(oxc_get(nullptr, spaceKey.c_str()), "");
    EXPECT_STREQ(oxc_get(c.get(), nullptr), "");
}

TEST(Conditions, EveryOfferedValueIsTakenAndReadsBack)
{
    const Conditions c(oxc_conditions_new());
    const std::pair<std::string, std::size_t> keys[] = {{illuminationKey, 21}, {observerKey, 2}, {whiteBaseKey, 3},
                                                        {standardKey, 8},      {filterKey, 6},   {spaceKey, 14},
                                                        {formulaKey, 7}};
    for (const auto& [key, count] : keys) {
        EXPECT_EQ(Values(key).size(), count) << key;
        for (const auto& value : Values(key)) {
            EXPECT_EQ(oxc_set(c.get(), key.c_str(), value.c_str()), OX_NoError) << value;
            EXPECT_STREQ(oxc_get(c.get(), key.c_str()), value.c_str());
        }
    }
    EXPECT_EQ(oxc_set(c.get(), illuminationKey.c_str(), "Dxx, Temperature:5500"), OX_NoError);
    EXPECT_STREQ(oxc_get(c.get(), illuminationKey.c_str()), "Dxx, Temperature:5500");
    EXPECT_EQ(oxc_value("Physical.Filter", 0), nullptr);
    EXPECT_EQ(oxc_value(nullptr, 0), nullptr);
}

TEST(Conditions, ARefusalChangesNothing)
{
    const struct {
        const char *key, *value, *text;
    } cases[] = {
        {"Colorimetric.Illumination", "D93", "D93 is not a valid illuminationtype"},
        {"Colorimetric.Illumination", "Fluorescent", ""},
        {"Colorimetric.Observer", "2", "2 is not a valid observertype"},
        {"ColorSpaceDescription.Type", "Lab", "Lab is not a valid color space"},
        {"Physical.Filter", "No", "unknown key"},
        {"CustomCondition", "Enable", "unknown key"},
        {nullptr, "No", "parameter must not be null"},
        {"Colorimetric.Observer", nullptr, "parameter must not be null"},
    };
    const Conditions c(oxc_conditions_new());
    for (const auto& each : cases) {
        EXPECT_EQ(oxc_set(c.get(), each.key, each.value), OX_InvalidParameter);
        EXPECT_THAT(oxc_error(), HasSubstr(each.text));
        EXPECT_STRNE(oxc_error(), "");
    }
    EXPECT_STREQ(oxc_get(c.get(), illuminationKey.c_str()), "D65");
    EXPECT_STREQ(oxc_get(c.get(), observerKey.c_str()), "TwoDegree");
    EXPECT_EQ(oxc_set(nullptr, "Colorimetric.Observer", "TwoDegree"), OX_InvalidParameter);
    EXPECT_EQ(oxc_set(c.get(), "Colorimetric.Observer", "TenDegree"), OX_NoError);
    EXPECT_STREQ(oxc_error(), "");
}

TEST(Conditions, CopiesAreTheirOwn)
{
    const auto spectra = RandomSpectra(4, 1);
    const Conditions c(oxc_conditions_new());
    EXPECT_EQ(oxc_set_illuminant(c.get(), &spectra[3 * OXC_BANDS]), OX_NoError);
    EXPECT_STREQ(oxc_get(c.get(), illuminationKey.c_str()), "Userdefined");
    const Conditions copy(oxc_conditions_copy(c.get()));
    float mine[3], theirs[3];
    EXPECT_EQ(oxc_set(c.get(), illuminationKey.c_str(), "A"), OX_NoError);
    EXPECT_EQ(oxc_colors(c.get(), &spectra[2 * OXC_BANDS], 1, mine), OX_NoError);
    EXPECT_EQ(oxc_set(c.get(), illuminationKey.c_str(), "Userdefined"), OX_NoError); // it was kept
    EXPECT_EQ(oxc_colors(c.get(), &spectra[2 * OXC_BANDS], 1, mine), OX_NoError);
    EXPECT_EQ(oxc_colors(copy.get(), &spectra[2 * OXC_BANDS], 1, theirs), OX_NoError);
    EXPECT_TRUE(std::equal(mine, mine + 3, theirs));
    EXPECT_EQ(oxc_conditions_copy(nullptr), nullptr);
    oxc_conditions_free(nullptr);
}

TEST(Conditions, TakeNoIlluminantAndNoPaperThatMakesNoSense)
{
    const Conditions c(oxc_conditions_new());
    std::vector<float> spectrum(OXC_BANDS, 0.0F);
    EXPECT_EQ(oxc_set_illuminant(c.get(), spectrum.data()), OX_InvalidParameter);
    EXPECT_EQ(oxc_set_paper(c.get(), spectrum.data()), OX_InvalidParameter);
    spectrum[20] = noNumber;
    EXPECT_EQ(oxc_set_illuminant(c.get(), spectrum.data()), OX_InvalidParameter);
    EXPECT_EQ(oxc_set_paper(c.get(), spectrum.data()), OX_InvalidParameter);
    EXPECT_EQ(oxc_set_illuminant(c.get(), nullptr), OX_InvalidParameter);
    EXPECT_STREQ(oxc_get(c.get(), illuminationKey.c_str()), "D65");

    // Conditions that give no weights can be set, but nothing can be computed.
    float color[3];
    const auto white = RandomSpectra(2, 1);
    for (const char* illumination : {"Userdefined", "F13", "Dxx, Temperature:0"}) {
        EXPECT_EQ(oxc_set(c.get(), illuminationKey.c_str(), illumination), OX_NoError);
        EXPECT_EQ(oxc_colors(c.get(), &white[OXC_BANDS], 1, color), OX_CalculationFailed);
        EXPECT_STRNE(oxc_error(), "");
    }
    // Light without blue has a white, but none for Lab.
    spectrum.assign(OXC_BANDS, 0.0F);
    spectrum[30] = 1.0F;
    EXPECT_EQ(oxc_set_illuminant(c.get(), spectrum.data()), OX_NoError);
    EXPECT_EQ(oxc_colors(c.get(), &white[OXC_BANDS], 1, color), OX_CalculationFailed);
    EXPECT_EQ(oxc_set(c.get(), spaceKey.c_str(), "CIEXYZ"), OX_NoError);
    EXPECT_EQ(oxc_colors(c.get(), &white[OXC_BANDS], 1, color), OX_NoError);
}

}
