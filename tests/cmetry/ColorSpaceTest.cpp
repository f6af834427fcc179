// From a spectrum into every colour space, and between the spaces.

#include "tests/cmetry/Colors.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Vondrel::CMetry;
using Vondrel::Utilities::Tools::SmartPointer;

namespace {

using Calculator = CMetryCalculator;
using FromSpectrum = bool (*)(const VDSpectrum&, const VDMeasureConditions&, VDColorVector&);

constexpr IlluminationTYPE illuminants[] = {
    IlluminationTYPE::A,   IlluminationTYPE::B,   IlluminationTYPE::C,        IlluminationTYPE::D50,
    IlluminationTYPE::D55, IlluminationTYPE::D65, IlluminationTYPE::D75,      IlluminationTYPE::F2,
    IlluminationTYPE::F7,  IlluminationTYPE::F11, IlluminationTYPE::Emission,
};

const FromSpectrum allRoutes[] = {
    &Calculator::GetVector_CIEXYZ, &Calculator::GetVector_CIELab,    &Calculator::GetVector_CIELCh_ab,
    &Calculator::GetVector_CIExyY, &Calculator::GetVector_LCHvd,     &Calculator::GetVector_LABvd,
    &Calculator::GetVector_CIELuv, &Calculator::GetVector_CIELCh_uv, &Calculator::GetVector_HunterLab,
    &Calculator::GetVector_RxRyRz,
};

void SetPaper(const VDSpectrum* paper)
{
    SmartPointer<VDSample> sample;
    if (paper != nullptr) {
        sample = SmartPointer<VDSample>(new VDSample);
        sample->SetSpectrum(*paper);
    }
    Calculator::SetPaperWhitePointer(sample);
}

// No test leaves a paper white behind.
struct PaperScope {
    explicit PaperScope(const VDSpectrum& paper) { SetPaper(&paper); }
    ~PaperScope() { SetPaper(nullptr); }
};

VDColorVector Get(FromSpectrum route, const VDSpectrum& spectrum, const VDMeasureConditions& conditions)
{
    VDColorVector result;
    EXPECT_TRUE(route(spectrum, conditions, result));
    return result;
}

void ExpectNear(const VDColorVector& vector, float first, float second, float third, double tolerance)
{
    EXPECT_NEAR(vector[0], first, tolerance);
    EXPECT_NEAR(vector[1], second, tolerance);
    EXPECT_NEAR(vector[2], third, tolerance);
    EXPECT_EQ(vector[3], 0.0F);
}

}

TEST(CubeRoot, RoundsLikeTheLibrarysOverTheWholeRange)
{
    for (float x = 0.008856F; x < 3e38F; x *= 1.00001F)
        ASSERT_EQ(Single(CubeRoot(x)), Single(std::cbrt(static_cast<double>(x)))) << x;
    EXPECT_EQ(CubeRoot(std::numeric_limits<float>::infinity()), std::numeric_limits<double>::infinity());
}

TEST(ColorSpace, APerfectWhiteIsTheWhiteOfTheIlluminant)
{
    const auto conditions = Conditions(ColorSpace::CIEXYZ);
    const auto white = FlatSpectrum(1.0F);
    ExpectNear(Get(&Calculator::GetVector_CIEXYZ, white, conditions), 96.4219F, 100.0F, 82.5215F, 0.0001);
    const auto lch = Get(&Calculator::GetVector_CIELCh_ab, white, conditions);
    EXPECT_NEAR(lch[0], 100.0, 1e-4);
    EXPECT_LT(lch[1], 1e-4) << "the hue of so small a chroma means nothing";
    ExpectNear(Get(&Calculator::GetVector_HunterLab, white, conditions), 100.0F, 0.0F, 0.0F, 1e-3);
    ExpectNear(Get(&Calculator::GetVector_RxRyRz, white, conditions), 100.0F, 100.0F, 100.0F, 1e-3);

    VDColorVector norm;
    EXPECT_TRUE(Calculator::GetNormValence(conditions, norm));
    ExpectNear(norm, 96.4219F, 100.0F, 82.5215F, 0.0001);
}

