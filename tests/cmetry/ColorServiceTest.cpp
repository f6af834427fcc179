// The colorimetry service: which calculation the conditions select, what is refused with which text, and hostile input.

#include "tests/cmetry/Colors.h"
#include "tests/cmetry/Refusals.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/CMetry/DensityService.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace Vondrel::CMetry;
using Vondrel::Utilities::Exceptions::NullPointerException;

namespace {

using Calculator = CMetryCalculator;

VDMeasureConditions With(const std::string& key, const std::string& value)
{
    VDMeasureConditions conditions;
    conditions.SetMeasureCondition(key, value);
    return conditions;
}

VDMeasureConditions Space(const std::string& space)
{
    return With("ColorSpaceDescription.Type", space);
}
VDMeasureConditions Formula(const std::string& formula)
{
    return With("ColorSpaceDescription.DeltaEFormula", formula);
}

std::string TypeOf(const VDColorVector& vector)
{
    return vector.GetMeasureConditions().GetMeasureCondition("ColorSpaceDescription.Type");
}

class ColorService : public ::testing::Test {
protected:
    ColorService() { BaseCalculator::SetPaperWhitePointer({}); }
    ~ColorService() override { BaseCalculator::SetPaperWhitePointer({}); }

    RandomColors random;
    VDSpectrum sample = random.Reflectance();
    VDSpectrum other = random.Reflectance();
};

}

TEST_F(ColorService, EverySpaceOfASpectrum)
{
    for (const auto& space : CMetryService::GetSupportedValues("ColorSpaceDescription.Type")) {
        SCOPED_TRACE(space);
        if (space == "CMYK")
            continue;
        auto conditions = Space(space);
        conditions.SetMeasureCondition("Colorimetric.Illumination", "F7");
        sample.GetMeasureConditions().SetMeasureCondition("Physical.Filter", "UVCut");
        const VDColorVector vector = CMetryService::GetVector(sample, conditions);
        EXPECT_EQ(TypeOf(vector), space);
        EXPECT_EQ(vector.GetMeasureConditions().GetIllumination().GetIlluminationTYPE(), IlluminationTYPE::F7);
        EXPECT_EQ(vector.GetMeasureConditions().GetPhysicalFilter(), PhysicalFilter::UVCut);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_TRUE(std::isfinite(vector[i]));
        EXPECT_EQ(vector[3], 0.0F);
    }
    ExpectText<CMetryException>("GetVector not supported for ColorSpace CMYK",
                                [&] { CMetryService::GetVector(sample, Space("CMYK")); });
    ExpectText<CMetryException>("GetVector not supported for ColorSpace Undefined",
                                [&] { CMetryService::GetVector(sample, Space("Undefined")); });
    ExpectText<CMetryException>("Illumination without a table: F13",
                                [&] { CMetryService::GetVector(sample, With("Colorimetric.Illumination", "F13")); });
}

TEST_F(ColorService, ConversionsAgreeWithTheDirectWay)
{
    const struct {
        const char *from, *to;
    } cases[] = {
        {"CIEXYZ", "CIELab"},     {"CIELab", "CIEXYZ"},     {"CIELab", "CIELCh"},     {"LABvd", "LCHvd"},
        {"CIELuv", "CIELChuv"},   {"CIEXYZ", "CIExyY"},     {"CIELab", "RGB"},        {"CIEXYZ", "RGB"},
        {"CIEXYZ", "CIEuvY1960"}, {"CIExyY", "CIEuvY1960"}, {"CIEXYZ", "CIEuvY1976"}, {"CIExyY", "CIEuvY1976"},
        {"CIELab", "CIELab"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " to " + c.to);
        const auto converted = CMetryService::GetVector(CMetryService::GetVector(sample, Space(c.from)), c.to);
        const auto direct = CMetryService::GetVector(sample, Space(c.to));
        EXPECT_EQ(TypeOf(converted), c.to);
        const bool turned = std::string(c.to) == "LCHvd"; // the direct hue is not reduced to one turn
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(turned && i == 2 ? std::remainder(converted[i] - direct[i], 360.0F) : converted[i] - direct[i],
                        0.0F, 2e-4 * (1.0 + std::abs(direct[i])));
    }
}

TEST_F(ColorService, RefusedConversionsNameBothSpaces)
{
    const struct {
        const char *from, *to, *text;
    } cases[] = {
        {"CIExyY", "CIELab", "CIExyY to ColorSpace CIELab"},   {"CIELab", "CIExyY", "CIELab to ColorSpace CIExyY"},
        {"CIELCh", "RGB", "CIELCh to ColorSpace CIELab"},      {"CIExyY", "RGB", "CIExyY to ColorSpace CIELab"},
        {"RGB", "CIELab", "RGB to ColorSpace CIELab"},         {"HunterLab", "CMYK", "HunterLab to ColorSpace CMYK"},
        {"CIELab", "no such", "CIELab to ColorSpace no such"},
    };
    for (const auto& c : cases) {
        const auto vector = CMetryService::GetVector(sample, Space(c.from));
        ExpectText<CMetryException>(std::string("Conversion not supported from ColorSpace ") + c.text,
                                    [&] { CMetryService::GetVector(vector, c.to); });
    }
}

