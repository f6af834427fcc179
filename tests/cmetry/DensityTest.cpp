// Densities, the measures of the press room, and the density service.

#include "tests/cmetry/Colors.h"
#include "tests/cmetry/Refusals.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/DensityService.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace Vondrel::CMetry;

namespace {

using Mode = DensityFilterMode;
using Standard = DensityStandard;

/// Each test starts and ends without a paper and without a calibration.
class DensityTest : public ::testing::Test {
protected:
    DensityTest() { Clear(); }
    ~DensityTest() override { Clear(); }

private:
    static void Clear()
    {
        BaseCalculator::SetPaperWhitePointer({});
        DensityCalculator::InitializeDensityCalibration();
    }
};

using Density = DensityTest;
using PressMeasure = DensityTest;
using DensityServiceTest = DensityTest;

VDMeasureConditions DensityConditions(const std::string& base, const std::string& mode = "Auto",
                                      const std::string& standard = "DIN")
{
    VDMeasureConditions conditions;
    conditions.SetMeasureCondition("Colorimetric.WhiteBase", base);
    conditions.SetMeasureCondition("Colorimetric.DensityFilterMode", mode);
    conditions.SetMeasureCondition("Colorimetric.DensityStandard", standard);
    return conditions;
}

/// Reflectance 1 but for the points around a wavelength.
VDSpectrum Ink(int wavelength, float reflectance, int reach = 5)
{
    VDSpectrum spectrum = FlatSpectrum(1.0F);
    const int middle = static_cast<int>(VDSpectrum::GetArrayIndex(static_cast<std::int16_t>(wavelength)));
    for (int i = middle - reach; i <= middle + reach; ++i)
        if (i >= 0 && i < 36)
            spectrum[static_cast<std::size_t>(i)] = reflectance;
    return spectrum;
}

VDSpectrum Cyan(float reflectance)
{
    return Ink(620, reflectance, 4);
}

VDDensity Of(const VDSpectrum& spectrum, Standard standard = Standard::DIN, bool paperRelative = false)
{
    VDDensity density;
    EXPECT_TRUE(DensityCalculator::GetDensityVectorWithSlope(spectrum, standard, paperRelative, density));
    return density;
}

VDDensity Densities(float black, float cyan, float magenta, float yellow)
{
    VDDensity density;
    density.SetAllDensities({black, cyan, magenta, yellow});
    return density;
}

}

TEST_F(Density, OfGreysUnderEveryStandard)
{
    for (int number = 0; number <= static_cast<int>(Standard::SPI); ++number) {
        const auto standard = static_cast<Standard>(number);
        for (const auto mode : {Mode::Black, Mode::Cyan, Mode::Magenta, Mode::Yellow}) {
            SCOPED_TRACE(number * 10 + static_cast<int>(mode));
            EXPECT_NEAR(Of(FlatSpectrum(1.0F), standard)[mode], 0.0F, 1e-6);
            EXPECT_NEAR(Of(FlatSpectrum(0.1F), standard)[mode], 1.0F, 1e-6);
            EXPECT_NEAR(Of(FlatSpectrum(0.001F), standard)[mode], 3.0F, 1e-6);
            const float none = mode == Mode::Black ? 11.99F : 9.99F;
            for (const float value : {0.0F, -0.2F, std::numeric_limits<float>::quiet_NaN()})
                EXPECT_EQ(Of(FlatSpectrum(value), standard)[mode], none);
        }
    }
}

TEST_F(Density, NarrowBandReadsOnePoint)
{
    VDSpectrum spectrum = FlatSpectrum(0.5F);
    spectrum[VDSpectrum::GetArrayIndex(620)] = 0.1F;
    spectrum[VDSpectrum::GetArrayIndex(530)] = 0.01F;
    spectrum[VDSpectrum::GetArrayIndex(430)] = 0.001F;
    const VDDensity density = Of(spectrum, Standard::DINNB);
    EXPECT_FLOAT_EQ(density[Mode::Cyan], 1.0F);
    EXPECT_FLOAT_EQ(density[Mode::Magenta], 2.0F);
    EXPECT_FLOAT_EQ(density[Mode::Yellow], 3.0F);
}