TEST(ColorSpace, ABlackLiesAtTheChromaticityOfTheIlluminant)
{
    const VDSpectrum black;
    for (const auto type : illuminants) {
        const auto conditions = Conditions(ColorSpace::CIEXYZ, type);
        SCOPED_TRACE(static_cast<int>(type));
        VDColorVector white = Get(&Calculator::GetVector_CIExyY, FlatSpectrum(1.0F), conditions);
        ExpectNear(Get(&Calculator::GetVector_CIExyY, black, conditions), white[0], white[1], 0.0F, 1e-6);
        white = Get(&Calculator::GetVector_CIELuv, FlatSpectrum(1.0F), conditions);
        ExpectNear(Get(&Calculator::GetVector_CIELuv, black, conditions), 0.0F, white[1], white[2], 1e-5);
        ExpectNear(Get(&Calculator::GetVector_CIELab, black, conditions), 0.0F, 0.0F, 0.0F, 1e-5);
        EXPECT_FLOAT_EQ(Get(&Calculator::GetVector_HunterLab, black, conditions)[0], 0.001F);
    }

    VDColorVector uv;
    VDColorVector xyz(0.0F, 0.0F, 0.0F, Conditions(ColorSpace::CIEXYZ));
    EXPECT_TRUE(Calculator::GetVector_CIEuvY1976(xyz, uv));
    ExpectNear(uv, 4.0F / 19, 9.0F / 19, 0.0F, 1e-7);
    EXPECT_TRUE(Calculator::GetVector_CIEuvY1960(xyz, uv));
    ExpectNear(uv, 4.0F / 19, 6.0F / 19, 0.0F, 1e-7);
    EXPECT_TRUE(Calculator::GetVector_CIEuvY1976({0.4F, 0.4F, 0.0F, Conditions(ColorSpace::CIExyY)}, uv));
    ExpectNear(uv, 4.0F / 19, 9.0F / 19, 0.0F, 1e-7);
}

TEST(ColorSpace, EmissionIgnoresIlluminantAndWhiteBase)
{
    VDSpectrum light = RandomColors().Reflectance();
    light.GetMeasureConditions().SetIllumination(VDIllumination(IlluminationTYPE::Emission));
    auto paper = Conditions(ColorSpace::CIEXYZ);
    paper.SetWhiteBase(WhiteBase::Paper);
    const auto expected =
        Get(&Calculator::GetVector_CIEXYZ, light, Conditions(ColorSpace::CIEXYZ, IlluminationTYPE::Emission));
    const auto xyz = Get(&Calculator::GetVector_CIEXYZ, light, paper);
    ExpectNear(xyz, expected[0], expected[1], expected[2], 0);
    EXPECT_EQ(xyz.GetMeasureConditions().GetIllumination(), VDIllumination(IlluminationTYPE::Emission));
}

TEST(ColorSpace, PaperIsTheWhiteOfPaperRelativeColors)
{
    auto conditions = Conditions(ColorSpace::CIELab);
    conditions.SetWhiteBase(WhiteBase::Paper);
    const VDSpectrum paper = RandomColors().Reflectance();
    VDColorVector result(1.0F, 2.0F, 3.0F, VDMeasureConditions());
    const VDColorVector untouched = result;

    SetPaper(nullptr);
    for (const auto route : allRoutes) {
        EXPECT_FALSE(route(paper, conditions, result));
        EXPECT_FALSE(Calculator::IsPaperWhiteValid(conditions));
    }
    EXPECT_FALSE(Calculator::GetVector_CIEXYZ(paper, conditions, result));
    EXPECT_TRUE(result == untouched);
    result.SetMeasureConditions(conditions);
    EXPECT_FALSE(Calculator::GetVector_RGB(paper, result));
    EXPECT_THROW(Calculator::GetPaperWhite(), Vondrel::Utilities::Exceptions::NullPointerException);

    const PaperScope scope(paper);
    EXPECT_TRUE(Calculator::IsPaperWhiteValid(conditions));
    ExpectNear(Get(&Calculator::GetVector_CIELab, paper, conditions), 100.0F, 0.0F, 0.0F, 1e-4);
    const auto white = Get(&Calculator::GetVector_CIExyY, FlatSpectrum(1.0F), Conditions(ColorSpace::CIEXYZ));
    const auto black = Get(&Calculator::GetVector_CIExyY, VDSpectrum(), conditions);
    EXPECT_GT(std::abs(black[0] - white[0]) + std::abs(black[1] - white[1]), 1e-3)
        << "the flat spectrum of a black is divided by the paper too";
    EXPECT_LT(Get(&Calculator::GetVector_CIELab, paper, Conditions(ColorSpace::CIELab))[0], 99.0F);
}

