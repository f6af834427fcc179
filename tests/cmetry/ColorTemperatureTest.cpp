// Colour temperature, colour rendering, and the way back from a colour to a spectrum.

#include "tests/cmetry/Colors.h"
#include "tests/cmetry/Refusals.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/CMetry/DensityService.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/ColorRenderingIndex.h"
#include "Vondrel/CMetry/Internals/ColorTemperature.h"
#include "Vondrel/CMetry/Internals/Lab2Spec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

using namespace Vondrel::CMetry;

namespace {

VDSpectrum Emission(const VDSpectrum::ValueArray& values)
{
    return VDSpectrum(values, Conditions(ColorSpace::CIEXYZ, IlluminationTYPE::Emission));
}

VDSpectrum Emission(const StandardFilter& table)
{
    VDSpectrum::ValueArray values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int wavelength = VDSpectrum::GetWaveLength(i);
        values[i] =
            table.GetFilter()[static_cast<std::size_t>((wavelength - table.GetMinWavelength()) / table.GetStepSize())];
    }
    return Emission(values);
}

VDSpectrum Illuminant(IlluminationTYPE type, int fValue = 0)
{
    VDIllumination illumination(type);
    illumination.SetFValue(static_cast<std::uint8_t>(fValue));
    return Emission(CMetryFilter::GetIlluFilter(illumination));
}

/// F1 to F12 as an instrument of 10 nm bandwidth sees it: the triangular mean over the table's 5 nm.
VDSpectrum Lamp(std::size_t number)
{
    const float* table = illuminantsF[number - 1].values;
    VDSpectrum::ValueArray values;
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = (table[i == 0 ? 0 : 2 * i - 1] + 2 * table[2 * i] + table[2 * i + 1]) / 4;
    return Emission(values);
}

/// A column of the measured and published light sources.
VDSpectrum Source(const std::string& name)
{
    std::ifstream file(ORVEX_TEST_DATA "/sources.csv");
    VDSpectrum::ValueArray values{};
    std::size_t column = 0;
    std::string line;
    for (std::size_t row = 0; std::getline(file, line); ++row) {
        std::istringstream cells(line);
        std::string cell;
        for (std::size_t i = 0; std::getline(cells, cell, ','); ++i) {
            if (row == 0 && cell == name)
                column = i;
            else if (row > 0 && i == column)
                values.at(row - 1) = std::stof(cell);
        }
    }
    EXPECT_GT(column, 0U) << "no source " << name;
    return Emission(values);
}

float Index(const VDSpectrum& light)
{
    float index = -1.0F;
    std::string reference;
    CMetryService::GetColorRenderingIndex(light, index, reference);
    return index;
}

VDSpectrum Planck(float temperature)
{
    return ColorTemperature().GetPlanckRadiator(temperature, VDMeasureConditions());
}

}

TEST(ColorTemperature, APlanckRadiatorHasItsOwn)
{
    for (const float temperature : {300.0F, 1000.0F, 2848.0F, 4999.0F, 6500.0F, 10000.0F, 25000.0F, 100000.0F})
        EXPECT_EQ(CMetryService::GetColorTemperature(Planck(temperature)), temperature);
}

TEST(ColorTemperature, ThePlanckRadiatorHasItsConstants)
{
    for (const float temperature : {2000.0F, 6500.0F}) {
        const VDSpectrum radiator = Planck(temperature);
        for (const std::size_t i : {0U, 18U, 35U}) {
            const double metres = VDSpectrum::GetWaveLength(i) * 1e-9;
            const double expected =
                1.19104678203084e-16 / std::pow(metres, 5) / std::expm1(0.014388443415906128 / (metres * temperature));
            EXPECT_NEAR(radiator[i] / expected, 1.0, 1e-7);
        }
    }
}

