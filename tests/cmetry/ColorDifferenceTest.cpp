// Colour differences: published numbers, the properties of each formula, and where they refuse.

#include "tests/cmetry/Colors.h"
#include "tests/support/Rows.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/NearAngles.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using namespace Vondrel::CMetry;

namespace {

using Calculator = CMetryCalculator;

struct LabFormula {
    const char* name;
    std::function<float(const VDColorVector&, const VDColorVector&)> difference;
    bool symmetric;
};

const LabFormula labFormulas[] = {
    {"76", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_CIELAB(a, b); }, true},
    {"CMC", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_CMC(a, b, 2, 1); }, false},
    {"94", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_94(a, b, 1, 1, 1); }, false},
    {"2000", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_2000(a, b, 1, 1, 1); }, true},
};

struct SpectrumFormula {
    const char* name;
    std::function<float(const VDSpectrum&, const VDSpectrum&, const VDMeasureConditions&)> difference;
};

const SpectrumFormula spectrumFormulas[] = {
    {"CIELab", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_CIELAB(a, b, c); }},
    {"CIELuv", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_CIELUV(a, b, c); }},
    {"LABvd", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_vd(a, b, c); }},
    {"FMCII", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_FMCII(a, b, c); }},
    {"CMC", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_CMC(a, b, c, 2, 1); }},
    {"94", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_94(a, b, c, 1, 1, 1); }},
    {"2000", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_2000(a, b, c, 1, 1, 1); }},
};

// Sharma, Wu, Dalal: The CIEDE2000 color-difference formula, Color Research and Application 30 (2005), table 1.
std::vector<std::vector<float>> PublishedPairs()
{
    std::ifstream file(ORVEX_TEST_DATA "/ciede2000_pairs.csv");
    std::vector<std::vector<float>> pairs;
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream numbers(line);
        std::vector<float> row(7);
        for (auto& number : row)
            numbers >> number;
        pairs.push_back(row);
    }
    return pairs;
}

}

TEST(DeltaE2000, GivesThePublishedPairs)
{
    const auto pairs = PublishedPairs();
    ASSERT_EQ(pairs.size(), 34U);
    int number = 0;
    for (const auto& row : pairs) {
        SCOPED_TRACE("pair " + std::to_string(++number));
        const auto lab1 = Lab(row[0], row[1], row[2]);
        const auto lab2 = Lab(row[3], row[4], row[5]);
        EXPECT_NEAR(Calculator::GetDeltaE_2000(lab1, lab2, 1, 1, 1), row[6], 0.0001);
        EXPECT_NEAR(Calculator::GetDeltaE_2000(lab2, lab1, 1, 1, 1), row[6], 0.0001);
    }
}

TEST(DeltaE2000, HoldsExactlyOppositeHuesForHalfATurn)
{
    RandomColors random;
    for (int i = 0; i < 20000; ++i) {
        const float lightness = random.Between(0, 100);
        const float a = random.Between(-40, 40);
        const float b = random.Between(-40, 40);
        const float ratio = i % 2 == 0 ? -1.0F : -2.0F; // of unequal chromas the rotation term tells both ways round
        const auto opposite = Lab(lightness, ratio * a, ratio * b);
        const float difference = Calculator::GetDeltaE_2000(Lab(lightness, a, b), opposite, 1, 1, 1);
        // The mean of two opposite hues is a right angle ahead of the smaller one: turning one hue a little towards the
        // other across that mean changes next to nothing, a mean or a step on the other side changes much.
        double hue = std::atan2(b, a);
        hue += hue < 0 ? 2 * 3.14159265358979 : 0;
        const double inward = hue < 3.14159265358979 ? 1e-4 : -1e-4;
        const float turnedA = static_cast<float>(a * std::cos(inward) - b * std::sin(inward));
        const float turnedB = static_cast<float>(a * std::sin(inward) + b * std::cos(inward));
        ASSERT_NEAR(Calculator::GetDeltaE_2000(Lab(lightness, turnedA, turnedB), opposite, 1, 1, 1), difference, 0.02)
            << a << ' ' << b << " and " << ratio << " times that";
    }
}

TEST(Difference, IsZeroForEqualColorsAndNeverNegative)
{
    RandomColors random;
    for (const auto& formula : labFormulas)
        for (int i = 0; i < 500; ++i) {
            SCOPED_TRACE(formula.name);
            const auto lab1 = random.LabColor();
            const auto lab2 = random.LabColor();
            ASSERT_EQ(formula.difference(lab1, lab1), 0.0F);
            const float difference = formula.difference(lab1, lab2);
            ASSERT_GE(difference, 0.0F);
            ASSERT_LT(difference, CMetryCalculator::DeltaEFailure);
            if (formula.symmetric) {
                ASSERT_NEAR(formula.difference(lab2, lab1), difference, 1e-4);
            }
        }
}