TEST(ColorSpace, LabReturnsToXYZUnderEveryIlluminant)
{
    RandomColors random;
    for (const auto type : illuminants)
        for (const auto observer : {Observer::TwoDegree, Observer::TenDegree})
            for (int i = 0; i < 100; ++i) {
                const auto xyz = Get(&Calculator::GetVector_CIEXYZ, random.Reflectance(),
                                     Conditions(ColorSpace::CIEXYZ, type, observer));
                VDColorVector lab;
                VDColorVector back;
                ASSERT_TRUE(Calculator::GetVector_CIELab(xyz, lab) && Calculator::GetVector_CIEXYZ(lab, back));
                for (std::size_t axis = 0; axis < 3; ++axis)
                    ASSERT_NEAR(back[axis], xyz[axis], 4e-6 * xyz[axis] + 1e-5);
            }
}

TEST(ColorSpace, LabLeavesTheStraightLineAt0008856)
{
    // The two branches are 4e-5 apart there, some forty times the rounding of so small an L*.
    const struct {
        double ratio;
        bool line;
    } cases[] = {{0.0088, true}, {0.008855, true}, {0.008857, false}, {0.0089, false}, {0.009, false}};
    VDColorVector dark;
    ASSERT_TRUE(Calculator::GetVector_CIELab(VDColorVector(-1.0F, -1.0F, -1.0F, VDMeasureConditions()), dark));
    EXPECT_EQ(dark[0], 0.0F) << "L* is not negative";
    EXPECT_NE(dark[1], 0.0F) << "a* and b* are as they come";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ratio);
        const double f = c.line ? 7.787 * c.ratio + 16.0 / 116 : std::cbrt(c.ratio);
        VDColorVector lab;
        VDColorVector xyz(0.0F, static_cast<float>(100 * c.ratio), 0.0F, Conditions(ColorSpace::CIEXYZ));
        ASSERT_TRUE(Calculator::GetVector_CIELab(xyz, lab));
        EXPECT_NEAR(lab[0], 116 * f - 16, 5e-6);
        ASSERT_TRUE(Calculator::GetVector_CIEXYZ(Lab(static_cast<float>(116 * f - 16), 0, 0), xyz));
        EXPECT_NEAR(xyz[1], 100 * c.ratio, 1e-6);
    }
}

TEST(ColorSpace, HueRunsAboveZeroUpTo360)
{
    const struct {
        float a, b, hue;
    } cases[] = {{1, 0, 360},           {1, 1, 45},       {0, 1, 90},      {-1, 0, 180},
                 {0, -1, 270},          {1, -1, 315},     {0, 0, 360},     {1e-6F, 1e-6F, 360},
                 {-9e-6F, -9e-6F, 360}, {-2e-5F, 0, 180}, {1, -1e-9F, 360}};
    VDColorVector lch;
    for (const auto& c : cases) {
        ASSERT_TRUE(Calculator::GetVector_CIELCh_ab(Lab(50, c.a, c.b), lch));
        EXPECT_FLOAT_EQ(lch[2], c.hue) << c.a << ' ' << c.b;
        EXPECT_FLOAT_EQ(lch[1], std::hypot(c.a, c.b));
    }
}

