#include "Vondrel/DeviceDriver/GENERIC/Calculation/DriverCalculation.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteCheck.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "tests/support/Thrown.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Calculation;
using Configuration::Properties;
using Configuration::Property;
using testing::Each;
using testing::FloatNear;
using testing::HasSubstr;

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
    const std::pair<Configuration::PropertyId, Property> values[] = {
        {Configuration::LinearisationNormalGain, Floats{0, 1}},
        {Configuration::LinearisationSensitiveGain, Floats{0, 0.5F}},
        {Configuration::MatrixStartIndices, first},
        {Configuration::MatrixCounts, Longs(bands, 3)},
        {Configuration::MatrixCoefficients, Floats(3 * bands, 0.25F)},
        {Configuration::ReflectanceWhiteReference, Floats(bands, 0.75F)},
        {Configuration::EmissionCalibration, Floats(bands, 2)},
        {Configuration::AmbientCalibration, Floats(bands, 8)},
        {Configuration::SensorTargetLevel, 40000},
        {Configuration::InternalDarkLimit, 1000},
        {Configuration::SaturationLimitNormalGain, 60000},
        {Configuration::SaturationLimitSensitiveGain, 50000},
        {Configuration::GainRatio, 16.0F},
        {Configuration::MinIntegrationTime, 0.0078125F},
        {Configuration::MaxIntegrationTime, 4.0F},
        {Configuration::PhysicalFilter, 0},
    };
    Properties set("CalibrationData");
    for (const auto& [id, value] : values)
        set.SetProperty(id, value);
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
    std::fill_n(reading.begin(), 8, level * 15 / 100 + 100);
    std::fill_n(reading.begin() + 2 + 3 * 22, 18, level * 145 / 100 + 100);
    return reading;
}

/// With a dark of 100 counts.
DriverCalculation Calibrated(const Properties& calibration = Calibration(), float time = 0.5F, std::int32_t gain = 1)
{
    DriverCalculation calculation(calibration);
    SensorData dark = Flat(100, time, gain);
    calculation.Dark(dark);
    return calculation;
}

Floats SampleOf(DriverCalculation& calculation, SensorData data, const std::string& mode)
{
    SpectrumData result;
    calculation.Sample(data, result, mode);
    return result.LoadData();
}

std::string FailureOfSample(DriverCalculation& calculation, SensorData data, const std::string& mode)
{
    return Thrown([&] { SampleOf(calculation, std::move(data), mode); });
}

std::string FailureOfWhite(DriverCalculation& calculation, SensorData data, bool createMean = true)
{
    return Thrown([&] { calculation.White(data, createMean, 1.0F); });
}

constexpr const char* noWhite = "CalculationException: Sample calculation: White data not valid";

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
    const std::pair<SensorData, const char*> cases[] = {
        {Data({saturated}), "Sensor is saturated"},
        {Data({WhiteReading(), WhiteReading(23000)}), "Data is not consistent"},
        {Data({{}, {}}), "Devision by zero"},
        {Flat(20100), "White check failed"}, // another lamp
        {Flat(100), "Devision by zero"},     // nothing above the dark
        {Data({WhiteReading()}, 0.25F), "Sample calculation: Division by zero"},
        {SensorData(), "Sample calculation: Raw data is not valid"},
    };
    for (const auto& [white, text] : cases) {
        DriverCalculation calculation = Calibrated();
        ASSERT_EQ(FailureOfWhite(calculation, Data({WhiteReading()})), "nothing");
        EXPECT_EQ(FailureOfWhite(calculation, white), std::string("CalculationException: White calculation: ") + text);
        EXPECT_EQ(FailureOfSample(calculation, Flat(5000), "Remission"), noWhite) << text;
    }
    DriverCalculation withoutDark(Calibration());
    EXPECT_EQ(FailureOfWhite(withoutDark, Data({WhiteReading()})),
              "CalculationException: White calculation: Sample calculation: Data not valid");
}

