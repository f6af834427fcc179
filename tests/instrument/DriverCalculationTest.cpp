// The sessions of tests/data/calculation_sessions.txt, and what no line can tell.

#include "Vondrel/DeviceDriver/GENERIC/Calculation/DriverCalculation.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteCheck.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "tests/support/Sessions.h"
#include "tests/support/Thrown.h"

#include <gmock/gmock.h>

#include <cmath>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Calculation;
using Configuration::Properties;
using Configuration::Property;

using Floats = std::vector<float>;
using Longs = std::vector<std::int32_t>;

namespace {

constexpr std::size_t bands = 36;

/// Three pixels of equal weight make a band, from pixel 2 on. Gain 0 is linearised to half the counts.
Properties DefaultCalibration()
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

std::uint16_t IdOf(const std::string& name)
{
    for (const auto& row : Configuration::propertyTable)
        if (row.name == name)
            return row.id;
    throw std::invalid_argument("no property " + name);
}

/// "1", "1.5", "36*1 0.5" (vectors are of floats, after "longs" of integers).
Property ValueOf(const std::string& text)
{
    std::istringstream words(text);
    Floats floats;
    bool areLongs = false, isVector = false;
    for (std::string word; words >> word;) {
        const auto star = word.find('*');
        areLongs = areLongs || word == "longs";
        isVector = isVector || star != std::string::npos || word == "longs" || word == "floats";
        if (word != "longs" && word != "floats")
            floats.insert(floats.end(), star == std::string::npos ? 1 : std::stoul(word),
                          static_cast<float>(std::stod(word.substr(star + 1))));
    }
    if (areLongs)
        return Longs(floats.begin(), floats.end());
    if (isVector)
        return floats;
    return text.find_first_not_of("-0123456789") == std::string::npos ? Property(std::stoi(text))
                                                                      : Property(floats.at(0));
}

/// Of 128 pixels: "5000", all of these counts. "w20000", the white tile above a dark of 100 counts, with a lamp that is
/// weak at 380 nm and strong at 600 nm. Behind that "/2" for half the light, "+1" for a count more, "@0-10=60001" for
/// pixels of their own. "-" has no pixel.
Longs ReadingOf(const std::string& text)
{
    if (text == "-")
        return {};
    const bool isWhite = text[0] == 'w';
    const std::string level = text.substr(isWhite ? 1 : 0);
    Longs reading(128, std::stoi(level) + (isWhite ? 100 : 0));
    if (isWhite) {
        std::fill_n(reading.begin(), 8, std::stoi(level) * 15 / 100 + 100);
        std::fill_n(reading.begin() + 2 + 3 * 22, 18, std::stoi(level) * 145 / 100 + 100);
    }
    for (auto& count : reading)
        count = text.find("/2") == std::string::npos ? count : (count - 100) / 2 + 100;
    if (const auto sign = text.find_first_of("+-", 1); sign != std::string::npos && sign < text.find('@'))
        for (auto& count : reading)
            count += std::stoi(text.substr(sign));
    int from = 0, to = 0, value = 0;
    if (const auto at = text.find('@'); at != std::string::npos) {
        EXPECT_EQ(std::sscanf(text.c_str() + at, "@%d-%d=%d", &from, &to, &value), 3);
        std::fill(reading.begin() + from, reading.begin() + to + 1, value);
    }
    return reading;
}

/// Readings between ",", their time (0.5 s) and gain (1). "none" is a record without readings.
SensorData DataOf(const std::string& text)
{
    std::istringstream words(text);
    std::string readings;
    float time = 0.5F, number = 0;
    std::int32_t gain = 1;
    words >> readings;
    if (words >> number)
        time = number;
    if (words >> number)
        gain = static_cast<std::int32_t>(number);
    SensorData data;
    std::istringstream all(readings);
    std::vector<Longs> raw;
    for (std::string reading; readings != "none" && std::getline(all, reading, ',');)
        raw.push_back(ReadingOf(reading));
    if (readings != "none")
        data.StoreRawData(raw);
    data.SetIntegrationTime(time);
    data.SetGain(gain);
    return data;
}

class DriverCalculations : public testing::TestWithParam<Session> {
protected:
    /// With a dark of 100 counts.
    void Calibrate(const std::string& conditions = "")
    {
        calculation = DriverCalculation(calibration);
        SensorData dark = DataOf("100 " + conditions);
        calculation.Dark(dark);
    }

    /// What a function gives, or throws.
    template<typename Function>
    static std::string Said(Function function)
    {
        std::ostringstream text;
        const std::string thrown = Thrown([&] { text << function(); });
        return thrown == "nothing" ? text.str() : thrown;
    }