TEST(ColorSpace, ChromaticitiesAgreeOnAnyRoad)
{
    RandomColors random;
    for (int i = 0; i < 200; ++i) {
        const auto spectrum = random.Reflectance();
        const auto conditions = Conditions(ColorSpace::CIEXYZ);
        const auto xyz = Get(&Calculator::GetVector_CIEXYZ, spectrum, conditions);
        VDColorVector xyY = Get(&Calculator::GetVector_CIExyY, spectrum, conditions);
        EXPECT_EQ(xyY[2], xyz[1]);
        EXPECT_NEAR(xyY[0] * xyY[2] / xyY[1], xyz[0], 2e-5 * xyz[0]);
        xyY.GetMeasureConditions().SetColorSpace(ColorSpace::CIExyY);

        VDColorVector fromXYZ;
        VDColorVector fromxyY;
        VDColorVector uv1960;
        ASSERT_TRUE(Calculator::GetVector_CIEuvY1976(xyz, fromXYZ) && Calculator::GetVector_CIEuvY1976(xyY, fromxyY));
        ASSERT_TRUE(Calculator::GetVector_CIEuvY1960(xyz, uv1960));
        ExpectNear(fromxyY, fromXYZ[0], fromXYZ[1], fromXYZ[2], 1e-6);
        ExpectNear(uv1960, fromXYZ[0], fromXYZ[1] * 2 / 3, fromXYZ[2], 1e-6);
        EXPECT_EQ(fromXYZ.GetMeasureConditions().GetColorSpace(), ColorSpace::CIEuvY1976);
        EXPECT_EQ(uv1960.GetMeasureConditions().GetColorSpace(), ColorSpace::CIEuvY1960);
        const auto luv = Get(&Calculator::GetVector_CIELuv, spectrum, conditions);
        EXPECT_NEAR(luv[1], fromXYZ[0], 1e-6);
        EXPECT_NEAR(luv[2], fromXYZ[1], 1e-6);
    }
    VDColorVector result;
    EXPECT_FALSE(Calculator::GetVector_CIEuvY1976(Lab(50, 1, 1), result));
    EXPECT_FALSE(Calculator::GetVector_CIEuvY1960(Lab(50, 1, 1), result));
}

// In double precision, and the chroma as what it stands for: the integral of the weight that CMC (ISO 105-J03) gives
// it.
TEST(ColorSpace, TheUniformSpaceStraightensLightnessChromaAndHue)
{
    const auto chroma = [](double c) {
        double integral = 0;
        constexpr int steps = 1000;
        for (int i = 0; i < steps; ++i) {
            const double at = c * (i + 0.5) / steps;
            integral += c / steps / (0.0638 * at / (1 + 0.0131 * at) + 0.638);
        }
        return integral;
    };
    const auto hue = [](double degrees) {
        const double t = degrees * 3.14159265358979 / 180;
        return (t + 0.17914 - 0.09622 * std::cos(t) + 0.13893 * std::sin(t) - 0.06742 * std::cos(2 * t)
                - 0.0539 * std::sin(2 * t) - 0.02137 * std::cos(3 * t) - 0.04029 * std::sin(3 * t)
                + 0.00587 * std::cos(4 * t) - 0.01043 * std::sin(4 * t))
            * 180 / 3.14159265358979;
    };
    RandomColors random;
    int dark = 0;
    for (int i = 0; i < 400; ++i) {
        VDSpectrum spectrum = random.Reflectance();
        const float scale = random.Between(0.01F, 1.0F);
        for (std::size_t point = 0; point < VDSpectrum::GetNrOfDataPoints(); ++point)
            spectrum[point] *= scale;
        const auto conditions = Conditions(ColorSpace::LCHvd);
        const auto lch = Get(&Calculator::GetVector_CIELCh_ab, spectrum, conditions);
        const auto uniform = Get(&Calculator::GetVector_LCHvd, spectrum, conditions);
        const double lightness = lch[0];
        dark += lightness < 16;
        EXPECT_NEAR(uniform[0],
                    lightness < 16 ? lightness / 0.511
                                   : std::log(0.040975 * lightness) / 0.040975 + 0.01765 * lightness + 34.7231,
                    1e-5);
        EXPECT_NEAR(uniform[1], chroma(lch[1]), 1e-3);
        EXPECT_NEAR(uniform[2], hue(lch[2]), 2e-4);
        const auto cartesian = Get(&Calculator::GetVector_LABvd, spectrum, conditions);
        const double angle = Calculator::DegToRad(uniform[2]);
        ExpectNear(cartesian, uniform[0], static_cast<float>(uniform[1] * std::cos(angle)),
                   static_cast<float>(uniform[1] * std::sin(angle)), 1e-4);
    }
    EXPECT_GT(dark, 10) << "both sections have been tried";
}

