// The conditions as their caller sees them: keys and values in text, and what a copy shares.

#include "tests/support/Rows.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using namespace Vondrel::CMetry;
using namespace Vondrel::Utilities::Exceptions;

namespace {

const std::string illumination = "Colorimetric.Illumination";
const std::string physicalFilter = "Physical.Filter";

const std::map<std::string, std::string> defaults{
    {"Colorimetric.Illumination", "D65"},
    {"Colorimetric.Observer", "TwoDegree"},
    {"Colorimetric.WhiteBase", "Automatic"},
    {"Colorimetric.DensityStandard", "DIN"},
    {"Colorimetric.DensityFilterMode", "Auto"},
    {"Physical.Filter", "No"},
    {"Physical.SpectrumType", "Remission"},
    {"Physical.NumberOfDataPointsSpectrum", "36"},
    {"Physical.WavelengthSpectrumMin", "380nm"},
    {"Physical.WavelengthSpectrumMax", "730nm"},
    {"ColorSpaceDescription.Type", "CIELab"},
    {"ColorSpaceDescription.DeltaEFormula", "CIELab"},
    {"ColorSpaceDescription.AbsoluteOrDeltaVector", "AbsoluteVector"},
};

// Every condition away from its default.
VDMeasureConditions Unusual()
{
    VDMeasureConditions conditions;
    conditions.SetMeasureConditions({{"Colorimetric.Illumination", "F5"},
                                     {"Colorimetric.Observer", "TenDegree"},
                                     {"Colorimetric.WhiteBase", "Paper"},
                                     {"Colorimetric.DensityStandard", "ANSIT"},
                                     {"Colorimetric.DensityFilterMode", "Max"},
                                     {"Physical.Filter", "Polarizer"},
                                     {"Physical.SpectrumType", "my own"},
                                     {"ColorSpaceDescription.Type", "CIELuv"},
                                     {"ColorSpaceDescription.DeltaEFormula", "2000"},
                                     {"ColorSpaceDescription.AbsoluteOrDeltaVector", "DeltaVector"},
                                     {"CustomCondition", "Enable"}});
    return conditions;
}

template<typename Exception = CMetryException>
void ExpectRefusal(const std::string& key, const std::string& value, const std::string& text)
{
    SCOPED_TRACE(key + " = " + value);
    const VDMeasureConditions before = Unusual();
    VDMeasureConditions conditions = before;
    conditions.SetMeasureCondition("CustomCondition", "Disable");
    try {
        conditions.SetMeasureCondition(key, value);
        ADD_FAILURE() << "no exception";
    } catch (const Exception& e) {
        EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
        EXPECT_GE(const_cast<Exception&>(e).Trace().size(), 2U);
    }
    EXPECT_TRUE(conditions == before);
}

}

TEST(MeasureConditions, FreshOnesReadTheDefaults)
{
    const VDMeasureConditions conditions;
    for (const auto& [key, value] : defaults)
        EXPECT_EQ(conditions.GetMeasureCondition(key), value) << key;
}

TEST(MeasureConditions, OfferAndTakeTheValuesOfTheirList)
{
    const std::vector<Row> rows = ReadRows(ORVEX_TEST_DATA "/condition_values.txt");
    ASSERT_EQ(rows.size(), 34U);
    for (const Row& row : rows) {
        SCOPED_TRACE(row[1]);
        const std::vector<std::string> values(row.begin() + 2, row.end());
        if (row[0] == "offered") {
            EXPECT_EQ(VDMeasureConditions::GetSupportedValues(row[1]), values);
        }
        for (const auto& value : values) {
            if (defaults.count(row[1]) == 0 || value == "Dxx" || value == "F")
                continue; // labels; and those that want a number
            VDMeasureConditions conditions = Unusual();
            conditions.SetMeasureCondition(row[1], value);
            EXPECT_EQ(conditions.GetMeasureCondition(row[1]), value);
        }
    }
}