TEST(Difference, IsZeroForEqualSpectraUnderEveryFormula)
{
    RandomColors random;
    for (const auto& formula : spectrumFormulas)
        for (int i = 0; i < 50; ++i) {
            SCOPED_TRACE(formula.name);
            const auto spectrum = random.Reflectance();
            const auto other = random.Reflectance();
            const auto conditions = Conditions(ColorSpace::CIELab);
            ASSERT_EQ(formula.difference(spectrum, spectrum, conditions), 0.0F);
            ASSERT_GT(formula.difference(spectrum, other, conditions), 0.0F);
        }
}

TEST(Difference, OfSpectraIsThatOfTheirLabColors)
{
    RandomColors random;
    const auto conditions = Conditions(ColorSpace::CIELab, IlluminationTYPE::A, Observer::TenDegree);
    for (int i = 0; i < 50; ++i) {
        const auto spectrum1 = random.Reflectance();
        const auto spectrum2 = random.Reflectance();
        VDColorVector lab1;
        VDColorVector lab2;
        ASSERT_TRUE(Calculator::GetVector_CIELab(spectrum1, conditions, lab1));
        ASSERT_TRUE(Calculator::GetVector_CIELab(spectrum2, conditions, lab2));
        EXPECT_EQ(Calculator::GetDeltaE_2000(spectrum1, spectrum2, conditions, 1, 2, 3),
                  Calculator::GetDeltaE_2000(lab1, lab2, 1, 2, 3));
        EXPECT_EQ(Calculator::GetDeltaE_94(spectrum1, spectrum2, conditions, 1, 2, 3),
                  Calculator::GetDeltaE_94(lab1, lab2, 1, 2, 3));
        EXPECT_EQ(Calculator::GetDeltaE_CMC(spectrum1, spectrum2, conditions, 3, 2),
                  Calculator::GetDeltaE_CMC(lab1, lab2, 3, 2));
        EXPECT_NEAR(Calculator::GetDeltaE_CIELAB_SpeedOptimized(lab1, spectrum2.Values().data()),
                    Calculator::GetDeltaE_CIELAB(lab1, lab2), 1e-4);
    }
}

TEST(Difference, FailsWhereItCannotBeComputed)
{
    constexpr float failure = CMetryCalculator::DeltaEFailure;
    constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
    const auto lab1 = Lab(50, 10, 10);
    const auto lab2 = Lab(60, 0, 10);
    for (int zero = 0; zero < 3; ++zero) {
        float k[] = {1, 1, 1};
        k[zero] = 0;
        EXPECT_EQ(Calculator::GetDeltaE_94(lab1, lab2, k[0], k[1], k[2]), failure);
        EXPECT_EQ(Calculator::GetDeltaE_2000(lab1, lab2, k[0], k[1], k[2]), failure);
        if (zero < 2) {
            EXPECT_EQ(Calculator::GetDeltaE_CMC(lab1, lab2, k[0], k[1]), failure);
        }
    }

    const auto grey = FlatSpectrum(0.5F);
    auto paper = Conditions(ColorSpace::CIELab);
    paper.SetWhiteBase(WhiteBase::Paper);
    for (const auto& formula : spectrumFormulas) {
        SCOPED_TRACE(formula.name);
        EXPECT_EQ(formula.difference(grey, grey, paper), failure) << "no paper white is set";
        const float odd = formula.difference(FlatSpectrum(notANumber), grey, Conditions(ColorSpace::CIELab));
        EXPECT_TRUE(std::isnan(odd) || odd == failure);
    }
    EXPECT_EQ(Calculator::GetDeltaE_CIELAB_SpeedOptimized({0, 0, 0, paper}, grey.Values().data()), failure);
    EXPECT_EQ(Calculator::GetMetamery(grey, grey, paper, VDIllumination(IlluminationTYPE::A)), failure);

    const VDSpectrum black;
    EXPECT_EQ(Calculator::GetDeltaE_FMCII(black, black, Conditions(ColorSpace::CIEXYZ)), failure);
    EXPECT_EQ(Calculator::GetDeltaE_FMCII(black, grey, Conditions(ColorSpace::CIEXYZ)), failure);
    EXPECT_LT(Calculator::GetDeltaE_FMCII(grey, black, Conditions(ColorSpace::CIEXYZ)), failure);
    VDSpectrum red;
    red[33] = red[34] = 1.0F; // no Z at all
    EXPECT_LT(Calculator::GetDeltaE_FMCII(red, red, Conditions(ColorSpace::CIEXYZ)), failure);
    EXPECT_LT(Calculator::GetMetamery(grey, red, Conditions(ColorSpace::CIEXYZ), VDIllumination(IlluminationTYPE::A)),
              failure)
        << "no division by the missing Z";
}