TEST(ColorSpace, HunterAndTheReflectancesOfTheLobesWeighAgainstTheWhite)
{
    // The lobes of x-bar apart: blue up to 500 nm, red beyond.
    VDSpectrum cold;
    VDSpectrum warm;
    for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
        (VDSpectrum::GetWaveLength(i) <= 500 ? cold : warm)[i] = 0.8F;
    for (const auto type : {IlluminationTYPE::A, IlluminationTYPE::D65}) {
        const auto conditions = Conditions(ColorSpace::CIEXYZ, type);
        const auto xyz = Get(&Calculator::GetVector_CIEXYZ, warm, conditions);
        const auto white = Get(&Calculator::GetVector_CIEXYZ, FlatSpectrum(1.0F), conditions);
        const double root = std::sqrt(static_cast<double>(xyz[1]));
        // Hunter, The Measurement of Appearance: L = 10 Y^1/2, a = 17.5 (1.02 X - Y) / Y^1/2 and
        // b = 7 (Y - 0.847 Z) / Y^1/2, the factors being those of the white.
        ExpectNear(Get(&Calculator::GetVector_HunterLab, warm, conditions), static_cast<float>(10 * root),
                   static_cast<float>(17.5 * (100 * xyz[0] / white[0] - xyz[1]) / root),
                   static_cast<float>(7 * (xyz[1] - 100 * xyz[2] / white[2]) / root), 1e-4);

        const auto lobes = Get(&Calculator::GetVector_RxRyRz, warm, conditions);
        const auto blue = Get(&Calculator::GetVector_CIEXYZ, cold, conditions);
        EXPECT_NEAR(lobes[0] + lobes[2] * blue[0] / xyz[0], 80.0, 1e-3) << "Rz has been taken out of X";
        EXPECT_EQ(lobes[1], xyz[1]);
        EXPECT_NEAR(lobes[2], 100 * xyz[2] / white[2], 1e-4);
    }
}

TEST(ColorSpace, HunterHasASmallestRoot)
{
    for (const float reflectance : {-0.5F, 0.0F, 0.9e-10F})
        EXPECT_FLOAT_EQ(
            Get(&Calculator::GetVector_HunterLab, FlatSpectrum(reflectance), Conditions(ColorSpace::HunterLab))[0],
            0.001F);
    EXPECT_FLOAT_EQ(Get(&Calculator::GetVector_HunterLab, FlatSpectrum(4e-10F), Conditions(ColorSpace::HunterLab))[0],
                    0.002F);
}

