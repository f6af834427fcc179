#include "tests/instrument/ChartScan.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/ChartRecognition.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/RecognitionCallbacks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <numeric>

using namespace Vondrel::DeviceDriver::Generic::Calculation;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Grey = ChartScan::Grey;

namespace {

constexpr Grey backing = {0.9F, 20};

/// What the recognition reports, while the object lives.
class Listener {
public:
    Listener()
    {
        Values().clear();
        Order().clear();
        SetRecognitionCallbacks(&Take<float>, &Take<std::int32_t>);
    }
    ~Listener() { SetRecognitionCallbacks(nullptr, nullptr); }

    static std::map<std::uint32_t, std::vector<double>>& Values()
    {
        static std::map<std::uint32_t, std::vector<double>> values;
        return values;
    }
    static std::vector<std::uint32_t>& Order()
    {
        static std::vector<std::uint32_t> order;
        return order;
    }

    template<typename T>
    static void Take(std::uint32_t channel, const T* values, std::uint32_t count)
    {
        Values()[channel].assign(values, values + count);
        Order().push_back(channel);
    }
};

struct Outcome {
    bool done;
    std::vector<SpectrumData> patches;

    std::vector<float> Levels() const
    {
        std::vector<float> levels;
        for (const SpectrumData& patch : patches)
            levels.push_back(patch.LoadData().at(0));
        return levels;
    }
};

Outcome Recognize(const std::vector<SpectrumData>& readings)
{
    Outcome outcome;
    outcome.done = ChartRecognition().Execute(readings, outcome.patches);
    return outcome;
}

Outcome Recognize(const std::vector<Grey>& greys)
{
    return Recognize(ChartScan::Greys(greys).readings);
}

/// Backing, a patch of 4 readings, these readings, another patch of 4, backing: no run is short against its neighbours.
std::vector<SpectrumData> Between(const std::vector<float>& levels)
{
    std::vector<Grey> greys = {backing, {0.05F, 4}};
    for (const float level : levels)
        greys.push_back({level, 1});
    greys.insert(greys.end(), {{0.04F, 4}, backing});
    return ChartScan::Greys(greys).readings;
}

/// What is wrong with the patches found, by the true ones in their order; empty if nothing is.
std::string Faults(const ChartScan& scan, const std::vector<SpectrumData>& found)
{
    std::string faults;
    auto next = found.begin();
    for (const ChartScan::Patch& patch : scan.patches) {
        int parts = 0;
        bool right = false;
        for (; next != found.end(); ++next, ++parts) {
            const float difference = ChartDifference(patch.spectrum, next->LoadData());
            if (difference > 2.5F) // half way to any neighbour
                break;
            right = right || difference <= 0.5F;
        }
        if (!right)
            faults += " not " + patch.name;
        for (; parts > 1; --parts)
            faults += " " + patch.name + " again";
    }
    return next == found.end() ? faults : faults + " more at the end";
}

}

TEST(ChartRecognition, FindsEveryPatchOfAColorChart)
{
    // Noise of 0.1 % of the perfect white is 3 % of the black patch, of L* 21: now and then a difference inside it lies
    // above its edge level of 1.6, and it comes out as two patches or more.
    struct Case {
        const char* what;
        ChartScan::Noise noise;
        int leastFlawless;
    };
    for (const Case& c : {Case{"noise of the reading", ChartScan::Noise::OfReading, 100},
                          Case{"noise of the perfect white", ChartScan::Noise::OfWhite, 70}}) {
        SCOPED_TRACE(c.what);
        int flawless = 0;
        for (std::uint32_t seed = 1; seed <= 100; ++seed) {
            const ChartScan scan = ChartScan::Random(seed, c.noise);
            const Outcome outcome = Recognize(scan.readings);
            const std::string faults = Faults(scan, outcome.patches);
            flawless += faults.empty() ? 1 : 0;
            EXPECT_THAT(faults, testing::MatchesRegex("( black_2 again)*")) << "chart " << seed;
        }
        std::cout << c.what << ": " << flawless << " of 100 charts without a fault\n";
        EXPECT_GE(flawless, c.leastFlawless);
    }
}