// Correlated colour temperatures in the tables of CIE 15, Colorimetry. A white under an illuminant has the colour of
// the illuminant. Those of the fluorescent lamps are published to 10 K.
TEST(ColorTemperature, WhitesUnderTheIlluminantsOfTheCIE)
{
    const struct {
        const char* illumination;
        float published, tolerance;
    } cases[] = {
        {"A", 2856, 2},   {"D50", 5003, 2}, {"D55", 5503, 2},  {"D65", 6504, 2},  {"D75", 7504, 2},  {"F1", 6430, 10},
        {"F2", 4230, 10}, {"F3", 3450, 10}, {"F4", 2940, 10},  {"F5", 6350, 10},  {"F6", 4150, 10},  {"F7", 6500, 10},
        {"F8", 5000, 10}, {"F9", 4150, 10}, {"F10", 5000, 10}, {"F11", 4000, 10}, {"F12", 3000, 10},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.illumination);
        VDSpectrum white = FlatSpectrum(1.0F);
        white.GetMeasureConditions().SetMeasureCondition("Colorimetric.Illumination", c.illumination);
        EXPECT_NEAR(CMetryService::GetColorTemperature(white), c.published, c.tolerance);
    }
}

// The same illuminants as emission, sampled on the points of a spectrum: the smooth ones keep their temperature.
TEST(ColorTemperature, SampledIlluminants)
{
    EXPECT_NEAR(CMetryService::GetColorTemperature(Illuminant(IlluminationTYPE::A)), 2856, 2);
    EXPECT_NEAR(CMetryService::GetColorTemperature(Illuminant(IlluminationTYPE::D65)), 6507, 2);
    // CIE 15:2018, table of the typical LED sources.
    EXPECT_NEAR(CMetryService::GetColorTemperature(Source("cie_led_b3")), 4103, 2);
    EXPECT_NEAR(CMetryService::GetColorTemperature(Source("cie_led_rgb1")), 2840, 2);
}

TEST(ColorTemperature, WithoutOneItIsMinusOne)
{
    VDSpectrum purple, negative = FlatSpectrum(-1.0F), notANumber = FlatSpectrum(1.0F), infinite = FlatSpectrum(1.0F);
    purple[2] = purple[34] = 1.0F;
    notANumber[17] = std::numeric_limits<float>::quiet_NaN();
    infinite[17] = std::numeric_limits<float>::infinity();
    VDSpectrum noObserver = FlatSpectrum(1.0F), noLight = FlatSpectrum(1.0F), paper = FlatSpectrum(1.0F);
    noObserver.GetMeasureConditions().SetMeasureCondition("Colorimetric.Observer", "Undefined");
    noLight.GetMeasureConditions().SetMeasureCondition("Colorimetric.Illumination", "Userdefined");
    paper.GetMeasureConditions().SetMeasureCondition("Colorimetric.WhiteBase", "Paper");
    BaseCalculator::SetPaperWhitePointer({});
    for (const auto& spectrum : {VDSpectrum(), notANumber, infinite, noObserver, noLight, paper})
        EXPECT_EQ(CMetryService::GetColorTemperature(spectrum), -1.0F);
    // Colours far from the locus, whatever their number: an answer, and no more.
    for (const auto& spectrum : {purple, negative})
        EXPECT_GE(CMetryService::GetColorTemperature(spectrum), -1.0F);
}

TEST(ColorTemperature, PlanckRadiatorNeedsATemperature)
{
    const ColorTemperature colorTemperature;
    const VDXYZ white = colorTemperature.GetPlanckRadiatorXYZ(6500.0F, VDMeasureConditions());
    EXPECT_EQ(white[1], 100.0F);
    EXPECT_EQ(white.GetMeasureConditions().GetColorSpace(), ColorSpace::CIEXYZ);
    EXPECT_THROW(colorTemperature.GetPlanckRadiatorXYZ(0.0F, VDMeasureConditions()), CMetryException);
}