    std::string Sample(std::string mode)
    {
        SensorData data = DataOf(CutRest(mode));
        return Said([&] {
            SpectrumData result;
            calculation.Sample(data, result, mode);
            const auto [least, most] = std::ranges::minmax(result.LoadData());
            std::ostringstream text;
            text << least;
            if (text.str() != (std::ostringstream() << most).str())
                text << " to " << most;
            return text.str();
        });
    }

    std::string BaseDarks(const std::string& all)
    {
        std::vector<SensorData> darks;
        std::istringstream stream(all);
        for (std::string data; std::getline(stream >> std::ws, data, '/');)
            darks.push_back(DataOf(data));
        return Thrown([&] { calculation.Dark(darks.at(0), darks.at(1), darks.at(2), darks.at(3)); });
    }

    /// The light above a dark, in counts at normal gain: of counts, a time and a gain.
    std::string Light(const std::string& data)
    {
        const SensorData light = DataOf(data);
        const std::string value = Sample("Emission " + data);
        return value.find(':') != std::string::npos ? value : Said([&] {
            return std::stof(value) * light.GetIntegrationTime() / 1.5F * (light.GetGain() == 0 ? 16.0F : 1.0F);
        });
    }

    /// A new integration time for data, by a factor; a limit fails where "!" stands first.
    std::string NewTime(std::string factor)
    {
        const SensorData data = DataOf(CutRest(factor));
        const bool failAtLimit = factor[0] == '!';
        float time = data.GetIntegrationTime();
        const std::string gain = Said([&] {
            const float number = std::stof(factor.substr(failAtLimit ? 1 : 0));
            return calculation.NewIntegrationTime(data, time, number, failAtLimit) ? " high" : "";
        });
        return gain.find(':') != std::string::npos ? gain : (std::ostringstream() << time).str() + gain;
    }

    template<typename Action>
    static StepTable::mapped_type Does(Action action)
    {
        return [action](auto& arguments) { return Thrown([&] { action(arguments); }); };
    }

    template<typename Question>
    static StepTable::mapped_type Asks(Question question)
    {
        return [question](auto& arguments) { return Said([&] { return question(arguments) ? "yes" : "no"; }); };
    }

    Properties calibration = DefaultCalibration();
    DriverCalculation calculation{calibration};

    const StepTable steps = {
        {"calibration", Does([this](std::string name) {
             const std::string value = CutRest(name);
             calibration.SetProperty(IdOf(name), ValueOf(value));
             Calibrate();
         })},
        {"element", Does([this](std::string name) {
             const std::vector<double> place = Numbers(CutRest(name));
             Floats values = calibration.GetProperty(IdOf(name)).AsFloatVector();
             values.at(static_cast<std::size_t>(place.at(0))) = static_cast<float>(place.at(1));
             calibration.SetProperty(IdOf(name), values);
             Calibrate();
         })},
        {"without", Does([this](auto& name) {
             Properties rest("CalibrationData");
             for (const std::uint16_t id : calibration.GetPropertyKeys())
                 if (id != IdOf(name))
                     rest.SetProperty(id, calibration.GetProperty(id));
             calibration = rest;
             Calibrate();
         })},
        {"anew", Does([this](auto& conditions) {
             calibration = DefaultCalibration();
             Calibrate(conditions);
         })},
        {"dark-less", Does([this](auto&) { calculation = DriverCalculation(calibration); })},
        {"property", Does([this](std::string name) {
             const std::string value = CutRest(name);
             calculation.SetProperty(IdOf(name), ValueOf(value));
         })},
        {"dark", Does([this](auto& data) {
             SensorData dark = DataOf(data);
             calculation.Dark(dark);
         })},
        {"base-darks", [this](auto& all) { return BaseDarks(all); }},
        {"zero-dark", Does([this](auto&) { calculation.ZeroDark(); })},
        {"white",
         [this](std::string factor) {
             SensorData white = DataOf(CutRest(factor));
             return Said([&] { return calculation.White(white, true, std::stof(factor)) ? "nothing" : "not optimal"; });
         }},
        {"white-series", Does([this](auto& data) {
             SensorData series = DataOf(data);
             calculation.White(series, false, 1.0F);
         })},
        {"reset-white", Does([this](auto&) { calculation.ResetWhite(); })},
        {"reference",
         [this](auto& data) {
             SensorData light = DataOf(data);
             return Said([&] { return calculation.Reference(light) ? "nothing" : "not optimal"; });
         }},
        {"forget", Does([this](auto& record) { calculation.InvalidateData(record); })},
        {"sample", [this](auto& data) { return Sample(data); }},
        {"light", [this](auto& data) { return Light(data); }},
        {"time", [this](auto& data) { return NewTime(data); }},
        {"safe-time", [this](auto&) { return Said([&] { return calculation.GetSaveIntegrationTime(); }); }},
        {"is-white", Asks([this](auto& data) { return calculation.CheckWhite(DataOf(data)); })},
        {"is-saturated", Asks([this](auto& data) { return calculation.SensorIsSaturated(DataOf(data)); })},
        {"is-optimal", Asks([this](std::string factor) {
             const SensorData data = DataOf(CutRest(factor));
             return calculation.SensorIsOptimal(data, std::stof(factor));
         })},
    };
};

}