TEST(DriverCalculation, RefusesAResultThatIsNoFiniteNumber)
{
    const std::string sample = "CalculationException: Sample calculation: Data is not valid";
    const std::string white = "CalculationException: White calculation: Sample calculation: Data is not valid";
    const struct {
        Configuration::PropertyId id;
        std::string white, sample, light, ambient;
    } cases[] = {
        {Configuration::MatrixCoefficients, white, noWhite, sample, sample},
        {Configuration::EmissionCalibration, white, noWhite, sample, sample},
        {Configuration::AmbientCalibration, "nothing", "nothing", "nothing", sample},
        {Configuration::ReflectanceWhiteReference, "nothing", sample, "nothing", "nothing"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        Properties calibration = Calibration();
        Floats values = calibration.GetProperty(c.id).AsFloatVector();
        values[values.size() * 5 / 6] = c.id == Configuration::ReflectanceWhiteReference ? 3e38F : 1e38F;
        calibration.SetProperty(c.id, values);
        DriverCalculation calculation = Calibrated(calibration);
        EXPECT_EQ(FailureOfWhite(calculation, Data({WhiteReading()})), c.white);
        EXPECT_EQ(FailureOfSample(calculation, Flat(60000), "Remission"), c.sample);
        EXPECT_EQ(FailureOfSample(calculation, Flat(5000), "Emission"), c.light);
        EXPECT_EQ(FailureOfSample(calculation, Flat(5000), "AmbientLight"), c.ambient);
    }
    Properties tiny = Calibration();
    tiny.SetProperty(Configuration::MatrixCoefficients, Floats(3 * bands, 1e-43F));
    DriverCalculation calculation = Calibrated(tiny);
    SensorData light = Flat(40100);
    EXPECT_EQ(FailureOfWhite(calculation, Data({WhiteReading()})),
              "CalculationException: White calculation: Data is not valid")
        << "factors that overflow";
}

TEST(DriverCalculation, IsSaturatedByMoreThanTenCountsAReadingAboveTheLimitOfTheGain)
{
    const DriverCalculation calculation(Calibration());
    for (const auto& [gain, limit] : {std::pair{1, 60000}, {0, 50000}}) {
        Longs reading(128, limit);
        std::fill_n(reading.begin(), 10, limit + 1);
        Longs brighter = reading;
        brighter[127] = limit + 1;
        EXPECT_FALSE(calculation.SensorIsSaturated(Data({reading, reading}, 0.5F, gain)));
        EXPECT_TRUE(calculation.SensorIsSaturated(Data({reading, brighter}, 0.5F, gain)));
    }
    EXPECT_EQ(calculation.GetSaveIntegrationTime(), 0.0078125F);
}

TEST(DriverCalculation, TakesADarkWhoseMeanLiesBelowTheLimit)
{
    Longs oneBright(128, 100);
    oneBright[60] = 60000; // the mean from pixel 1 on is 571
    const std::pair<SensorData, bool> cases[] = {
        {Flat(1449), true}, // below 1000 and 450 for half a second
        {Flat(1450), false},
        {Flat(14499, 0.5F, 0), true}, // ten times as much at gain 0
        {Flat(14500, 0.5F, 0), false},
        {Data({oneBright}), true},
        {Data({Longs(128, 2000), Longs(128, 800)}), true}, // only the mean is dark
    };
    for (const auto& [data, taken] : cases) {
        DriverCalculation calculation(Calibration());
        SensorData dark = data;
        EXPECT_EQ(Thrown([&] { calculation.Dark(dark); }),
                  taken ? "nothing" : "CalculationException: Dark calculation: Data is not valid");
    }
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

TEST(DriverCalculation, ChecksAWhiteByTheFilterOfTheInstrumentWithoutLosingTheOldOne)
{
    DriverCalculation calculation = Calibrated();
    SensorData white = Data({WhiteReading()});
    EXPECT_TRUE(calculation.CheckWhite(white));
    EXPECT_EQ(FailureOfSample(calculation, Flat(5000), "Remission"), noWhite) << "there was none before";
    EXPECT_EQ(white.LoadRawData(), Raw{WhiteReading()});
    EXPECT_FALSE(white.DataIsValid());

    calculation.White(white, true, 1.0F);
    const Floats before = SampleOf(calculation, Flat(5000), "Remission");
    EXPECT_FALSE(calculation.CheckWhite(Flat(9000)));
    EXPECT_NE(Thrown([&] { calculation.CheckWhite(Flat(9000, 0.25F)); }), "nothing");
    EXPECT_EQ(SampleOf(calculation, Flat(5000), "Remission"), before);
    SampleOf(calculation, Flat(5000), "Emission");
    EXPECT_NE(SampleOf(calculation, Flat(5000), "Remission"), before) << "emission takes the place of white";

    Longs withoutUltraviolet = WhiteReading();
    std::fill_n(withoutUltraviolet.begin(), 8, 100);
    for (const std::int32_t filter : {0, 129, 130, 131}) {
        calculation.SetProperty(Configuration::PhysicalFilter, filter);
        EXPECT_EQ(calculation.CheckWhite(Data({WhiteReading()})), filter != 130);
        EXPECT_EQ(calculation.CheckWhite(Data({withoutUltraviolet})), filter == 130);
    }
}

TEST(DriverCalculation, ScalesLightByTimeAndGain)
{
    const struct {
        const char* mode;
        float time;
        std::int32_t gain;
        float expected;
    } cases[] = {
        {"Emission", 0.5F, 1, 3000},      {"Emission", 0.125F, 1, 12000},   {"Emission", 0.5F, 0, 93.75F},
        {"AmbientLight", 0.5F, 1, 24000}, {"AmbientLight", 0.25F, 0, 1500},
    };
    for (const auto& c : cases) {
        DriverCalculation calculation = Calibrated(Calibration(), c.time, c.gain);
        EXPECT_THAT(SampleOf(calculation, Flat(1100, c.time, c.gain), c.mode), Each(c.expected)) << c.mode;
        calculation.ZeroDark();
        EXPECT_THAT(SampleOf(calculation, Flat(1000, c.time, c.gain), c.mode), Each(c.expected)) << c.mode;
    }
    DriverCalculation timeless = Calibrated(Calibration(), 0);
    EXPECT_EQ(FailureOfSample(timeless, Flat(1100, 0), "Emission"),
              "CalculationException: Sample calculation: Division by zero");
}

TEST(DriverCalculation, RelatesTransmissionToItsReference)
{
    DriverCalculation calculation = Calibrated();
    const std::string none = "CalculationException: Sample calculation: Reference data not valid";
    EXPECT_EQ(FailureOfSample(calculation, Flat(5100), "Transmission"), none);
    SensorData light = Data({Longs(128, 20100), Longs(128, 60000), Longs(128, 40200)}), dim = Flat(20100);
    EXPECT_TRUE(calculation.Reference(light)) << "the mean of the readings is 40100";
    EXPECT_THAT(SampleOf(calculation, Flat(10100), "Transmission"), Each(0.25F));
    EXPECT_FALSE(calculation.Reference(dim));
    EXPECT_THAT(SampleOf(calculation, Flat(10100), "Transmission"), Each(0.5F));
    SensorData saturated = Flat(60001), again = Flat(40100);
    EXPECT_EQ(Thrown([&] { calculation.Reference(saturated); }),
              "CalculationException: Reference calculation: Sensor is saturated");
    EXPECT_EQ(FailureOfSample(calculation, Flat(10100), "Transmission"), none);
    DriverCalculation withoutDark(Calibration());
    EXPECT_EQ(Thrown([&] { withoutDark.Reference(again); }),
              "CalculationException: Reference calculation: Dark data not valid");
}

TEST(DriverCalculation, TakesTheDarkOfOtherConditionsFromTheBaseDarks)
{
    DriverCalculation calculation = Calibrated();
    SensorData normalFirst = Flat(200, 0.25F), normalSecond = Flat(600, 1.25F), bright = Flat(5000, 1.25F);
    SensorData sensitiveFirst = Flat(1000, 0.25F, 0), sensitiveSecond = Flat(2000, 1.25F, 0), dark = Flat(100);
    const auto takeBaseDarks = [&](SensorData& second) {
        return Thrown([&] { calculation.Dark(normalFirst, second, sensitiveFirst, sensitiveSecond); });
    };
    const auto light = [&](std::int32_t counts, float time, std::int32_t gain) {
        return SampleOf(calculation, Flat(counts, time, gain), "Emission")[0] * time / 1.5F
            * (gain == 0 ? 16.0F : 1.0F);
    };
    takeBaseDarks(normalSecond);
    EXPECT_FLOAT_EQ(light(5100, 0.5F, 1), 5000) << "the current dark of 100 fits and stays";
    EXPECT_FLOAT_EQ(light(5100, 0.75F, 1), 4700) << "half way: 400";
    EXPECT_FLOAT_EQ(light(5100, 0.7505F, 1), 4700) << "within a millisecond the dark is not made again";
    EXPECT_FLOAT_EQ(light(5100, 0.5F, 1), 4800) << "the current dark has gone";
    EXPECT_FLOAT_EQ(light(5000, 0.75F, 0), 1750) << "2500 less 750 at gain 0";

    calculation.Dark(dark);
    EXPECT_EQ(FailureOfSample(calculation, Flat(5100, 0.75F), "Emission"),
              "CalculationException: Sample calculation: Division by zero")
        << "a dark by itself drops the base darks";
    takeBaseDarks(normalSecond);
    EXPECT_EQ(takeBaseDarks(bright), "CalculationException: Dark calculation: Data is not valid");
    EXPECT_FLOAT_EQ(light(5100, 0.75F, 1), 4700) << "a failure stores none";
}

TEST(DriverCalculation, DropsTheNamedRecordOnly)
{
    const struct {
        const char* record;
        const char* works;
    } cases[] = {{"White", "TE"}, {"Reference", "RE"}, {"Dark", ""}, {"All", ""}, {"white", "RTE"}, {"", "RTE"}};
    for (const auto& c : cases) {
        DriverCalculation calculation = Calibrated();
        SensorData white = Data({WhiteReading()}), light = Flat(40100);
        calculation.White(white, true, 1.0F);
        calculation.Reference(light);
        calculation.InvalidateData(c.record);
        std::string works;
        for (const char* mode : {"Remission", "Transmission", "Emission"})
            if (FailureOfSample(calculation, Flat(5000), mode) == "nothing")
                works += mode[0];
        EXPECT_EQ(works, c.works) << c.record;
    }
    DriverCalculation calculation = Calibrated();
    SensorData darks[] = {Flat(200, 0.25F), Flat(600, 1.25F), Flat(1000, 0.25F, 0), Flat(2000, 1.25F, 0)};
    calculation.Dark(darks[0], darks[1], darks[2], darks[3]);
    calculation.InvalidateData("Dark");
    EXPECT_EQ(Thrown([&] { calculation.ZeroDark(); }), "DataException: Data not valid");
    EXPECT_EQ(FailureOfSample(calculation, Flat(5000), "Emission"),
              "CalculationException: Sample calculation: Data not valid");
    SensorData dark = Flat(300, 0.75F);
    EXPECT_EQ(Thrown([&] { calculation.Reference(dark); }),
              "CalculationException: Reference calculation: Dark data not valid");
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
        const auto entry = HasSubstr("DriverCalculation::Sample()");
        EXPECT_THAT(failure.Trace(), testing::ElementsAre(entry, entry));
    }
    EXPECT_FALSE(result.DataIsValid());
}

TEST(DriverCalculation, RefusesCalibrationDataThatMakeNoSense)
{
    Floats oneBad(bands, 1);
    oneBad[7] = notANumber;
    const struct {
        std::uint16_t id;
        Property value;
        const char* text;
    } cases[] = {
        {Configuration::SaturationLimitSensitiveGain, Longs{}, "holds no integer"},
        {Configuration::LinearisationSensitiveGain, Floats{}, "Unable to linearize"},
        {Configuration::LinearisationSensitiveGain, 1, "Unable to linearize"},
        {Configuration::LinearisationSensitiveGain, Floats{0, notANumber}, "(ID 1001)"},
        {Configuration::MatrixStartIndices, Longs{}, "no bands"},
        {Configuration::MatrixStartIndices, Longs(2, -1), "Different vector length"},
        {Configuration::MatrixStartIndices, Longs(bands, 126), "Invalid raw data"},
        {Configuration::MatrixCoefficients, Floats(100, 1), "Invalid raw data"},
        {Configuration::MatrixCoefficients, Floats(3 * bands, inf), "(ID 1004)"},
        {Configuration::EmissionCalibration, Floats(35, 1), "different vector size"},
        {Configuration::EmissionCalibration, oneBad, "(ID 1101)"},
        {Configuration::AmbientCalibration, Floats(35, 1), "too few bands"},
        {Configuration::GainRatio, Floats{}, "(ID 1213)"},
        {Configuration::GainRatio, inf, "(ID 1213)"},
        {Configuration::GainRatio, 0.0F, "Division by zero"},
    };
    for (const auto& c : cases) {
        DriverCalculation calculation = Calibrated(Calibration(), 0.5F, 0);
        calculation.SetProperty(c.id, c.value);
        EXPECT_THAT(
            FailureOfSample(calculation, Flat(5000, 0.5F, 0), "AmbientLight"),
            testing::AllOf(testing::StartsWith("CalculationException: Sample calculation: "), HasSubstr(c.text)));
    }
    DriverCalculation calculation = Calibrated();
    for (const auto& [value, text] : {std::pair{oneBad, "(ID 1100)"},
                                      {Floats(35, 1), "White check failed"},
                                      {Floats(37, 1), "Unable to calculate white correction"}}) {
        calculation.SetProperty(Configuration::ReflectanceWhiteReference, value);
        EXPECT_THAT(FailureOfWhite(calculation, Data({WhiteReading()})), HasSubstr(text));
    }
    Properties without("CalibrationData");
    for (const std::uint16_t id : Calibration().GetPropertyKeys())
        if (id != Configuration::EmissionCalibration)
            without.SetProperty(id, Calibration().GetProperty(id));
    DriverCalculation incomplete = Calibrated(without);
    EXPECT_EQ(FailureOfSample(incomplete, Flat(5000), "Emission"), "ResourceException: id 1101 doesn't exist");
}

TEST(NewIntegrationTime, AimsAtTheTargetWithinTheLimits)
{
    const struct {
        const char* what;
        std::int32_t counts; // of 40000 wanted
        float time;
        std::int32_t gain;
        float longest, proposal;
        bool sensitive;
        const char* failure; // with failAtLimit
    } cases[] = {
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
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        DriverCalculation calculation(Calibration());
        calculation.SetProperty(Configuration::MaxIntegrationTime, c.longest);
        const SensorData data = Flat(c.counts, c.time, c.gain);
        float time = c.time;
        EXPECT_EQ(calculation.NewIntegrationTime(data, time, 1.0F, false), c.sensitive);
        EXPECT_EQ(time, c.proposal);
        time = c.time;
        EXPECT_EQ(Thrown([&] { EXPECT_EQ(calculation.NewIntegrationTime(data, time, 1.0F, true), c.sensitive); }),
                  c.failure == nullptr ? "nothing"
                                       : std::string("CalculationException: New integration time: ") + c.failure);
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
    EXPECT_NE(Thrown([&] { calculation.NewIntegrationTime(Flat(0, time), time, 1.0F, true); }), "nothing");
    EXPECT_EQ(time, 40000 * 0.5F / 1.0e-15F) << "the proposal that failed stays";
    time = notANumber;
    for (const float factor : {1.0F, inf})
        EXPECT_NE(Thrown([&] { calculation.NewIntegrationTime(Flat(40000), time, factor, false); }), "nothing");
}

TEST(DriverCalculation, CallsALevelOptimalStrictlyWithinFivePercent)
{
    DriverCalculation calculation(Calibration());
    calculation.SetProperty(Configuration::SensorTargetLevel, 1000);
    const struct {
        std::int32_t level;
        float factor;
        bool optimal;
    } cases[] = {{951, 1, true},    {950, 1, false},      {1049, 1, true},      {1050, 1, false},
                 {-1000, 1, false}, {503, 0.5299F, true}, {556, 0.5299F, false}}; // of 529, truncated
    for (const auto& c : cases)
        EXPECT_EQ(calculation.SensorIsOptimal(Flat(c.level), c.factor), c.optimal) << c.level;
}

TEST(DriverCalculation, ComparesTheMeanOfEveryReadingWithTheFirst)
{
    const DriverCalculation calculation(Calibration());
    const std::pair<Raw, bool> cases[] = {
        {{{}}, true}, // one reading of nothing, one of zeros
        {{Longs(128, 0)}, true},
        {{{1000, 1000}, {950, 950}}, true},
        {{{1000, 1000}, {950, 949}}, false},
        {{{1000, 1000}, {1050, 1050}}, true},
        {{{1000, 1000}, {1000, 1000}, {1060, 1060}}, false}, // the last one apart
        {{{1000, 1000}, {800, 1000}}, false},                // pixel 0 counts
        {{{-1000, -1000}, {-940, -940}}, false},
    };
    for (const auto& [raw, consistent] : cases)
        EXPECT_EQ(calculation.CheckConsistency(Data(raw)), consistent) << testing::PrintToString(raw).substr(0, 80);
    EXPECT_EQ(Thrown([&] {
                  calculation.CheckConsistency(Data({{5, -5}, {1, 1}}));
              }),
              "CalculationException: Devision by zero");
}

TEST(WhiteCheck, HoldsTheShapeAgainstTheLimitsOfTheFilter)
{
    constexpr std::int32_t filtered = 130, unfiltered = 0;
    const struct {
        float ultraviolet, red;
        std::int32_t filter;
        bool white;
    } cases[] = {
        {0.11F, 1.3501F, unfiltered, true},  {0.22F, 1.5999F, unfiltered, true},
        {0.1099F, 1.45F, unfiltered, false}, {0.2201F, 1.45F, unfiltered, false},
        {0.15F, 1.3499F, unfiltered, false}, {0.15F, 1.6001F, unfiltered, false},
        {0.0F, 1.2001F, filtered, true},     {0.05F, 1.7599F, filtered, true},
        {0.0501F, 1.5F, filtered, false},    {-0.15F, 1.5F, unfiltered, true}, // by its magnitude
        {notANumber, 1.5F, filtered, false}, {0.15F, notANumber, unfiltered, false},
        {0.0F, 1.1999F, filtered, false},    {0.0F, 1.7601F, filtered, false},
    };
    const Floats reference(bands, 0.5F);
    for (const auto& c : cases) {
        // The levels are means of two and of six bands, relative to 550 nm, whatever the bands beside them show.
        Floats spectrum(bands, 100);
        spectrum[17] = 4;
        spectrum[0] = 4 * (c.ultraviolet - 0.02F);
        spectrum[1] = 4 * (c.ultraviolet + 0.02F);
        for (std::size_t band = 22; band < 28; ++band)
            spectrum[band] = 4 * (c.red + 0.1F * (static_cast<float>(band) - 24.5F));
        EXPECT_EQ(HasShapeOfWhite(spectrum, reference, c.filter), c.white) << c.ultraviolet << ' ' << c.red;
    }
    EXPECT_FALSE(HasShapeOfWhite(Floats(27, 1), Floats(36, 1), 0));
    EXPECT_FALSE(HasShapeOfWhite(Floats(36, 1), Floats(35, 1), 0));
    EXPECT_FALSE(HasShapeOfWhite({}, {}, 0));
    for (const std::size_t zero : {0U, 17U, 35U}) {
        Floats withZero(bands, 1);
        withZero[zero] = 0;
        EXPECT_EQ(Thrown([&] { HasShapeOfWhite(Floats(bands, 1), withZero, 0); }),
                  "CalculationException: Devision by zero");
    }
}