TEST_F(Density, ChannelIsSelectedByTheDominantInk)
{
    const struct {
        const char* what;
        VDDensity density;
        Mode channel;
    } cases[] = {
        {"black is highest", Densities(1.5F, 0.3F, 0.2F, 0.1F), Mode::Black},
        {"cyan is highest", Densities(0.5F, 1.2F, 0.4F, 0.1F), Mode::Cyan},
        {"yellow is highest", Densities(0.1F, 0.1F, 0.2F, 1.0F), Mode::Yellow},
        {"three inks alike", Densities(0.5F, 1.0F, 0.9F, 0.8F), Mode::Black},
        {"just dominant", Densities(0.5F, 1.0F, 0.9F, 0.69F), Mode::Cyan},
        {"just not dominant", Densities(0.5F, 1.0F, 0.9F, 0.71F), Mode::Black},
        {"hardly anything", Densities(0.001F, 0.012F, 0.002F, 0.001F), Mode::Cyan},
        {"nearly nothing", Densities(0.005F, 0.001F, 0.002F, 0.003F), Mode::Black},
        {"the first of two", Densities(0.2F, 0.1F, 1.0F, 1.0F), Mode::Magenta},
        {"all negative", Densities(-0.3F, -0.1F, -0.2F, -0.2F), Mode::Black},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(DensityCalculator::GetDensityFilter(c.density), c.channel);
        EXPECT_EQ(c.density.GetDensity(Mode::Auto), c.density[c.channel]);
        EXPECT_EQ(c.density.GetDensity(Mode::Max), 0.0F);
    }
    EXPECT_THROW((void)VDDensity()[Mode::Auto], CMetryException);
    EXPECT_THROW((void)VDDensity().GetDensity(Mode::Undefined), CMetryException);
}

TEST_F(Density, PaperRelativeIsAboveThePaper)
{
    VDDensity density;
    EXPECT_FALSE(DensityCalculator::GetDensityVector(FlatSpectrum(0.1F), Standard::DIN, true, density));
    DensityService::SetPaperWhite(VDSpectrum());
    EXPECT_FALSE(DensityCalculator::GetDensityVector(FlatSpectrum(0.1F), Standard::DIN, true, density));
    DensityService::SetPaperWhite(FlatSpectrum(0.8F));
    ASSERT_TRUE(DensityCalculator::GetDensityVector(FlatSpectrum(0.08F), Standard::DIN, true, density));
    for (const float value : density.GetAllDensities())
        EXPECT_NEAR(value, 1.0F, 1e-6);
}

TEST_F(Density, CalibrationBelongsToFilterAndStandard)
{
    DensityCalculator::SetDensitySlope(PhysicalFilter::No, Standard::DIN, {2.0F, 2.0F, 2.0F, 2.0F});
    DensityCalculator::SetDensityOffset(PhysicalFilter::No, Standard::DIN, {0.1F, 0.1F, 0.1F, 0.1F});
    DensityService::SetPaperWhite(FlatSpectrum(1.0F));
    const VDSpectrum grey = FlatSpectrum(0.1F);
    EXPECT_NEAR(Of(grey)[Mode::Cyan], 2.1F, 1e-6);
    EXPECT_NEAR(Of(grey, Standard::DIN, true)[Mode::Cyan], 2.0F, 1e-6) << "offsets are for absolute densities";
    EXPECT_NEAR(Of(grey, Standard::ANSIT)[Mode::Cyan], 1.0F, 1e-6);
    VDSpectrum polarized = grey;
    polarized.GetMeasureConditions().SetMeasureCondition("Physical.Filter", "Polarizer");
    EXPECT_NEAR(Of(polarized)[Mode::Cyan], 1.0F, 1e-6);
    EXPECT_TRUE(DensityCalculator::ResetDensityCalibration(PhysicalFilter::No, Standard::DIN));
    EXPECT_NEAR(Of(grey)[Mode::Cyan], 1.0F, 1e-6);

    DensityCalculator::FourChannels slope{};
    EXPECT_FALSE(DensityCalculator::GetDensitySlope(PhysicalFilter::No, Standard::Undefined, slope));
    EXPECT_FALSE(DensityCalculator::SetDensityOffset(static_cast<PhysicalFilter>(13), Standard::DIN, slope));
}