TEST(ColorRenderingIndex, OfAReferenceIsAHundred)
{
    const struct {
        const char* what;
        VDSpectrum light;
        const char* reference;
    } cases[] = {
        {"2700 K", Planck(2700.0F), ""},
        {"just below 5000 K", Planck(4999.0F), ""},
        {"D50", Illuminant(IlluminationTYPE::D50), "D50"},
        {"D55", Illuminant(IlluminationTYPE::D55), "D55"},
        {"D65", Illuminant(IlluminationTYPE::D65), "D65"},
        {"D75", Illuminant(IlluminationTYPE::D75), "D75"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        float index = 0.0F;
        std::string reference = "before";
        EXPECT_TRUE(CMetryService::GetColorRenderingIndex(c.light, index, reference));
        EXPECT_EQ(index, 100.0F);
        EXPECT_EQ(reference, c.reference);
    }
    float index = 0.0F;
    std::string reference;
    CMetryService::GetColorRenderingIndex(Planck(5000.0F), index, reference);
    EXPECT_EQ(reference, "D50") << "from 5000 K on a daylight";
}

// Computed apart from the library, on the same samples and grid: the light at 1 nm by Lagrange's polynomials, the sums
// in double precision. The indices that CIE 15 gives for F1 to F12 are the same but for 1.
TEST(ColorRenderingIndex, IsThatOfAnIndependentComputation)
{
    const float ofLamps[] = {76, 65, 57, 52, 73, 60, 90, 96, 91, 80, 82, 82};
    for (std::size_t number = 1; number <= std::size(ofLamps); ++number)
        EXPECT_EQ(Index(Lamp(number)), ofLamps[number - 1]) << "F" << number;
    const struct {
        const char* source;
        float index;
    } cases[] = {
        {"incandescent", 100},
        {"fluorescent_cool_white", 63},
        {"fluorescent_daylight", 78},
        {"fluorescent_triphosphor", 83},
        {"high_pressure_sodium", 25},
        {"mercury", 30},
        {"metal_halide", 50},
        {"led_phosphor_yag", 81},
        {"led_phosphor_warm", 92},
        {"led_rgb_457_540_605", 79},
        {"led_rgba_461_526_576_624", 97},
        {"cie_led_b3", 85},
        {"cie_led_rgb1", 58},
        {"cie_hp1", 16},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Index(Source(c.source)), c.index) << c.source;
}

TEST(ColorRenderingIndex, IsValidWithin54TenThousandthsOfItsReference)
{
    const auto chromaticity = [](const VDSpectrum& light) {
        return CMetryService::GetVector(light, Conditions(ColorSpace::CIEuvY1960, IlluminationTYPE::Emission));
    };
    // Planck radiators and daylights, and more and more of a green line on top of them.
    int limits = 0;
    for (const auto& base : {Planck(3000.0F), Planck(4500.0F), Illuminant(IlluminationTYPE::D65)}) {
        bool before = true;
        for (int step = 0; step < 100; ++step) {
            SCOPED_TRACE(step);
            VDSpectrum light = base;
            light[15] *= 1.0F + 0.02F * static_cast<float>(step);
            float index = 0.0F;
            std::string reference;
            const bool valid = CMetryService::GetColorRenderingIndex(light, index, reference);
            const float temperature = CMetryService::GetColorTemperature(light);
            const auto source = chromaticity(light);
            double distance = 1.0;
            if (temperature < 5000.0F) {
                EXPECT_EQ(reference, "");
                const auto ideal = chromaticity(Planck(temperature));
                distance = std::hypot(source[0] - ideal[0], source[1] - ideal[1]);
            } else {
                std::string nearest;
                for (const auto& [type, name] : {std::pair(IlluminationTYPE::D50, "D50"),
                                                 {IlluminationTYPE::D55, "D55"},
                                                 {IlluminationTYPE::D65, "D65"},
                                                 {IlluminationTYPE::D75, "D75"}}) {
                    const auto table = chromaticity(Illuminant(type));
                    const double to = std::hypot(source[0] - table[0], source[1] - table[1]);
                    if (to < distance) {
                        distance = to;
                        nearest = name;
                    }
                }
                EXPECT_EQ(reference, nearest);
            }
            EXPECT_EQ(valid, distance <= 0.0054) << distance;
            limits += before && !valid;
            before = valid;
        }
    }
    EXPECT_EQ(limits, 3) << "each light starts within the limit and leaves it";
}

TEST(ColorRenderingIndex, ALightWithoutTemperatureHasNone)
{
    float index = 55.0F;
    std::string reference = "before";
    EXPECT_FALSE(CMetryService::GetColorRenderingIndex(VDSpectrum(), index, reference));
    EXPECT_EQ(index, 0.0F);
    EXPECT_EQ(reference, "");

    VDSpectrum laser;
    laser[15] = 1.0F; // 530 nm: far from every reference, but with an index
    EXPECT_FALSE(CMetryService::GetColorRenderingIndex(Emission(laser.Values()), index, reference));
}

TEST(ColorRenderingIndex, DoesNotDependOnTheScale)
{
    VDSpectrum lamp = Lamp(11);
    const float index = Index(lamp);
    for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
        lamp[i] *= 0.001F;
    EXPECT_EQ(Index(lamp), index);
}

TEST(EstimatedSpectrum, HasTheColourThatWasAskedFor)
{
    RandomColors random;
    for (const auto type : {IlluminationTYPE::D50, IlluminationTYPE::A, IlluminationTYPE::F11}) {
        for (int i = 0; i < 60; ++i) {
            SCOPED_TRACE(i);
            const auto conditions =
                Conditions(ColorSpace::CIELab, type, i % 2 == 0 ? Observer::TwoDegree : Observer::TenDegree);
            const VDColorVector lab = CMetryService::GetVector(random.Reflectance(), conditions);
            const VDSpectrum spectrum = CMetryService::GetSpectrum(lab);
            EXPECT_LT(CMetryService::GetDeltaE(lab, CMetryService::GetVector(spectrum, conditions)), 0.1F);
            VDColorVector xyz;
            ASSERT_TRUE(CMetryCalculator::GetVector_CIEXYZ(spectrum, conditions, xyz));
            xyz -= CMetryService::GetVector(lab, ColorSpace::CIEXYZ);
            EXPECT_LT(xyz.Length(), std::sqrt(0.001)) << "near in XYZ too";
            for (const float value : spectrum.Values()) {
                EXPECT_GE(value, 0.0F);
                EXPECT_LE(value, 1.0F);
            }
        }
    }
}

TEST(EstimatedSpectrum, TakesXYZAndKeepsTheConditions)
{
    const auto conditions = Conditions(ColorSpace::CIEXYZ);
    const VDColorVector xyz = CMetryService::GetVector(FlatSpectrum(0.2F), conditions);
    const VDSpectrum spectrum = CMetryService::GetSpectrum(xyz);
    EXPECT_EQ(spectrum.GetMeasureConditions().GetIllumination().GetIlluminationTYPE(), IlluminationTYPE::D50);
    EXPECT_NEAR(CMetryService::GetVector(spectrum, conditions)[1], xyz[1], 0.05);
}

TEST(EstimatedSpectrum, RefusesWhatNoReflectanceGives)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    for (const auto& lab : {Lab(50, 150, 0), Lab(120, 0, 0), Lab(20, 0, -120), Lab(nan, 0, 0), Lab(50, infinity, 0)}) {
        SCOPED_TRACE(lab[0]);
        ExpectText<CMetryException>("CMetryCalculator: Conversion out of Range",
                                    [&] { CMetryService::GetSpectrum(lab); });
    }
    VDSpectrum last;
    EXPECT_FALSE(Lab2Spec().GetSpectrum(Lab(120, 0, 0), last, 0.1F, false, 1000));
    EXPECT_EQ(last[17], 1.0F) << "a failed search leaves its last state";
}