TEST(DeltaE94, WeighsByTheChromaOfTheReference)
{
    // CIE 116-1995: at a chroma of 100 the weight of chroma is 5.5, that of hue 2.5.
    EXPECT_FLOAT_EQ(Calculator::GetDeltaE_94(Lab(50, 100, 0), Lab(50, 105.5F, 0), 1, 1, 1), 1.0F);
    EXPECT_FLOAT_EQ(Calculator::GetDeltaE_94(Lab(50, 100, 0), Lab(50, 105.5F, 0), 1, 2, 1), 0.5F);
    EXPECT_FLOAT_EQ(Calculator::GetDeltaE_94(Lab(50, 0, 100), Lab(52, 0, 100), 2, 1, 1), 1.0F);
    EXPECT_NEAR(Calculator::GetDeltaE_94(Lab(50, 60, 80), Lab(50, 80, 60), 1, 1, 1), std::sqrt(800.0) / 2.5, 1e-4);
    EXPECT_FLOAT_EQ(Calculator::GetDeltaE_94(Lab(50, 0, 0), Lab(50, 3, 4), 1, 1, 1), 5.0F) << "of a grey: 76";
}

TEST(DeltaEFMCII, IsTheEllipsoidOfThePublication)
{
    // Chickering, FMC color-difference formulas, J. Opt. Soc. Am. 61 (1971), in the form of its axes, in double
    // precision.
    const auto published = [](const VDColorVector& reference, const VDColorVector& sample) {
        const auto cones = [](const VDColorVector& xyz) {
            return std::array<double, 3>{0.724 * xyz[0] + 0.382 * xyz[1] - 0.098 * xyz[2],
                                         -0.48 * xyz[0] + 1.37 * xyz[1] + 0.1276 * xyz[2], 0.686 * xyz[2]};
        };
        const auto [p, q, s] = cones(reference);
        const auto other = cones(sample);
        const double y = reference[1];
        const double root = std::hypot(p, q);
        const double a =
            std::sqrt(17.3e-6 * root * root / (1 + 2.73 * p * p * q * q / (std::pow(p, 4) + std::pow(q, 4))));
        const double b = std::sqrt(3.098e-4 * (s * s + 0.2015 * y * y));
        const double k1 = 0.55669 + y * (0.049434 + y * (-0.82575e-3 + y * (0.79172e-5 + y * -0.30087e-7)));
        const double k2 = 0.17548 + y * (0.027556 + y * (-0.57262e-3 + y * (0.63893e-5 + y * -0.26731e-7)));
        const double redGreen = (q * (other[0] - p) - p * (other[1] - q)) / root;
        const double along = (p * (other[0] - p) + q * (other[1] - q)) / root;
        const double yellowBlue = s * along / root - (other[2] - s);
        return std::hypot(k1 * redGreen / a, k1 * yellowBlue / b, k2 * 0.279 * along / a);
    };
    RandomColors random;
    const auto conditions = Conditions(ColorSpace::CIEXYZ);
    for (int i = 0; i < 200; ++i) {
        const auto reference = random.Reflectance();
        const auto sample = random.Reflectance();
        VDColorVector xyz1;
        VDColorVector xyz2;
        ASSERT_TRUE(Calculator::GetVector_CIEXYZ(reference, conditions, xyz1));
        ASSERT_TRUE(Calculator::GetVector_CIEXYZ(sample, conditions, xyz2));
        const double expected = published(xyz1, xyz2);
        EXPECT_NEAR(Calculator::GetDeltaE_FMCII(reference, sample, conditions), expected, 1e-5 * expected);
    }
}

TEST(DeltaECMC, WeighsLightnessBySectionsThatMeetNear16)
{
    const auto difference = [](float lightness) {
        return Calculator::GetDeltaE_CMC(Lab(lightness, 0, 0), Lab(lightness + 1, 0, 0), 1, 1);
    };
    EXPECT_FLOAT_EQ(difference(16.0F), Single(1 / 0.511));
    const float above = std::nextafter(16.0F, 17.0F);
    EXPECT_NEAR(difference(above), (1 + 0.01765 * 16) / (0.040975 * 16), 1e-5);
}