TEST_F(Density, MaximumFrom410To700)
{
    const struct {
        const char* what;
        std::vector<std::pair<int, float>> points;
        float density;
        int wavelength;
    } cases[] = {
        {"the smallest reflectance", {{450, 0.1F}, {600, 0.01F}}, 2.0F, 600},
        {"the ends do not count", {{380, 0.001F}, {400, 0.001F}, {710, 0.001F}, {500, 0.1F}}, 1.0F, 500},
        {"the first limit does", {{410, 0.1F}}, 1.0F, 410},
        {"and the last", {{700, 0.1F}}, 1.0F, 700},
        {"nearer to 550 nm", {{450, 0.1F}, {570, 0.1F}}, 1.0F, 570},
        {"equally near: the first", {{540, 0.1F}, {560, 0.1F}}, 1.0F, 540},
        {"the middle itself", {{540, 0.1F}, {550, 0.1F}, {560, 0.1F}}, 1.0F, 550},
        {"no reflectance", {{500, 0.0F}}, 9.99F, 500},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        VDSpectrum spectrum = FlatSpectrum(0.9F);
        for (const auto& [wavelength, value] : c.points)
            spectrum[VDSpectrum::GetArrayIndex(static_cast<std::int16_t>(wavelength))] = value;
        float density = 0.0F;
        std::int16_t wavelength = 0;
        EXPECT_TRUE(DensityCalculator::GetMaxDensity(spectrum, false, density, wavelength));
        EXPECT_FLOAT_EQ(density, c.density);
        EXPECT_EQ(wavelength, c.wavelength);
    }
    float density = 0.0F;
    std::int16_t wavelength = 1;
    const auto nothing = FlatSpectrum(std::numeric_limits<float>::quiet_NaN());
    EXPECT_FALSE(DensityCalculator::GetMaxDensity(nothing, false, density, wavelength));
    EXPECT_EQ(density, InvalidDensity);
    DensityService::SetPaperWhite(VDSpectrum());
    EXPECT_FALSE(DensityCalculator::GetMaxDensity(FlatSpectrum(0.5F), true, density, wavelength)) << "all-zero paper";
    VDSpectrum halfBlack = FlatSpectrum(1.0F);
    for (std::size_t i = 0; i < 18; ++i)
        halfBlack[i] = 0.0F;
    DensityService::SetPaperWhite(halfBlack);
    EXPECT_TRUE(DensityCalculator::GetMaxDensity(FlatSpectrum(0.1F), true, density, wavelength));
    EXPECT_FLOAT_EQ(density, 1.0F) << "where the paper has no reflectance there is no maximum";
}

TEST_F(Density, UserCurvesAreUsedAsTheyAre)
{
    std::array<VDSpectrum, densityChannels> curves;
    curves[0][17] = 100.0F;
    curves[1][24] = 0.25F;
    curves[1][25] = 0.75F;
    curves[2][15] = 1.0F;
    curves[3][5] = 1.0F;
    Of(FlatSpectrum(1.0F), Standard::DIN);
    DensityService::SetUserdefinedFilter(curves);
    VDSpectrum spectrum = FlatSpectrum(1.0F);
    spectrum[24] = 0.1F;
    spectrum[25] = 0.1F;
    EXPECT_FLOAT_EQ(Of(spectrum, Standard::User)[Mode::Cyan], 1.0F);
    EXPECT_NEAR(Of(spectrum, Standard::User)[Mode::Black], 0.0F, 1e-6);
    EXPECT_EQ(DensityService::GetUserdefinedFilter()[1].Values(), curves[1].Values());

    // New curves count from the next change of the standard on.
    curves[1][24] = curves[1][25] = 0.0F;
    curves[1][0] = 1.0F;
    DensityService::SetUserdefinedFilter(curves);
    EXPECT_FLOAT_EQ(Of(spectrum, Standard::User)[Mode::Cyan], 1.0F);
    Of(spectrum, Standard::DIN);
    EXPECT_NEAR(Of(spectrum, Standard::User)[Mode::Cyan], 0.0F, 1e-6);

    DensityFilter::SetUserDensityStandardToDefault();
    EXPECT_EQ(DensityService::GetUserdefinedFilter()[3][35], 1.0F);
}

