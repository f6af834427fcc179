// The white points that the weights sum to, and when weights are computed anew.

#include "tests/cmetry/Refusals.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace Vondrel::CMetry;
using Vondrel::Utilities::Exceptions::NullPointerException;

namespace {

VDMeasureConditions Conditions(const std::string& illumination, const std::string& observer = "TwoDegree")
{
    VDMeasureConditions conditions;
    conditions.SetMeasureCondition("Colorimetric.Illumination", illumination);
    conditions.SetMeasureCondition("Colorimetric.Observer", observer);
    return conditions;
}

double FourDecimals(float value)
{
    return std::round(value * 1e4) / 1e4;
}

}

// The whites that these weights are designed to give; the largest difference before rounding is 0.00005.
TEST(ReferenceWhite, EveryPrintedDigit)
{
    const struct {
        const char* illumination;
        double x2, z2, x10, z10;
    } cases[] = {
        {"D50", 96.4219, 82.5215, 96.7197, 81.4271},   {"D65", 95.0468, 108.883, 94.811, 107.3049},
        {"A", 109.8496, 35.5851, 111.1434, 35.2001},   {"C", 98.0733, 118.2323, 97.2847, 116.1451},
        {"D75", 94.9719, 122.6369, 94.4156, 120.6402}, {"F2", 99.1864, 67.3965, 103.2792, 69.0274},
        {"F7", 95.0431, 108.7544, 95.7918, 107.6864},  {"F11", 100.963, 64.3528, 103.8632, 65.607},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.illumination);
        const Weightfactors two(Conditions(c.illumination));
        EXPECT_DOUBLE_EQ(FourDecimals(two.GetFilterSum(0)), c.x2);
        EXPECT_EQ(two.GetFilterSum(1), 100.0F);
        EXPECT_DOUBLE_EQ(FourDecimals(two.GetFilterSum(2)), c.z2);
        const Weightfactors ten(Conditions(c.illumination, "TenDegree"));
        EXPECT_DOUBLE_EQ(FourDecimals(ten.GetFilterSum(0)), c.x10);
        EXPECT_EQ(ten.GetFilterSum(1), 100.0F);
        EXPECT_DOUBLE_EQ(FourDecimals(ten.GetFilterSum(2)), c.z10);
    }
}

TEST(ReferenceWhite, WeightsSumToTheirWhite)
{
    for (const char* illumination : {"B", "D55", "Dxx, Temperature:5300", "F1", "F12", "F11"}) {
        SCOPED_TRACE(illumination);
        const Weightfactors weights(Conditions(illumination));
        double luminance = 0.0;
        for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
            luminance += weights[1][i];
        EXPECT_NEAR(luminance, 100.0, 0.001);
    }
}

TEST(ReferenceWhite, EmissionIsTheObserverTimes683)
{
    const Weightfactors weights(Conditions("Emission"));
    // 683 lumens per watt, in thousandths; y-bar is 0.995 at 560 nm, and a 10 nm weight stands for ten single
    // wavelengths.
    EXPECT_NEAR(weights[1][18], 0.683 * 0.995 * 10, 0.02);
    EXPECT_NEAR(weights.GetFilterSum(0), 72.99, 0.005);
    EXPECT_EQ(weights.GetFilterSum(1), 100.0F);
    EXPECT_NEAR(weights.GetFilterSum(2), 73.01, 0.005);
}

TEST(ReferenceWhite, TailsFallOnTheLastPoints)
{
    const Weightfactors weights(Conditions("A"));
    const double own = weights[0][34];
    EXPECT_GT(weights[0][35], own * 0.6) << "730 nm carries 740 to 780 nm besides";
    EXPECT_EQ(weights.GetFilterSum(5), 0.0F);
    ExpectText<CMetryException>("Invalid Axis", [&] { (void)weights[3]; });
}

TEST(WeightsCache, ComputesOnlyForAnotherIlluminantOrObserver)
{
    CMetryFilter filter;
    EXPECT_EQ(filter.GetFilterSum(0), 0.0F) << "nothing has been set";
    EXPECT_THROW((void)filter[0], NullPointerException);
    EXPECT_EQ(filter.GetIllumination().GetIlluminationTYPE(), IlluminationTYPE::D65) << "the default";

    filter.SetMeasuringConditions(Conditions("D50"));
    const float* weights = filter[0];
    auto conditions = Conditions("D50");
    conditions.SetMeasureCondition("Colorimetric.DensityStandard", "ANSIT");
    conditions.SetMeasureCondition("Colorimetric.WhiteBase", "Absolute");
    filter.SetMeasuringConditions(conditions);
    EXPECT_EQ(filter[0], weights) << "the same object";

    filter.SetMeasuringConditions(Conditions("D50", "TenDegree"));
    EXPECT_NEAR(filter.GetFilterSum(0), 96.7197, 0.0001);
    filter.SetMeasuringConditions(Conditions("Dxx, Temperature:5000"));
    const float cool = filter.GetFilterSum(2);
    filter.SetMeasuringConditions(Conditions("Dxx, Temperature:4000"));
    EXPECT_LT(filter.GetFilterSum(2), cool) << "the temperature counts";
    filter.SetMeasuringConditions(Conditions("F3"));
    const float f3 = filter.GetFilterSum(2);
    filter.SetMeasuringConditions(Conditions("F4"));
    EXPECT_NE(filter.GetFilterSum(2), f3) << "the F number counts";
}