TEST(DeltaVector, SplitsTheDistanceAndGivesTheHueItsSense)
{
    const struct {
        const char* what;
        VDColorVector sample, reference;
        float dL, dC, dH;
    } cases[] = {
        {"itself", Lab(50, 20, 30), Lab(50, 20, 30), 0, 0, 0},
        {"lighter", Lab(60, 20, 30), Lab(50, 20, 30), 10, 0, 0},
        {"more chroma", Lab(50, 6, 8), Lab(50, 3, 4), 0, 5, 0},
        {"anticlockwise", Lab(50, 0, 10), Lab(50, 10, 0), 0, 0, std::sqrt(200.0F)},
        {"clockwise", Lab(50, 10, 0), Lab(50, 0, 10), 0, 0, -std::sqrt(200.0F)},
    };
    VDColorVector delta;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(Calculator::GetVector_DeltaCIELCH_ab(c.sample, c.reference, delta));
        EXPECT_NEAR(delta[0], c.dL, 1e-5);
        EXPECT_NEAR(delta[1], c.dC, 1e-5);
        EXPECT_NEAR(delta[2], c.dH, 2e-3); // a difference of squares in single precision
    }
    RandomColors random;
    for (int i = 0; i < 1000; ++i) {
        const auto sample = random.LabColor();
        const auto reference = random.LabColor();
        ASSERT_TRUE(Calculator::GetVector_CIELCH_uv(sample, reference, delta));
        ASSERT_NEAR(delta.Length(), Calculator::GetDeltaE_CIELAB(sample, reference), 1e-3);
    }
}

TEST(Metamerism, IsZeroForASpectrumAgainstItselfAndForItsMultiples)
{
    RandomColors random;
    const auto conditions = Conditions(ColorSpace::CIELab);
    for (const auto type : {IlluminationTYPE::A, IlluminationTYPE::F11, IlluminationTYPE::D65}) {
        const auto spectrum = random.Reflectance();
        VDSpectrum half = spectrum;
        for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
            half[i] *= 0.5F;
        EXPECT_EQ(Calculator::GetMetamery(spectrum, spectrum, conditions, VDIllumination(type)), 0.0F);
        EXPECT_NEAR(Calculator::GetMetamery(spectrum, half, conditions, VDIllumination(type)), 0.0F, 1e-4)
            << "the correction is multiplicative";
        EXPECT_GT(Calculator::GetMetamery(spectrum, random.Reflectance(), conditions, VDIllumination(type)), 0.01F);
    }
}

TEST(ColorClass, HasItsNameAtEveryLimit)
{
    const std::vector<Row> rows = ReadRows(ORVEX_TEST_DATA "/colour_classes.txt");
    ASSERT_EQ(rows.size(), 52U);
    for (const Row& row : rows) {
        const std::vector<double> at = Numbers(row[0]);
        const double angle = Calculator::DegToRad(at[0]);
        VDSpectrum spectrum = CMetryService::GetSpectrum(
            Lab(Single(at[2]), Single(at[1] * std::cos(angle)), Single(at[1] * std::sin(angle))));
        EXPECT_EQ(CMetryService::GetColorType(spectrum), row[1]) << row[0];
    }
    VDSpectrum paper = FlatSpectrum(0.5F);
    paper.GetMeasureConditions().SetWhiteBase(WhiteBase::Paper);
    EXPECT_EQ(CMetryService::GetColorType(paper), "Undefined") << "no paper white";
    EXPECT_EQ(Calculator::GetColorType(paper), -1);
    EXPECT_EQ(Calculator::GetColorType(FlatSpectrum(std::nanf(""))), -1);
    EXPECT_EQ(Calculator::GetColorType(FlatSpectrum(1.5F)), 13) << "brighter than white";
}

// The steps of a colour difference that come from power series.
TEST(NearAngles, GiveTheFloatsOfTheLibrary)
{
    RandomColors random;
    for (int i = 0; i < 200000; ++i) {
        const float y = random.Between(-1, 1) * std::pow(10.0F, random.Between(-8, 3)), x = random.Between(-1, 1);
        const auto never = [](int) -> double { return 0; };
        const double angle = NearAngle(Both(y), Both(x))[0], turn = random.Between(-1.57F, 1.57F);
        ASSERT_NEAR(angle / std::atan2(double(y), double(x)), 1, 1e-11) << y << ' ' << x;
        ASSERT_EQ(NearAngle(Both(-y), Both(x))[1], -angle);
        ASSERT_NEAR(NearSine(Both(turn))[0] / std::sin(turn), 1, 1e-11) << turn;
        ASSERT_NEAR(NearCosine(Both(turn / 2))[1] / std::cos(turn / 2), 1, 1e-11) << turn;
        ASSERT_EQ(SingleOf(TwoDoubles{turn, 1}, never)[0], Single(turn));
    }
    const double tie = 1 + std::ldexp(1.0, -24); // half way between two floats
    EXPECT_EQ(SingleOf(tie, [] { return 7.0; }), 7.0) << "the step itself decides";
    EXPECT_EQ(SingleOf(std::nan(""), [] { return 7.0; }), 7.0);
}