TEST_F(ColorService, ZeroParametersAreDefaults)
{
    const auto cmc = Formula("CMC");
    const float standard = Calculator::GetDeltaE_CMC(sample, other, cmc, 2.0F, 1.0F);
    EXPECT_EQ(CMetryService::GetDeltaE(sample, other, cmc), standard);
    EXPECT_EQ(CMetryService::GetDeltaE(sample, other, cmc, 1.0F, 0.0F),
              Calculator::GetDeltaE_CMC(sample, other, cmc, 1.0F, 1.0F));
    for (const char* formula : {"94", "2000"}) {
        const auto conditions = Formula(formula);
        EXPECT_EQ(CMetryService::GetDeltaE(sample, other, conditions),
                  CMetryService::GetDeltaE(sample, other, conditions, 1.0F, 1.0F, 1.0F));
        EXPECT_NE(CMetryService::GetDeltaE(sample, other, conditions, 2.0F, 0.0F, 0.0F),
                  CMetryService::GetDeltaE(sample, other, conditions));
    }
}

TEST_F(ColorService, DifferencesOfVectorsAndSpectraAgree)
{
    for (const auto& formula : CMetryService::GetSupportedValues("ColorSpaceDescription.DeltaEFormula")) {
        SCOPED_TRACE(formula);
        const auto conditions = Formula(formula);
        const float ofSpectra = CMetryService::GetDeltaE(sample, other, conditions);
        EXPECT_GT(ofSpectra, 0.0F);
        auto ofXYZ = conditions;
        ofXYZ.SetColorSpace(ColorSpace::CIEXYZ);
        const auto xyz1 = CMetryService::GetVector(sample, ofXYZ), xyz2 = CMetryService::GetVector(other, ofXYZ);
        if (formula == "CIELuv" || formula == "LABvd" || formula == "FMCII")
            ExpectText<CMetryException>("CMetryCalculator", [&] { CMetryService::GetDeltaE(xyz1, xyz2); });
        else
            EXPECT_NEAR(CMetryService::GetDeltaE(xyz1, xyz2), ofSpectra, 1e-3);
    }
    ExpectText<CMetryException>("GetDeltaE not supported for DeltaEFormula Undefined",
                                [&] { CMetryService::GetDeltaE(sample, other, Formula("Undefined")); });
    ExpectText<CMetryException>("CMetryCalculator",
                                [&] { CMetryService::GetDeltaE(VDSpectrum(), VDSpectrum(), Formula("FMCII")); });
    const auto lch = CMetryService::GetVector(sample, Space("CIELCh"));
    ExpectText<CMetryException>("Conversion not supported from ColorSpace CIELCh to ColorSpace CIELab",
                                [&] { CMetryService::GetDeltaE(lch, lch); });
}

TEST_F(ColorService, DeltaVectorsOfTheCartesianSpaces)
{
    const struct {
        const char *from, *to;
    } cases[] = {{"CIELab", "CIELCh"}, {"CIELuv", "CIELChuv"}, {"LABvd", "LCHvd"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.from);
        const auto a = CMetryService::GetVector(sample, Space(c.from));
        const auto b = CMetryService::GetVector(other, Space(c.from));
        const auto delta = CMetryService::GetDeltaVector(a, b);
        EXPECT_EQ(TypeOf(delta), c.to);
        EXPECT_EQ(delta[0], a[0] - b[0]);
        VDColorVector distance = a;
        distance -= b;
        EXPECT_NEAR(delta.Length(), distance.Length(), 1e-3);
    }
    const auto xyz = CMetryService::GetVector(sample, Space("CIEXYZ"));
    ExpectText<CMetryException>("CMetryCalculator", [&] { CMetryService::GetDeltaVector(xyz, xyz); });
}

TEST_F(ColorService, Metamerism)
{
    const auto reference = With("Colorimetric.Illumination", "D50");
    const auto test = With("Colorimetric.Illumination", "A");
    EXPECT_EQ(CMetryService::GetMetamery(sample, sample, reference, test), 0.0F);
    // A metamer of the sample differs under the other illuminant.
    const VDSpectrum metamer = CMetryService::GetSpectrum(CMetryService::GetVector(sample, reference));
    EXPECT_GT(CMetryService::GetMetamery(sample, metamer, reference, test), 0.5F);
    EXPECT_NEAR(CMetryService::GetMetamery(sample, metamer, reference, reference), 0.0F, 1e-3);

    auto user = reference;
    user.SetUserdefinedIllumination(FlatSpectrum(1.0F));
    EXPECT_THROW(CMetryService::GetMetamery(sample, metamer, reference, user), NullPointerException)
        << "the spectrum of the test conditions is not handed over";
    EXPECT_GE(CMetryService::GetMetamery(sample, metamer, user, user), 0.0F);
    auto paper = reference;
    paper.SetMeasureCondition("Colorimetric.WhiteBase", "Paper");
    ExpectText<CMetryException>("CMetryCalculator", [&] { CMetryService::GetMetamery(sample, metamer, paper, test); });
}

