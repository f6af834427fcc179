#include "tests/instrument/ChartScan.h"
#include "tests/support/Rows.h"

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

TEST(ChartRecognition, FindsThePatchesOfEachRow)
{
    const auto numbers = [](const std::string& cell) { return cell == "-" ? std::vector<double>() : Numbers(cell); };
    int rows = 0;
    for (Row row : ReadRows(ORVEX_TEST_DATA "/chart_recognition.txt")) {
        SCOPED_TRACE(row.at(0));
        ++rows;
        row.resize(7);
        std::vector<Grey> greys;
        std::istringstream words(row[1]);
        for (std::string word; words >> word;) {
            const auto times = word.find('x');
            greys.push_back({std::stof(word), times == std::string::npos ? 1 : std::stoul(word.substr(times + 1))});
        }
        const Listener listener;
        const Outcome outcome = Recognize(greys);
        EXPECT_EQ(outcome.done, row[2] == "yes");
        EXPECT_THAT(outcome.Levels(), testing::Pointwise(testing::FloatNear(1e-6F), numbers(row[3])));
        auto& reported = Listener::Values();
        EXPECT_THAT(reported[4], testing::Each(testing::AllOf(testing::Ge(0.0), testing::Lt(100.0))));
        for (const auto& [column, channel] : {std::pair{4U, 8U}, {5U, 10U}, {6U, 9U}})
            if (!row[column].empty()) {
                EXPECT_EQ(reported[channel], numbers(row[column])) << "channel " << channel;
            }
        for (const SpectrumData& patch : outcome.patches)
            EXPECT_TRUE(patch.GetGain() == 1 && patch.GetIntegrationTime() == 0.01F && patch.GetSize() == 1);
    }
    EXPECT_GT(rows, 25);
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