TEST(ChartRecognition, NeedsEdgesOnBothSides)
{
    struct Case {
        const char* what;
        std::vector<Grey> greys;
        bool done;
        std::vector<float> found;
    };
    const Case cases[] = {
        {"nothing", {}, false, {}},
        {"one reading", {{0.5F, 1}}, false, {}},
        {"one color", {{0.5F, 50}}, false, {}},
        {"a single jump", {{0.9F, 50}, {0.3F, 50}}, false, {}},
        {"steps of 1.98 are no signal", {{0.9F, 20}, {0.8229F, 20}, {0.9F, 20}}, false, {}},
        {"steps of 2.02 are", {{0.9F, 20}, {0.8215F, 20}, {0.9F, 20}}, true, {0.8215F}},
        {"the ends of the scan are no patches", {{0.9F, 20}, {0.3F, 20}, {0.1F, 20}}, true, {0.3F}},
        {"three patches", {backing, {0.5F, 20}, {0.25F, 30}, {0.05F, 25}, backing}, true, {0.5F, 0.25F, 0.05F}},
        {"a patch of five readings alone", {backing, {0.5F, 5}, backing}, true, {0.5F}},
        {"one of four is too short", {backing, {0.5F, 4}, backing}, true, {}},
        {"one of three leaves nothing for a mean", {backing, {0.5F, 3}, backing}, true, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Listener listener;
        const Outcome outcome = Recognize(c.greys);
        EXPECT_EQ(outcome.done, c.done);
        EXPECT_THAT(outcome.Levels(), testing::Pointwise(testing::FloatNear(1e-6F), c.found));
        EXPECT_THAT(Listener::Values()[4], testing::Each(testing::AllOf(testing::Ge(0.0), testing::Lt(100.0))));
    }
}

TEST(ChartRecognition, TakesNoPatchWhereTheInstrumentEntersOrLeavesTheChart)
{
    // The steps to 0.8 are signal, but small against the mean around them: what follows and precedes them is quiet.
    std::vector<Grey> greys = {backing, {0.8F, 6}};
    for (int i = 0; i < 15; ++i)
        greys.insert(greys.end(), {{0.05F, 1}, {0.6F, 1}});
    greys.insert(greys.end(), {{0.8F, 6}, backing});
    const Listener listener;
    const Outcome outcome = Recognize(greys);
    ASSERT_LT(Listener::Values()[3][19], Listener::Values()[4][19]);
    EXPECT_TRUE(outcome.done);
    EXPECT_THAT(outcome.patches, IsEmpty());
}

TEST(ChartRecognition, RaisesTheEdgeLevelWithTheMeanAroundAPlace)
{
    // Scans of different lengths: windows odd and even, of lengths that five divides and that it does not.
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        const Listener listener;
        ASSERT_TRUE(Recognize(ChartScan::Random(seed, ChartScan::Noise::OfWhite).readings).done);
        const std::vector<double>& lightnesses = Listener::Values()[0];
        const std::vector<double>& differences = Listener::Values()[3];
        const std::vector<double>& levels = Listener::Values()[4];

        const auto isSignal = [](double difference) { return difference > 2.0; };
        const auto first = std::find_if(differences.begin(), differences.end(), isSignal) - differences.begin();
        const auto last = differences.rend() - std::find_if(differences.rbegin(), differences.rend(), isSignal) - 1;
        const auto window = (last - first + 1) / 5;
        const auto half = window / 2;
        for (std::ptrdiff_t i = 0; i < std::ssize(differences); ++i) {
            const auto begin = differences.begin() + std::clamp(i, first + half, last - half) - half;
            double level = 0.6 * std::accumulate(begin, begin + window, 0.0) / static_cast<double>(window);
            if (i >= first && i < last)
                level = std::max(level, 0.2 + (100 - lightnesses[static_cast<std::size_t>(i)]) / 100 * 1.8);
            ASSERT_NEAR(levels[static_cast<std::size_t>(i)], level, 1e-6) << "at " << i;
        }
    }
}