TEST(EstimatedSpectrum, StopsAtTheLimitOfSteps)
{
    VDSpectrum spectrum;
    EXPECT_FALSE(Lab2Spec().GetSpectrum(Lab(30, 40, 20), spectrum, 0.1F, false, 0));
    EXPECT_TRUE(Lab2Spec().GetSpectrum(Lab(30, 40, 20), spectrum, 0.1F, true, 1000));
}

// What runs through the weights must not change anybody's later result.
TEST(WeightsCache, SurvivesTemperatureRenderingAndEstimation)
{
    RandomColors random;
    const VDSpectrum sample = random.Reflectance();
    const auto d50 = Conditions(ColorSpace::CIELab);
    const auto a = Conditions(ColorSpace::CIELab, IlluminationTYPE::A, Observer::TenDegree);
    const auto under50 = CMetryService::GetVector(sample, d50);
    const auto underA = CMetryService::GetVector(sample, a);

    float index = 0.0F;
    std::string reference;
    CMetryService::GetColorRenderingIndex(Lamp(4), index, reference);
    EXPECT_EQ(CMetryService::GetVector(sample, d50), under50);
    CMetryService::GetColorTemperature(Planck(4000.0F));
    EXPECT_EQ(CMetryService::GetVector(sample, a), underA);
    CMetryService::GetSpectrum(under50);
    EXPECT_EQ(CMetryService::GetVector(sample, a), underA);
    EXPECT_THROW(CMetryService::GetSpectrum(Lab(50, 150, 0)), CMetryException);
    EXPECT_EQ(CMetryService::GetVector(sample, d50), under50);
}