TEST(WeightsCache, AnotherUserIlluminantIsNew)
{
    CMetryFilter filter;
    VDMeasureConditions first, second;
    const VDSpectrum equalEnergy(std::vector<float>(36, 1.0F));
    first.SetUserdefinedIllumination(equalEnergy);
    second.SetUserdefinedIllumination(VDSpectrum(std::vector<float>(36, 250.0F)));
    filter.SetMeasuringConditions(first);
    const float sum = filter.GetFilterSum(0);
    filter.SetMeasuringConditions(second);
    EXPECT_NEAR(filter.GetFilterSum(0), sum, 1e-4) << "the scale of an illuminant does not count";

    VDSpectrum red = equalEnergy;
    for (std::size_t i = 0; i < 20; ++i)
        red[i] = 0.0F;
    second.SetUserdefinedIllumination(red);
    filter.SetMeasuringConditions(second);
    EXPECT_GT(filter.GetFilterSum(0), sum + 10.0F);
    filter.SetMeasuringConditions(first);
    EXPECT_NEAR(filter.GetFilterSum(0), sum, 1e-4);
}

TEST(WeightsCache, AFailureLeavesTheWeightsInForce)
{
    CMetryFilter filter;
    filter.SetMeasuringConditions(Conditions("D50"));
    const float* weights = filter[0];

    VDMeasureConditions dark, noSpectrum, noObserver;
    dark.SetUserdefinedIllumination(VDSpectrum());
    noSpectrum.SetMeasureCondition("Colorimetric.Illumination", "Userdefined");
    noObserver.SetMeasureCondition("Colorimetric.Observer", "Undefined");
    const auto set = [&](const VDMeasureConditions& conditions) {
        return [&] { filter.SetMeasuringConditions(conditions); };
    };
    ExpectText<CMetryException>("Illumination without a table: F0", set(Conditions("F0")));
    ExpectText<CMetryException>("Illumination without a table: F13", set(Conditions("F13")));
    ExpectText<CMetryException>("Illumination without a table: F255", set(Conditions("F255")));
    ExpectText<CMetryException>("Unsupported Illumination type", set(Conditions("Undefined")));
    ExpectText<CMetryException>("Unsupported Observer type", set(noObserver));
    ExpectText<CMetryException>("Illumination gives no white point", set(dark));
    ExpectText<CMetryException>("Illumination gives no white point", set(Conditions("Dxx, Temperature:0")));
    EXPECT_THROW(filter.SetMeasuringConditions(noSpectrum), NullPointerException);

    EXPECT_EQ(filter[0], weights);
    EXPECT_EQ(filter.GetIllumination().GetIlluminationTYPE(), IlluminationTYPE::D50);
}

TEST(WeightsCache, EveryTemperatureHasADefinedOutcome)
{
    for (int temperature = 0; temperature <= 65535; temperature += 257) {
        SCOPED_TRACE(temperature);
        try {
            const Weightfactors weights(Conditions("Dxx, Temperature:" + std::to_string(temperature)));
            EXPECT_TRUE(std::isfinite(weights.GetFilterSum(0)));
            EXPECT_TRUE(std::isfinite(weights.GetFilterSum(2)));
        } catch (const CMetryException& e) {
            EXPECT_STREQ(e.what(), "Illumination gives no white point");
        }
    }
}

TEST(SpectrumGridForWeights, RefusesWhatCannotCarryThem)
{
    EXPECT_EQ(Weightfactors::GetStepSize(36, 380, 730), 10);
    const struct {
        std::uint16_t points, first, last;
        const char* text;
    } cases[] = {
        {3, 380, 730, "Measure conditions: Too few measure data"},
        {0, 380, 730, "Measure conditions: Too few measure data"},
        {36, 730, 730, "Measure conditions: Check bandwidth of measure data"},
        {36, 300, 360, "Measure conditions: Check bandwidth of measure data"},
        {36, 780, 900, "Measure conditions: Check bandwidth of measure data"},
        {11, 380, 730, "Measure conditions: measure data bandwith conflicts with internal calculation bandwith."},
        {8, 380, 700, "Measure conditions: measure data bandwith conflicts Step size is not a integer."},
        {400, 380, 730, "Measure conditions: measure data bandwith conflicts Step size is not a integer."},
        {36, 375, 725, "Measure conditions: measure data bandwith conflicts with internal calculation bandwith."},
    };
    for (const auto& c : cases)
        ExpectText<CMetryException>(c.text, [&] { Weightfactors::GetStepSize(c.points, c.first, c.last); });
}