TEST_P(DriverCalculations, GoAsTheyAreTold)
{
    Calibrate();
    for (Row row : GetParam().rows) {
        SCOPED_TRACE(row[0]);
        row.resize(2);
        ExpectText(DoSteps(steps, row[0], "nothing"), row[1].empty() ? "nothing" : row[1]);
    }
}

INSTANTIATE_TEST_SUITE_P(, DriverCalculations,
                         testing::ValuesIn(ReadSessions(ORVEX_TEST_DATA "/calculation_sessions.txt")), TestNameOf);

TEST(DriverCalculation, LeavesATimeThatFailedAndTakesNoneThatIsNoNumber)
{
    const DriverCalculation calculation(DefaultCalibration());
    float time = 0.5F;
    EXPECT_NE(Thrown([&] { calculation.NewIntegrationTime(DataOf("0"), time, 1.0F, true); }), "nothing");
    EXPECT_EQ(time, 40000 * 0.5F / 1.0e-15F) << "the proposal that failed stays";
    time = NAN;
    for (const float factor : {1.0F, INFINITY})
        EXPECT_NE(Thrown([&] { calculation.NewIntegrationTime(DataOf("40000"), time, factor, false); }), "nothing");
}

TEST(DriverCalculation, LeavesAWhiteThatItOnlyChecks)
{
    DriverCalculation calculation(DefaultCalibration());
    SensorData dark = DataOf("100"), white = DataOf("w20000");
    calculation.Dark(dark);
    EXPECT_TRUE(calculation.CheckWhite(white));
    EXPECT_EQ(white.LoadRawData(), std::vector<Longs>{ReadingOf("w20000")});
    EXPECT_FALSE(white.DataIsValid());
    white = DataOf("w20000,w20000");
    calculation.White(white, true, 1.0F);
    EXPECT_EQ(white.LoadRawData().size(), 1U) << "its mean";
}

TEST(DriverCalculation, KeepsTheTraceOfTheFailureInside)
{
    DriverCalculation calculation(DefaultCalibration());
    SensorData dark = DataOf("100");
    calculation.Dark(dark);
    SpectrumData result;
    result.SetSize(1);
    SensorData sample = DataOf("5000");
    try {
        calculation.Sample(sample, result, "Reflection");
        FAIL();
    } catch (const CalculationException& failure) {
        EXPECT_STREQ(failure.what(), "Sample calculation: Unknown measure mode");
        const auto entry = testing::HasSubstr("DriverCalculation::Sample()");
        EXPECT_THAT(failure.Trace(), testing::ElementsAre(entry, entry));
    }
    EXPECT_FALSE(result.DataIsValid());
}

TEST(DriverCalculation, ComparesTheMeanOfEveryReadingWithTheFirst)
{
    const DriverCalculation calculation(DefaultCalibration());
    const std::pair<std::vector<Longs>, bool> cases[] = {
        {{{}}, true}, // one reading of nothing, one of zeros
        {{Longs(128, 0)}, true},
        {{{1000, 1000}, {950, 950}}, true},
        {{{1000, 1000}, {950, 949}}, false},
        {{{1000, 1000}, {1050, 1050}}, true},
        {{{1000, 1000}, {1000, 1000}, {1060, 1060}}, false}, // the last one apart
        {{{1000, 1000}, {800, 1000}}, false},                // pixel 0 counts
        {{{-1000, -1000}, {-940, -940}}, false},
    };
    const auto isConsistent = [&](const std::vector<Longs>& raw) {
        SensorData data;
        data.StoreRawData(raw);
        return calculation.CheckConsistency(data);
    };
    for (const auto& [raw, consistent] : cases)
        EXPECT_EQ(isConsistent(raw), consistent) << testing::PrintToString(raw).substr(0, 80);
    EXPECT_EQ(Thrown([&] {
                  isConsistent(std::vector<Longs>{{5, -5}, {1, 1}});
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
        {0.11F, 1.3501F, unfiltered, true},  {0.22F, 1.5999F, unfiltered, true},  {0.1099F, 1.45F, unfiltered, false},
        {0.2201F, 1.45F, unfiltered, false}, {0.15F, 1.3499F, unfiltered, false}, {0.15F, 1.6001F, unfiltered, false},
        {0.0F, 1.2001F, filtered, true},     {0.05F, 1.7599F, filtered, true},    {0.0501F, 1.5F, filtered, false},
        {-0.15F, 1.5F, unfiltered, true}, // by its magnitude
        {NAN, 1.5F, filtered, false},        {0.15F, NAN, unfiltered, false},     {0.0F, 1.1999F, filtered, false},
        {0.0F, 1.7601F, filtered, false},
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