TEST_F(PressMeasure, DotAreaContrastAndTrapping)
{
    DensityService::SetPaperWhite(FlatSpectrum(1.0F));
    const VDSpectrum solid = Cyan(0.04F), tint = Cyan(0.52F), paper = FlatSpectrum(1.0F);
    float value = 0.0F;
    // Murray-Davies: a dot area of half lies half way in reflectance.
    for (const auto mode : {Mode::Cyan, Mode::Max, Mode::Auto}) {
        SCOPED_TRACE(static_cast<int>(mode));
        ASSERT_TRUE(DensityCalculator::GetDotArea(solid, tint, Standard::DIN, mode, value));
        EXPECT_NEAR(value, 0.5F, 1e-5);
        ASSERT_TRUE(DensityCalculator::GetContrast(solid, tint, Standard::DIN, true, mode, value));
        EXPECT_NEAR(value, 1.0 - std::log10(0.52) / std::log10(0.04), 1e-5);
    }
    // Yule-Nielsen with n = 2: the square roots of the reflectances count.
    ASSERT_TRUE(DensityCalculator::GetDotArea(solid, tint, Standard::DIN, Mode::Cyan, 2.0F, value));
    EXPECT_NEAR(value, (1.0 - std::sqrt(0.52)) / (1.0 - std::sqrt(0.04)), 1e-5);

    ASSERT_TRUE(DensityCalculator::GetDotArea(paper, tint, Standard::DIN, Mode::Cyan, value));
    EXPECT_EQ(value, 0.0F) << "a solid without density";
    ASSERT_TRUE(DensityCalculator::GetContrast(paper, tint, Standard::DIN, true, Mode::Cyan, value));
    EXPECT_EQ(value, 0.0F);
    for (const float n : {0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()})
        EXPECT_FALSE(DensityCalculator::GetDotArea(solid, tint, Standard::DIN, Mode::Cyan, n, value));
    EXPECT_FALSE(DensityCalculator::GetDotArea(solid, tint, Standard::DIN, Mode::Undefined, value));
    EXPECT_FALSE(DensityCalculator::GetDotArea(solid, tint, Standard::Undefined, Mode::Cyan, value));

    // Preucil: 80 percent of the second ink's density is added.
    const VDSpectrum first = Cyan(std::pow(10.0F, -0.3F)), second = Cyan(0.1F), both = Cyan(std::pow(10.0F, -1.1F));
    for (const auto mode : {Mode::Cyan, Mode::Max}) {
        ASSERT_TRUE(DensityCalculator::GetTrapping(first, second, both, Standard::DIN, mode, value));
        EXPECT_NEAR(value, 0.8F, 1e-5);
    }
    ASSERT_TRUE(DensityCalculator::GetTrapping(first, paper, both, Standard::DIN, Mode::Cyan, value));
    EXPECT_EQ(value, 1.0F);
    value = -1.0F;
    const VDDensity ofFirst = Densities(0, 0.3F, 0, 0), ofBoth = Densities(0, 1.1F, 0, 0);
    ASSERT_TRUE(DensityCalculator::GetTrapping(ofFirst, ofFirst, ofBoth, Mode::Max, value));
    EXPECT_EQ(value, 1.0F); // records hold no maximum
    EXPECT_FALSE(DensityCalculator::GetTrapping(ofFirst, ofFirst, ofBoth, Mode::Undefined, value));
}

TEST_F(PressMeasure, GreynessAndHueError)
{
    float value = -1.0F;
    VDSpectrum spectrum = FlatSpectrum(1.0F);
    spectrum[VDSpectrum::GetArrayIndex(620)] = std::pow(10.0F, -1.0F);
    spectrum[VDSpectrum::GetArrayIndex(530)] = std::pow(10.0F, -0.4F);
    spectrum[VDSpectrum::GetArrayIndex(430)] = std::pow(10.0F, -0.2F);
    ASSERT_TRUE(DensityCalculator::GetGreyness(spectrum, Standard::DINNB, false, value, true));
    EXPECT_NEAR(value, 0.2F, 1e-6);
    ASSERT_TRUE(DensityCalculator::GetHueError(spectrum, Standard::DINNB, false, value, false));
    EXPECT_NEAR(value, 0.25F, 1e-6);

    ASSERT_TRUE(DensityCalculator::GetHueError(FlatSpectrum(0.1F), Standard::DINNB, false, value, true));
    EXPECT_EQ(value, 0.0F) << "three equal densities";
    ASSERT_TRUE(DensityCalculator::GetGreyness(FlatSpectrum(1.0F), Standard::DINNB, false, value, true));
    EXPECT_EQ(value, 1.0F);
    EXPECT_FALSE(DensityCalculator::GetGreyness(FlatSpectrum(0.1F), Standard::DIN, true, value, true)) << "no paper";
}

