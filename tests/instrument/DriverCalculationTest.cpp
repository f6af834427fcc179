#include "Vondrel/DeviceDriver/GENERIC/Calculation/DriverCalculation.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteCheck.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Calculation;
using Configuration::Properties;
using Configuration::Property;
using testing::Each;
using testing::FloatNear;
using testing::HasSubstr;
using testing::Pointwise;
using testing::ThrowsMessage;
using Vondrel::Utilities::Exceptions::ResourceException;

using Raw = std::vector<SensorData::RawVector>;
using Floats = std::vector<float>;
using Longs = std::vector<std::int32_t>;

namespace {

constexpr std::size_t bands = 36;
constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

/// Three pixels of equal weight make a band, from pixel 2 on. Gain 0 is linearised to half the counts.
Properties Calibration()
{
    Longs first(bands);
    for (std::size_t band = 0; band < bands; ++band)
        first[band] = static_cast<std::int32_t>(2 + 3 * band);
    Properties set("CalibrationData");
    set.SetProperty(Configuration::LinearisationNormalGain, Floats{0, 1});
    set.SetProperty(Configuration::LinearisationSensitiveGain, Floats{0, 0.5F});
    set.SetProperty(Configuration::MatrixStartIndices, first);
    set.SetProperty(Configuration::MatrixCounts, Longs(bands, 3));
    set.SetProperty(Configuration::MatrixCoefficients, Floats(3 * bands, 0.25F));
    set.SetProperty(Configuration::ReflectanceWhiteReference, Floats(bands, 0.75F));
    set.SetProperty(Configuration::EmissionCalibration, Floats(bands, 2));
    set.SetProperty(Configuration::AmbientCalibration, Floats(bands, 8));
    set.SetProperty(Configuration::SensorTargetLevel, 40000);
    set.SetProperty(Configuration::InternalDarkLimit, 1000);
    set.SetProperty(Configuration::SaturationLimitNormalGain, 60000);
    set.SetProperty(Configuration::SaturationLimitSensitiveGain, 50000);
    set.SetProperty(Configuration::GainRatio, 16.0F);
    set.SetProperty(Configuration::MinIntegrationTime, 0.0078125F);
    set.SetProperty(Configuration::MaxIntegrationTime, 4.0F);
    set.SetProperty(Configuration::PhysicalFilter, 0);
    return set;
}

SensorData Data(const Raw& raw, float time = 0.5F, std::int32_t gain = 1)
{
    SensorData data;
    data.StoreRawData(raw);
    data.SetIntegrationTime(time);
    data.SetGain(gain);
    return data;
}

SensorData Flat(std::int32_t counts, float time = 0.5F, std::int32_t gain = 1)
{
    return Data({Longs(128, counts)}, time, gain);
}

/// A reading of the white tile above a dark of 100 counts: its lamp is weak at 380 nm and strong at 600 nm.
Longs WhiteReading(std::int32_t level = 20000)
{
    Longs reading(128, level + 100);
    for (std::size_t pixel = 0; pixel < 8; ++pixel)
        reading[pixel] = level * 15 / 100 + 100;
    for (std::size_t pixel = 2 + 3 * 22; pixel < 2 + 3 * 28; ++pixel)
        reading[pixel] = level * 145 / 100 + 100;
    return reading;
}

DriverCalculation Calibrated(const Properties& calibration = Calibration())
{
    DriverCalculation calculation(calibration);
    SensorData dark = Flat(100);
    calculation.Dark(dark);
    return calculation;
}

Floats SampleOf(DriverCalculation& calculation, SensorData data, const std::string& mode)
{
    SpectrumData result;
    calculation.Sample(data, result, mode);
    return result.LoadData();
}

}

TEST(DriverCalculation, MakesTheReflectanceOfASampleFromWhiteAndDark)
{
    DriverCalculation calculation = Calibrated();
    SensorData white = Data({WhiteReading(), WhiteReading()});
    EXPECT_FALSE(calculation.White(white, true, 1.0F)) << "29100 of 40000 counts";
    EXPECT_EQ(white.LoadRawData().size(), 1U);
    white = Data({WhiteReading()});
    EXPECT_TRUE(calculation.White(white, true, 0.7275F)) << "29100 of 29100 counts";

    Longs half = WhiteReading();
    for (auto& count : half)
        count = (count - 100) / 2 + 100;
    EXPECT_THAT(SampleOf(calculation, Data({half}), "Remission"), Each(FloatNear(0.375F, 1e-6F)));

    Longs third(half), fourth(half);
    for (std::size_t i = 0; i < half.size(); ++i) {
        third[i] = half[i] - 1;
        fourth[i] = half[i] + 2;
    }
    EXPECT_EQ(SampleOf(calculation, Data({half, third, fourth}), "Remission"),
              SampleOf(calculation, Data({half}), "Remission"))
        << "the mean of the readings truncates";
}