TEST(ColorSpace, RGBCountsFrom0To255)
{
    const struct {
        const char* what;
        VDColorVector lab;
        float low, high;
    } cases[] = {
        {"black", Lab(0, 0, 0), 0, 0},
        {"brighter than white", Lab(150, 0, 0), 255, 255},
        {"no number", Lab(50, std::nanf(""), std::nanf("")), 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        VDColorVector rgb;
        ASSERT_TRUE(Calculator::GetVector_CIELab_RGB(c.lab, rgb));
        EXPECT_EQ(rgb[0], c.low);
        EXPECT_EQ(rgb[2], c.high);
    }
    VDColorVector rgb;
    VDColorVector white(100.0F, 0.0F, 0.0F, Conditions(ColorSpace::CIELab, IlluminationTYPE::D65));
    ASSERT_TRUE(Calculator::GetVector_CIELab_RGB(white, rgb));
    ExpectNear(rgb, 255.0F, 255.0F, 255.0F, 1.0);
    EXPECT_EQ(rgb.GetMeasureConditions().GetColorSpace(), ColorSpace::RGB);

    // A middle grey: floor(255 * linear ^ 0.45) with the linear value of L* 50, which is 0.1842.
    white[0] = 50.0F;
    ASSERT_TRUE(Calculator::GetVector_CIELab_RGB(white, rgb));
    ExpectNear(rgb, 119.0F, 119.0F, 119.0F, 1.0);

    VDColorVector direct(0.0F, 0.0F, 0.0F, Conditions(ColorSpace::CMYK, IlluminationTYPE::D65));
    const VDSpectrum spectrum = RandomColors().Reflectance();
    ASSERT_TRUE(Calculator::GetVector_RGB(spectrum, direct));
    const auto lab =
        Get(&Calculator::GetVector_CIELab, spectrum, Conditions(ColorSpace::CIELab, IlluminationTYPE::D65));
    ASSERT_TRUE(Calculator::GetVector_CIELab_RGB(lab, rgb));
    ExpectNear(direct, rgb[0], rgb[1], rgb[2], 0);
    EXPECT_EQ(direct.GetMeasureConditions().GetColorSpace(), ColorSpace::RGB);
}

// Each coefficient of the primaries, once to either side: a change of its last digit changes a count.
TEST(ColorSpace, RGBHoldsItsPrimaries)
{
    const struct {
        VDColorVector lab;
        float red, green, blue;
    } cases[] = {
        {Lab(80, 20, 14), 241, 183, 172},  {Lab(80, -27, 10), 151, 211, 177}, {Lab(49, -36, 31), 71, 130, 63},
        {Lab(80, 9, 47), 238, 189, 109},   {Lab(90, 0, -10), 216, 226, 245},  {Lab(39, -31, 21), 52, 104, 59},
        {Lab(86, -11, 34), 217, 218, 148}, {Lab(54, 0, 16), 138, 128, 102},   {Lab(69, 31, 40), 235, 144, 97},
        {Lab(58, -7, 4), 129, 142, 131},   {Lab(88, 14, -8), 239, 211, 236},  {Lab(49, 55, -17), 185, 74, 146},
        {Lab(23, 49, -25), 103, 7, 94},    {Lab(61, 9, 55), 184, 138, 45},    {Lab(33, 31, 23), 126, 58, 47},
        {Lab(47, 21, 46), 157, 97, 34},    {Lab(74, 38, -7), 239, 155, 195},  {Lab(62, 10, 52), 187, 140, 55},
    };
    for (const auto& c : cases) {
        VDColorVector lab = c.lab, rgb;
        lab.GetMeasureConditions().SetIllumination(VDIllumination(IlluminationTYPE::D65));
        ASSERT_TRUE(Calculator::GetVector_CIELab_RGB(lab, rgb));
        ExpectNear(rgb, c.red, c.green, c.blue, 0);
    }
}

TEST(ColorSpace, ScalesWithTheLight)
{
    RandomColors random;
    for (const auto type : illuminants) {
        VDSpectrum spectrum = random.Reflectance();
        const auto once = Get(&Calculator::GetVector_CIEXYZ, spectrum, Conditions(ColorSpace::CIEXYZ, type));
        for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
            spectrum[i] *= 4.0F;
        const auto fourfold = Get(&Calculator::GetVector_CIEXYZ, spectrum, Conditions(ColorSpace::CIEXYZ, type));
        ExpectNear(fourfold, 4 * once[0], 4 * once[1], 4 * once[2], 0);
    }
}

TEST(ColorSpace, AResultMayBeItsOwnSource)
{
    const auto lab = Lab(40, 20, -30);
    VDColorVector apart;
    VDColorVector inPlace = lab;
    ASSERT_TRUE(Calculator::GetVector_CIEXYZ(lab, apart) && Calculator::GetVector_CIEXYZ(inPlace, inPlace));
    EXPECT_TRUE(apart == inPlace);
    ASSERT_TRUE(Calculator::GetVector_CIExyY(inPlace, apart) && Calculator::GetVector_CIExyY(inPlace, inPlace));
    EXPECT_TRUE(apart == inPlace);
}