// An amount below 0.01 is no divisor: of a density, and for the dot area of an absorptance.
TEST_F(PressMeasure, DivideByNoDensityNear0)
{
    DensityService::SetPaperWhite(FlatSpectrum(1.0F));
    const auto of = [](double density) { return Cyan(static_cast<float>(std::pow(10.0, -density))); };
    const struct {
        double density;
        bool divides, dividesArea;
    } cases[] = {{-0.02, true, true},    {-0.0098, false, true}, {-0.0042, false, false}, {0, false, false},
                 {0.0043, false, false}, {0.0098, false, true},  {0.0102, true, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.density);
        float area = -1.0F, contrast = -1.0F, trapping = -1.0F, hueError = -1.0F;
        const VDSpectrum solid = of(c.density), tint = of(c.density / 2), both = of(0.3 + c.density / 2);
        ASSERT_TRUE(DensityCalculator::GetDotArea(solid, tint, Standard::DINNB, Mode::Cyan, area));
        ASSERT_TRUE(DensityCalculator::GetContrast(solid, tint, Standard::DINNB, true, Mode::Cyan, contrast));
        ASSERT_TRUE(DensityCalculator::GetTrapping(of(0.3), solid, both, Standard::DINNB, Mode::Cyan, trapping));
        ASSERT_TRUE(DensityCalculator::GetHueError(solid, Standard::DINNB, true, hueError, true));
        const double dots = (1 - std::pow(10, -c.density / 2)) / (1 - std::pow(10, -c.density));
        EXPECT_NEAR(area, c.dividesArea ? dots : 0, 1e-4);
        EXPECT_NEAR(contrast, c.divides ? 0.5 : 0, 1e-4);
        EXPECT_NEAR(trapping, c.divides ? 0.5 : 1, 1e-4);
    }
}

TEST_F(DensityServiceTest, WhiteBaseDecidesAboutThePaper)
{
    const VDSpectrum ink = Cyan(0.1F);
    ExpectText<CMetryException>("Missing WhiteReference",
                                [&] { DensityService::GetDensity(ink, DensityConditions("Automatic")); });
    ExpectText<CMetryException>("Missing WhiteReference",
                                [&] { DensityService::GetDensity(ink, DensityConditions("Paper", "Max")); });
    ExpectText<CMetryException>("Missing WhiteReference",
                                [&] { DensityService::GetDensityFilterName(ink, DensityConditions("Paper")); });
    EXPECT_NEAR(DensityService::GetDensity(ink, DensityConditions("Absolute", "Cyan")), 1.0F, 1e-6);
    ExpectText<CMetryException>("Calculation of Density failed",
                                [&] { DensityService::GetDensity(ink, DensityConditions("Undefined", "Cyan")); });

    DensityService::SetPaperWhite(VDSpectrum());
    for (const char* mode : {"Cyan", "Max", "Auto"})
        ExpectText<CMetryException>("Calculation of Density failed",
                                    [&] { DensityService::GetDensity(ink, DensityConditions("Paper", mode)); });
    DensityService::SetPaperWhite(FlatSpectrum(0.5F));
    const float relative = 1.0F - std::log10(2.0F);
    for (const char* base : {"Paper", "Automatic", "Undefined"})
        for (const char* mode : {"Cyan", "Max", "Auto"})
            EXPECT_NEAR(DensityService::GetDensity(ink, DensityConditions(base, mode)), relative, 1e-6);
    EXPECT_NEAR(DensityService::GetDensity(ink, DensityConditions("Absolute", "Cyan")), 1.0F, 1e-6);
}

TEST_F(DensityServiceTest, NamesTheChannelItReads)
{
    EXPECT_EQ(DensityService::GetDensityFilterName(Cyan(0.1F), DensityConditions("Absolute", "Auto")), "Cyan");
    EXPECT_EQ(DensityService::GetDensityFilterName(Ink(530, 0.1F), DensityConditions("Absolute", "Max")), "Magenta");
    EXPECT_EQ(DensityService::GetDensityFilterName(Ink(430, 0.1F), DensityConditions("Absolute", "Auto")), "Yellow");
    EXPECT_EQ(DensityService::GetDensityFilterName(FlatSpectrum(0.1F), DensityConditions("Absolute", "Auto")), "Black");
    EXPECT_EQ(DensityService::GetDensityFilterName(Cyan(0.1F), DensityConditions("Absolute", "Yellow")), "Yellow");
}