TEST(ChartRecognition, DropsWhatIsShortAgainstBothNeighbours)
{
    struct Case {
        const char* what;
        std::size_t before, length, after; // in differences
        bool kept;
    };
    const Case cases[] = {
        {"3 between 12 and 12", 12, 3, 12, false}, {"3 beside 11", 11, 3, 40, true},
        {"3 before 11", 40, 3, 11, true},          {"4 however long the others", 60, 4, 60, true},
        {"2 between 8 and 8", 8, 2, 8, false},     {"2 beside 7", 7, 2, 8, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome outcome =
            Recognize({backing, {0.5F, c.before + 1}, {0.1F, c.length + 1}, {0.5F, c.after + 1}, backing});
        EXPECT_TRUE(outcome.done);
        EXPECT_THAT(outcome.patches, SizeIs(c.kept ? 3 : 2));
    }
}

TEST(ChartRecognition, TakesTheMeanAroundTheSteadierHalfOfThePatch)
{
    // Reflectance factors near 0.4, where 0.001 is a delta E of about 0.06 and edges begin at about 0.75.
    struct Case {
        const char* what;
        std::vector<float> levels;
        std::vector<std::size_t> readings; // that go into the mean
    };
    const Case cases[] = {
        {"one difference below 0.2", {0.400F, 0.4035F}, {0, 1}},
        {"a single one above 0.2 is no patch", {0.400F, 0.404F}, {}},
        {"of two the lower", {0.400F, 0.401F, 0.404F}, {0, 1}},
        {"of three the middle", {0.400F, 0.403F, 0.404F, 0.409F}, {0, 1, 1, 2}},
        {"of four the second", {0.400F, 0.404F, 0.405F, 0.411F, 0.409F}, {1, 2, 3, 4}},
        {"one that is large for its place does not vote", {0.425F, 0.400F, 0.401F, 0.404F}, {1, 2}},
        {"nor does it move the position", {0.425F, 0.400F, 0.401F, 0.404F, 0.405F}, {1, 2, 3, 4}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Listener listener;
        const Outcome outcome = Recognize(Between(c.levels));
        ASSERT_TRUE(outcome.done);
        ASSERT_THAT(outcome.patches, SizeIs(c.readings.empty() ? 2 : 3));
        if (c.readings.empty())
            continue;
        float mean = 0;
        for (const std::size_t reading : c.readings)
            mean += c.levels[reading] / static_cast<float>(c.readings.size());
        EXPECT_NEAR(outcome.Levels()[1], mean, 1e-6);
        const std::size_t votes = c.levels.size() - 1 - (c.levels[0] == 0.425F ? 1 : 0);
        EXPECT_EQ(Listener::Values()[8].at(1), 24 + votes / 2);
        EXPECT_EQ(outcome.patches[1].GetGain(), 1);
        EXPECT_EQ(outcome.patches[1].GetIntegrationTime(), 0.01F);
        EXPECT_EQ(outcome.patches[1].GetSize(), 1U);
    }
}

TEST(ChartRecognition, RefusesReadingsThatAreNoSpectra)
{
    const ChartScan scan = ChartScan::Random(1, ChartScan::Noise::OfReading);
    using Spoil = void (*)(SpectrumData&);
    const Spoil spoils[] = {
        [](SpectrumData& reading) { reading.Invalidate(); },
        [](SpectrumData& reading) { reading.LoadData().resize(35); },
        [](SpectrumData& reading) { reading.LoadData()[20] = std::numeric_limits<float>::quiet_NaN(); },
        [](SpectrumData& reading) { reading.LoadData()[20] = std::numeric_limits<float>::infinity(); },
    };
    for (const Spoil spoil : spoils) {
        std::vector<SpectrumData> readings = scan.readings;
        spoil(readings[readings.size() / 2]);
        const Outcome outcome = Recognize(readings);
        EXPECT_FALSE(outcome.done);
        EXPECT_THAT(outcome.patches, IsEmpty());
    }
}

TEST(ChartRecognition, ReportsToBothCallbacksOrToNone)
{
    const ChartScan scan = ChartScan::Random(3, ChartScan::Noise::OfReading);
    const Outcome silent = Recognize(scan.readings);
    {
        const Listener listener;
        SetRecognitionCallbacks(&Listener::Take<float>, nullptr);
        Recognize(scan.readings);
        SetRecognitionCallbacks(nullptr, &Listener::Take<std::int32_t>);
        Recognize(scan.readings);
        EXPECT_THAT(Listener::Order(), IsEmpty());
    }
    const Listener listener;
    const Outcome outcome = Recognize(scan.readings);
    ASSERT_EQ(outcome.patches.size(), silent.patches.size());
    for (std::size_t i = 0; i < outcome.patches.size(); ++i)
        EXPECT_EQ(outcome.patches[i].LoadData(), silent.patches[i].LoadData());

    auto& values = Listener::Values();
    EXPECT_THAT(Listener::Order(), ElementsAre(0, 1, 2, 3, 4, 8, 5, 6, 7, 10, 9));
    for (const std::uint32_t channel : {0U, 1U, 2U, 3U, 4U})
        EXPECT_THAT(values[channel], SizeIs(scan.readings.size() - 1));
    for (const std::uint32_t channel : {5U, 6U, 7U, 8U})
        EXPECT_THAT(values[channel], SizeIs(outcome.patches.size()));

    Vondrel::CMetry::VDMeasureConditions conditions;
    conditions.SetMeasureCondition("Colorimetric.Illumination", "D50");
    conditions.SetMeasureCondition("Colorimetric.WhiteBase", "Absolute");
    conditions.SetMeasureCondition("ColorSpaceDescription.DeltaEFormula", "2000");
    for (std::size_t i = 20; i < 60; ++i) { // over an edge at least
        const Vondrel::CMetry::VDSpectrum left(scan.readings[i].LoadData(), conditions);
        const Vondrel::CMetry::VDSpectrum right(scan.readings[i + 1].LoadData(), conditions);
        EXPECT_EQ(values[3][i], Vondrel::CMetry::CMetryService::GetDeltaE(left, right, conditions));
        EXPECT_EQ(values[0][i], Vondrel::CMetry::CMetryService::GetVector(left, conditions)[0]);
    }
}

TEST(ChartRecognition, ReportsTheSpacingAsFarAsThereIsOne)
{
    struct Case {
        const char* what;
        std::vector<Grey> greys;
        std::vector<double> positions, spacing, irregularity;
    };
    const Case cases[] = {
        {"no patch", {backing, {0.5F, 3}, backing}, {}, {}, {}},
        {"one", {backing, {0.5F, 11}, backing}, {25}, {}, {}},
        {"two: no irregularity", {backing, {0.5F, 11}, {0.2F, 11}, backing}, {25, 36}, {66}, {}},
        {"distances of 11 and 21, whose mean is 16",
         {backing, {0.5F, 11}, {0.2F, 11}, {0.5F, 31}, backing},
         {25, 36, 57},
         {51},
         {7}},
        {"uneven by more than 99", {backing, {0.5F, 11}, {0.2F, 11}, {0.5F, 591}, backing}, {25, 36, 337}, {0}, {99}},
        {"far apart", {backing, {0.5F, 101}, {0.2F, 101}, backing}, {70, 171}, {0}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Listener listener;
        EXPECT_TRUE(Recognize(c.greys).done);
        EXPECT_EQ(Listener::Values()[8], c.positions);
        EXPECT_EQ(Listener::Values()[10], c.spacing);
        EXPECT_EQ(Listener::Values()[9], c.irregularity);
    }
}