TEST_F(ColorService, WhiteBasePaper)
{
    auto conditions = Space("CIELab");
    conditions.SetMeasureCondition("Colorimetric.WhiteBase", "Paper");
    ExpectText<CMetryException>("CMetryCalculator", [&] { CMetryService::GetVector(sample, conditions); });
    ExpectText<CMetryException>("CMetryCalculator", [&] { CMetryService::GetDeltaE(sample, other, conditions); });
    DensityService::SetPaperWhite(sample);
    EXPECT_NEAR(CMetryService::GetVector(sample, conditions)[0], 100.0F, 1e-3) << "the paper itself";
    // A paper with zeros: infinite quotients, no answer worth having, and no harm.
    DensityService::SetPaperWhite(VDSpectrum());
    EXPECT_FALSE(std::isfinite(CMetryService::GetVector(sample, conditions)[0]));
    conditions.SetMeasureCondition("Colorimetric.WhiteBase", "Absolute");
    EXPECT_TRUE(std::isfinite(CMetryService::GetVector(sample, conditions)[0]));
}

// Whatever a spectrum holds, every operation ends, with numbers or with a CMetryException.
TEST_F(ColorService, HostileSpectra)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    const float largest = std::numeric_limits<float>::max(), smallest = std::numeric_limits<float>::denorm_min();
    for (const float value : {nan, infinity, -infinity, largest, -largest, smallest, -0.0F}) {
        for (const std::size_t count : {1U, 36U}) {
            SCOPED_TRACE(value);
            VDSpectrum hostile = sample;
            for (std::size_t i = 0; i < count; ++i)
                hostile[17 * (count == 1) + i] = value;
            const auto attempt = [](auto action) {
                try {
                    action();
                } catch (const CMetryException&) {
                }
            };
            for (const auto& space : CMetryService::GetSupportedValues("ColorSpaceDescription.Type"))
                attempt([&] { CMetryService::GetVector(hostile, Space(space)); });
            for (const auto& formula : CMetryService::GetSupportedValues("ColorSpaceDescription.DeltaEFormula")) {
                attempt([&] { CMetryService::GetDeltaE(hostile, sample, Formula(formula)); });
                attempt([&] { CMetryService::GetDeltaE(sample, hostile, Formula(formula), value, value, value); });
            }
            attempt([&] { CMetryService::GetMetamery(hostile, sample, Space("CIELab"), Space("CIELab")); });
            attempt([&] { CMetryService::GetColorType(hostile); });
            attempt([&] { CMetryService::GetColorTemperature(hostile); });
            attempt([&] { CMetryService::GetSpectrum(CMetryService::GetVector(hostile, Space("CIEXYZ"))); });
            float index = 0.0F;
            std::string reference;
            attempt([&] { CMetryService::GetColorRenderingIndex(hostile, index, reference); });
            EXPECT_TRUE(std::isfinite(index));
            auto user = Space("CIELab");
            user.SetUserdefinedIllumination(hostile);
            attempt([&] { CMetryService::GetVector(sample, user); });
            DensityService::SetPaperWhite(hostile);
            for (const char* mode : {"Black", "Cyan", "Max", "Auto"}) {
                auto conditions = With("Colorimetric.DensityFilterMode", mode);
                attempt([&] { DensityService::GetDensity(sample, conditions); });
                attempt([&] { DensityService::GetDensityFilterName(hostile, conditions); });
                attempt([&] { DensityService::GetDotGain(hostile, sample, conditions, 50.0F); });
                attempt([&] { DensityService::GetSlur({hostile, sample}, sample, conditions); });
            }
        }
    }
    EXPECT_NEAR(CMetryService::GetVector(FlatSpectrum(1.0F), Space("CIELab"))[0], 100.0F, 1e-4) << "and nothing stays";
}

TEST_F(ColorService, AnIlluminantWithoutBlueIsNoWhiteForLab)
{
    VDSpectrum red;
    red[VDSpectrum::GetArrayIndex(680)] = 1.0F;
    for (const char* space : {"CIEXYZ", "CIExyY", "CIELab", "CIELCh", "CIELuv", "HunterLab", "RxRyRz", "RGB"}) {
        SCOPED_TRACE(space);
        VDMeasureConditions conditions = Space(space);
        conditions.SetUserdefinedIllumination(red);
        const auto compute = [&] { return CMetryService::GetVector(sample, conditions); };
        if (std::string(space).starts_with("CIEX") || std::string(space) == "CIExyY")
            EXPECT_EQ(compute()[2] > 0, std::string(space) == "CIExyY");
        else
            ExpectText<CMetryException>("Illumination gives no white point", compute);
    }
}