TEST(MeasureConditions, RefusalsNameTheValueAndChangeNothing)
{
    const struct {
        const char* key;
        const char* text;
    } cases[] = {
        {"Colorimetric.Illumination", " is not a valid illuminationtype"},
        {"Colorimetric.Observer", " is not a valid observertype"},
        {"Colorimetric.WhiteBase", " is not a valid whitespacetype"},
        {"Colorimetric.DensityStandard", " is not a valid density standard type"},
        {"Colorimetric.DensityFilterMode", " is not a valid density filter mode"},
        {"Physical.Filter", " is not a valid whitespacetype"},
        {"ColorSpaceDescription.Type", " is not a valid color space"},
        {"ColorSpaceDescription.DeltaEFormula", " is not a valid delta E formula"},
        {"ColorSpaceDescription.AbsoluteOrDeltaVector", " is not valid for absolute or relative vectors"},
    };
    for (const auto& c : cases)
        for (const std::string value : {"", "nonsense", "d65", " D65", "No "})
            ExpectRefusal(c.key, value, value + c.text);
    ExpectRefusal("Colorimetric.Magic", "1", "Modification not supported for key: Colorimetric.Magic");
    ExpectRefusal("", "1", "Modification not supported for key: ");
}

TEST(MeasureConditions, NumberedIlluminantsWantANumberThatFits)
{
    for (const std::string value :
         {"Dxx", "Dxx, Temperature", "F256", "F-1", "Dxx, Temperature:65536", "Dxx, Temperature:-1"})
        ExpectRefusal(illumination, value, value + " is not a valid illuminationtype");
    for (const std::string value : {"F", "Fx", "Dxx, Temperature:", "Dxx, Temperature:warm", "F99999999999"})
        ExpectRefusal<InvalidArgumentException>(illumination, value, "lexical_cast(): fail to convert");

    VDMeasureConditions conditions;
    conditions.SetMeasureCondition(illumination, "F2");
    EXPECT_EQ(conditions.GetIllumination(), VDIllumination(IlluminationTYPE::F2));
    conditions.SetMeasureCondition(illumination, "F5");
    EXPECT_EQ(conditions.GetIllumination().GetIlluminationTYPE(), IlluminationTYPE::Fxx);
    EXPECT_EQ(conditions.GetIllumination().GetFValue(), 5);
    conditions.SetMeasureCondition(illumination, "Dxx, Temperature:5500K");
    EXPECT_EQ(conditions.GetIllumination().GetColorTemperature(), 5500);
}

TEST(MeasureConditions, TheGridTakesAnyValueAndKeepsItsOwn)
{
    VDMeasureConditions conditions;
    for (const auto& key :
         {"Physical.NumberOfDataPointsSpectrum", "Physical.WavelengthSpectrumMin", "Physical.WavelengthSpectrumMax"}) {
        conditions.SetMeasureCondition(key, "1000nm");
        EXPECT_EQ(conditions.GetMeasureCondition(key), defaults.at(key));
    }
    EXPECT_TRUE(conditions == VDMeasureConditions());
}

TEST(MeasureConditions, CustomOnesCountWhileTheyAreEnabled)
{
    VDMeasureConditions conditions;
    EXPECT_EQ(conditions.GetMeasureCondition("CustomCondition"), "Undefined");
    conditions.SetMeasureCondition("CustomCondition", "Enable");
    conditions.SetMeasureCondition("Ink", "K+");
    EXPECT_EQ(conditions.GetMeasureCondition("CustomCondition"), "Enable");
    EXPECT_EQ(conditions.GetMeasureCondition("Ink"), "K+");
    EXPECT_TRUE(conditions == VDMeasureConditions()) << "custom conditions take no part in a comparison";

    VDMeasureConditions copy = conditions;
    copy.SetMeasureCondition("Ink", "C");
    EXPECT_EQ(conditions.GetMeasureCondition("Ink"), "K+") << "a copy is a value of its own";

    conditions.SetMeasureCondition("CustomCondition", "Disable");
    EXPECT_EQ(conditions.GetMeasureCondition("Ink"), "Undefined");
    EXPECT_THROW(conditions.SetMeasureCondition("Ink", "M"), CMetryException);
    conditions.SetMeasureCondition("CustomCondition", "Enable");
    EXPECT_EQ(conditions.GetMeasureCondition("Ink"), "K+") << "the entry has outlasted the pause";
}