TEST_F(DensityServiceTest, NoReflectanceIsNoDensity)
{
    for (const char* mode : {"Cyan", "Magenta", "Yellow", "Max"})
        ExpectText<CMetryException>("Calculation of Density failed", [&] {
            DensityService::GetDensity(VDSpectrum(), DensityConditions("Absolute", mode));
        });
    EXPECT_EQ(DensityService::GetDensity(VDSpectrum(), DensityConditions("Absolute", "Black")), 11.99F);
    ExpectText<CMetryException>("Calculation of Density failed", [&] {
        DensityService::GetDensity(FlatSpectrum(0.5F), DensityConditions("Absolute", "Cyan", "Undefined"));
    });
}

TEST_F(DensityServiceTest, CalibrationWithUndefinedConditionsIsThatOfAll)
{
    using Pointer = DensityService::FourChannelsPointer;
    VDMeasureConditions all = DensityConditions("Absolute", "Auto", "Undefined");
    all.SetMeasureCondition("Physical.Filter", "Undefined");
    DensityService::SetDensityCalibration(all, Pointer(new DensityService::FourChannels{3.0F, 3.0F, 3.0F, 3.0F}), {});

    VDMeasureConditions one = DensityConditions("Absolute", "Auto", "ANSIT");
    one.SetMeasureCondition("Physical.Filter", "ND0");
    Pointer slope, offset;
    DensityService::GetDensityCalibration(one, slope, offset);
    EXPECT_EQ((*slope)[3], 3.0F);
    EXPECT_EQ((*offset)[3], 0.0F);
    DensityService::SetDensityCalibration(one, {}, Pointer(new DensityService::FourChannels{0.5F, 0.5F, 0.5F, 0.5F}));
    DensityService::GetDensityCalibration(one, slope, offset);
    EXPECT_EQ((*slope)[0], 1.0F);
    EXPECT_EQ((*offset)[0], 0.5F);
    one.SetMeasureCondition("Physical.Filter", "Custom");
    DensityService::GetDensityCalibration(one, slope, offset);
    EXPECT_EQ((*slope)[0], 3.0F) << "another cell";
    ExpectText<CMetryException>("No density calibration for density standard Undefined",
                                [&] { DensityService::GetDensityCalibration(all, slope, offset); });
}

TEST_F(DensityServiceTest, DotGainAndSlurLeaveTheCalibrationAlone)
{
    using Pointer = DensityService::FourChannelsPointer;
    const Pointer slope(new DensityService::FourChannels{2.0F, 2.5F, 3.0F, 3.5F});
    const auto conditions = DensityConditions("Paper", "Cyan");
    auto allFilters = conditions;
    allFilters.SetMeasureCondition("Physical.Filter", "Undefined");
    DensityService::SetDensityCalibration(conditions, slope, slope);
    const auto expectCalibration = [&] {
        Pointer now, offset;
        DensityService::GetDensityCalibration(conditions, now, offset);
        EXPECT_EQ(*now, *slope);
        EXPECT_EQ(*offset, *slope);
        auto polarized = conditions;
        polarized.SetMeasureCondition("Physical.Filter", "Polarizer");
        DensityService::GetDensityCalibration(polarized, now, offset);
        EXPECT_EQ((*now)[0], 1.0F) << "another filter's stays its own";
    };
    const VDSpectrum solid = Cyan(0.04F), tint = Cyan(0.52F), lighter = Cyan(0.616F);

    ExpectText<CMetryException>("Calculation of dot gain failed",
                                [&] { DensityService::GetDotGain(solid, tint, conditions, 40.0F); });
    ExpectText<CMetryException>("Calculation of slur failed at Halftone 0", [&] {
        DensityService::GetSlur({tint, lighter}, solid, conditions);
    });
    expectCalibration();

    DensityService::SetPaperWhite(FlatSpectrum(1.0F));
    EXPECT_NEAR(DensityService::GetDotGain(solid, tint, conditions, 40.0F), 10.0F, 1e-3);
    EXPECT_NEAR(DensityService::GetDotGain(solid, tint, allFilters, 40.0F), 10.0F, 1e-3);
    EXPECT_NEAR(DensityService::GetSlur({tint, lighter, tint}, solid, conditions), 10.0F, 1e-3);
    EXPECT_EQ(DensityService::GetSlur({tint}, solid, conditions), 0.0F);
    EXPECT_EQ(DensityService::GetSlur({}, solid, conditions), 0.0F);
    ExpectText<CMetryException>("Calculation of dot gain failed", [&] {
        DensityService::GetDotGain(solid, tint, DensityConditions("Paper", "Undefined"), 40.0F);
    });
    expectCalibration();
}