TEST(DriverCalculation, RefusesABadWhiteAndDropsTheOldOne)
{
    Longs saturated = WhiteReading();
    std::fill_n(saturated.begin(), 11, 60001);
    Longs grey(128, 20100);
    struct Case {
        const char* what;
        SensorData white;
        const char* text;
    };
    const Case cases[] = {
        {"saturated", Data({saturated}), "White calculation: Sensor is saturated"},
        {"readings apart", Data({WhiteReading(), WhiteReading(23000)}), "White calculation: Data is not consistent"},
        {"no pixels", Data({{}, {}}), "White calculation: Devision by zero"},
        {"another lamp", Data({grey}), "White calculation: White check failed"},
        {"nothing above the dark", Flat(100), "White calculation: Devision by zero"},
        {"other time", Data({WhiteReading()}, 0.25F), "White calculation: Sample calculation: Division by zero"},
        {"no readings", SensorData(), "White calculation: Sample calculation: Raw data is not valid"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DriverCalculation calculation = Calibrated();
        SensorData good = Data({WhiteReading()});
        calculation.White(good, true, 1.0F);
        SensorData bad = c.white;
        EXPECT_THAT([&] { calculation.White(bad, true, 1.0F); }, ThrowsMessage<CalculationException>(c.text));
        EXPECT_THAT([&] { SampleOf(calculation, Flat(5000), "Remission"); },
                    ThrowsMessage<CalculationException>("Sample calculation: White data not valid"));
    }

    DriverCalculation withoutDark(Calibration());
    SensorData white = Data({WhiteReading()});
    EXPECT_THAT([&] { withoutDark.White(white, true, 1.0F); },
                ThrowsMessage<CalculationException>("White calculation: Sample calculation: Data not valid"));
}

TEST(DriverCalculation, RefusesAResultThatIsNoFiniteNumber)
{
    struct Case {
        const char* what;
        Configuration::PropertyId id;
        float value;
        const char* white;  ///< null: it works
        const char* sample; ///< of reflectance
        const char* light;
    };
    const char* const sample = "Sample calculation: Data is not valid";
    const char* const white = "White calculation: Sample calculation: Data is not valid";
    const char* const noWhite = "Sample calculation: White data not valid";
    const Case cases[] = {
        {"a weight that overflows", Configuration::MatrixCoefficients, 1e38F, white, noWhite, sample},
        {"a factor that overflows", Configuration::EmissionCalibration, 1e38F, white, noWhite, sample},
        {"an ambient factor", Configuration::AmbientCalibration, 1e38F, nullptr, nullptr, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Properties calibration = Calibration();
        Floats values = calibration.GetProperty(c.id).AsFloatVector();
        values[values.size() / 2] = c.value;
        calibration.SetProperty(c.id, values);
        DriverCalculation calculation = Calibrated(calibration);
        SensorData data = Data({WhiteReading()});
        const auto expect = [&](const char* text, const auto& call) {
            if (text == nullptr)
                EXPECT_NO_THROW(call());
            else
                EXPECT_THAT(call, ThrowsMessage<CalculationException>(text));
        };
        expect(c.white, [&] { calculation.White(data, true, 1.0F); });
        expect(c.sample, [&] { SampleOf(calculation, Flat(5000), "Remission"); });
        expect(c.light, [&] { SampleOf(calculation, Flat(5000), "Emission"); });
        EXPECT_THROW(SampleOf(calculation, Flat(5000), "AmbientLight"), CalculationException);
    }
}

TEST(DriverCalculation, IsSaturatedByMoreThanTenCountsAReadingAboveTheLimitOfTheGain)
{
    const DriverCalculation calculation(Calibration());
    struct Case {
        const char* what;
        std::int32_t gain, limit;
    };
    for (const Case& c : {Case{"normal gain", 1, 60000}, Case{"high sensitivity", 0, 50000}}) {
        SCOPED_TRACE(c.what);
        Longs reading(128, c.limit);
        std::fill_n(reading.begin(), 10, c.limit + 1);
        EXPECT_FALSE(calculation.SensorIsSaturated(Data({reading, reading}, 0.5F, c.gain)));
        Longs brighter = reading;
        brighter[127] = c.limit + 1;
        EXPECT_TRUE(calculation.SensorIsSaturated(Data({reading, brighter}, 0.5F, c.gain)));
    }
}

TEST(DriverCalculation, TakesADarkWhoseMeanLiesBelowTheLimit)
{
    Longs oneBright(128, 100);
    oneBright[60] = 60000; // the mean from pixel 1 on is 571
    struct Case {
        const char* what;
        SensorData dark;
        bool taken;
    };
    const Case cases[] = {
        {"below 1000 and 450 for half a second", Flat(1449), true},
        {"at the limit", Flat(1450), false},
        {"below ten times the limit at gain 0", Flat(14499, 0.5F, 0), true},
        {"at ten times the limit", Flat(14500, 0.5F, 0), false},
        {"one bright pixel", Data({oneBright}), true},
        {"readings of which only the mean is dark", Data({Longs(128, 2000), Longs(128, 800)}), true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DriverCalculation calculation(Calibration());
        SensorData dark = c.dark;
        if (c.taken)
            calculation.Dark(dark);
        else
            EXPECT_THAT([&] { calculation.Dark(dark); },
                        ThrowsMessage<CalculationException>("Dark calculation: Data is not valid"));
    }
}

TEST(DriverCalculation, CanDoWithoutTheDark)
{
    DriverCalculation calculation = Calibrated();
    calculation.ZeroDark();
    EXPECT_THAT(SampleOf(calculation, Flat(1000), "Emission"), Each(1000 * 0.75F * 2 / 0.5F));
    calculation.InvalidateData("Dark");
    EXPECT_THAT([&] { calculation.ZeroDark(); }, ThrowsMessage<DataException>("Data not valid"));
}

TEST(DriverCalculation, UsesOneWhiteForEachSampleOfAScan)
{
    DriverCalculation calculation = Calibrated();
    SensorData series = Data({WhiteReading(20000), WhiteReading(20200), WhiteReading(20400)});
    calculation.White(series, false, 1.0F);

    const auto ratio = [&] { return SampleOf(calculation, Data({WhiteReading(10000)}), "Remission")[10]; };
    EXPECT_FLOAT_EQ(ratio(), 0.75F * 10000 / 20400) << "the cursor stands where the calibration left it";
    calculation.ResetWhite();
    for (const float level : {20000.0F, 20200.0F, 20400.0F, 20400.0F})
        EXPECT_FLOAT_EQ(ratio(), 0.75F * 10000 / level);
}

TEST(DriverCalculation, ChecksAWhiteWithoutLosingTheOldOne)
{
    DriverCalculation calculation = Calibrated();
    SensorData white = Data({WhiteReading()});
    EXPECT_TRUE(calculation.CheckWhite(white));
    EXPECT_THROW(SampleOf(calculation, Flat(5000), "Remission"), CalculationException) << "there was none before";
    EXPECT_EQ(white.LoadRawData(), Raw{WhiteReading()});
    EXPECT_FALSE(white.DataIsValid());

    calculation.White(white, true, 1.0F);
    const Floats before = SampleOf(calculation, Flat(5000), "Remission");
    EXPECT_FALSE(calculation.CheckWhite(Flat(9000)));
    EXPECT_THROW(calculation.CheckWhite(Flat(9000, 0.25F)), CalculationException);
    EXPECT_EQ(SampleOf(calculation, Flat(5000), "Remission"), before);

    SampleOf(calculation, Flat(5000), "Emission");
    EXPECT_NE(SampleOf(calculation, Flat(5000), "Remission"), before) << "emission takes the place of white";
}

TEST(DriverCalculation, ChecksAWhiteByTheFilterOfTheInstrument)
{
    Longs withoutUltraviolet = WhiteReading();
    std::fill_n(withoutUltraviolet.begin(), 8, 100);
    for (const std::int32_t filter : {0, 129, 130, 131}) {
        SCOPED_TRACE(filter);
        DriverCalculation calculation = Calibrated();
        calculation.SetProperty(Configuration::PhysicalFilter, filter);
        EXPECT_EQ(calculation.CheckWhite(Data({WhiteReading()})), filter != 130);
        EXPECT_EQ(calculation.CheckWhite(Data({withoutUltraviolet})), filter == 130);
    }
}

TEST(DriverCalculation, ScalesLightByTimeAndGain)
{
    struct Case {
        const char* mode;
        float time;
        std::int32_t gain;
        float expected;
    };
    const Case cases[] = {
        {"Emission", 0.5F, 1, 1000 * 0.75F * 2 / 0.5F},
        {"Emission", 0.125F, 1, 1000 * 0.75F * 2 / 0.125F},
        {"Emission", 0.5F, 0, 500 * 0.75F * 2 / 0.5F / 16},
        {"AmbientLight", 0.5F, 1, 1000 * 0.75F * 2 / 0.5F * 8},
        {"AmbientLight", 0.25F, 0, 500 * 0.75F * 2 / 0.25F / 16 * 8},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        DriverCalculation calculation(Calibration());
        SensorData dark = Flat(100, c.time, c.gain);
        calculation.Dark(dark);
        EXPECT_THAT(SampleOf(calculation, Flat(1100, c.time, c.gain), c.mode), Each(c.expected));
    }
}

TEST(DriverCalculation, RelatesTransmissionToItsReference)
{
    DriverCalculation calculation = Calibrated();
    EXPECT_THAT([&] { SampleOf(calculation, Flat(5100), "Transmission"); },
                ThrowsMessage<CalculationException>("Sample calculation: Reference data not valid"));
    SensorData light = Flat(40100);
    EXPECT_TRUE(calculation.Reference(light));
    EXPECT_THAT(SampleOf(calculation, Flat(10100), "Transmission"), Each(0.25F));

    SensorData saturated = Flat(60001);
    EXPECT_THAT([&] { calculation.Reference(saturated); },
                ThrowsMessage<CalculationException>("Reference calculation: Sensor is saturated"));
    EXPECT_THROW(SampleOf(calculation, Flat(10100), "Transmission"), CalculationException);

    DriverCalculation withoutDark(Calibration());
    SensorData again = Flat(40100);
    EXPECT_THAT([&] { withoutDark.Reference(again); },
                ThrowsMessage<CalculationException>("Reference calculation: Dark data not valid"));
}

TEST(DriverCalculation, TakesTheDarkOfOtherConditionsFromTheBaseDarks)
{
    DriverCalculation calculation = Calibrated();
    SensorData normalFirst = Flat(200, 0.25F), normalSecond = Flat(600, 1.25F);
    SensorData sensitiveFirst = Flat(1000, 0.25F, 0), sensitiveSecond = Flat(2000, 1.25F, 0);
    calculation.Dark(normalFirst, normalSecond, sensitiveFirst, sensitiveSecond);

    const auto light = [&](std::int32_t counts, float time, std::int32_t gain) {
        return SampleOf(calculation, Flat(counts, time, gain), "Emission")[0] * time / 1.5F
            * (gain == 0 ? 16.0F : 1.0F);
    };
    EXPECT_FLOAT_EQ(light(5100, 0.5F, 1), 5000) << "the current dark of 100 fits and stays";
    EXPECT_FLOAT_EQ(light(5100, 0.75F, 1), 4700) << "half way: 400";
    EXPECT_FLOAT_EQ(light(5100, 0.7505F, 1), 4700) << "within a millisecond the dark is not made again";
    EXPECT_FLOAT_EQ(light(5100, 0.5F, 1), 4800) << "the current dark has gone";
    EXPECT_FLOAT_EQ(light(5000, 0.75F, 0), 1750) << "2500 less 750 at gain 0";

    SensorData dark = Flat(100);
    calculation.Dark(dark);
    EXPECT_THAT([&] { light(5100, 0.75F, 1); },
                ThrowsMessage<CalculationException>("Sample calculation: Division by zero"))
        << "a dark by itself drops the base darks";

    SensorData bright = Flat(5000, 1.25F);
    calculation.Dark(normalFirst, normalSecond, sensitiveFirst, sensitiveSecond);
    EXPECT_THAT([&] { calculation.Dark(normalFirst, bright, sensitiveFirst, sensitiveSecond); },
                ThrowsMessage<CalculationException>("Dark calculation: Data is not valid"));
    EXPECT_FLOAT_EQ(light(5100, 0.75F, 1), 4700) << "a failure stores none";
}

TEST(DriverCalculation, DropsTheNamedRecordOnly)
{
    struct Case {
        const char* record;
        bool remission, transmission, emission; // still work
    };
    const Case cases[] = {
        {"White", false, true, true}, {"Reference", true, false, true}, {"Dark", false, false, false},
        {"All", false, false, false}, {"white", true, true, true},      {"", true, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.record);
        DriverCalculation calculation = Calibrated();
        SensorData white = Data({WhiteReading()}), light = Flat(40100);
        calculation.White(white, true, 1.0F);
        calculation.Reference(light);
        calculation.InvalidateData(c.record);
        const auto works = [&calculation](const char* mode) {
            SpectrumData result;
            SensorData sample = Flat(5000);
            try {
                calculation.Sample(sample, result, mode);
            } catch (const CalculationException&) {
            }
            return result.DataIsValid();
        };
        EXPECT_EQ(works("Remission"), c.remission);
        EXPECT_EQ(works("Transmission"), c.transmission);
        EXPECT_EQ(works("Emission"), c.emission);
    }
}

TEST(DriverCalculation, KeepsTheTraceOfTheFailureInside)
{
    DriverCalculation calculation = Calibrated();
    SpectrumData result;
    result.SetSize(1);
    SensorData sample = Flat(5000);
    try {
        calculation.Sample(sample, result, "Reflection");
        FAIL();
    } catch (const CalculationException& failure) {
        EXPECT_STREQ(failure.what(), "Sample calculation: Unknown measure mode");
        EXPECT_THAT(
            failure.Trace(),
            testing::ElementsAre(HasSubstr("DriverCalculation::Sample()"), HasSubstr("DriverCalculation::Sample()")));
    }
    EXPECT_FALSE(result.DataIsValid());
}

TEST(DriverCalculation, LetsAMissingCalibrationValuePassAsItIs)
{
    Properties calibration("CalibrationData");
    for (const std::uint16_t id : Calibration().GetPropertyKeys())
        if (id != Configuration::EmissionCalibration)
            calibration.SetProperty(id, Calibration().GetProperty(id));
    DriverCalculation calculation = Calibrated(calibration);
    SpectrumData result;
    result.SetSize(1);
    SensorData sample = Flat(5000);
    EXPECT_THAT([&] { calculation.Sample(sample, result, "Emission"); },
                ThrowsMessage<ResourceException>("id 1101 doesn't exist"));
    EXPECT_TRUE(result.DataIsValid());
}

TEST(DriverCalculation, RefusesCalibrationDataThatMakeNoSense)
{
    struct Case {
        const char* what;
        std::uint16_t id;
        Property value;
        const char* text;
    };
    Floats oneBad(bands, 1);
    oneBad[7] = notANumber;
    const Case cases[] = {
        {"no limit", Configuration::SaturationLimitSensitiveGain, Longs{}, "holds no integer"},
        {"no polynomial", Configuration::LinearisationSensitiveGain, Floats{}, "Unable to linearize"},
        {"an integer for a polynomial", Configuration::LinearisationSensitiveGain, 1, "Unable to linearize"},
        {"a NaN polynomial", Configuration::LinearisationSensitiveGain, Floats{0, notANumber}, "(ID 1001)"},
        {"no bands", Configuration::MatrixStartIndices, Longs{}, "no bands"},
        {"factory defaults", Configuration::MatrixStartIndices, Longs(2, -1), "Different vector length"},
        {"a band outside the pixels", Configuration::MatrixStartIndices, Longs(bands, 126), "Invalid raw data"},
        {"too few weights", Configuration::MatrixCoefficients, Floats(100, 1), "Invalid raw data"},
        {"an infinite weight", Configuration::MatrixCoefficients, Floats(3 * bands, inf), "(ID 1004)"},
        {"too few factors", Configuration::EmissionCalibration, Floats(35, 1), "different vector size"},
        {"one NaN factor", Configuration::EmissionCalibration, oneBad, "(ID 1101)"},
        {"too few ambient factors", Configuration::AmbientCalibration, Floats(35, 1), "too few bands"},
        {"an empty ratio", Configuration::GainRatio, Floats{}, "(ID 1213)"},
        {"an infinite ratio", Configuration::GainRatio, inf, "(ID 1213)"},
        {"a ratio of zero", Configuration::GainRatio, 0.0F, "Division by zero"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DriverCalculation calculation = Calibrated();
        SensorData dark = Flat(100, 0.5F, 0);
        calculation.Dark(dark);
        calculation.SetProperty(c.id, c.value);
        EXPECT_THAT([&] { SampleOf(calculation, Flat(5000, 0.5F, 0), "AmbientLight"); },
                    ThrowsMessage<CalculationException>(
                        testing::AllOf(testing::StartsWith("Sample calculation: "), HasSubstr(c.text))));
    }

    DriverCalculation calculation = Calibrated();
    calculation.SetProperty(Configuration::ReflectanceWhiteReference, oneBad);
    SensorData white = Data({WhiteReading()});
    EXPECT_THAT([&] { calculation.White(white, true, 1.0F); },
                ThrowsMessage<CalculationException>(HasSubstr("(ID 1100)")));
}

TEST(NewIntegrationTime, AimsAtTheTargetWithinTheLimits)
{
    struct Case {
        const char* what;
        std::int32_t counts; // of 40000 wanted
        float time;
        std::int32_t gain;
        float longest;
        float proposal;
        bool sensitive;
        const char* failure; // with failAtLimit
    };
    const Case cases[] = {
        {"half the light, twice the time", 20000, 0.25F, 1, 4, 0.5F, false, nullptr},
        {"exactly two seconds stay at normal gain", 10000, 0.5F, 1, 4, 2, false, nullptr},
        {"a tenth beyond two seconds", 10000, 0.625F, 1, 4, 0.25F, true, nullptr},
        {"a tenth of the time before the limit", 5000, 0.375F, 1, 2.5F, 0.3F, true, "Too little light"},
        {"a tenth, at most a second", 5000, 3.75F, 1, 4, 1, true, "Too little light"},
        {"clamped to less than two seconds", 5000, 0.375F, 1, 1.5F, 1.5F, false, "Too little light"},
        {"too much light", 40000, 0.001F, 1, 4, 0.0078125F, false, "Too much light"},
        {"gain 0 stays at gain 0", 20000, 0.25F, 0, 4, 0.5F, true, nullptr},
        {"at most a second at gain 0", 20000, 0.75F, 0, 4, 1, true, nullptr},
        {"no light at all", -100, 0.5F, 1, 1.5F, 1.5F, false, "No light"},
        {"no light, long limit: the negative tenth", -100, 0.5F, 1, 4, 1, true, "No light"},
        {"a level of zero", 0, 0.5F, 1, 1.5F, 1.5F, false, "Too little light"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DriverCalculation calculation(Calibration());
        calculation.SetProperty(Configuration::MaxIntegrationTime, c.longest);
        float time = c.time;
        EXPECT_EQ(calculation.NewIntegrationTime(Flat(c.counts, c.time, c.gain), time, 1.0F, false), c.sensitive);
        EXPECT_EQ(time, c.proposal);

        time = c.time;
        const SensorData data = Flat(c.counts, c.time, c.gain);
        if (c.failure != nullptr)
            EXPECT_THAT([&] { calculation.NewIntegrationTime(data, time, 1.0F, true); },
                        ThrowsMessage<CalculationException>(std::string("New integration time: ") + c.failure));
        else
            EXPECT_EQ(calculation.NewIntegrationTime(data, time, 1.0F, true), c.sensitive);
    }
}

TEST(NewIntegrationTime, FailsAtALimitOnlyIfTheWholeTargetIsBeyondIt)
{
    const DriverCalculation calculation(Calibration());
    float time = 0.02F;
    EXPECT_FALSE(calculation.NewIntegrationTime(Flat(40000, time), time, 0.25F, true));
    EXPECT_EQ(time, 0.0078125F) << "0.005 s for a quarter of the level, 0.02 s for all of it";

    time = 1.25F;
    EXPECT_TRUE(calculation.NewIntegrationTime(Flat(20000, time), time, 2.0F, true));
    EXPECT_EQ(time, 0.5F) << "5 s for twice the level, 2.5 s for the level itself; then a tenth at gain 0";

    time = 0.5F;
    EXPECT_THROW(calculation.NewIntegrationTime(Flat(0, time), time, 1.0F, true), CalculationException);
    EXPECT_EQ(time, 40000 * 0.5F / 1.0e-15F) << "the proposal that failed stays";

    time = notANumber;
    EXPECT_THROW(calculation.NewIntegrationTime(Flat(40000), time, 1.0F, false), CalculationException);
    EXPECT_THROW(calculation.NewIntegrationTime(Flat(40000), time, inf, false), CalculationException);
}

TEST(DriverCalculation, CallsALevelOptimalStrictlyWithinFivePercent)
{
    DriverCalculation calculation(Calibration());
    calculation.SetProperty(Configuration::SensorTargetLevel, 1000);
    for (const auto& [level, optimal] : {std::pair(951, true), {950, false}, {1049, true}, {1050, false}})
        EXPECT_EQ(calculation.SensorIsOptimal(Flat(level), 1.0F), optimal) << level;
    EXPECT_TRUE(calculation.SensorIsOptimal(Flat(525), 0.5299F)) << "of 529, truncated";
    EXPECT_FALSE(calculation.SensorIsOptimal(Flat(-1000), 1.0F));
}

TEST(DriverCalculation, ComparesTheMeanOfEveryReadingWithTheFirst)
{
    const DriverCalculation calculation(Calibration());
    struct Case {
        const char* what;
        Raw raw;
        bool consistent;
    };
    const Case cases[] = {
        {"one reading of nothing", {{}}, true},
        {"one reading of zeros", {Longs(128, 0)}, true},
        {"five percent less", {{1000, 1000}, {950, 950}}, true},
        {"a count beyond that", {{1000, 1000}, {950, 949}}, false},
        {"five percent more", {{1000, 1000}, {1050, 1050}}, true},
        {"the last one apart", {{1000, 1000}, {1000, 1000}, {1060, 1060}}, false},
        {"pixel 0 counts", {{1000, 1000}, {800, 1000}}, false},
        {"negative means", {{-1000, -1000}, {-940, -940}}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(calculation.CheckConsistency(Data(c.raw)), c.consistent);
    }
    EXPECT_THAT(
        [&] {
            calculation.CheckConsistency(Data({{5, -5}, {1, 1}}));
        },
        ThrowsMessage<CalculationException>("Devision by zero"));
}

TEST(WhiteCheck, HoldsTheShapeAgainstTheLimitsOfTheFilter)
{
    constexpr std::int32_t filtered = 130, unfiltered = 0;
    struct Case {
        const char* what;
        float ultraviolet, red;
        std::int32_t filter;
        bool white;
    };
    const Case cases[] = {
        {"lowest without filter", 0.11F, 1.3501F, unfiltered, true},
        {"highest without filter", 0.22F, 1.5999F, unfiltered, true},
        {"dark in the ultraviolet", 0.1099F, 1.45F, unfiltered, false},
        {"bright in the ultraviolet", 0.2201F, 1.45F, unfiltered, false},
        {"weak in the red", 0.15F, 1.3499F, unfiltered, false},
        {"strong in the red", 0.15F, 1.6001F, unfiltered, false},
        {"least with filter", 0.0F, 1.2001F, filtered, true},
        {"most with filter", 0.05F, 1.7599F, filtered, true},
        {"ultraviolet through the filter", 0.0501F, 1.5F, filtered, false},
        {"negative, by its magnitude", -0.15F, 1.5F, unfiltered, true},
        {"not a number in the ultraviolet", notANumber, 1.5F, filtered, false},
        {"not a number in the red", 0.15F, notANumber, unfiltered, false},
    };
    const Floats reference(bands, 0.5F);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Floats spectrum(bands, 4);
        spectrum[0] = spectrum[1] = 4 * c.ultraviolet;
        std::fill_n(spectrum.begin() + 22, 6, 4 * c.red);
        EXPECT_EQ(HasShapeOfWhite(spectrum, reference, c.filter), c.white);
    }
}

TEST(WhiteCheck, NeedsTwentyEightBandsAndNoZero)
{
    EXPECT_FALSE(HasShapeOfWhite(Floats(27, 1), Floats(36, 1), 0));
    EXPECT_FALSE(HasShapeOfWhite(Floats(36, 1), Floats(35, 1), 0));
    EXPECT_FALSE(HasShapeOfWhite({}, {}, 0));
    for (const std::size_t zero : {std::size_t{0}, std::size_t{17}, std::size_t{35}}) {
        Floats reference(bands, 1);
        reference[zero] = 0;
        EXPECT_THAT([&] { HasShapeOfWhite(Floats(bands, 1), reference, 0); },
                    ThrowsMessage<CalculationException>("Devision by zero"));
    }
}