TEST(MeasureConditions, EveryConditionTellsTwoApart)
{
    const VDMeasureConditions unusual = Unusual();
    EXPECT_TRUE(VDMeasureConditions(unusual) == unusual);
    for (const auto& [key, value] : defaults) {
        VDMeasureConditions other = unusual;
        other.SetMeasureCondition(key, value);
        const bool fixed = other.GetMeasureCondition(key) == unusual.GetMeasureCondition(key);
        EXPECT_EQ(other == unusual, fixed) << key;
    }
}

TEST(MeasureConditions, TheUsersIlluminantIsSharedByCopiesAndDroppedByOthers)
{
    VDSpectrum lamp;
    lamp[3] = 7.0F;
    VDMeasureConditions conditions;
    conditions.SetMeasureCondition(illumination, "Userdefined");
    EXPECT_THROW(conditions.GetUserdefinedIllumination(), NullPointerException);

    conditions.SetUserdefinedIllumination(lamp);
    EXPECT_EQ(conditions.GetMeasureCondition(illumination), "Userdefined");
    const VDMeasureConditions copy = conditions;
    EXPECT_TRUE(copy.SharesUserdefinedIllumination(conditions));
    conditions.SetMeasureCondition("Physical.SpectrumType", "my own");
    EXPECT_TRUE(copy.SharesUserdefinedIllumination(conditions));

    VDMeasureConditions again = copy;
    again.SetUserdefinedIllumination(lamp);
    EXPECT_FALSE(again.SharesUserdefinedIllumination(copy));
    EXPECT_TRUE(again == copy) << "equal spectra under two pointers";
    lamp[3] = 8.0F;
    again.SetUserdefinedIllumination(lamp);
    EXPECT_FALSE(again == copy);

    conditions.SetIllumination(VDIllumination(IlluminationTYPE::Userdefined));
    EXPECT_EQ(conditions.GetUserdefinedIllumination()[3], 7.0F);
    conditions.SetMeasureCondition(illumination, "D50");
    EXPECT_THROW(conditions.GetUserdefinedIllumination(), NullPointerException);
    EXPECT_EQ(copy.GetUserdefinedIllumination()[3], 7.0F);
}

TEST(MeasureConditions, OnlyTheFilterComesFromThePhysicalSource)
{
    VDMeasureConditions conditions;
    conditions.SetPhysMeasCond(Unusual());
    VDMeasureConditions expected;
    expected.SetMeasureCondition(physicalFilter, "Polarizer");
    EXPECT_TRUE(conditions == expected);
}

TEST(MeasureConditions, ElementsHaveTheLabelsOfSpaceAndKind)
{
    VDMeasureConditions conditions;
    EXPECT_EQ(conditions.GetElementName(0), "L*");
    EXPECT_THROW(conditions.GetElementName(3), CMetryException);
    conditions.SetMeasureCondition("ColorSpaceDescription.AbsoluteOrDeltaVector", "DeltaVector");
    conditions.SetMeasureCondition("ColorSpaceDescription.Type", "CIELCh");
    EXPECT_EQ(conditions.GetElementName(2), "delta H*");
    conditions.SetMeasureCondition("ColorSpaceDescription.Type", "Undefined");
    EXPECT_THROW(conditions.GetElementName(0), CMetryException);

    EXPECT_TRUE(VDMeasureConditions::GetSupportedValues("no such key").empty());
}

TEST(MeasureConditions, NumbersWithoutATextReadUndefined)
{
    using Translator = MeasureConditionTranslator;
    EXPECT_EQ(Translator::ToString(VDIllumination(IlluminationTYPE(99))), "Undefined");
    EXPECT_EQ(Translator::ToString(VDIllumination(IlluminationTYPE::S0)), "Undefined");
    EXPECT_EQ(Translator::ToString(Observer(2)), "Undefined");
    EXPECT_EQ(Translator::ToString(PhysicalFilter(6)), "Undefined");
    EXPECT_EQ(Translator::ToString(DensityStandard(-2)), "Undefined");
}
