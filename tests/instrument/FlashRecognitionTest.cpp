#include "Vondrel/DeviceDriver/GENERIC/Calculation/FlashRecognition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

using namespace Vondrel::DeviceDriver::Generic::Calculation;
using testing::IsEmpty;
using testing::SizeIs;

using Levels = std::vector<float>;
using Readings = std::vector<std::size_t>;

namespace {

/// Readings of two bands, a quarter and three quarters of the level.
std::vector<SpectrumData> Series(const Levels& levels, float time = 0.01F, std::int32_t gain = 1)
{
    std::vector<SpectrumData> series(levels.size());
    for (std::size_t i = 0; i < levels.size(); ++i) {
        series[i].SetSize(1);
        series[i].StoreData({levels[i] / 4, levels[i] * 3 / 4});
        series[i].SetIntegrationTime(time);
        series[i].SetGain(gain);
    }
    return series;
}

/// What a flash of these readings over this ambient light amounts to.
float Amount(const Levels& levels, const Readings& flash, const Readings& ambient, float time)
{
    float background = 0, amount = 0;
    for (const std::size_t i : ambient)
        background += levels[i] / static_cast<float>(ambient.size());
    for (const std::size_t i : flash)
        amount += levels[i] - background;
    return amount * time;
}

}

TEST(FlashRecognition, SumsWhatEachFlashAddsToTheAmbientLight)
{
    struct Flash {
        Readings readings, ambient;
    };
    struct Case {
        const char* what;
        Levels levels;
        std::vector<Flash> flashes;
    };
    const Case cases[] = {
        {"one peak, with its flanks to the first valley",
         {100, 103, 101, 104, 102, 400, 900, 400, 101, 105, 102, 103, 101, 100},
         {{{4, 5, 6, 7, 8}, {1, 2, 3, 9, 10, 11}}}},
        {"a level top", {100, 103, 101, 104, 102, 900, 900, 101, 105}, {{{4, 5, 6, 7}, {1, 2, 3, 8}}}},
        {"at reading 1: the walk back stops in front of reading 0",
         {100, 900, 102, 104, 100, 103, 101, 105, 100},
         {{{1, 2}, {0, 3, 4, 5, 6, 7}}}},
        {"reading 0 stands out itself", {900, 500, 102, 104, 100, 103}, {{{0, 1, 2}, {3, 4, 5}}}},
        {"up to the last reading", {100, 103, 101, 104, 102, 400, 900}, {{{4, 5, 6}, {1, 2, 3}}}},
        {"two peaks with a clear reading between them",
         {100, 103, 101, 104, 100, 800, 100, 110, 101, 700, 102, 105, 100, 103, 102, 104},
         {{{4, 5, 6}, {1, 2, 3, 7, 11, 12}}, {{8, 9, 10}, {7, 11, 12, 13, 14, 15}}}},
        {"two peaks that share their valley",
         {100, 103, 101, 104, 100, 800, 300, 800, 102, 105, 100},
         {{{4, 5, 6, 7, 8}, {1, 2, 3, 9, 10}}}},
        {"a third of the way up is not above it, a count more is",
         {100, 103, 101, 300, 101, 103, 100, 104, 301, 101, 102, 103, 100, 700, 101, 102},
         {{{6, 7, 8, 9}, {3, 4, 5, 10, 11, 15}}, {{12, 13, 14}, {10, 11, 15}}}},
        {"a deviation of exactly 50", {100, 150, 200}, {{{1, 2}, {0}}}},
    };
    FlashRecognition recognition;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        constexpr float time = 0.25F;
        std::vector<SpectrumData> measured = Series(c.levels, time, 1), recognized(5);
        measured.back().SetIntegrationTime(9);
        measured.back().SetGain(0);
        ASSERT_TRUE(recognition.Execute(measured, recognized));
        ASSERT_THAT(recognized, SizeIs(c.flashes.size()));
        for (std::size_t flash = 0; flash < recognized.size(); ++flash) {
            const float amount = Amount(c.levels, c.flashes[flash].readings, c.flashes[flash].ambient, time);
            ASSERT_THAT(recognized[flash].LoadData(), SizeIs(2));
            EXPECT_NEAR(recognized[flash].LoadData()[0], amount / 4, 1e-3);
            EXPECT_NEAR(recognized[flash].LoadData()[1], amount * 3 / 4, 1e-3);
            EXPECT_EQ(recognized[flash].GetIntegrationTime(), time);
            EXPECT_EQ(recognized[flash].GetGain(), 1);
        }
    }
}

TEST(FlashRecognition, FindsInOneWalkWhatAWalkFromEachReadingFinds)
{
    // Each reading that stands out, walked from in both directions, as a flash is defined.
    const auto flagged = [](const Levels& levels) {
        const auto [lowest, highest] = std::minmax_element(levels.begin(), levels.end());
        const double threshold = (double{*highest} - *lowest) / 3.0 + *lowest;
        std::vector<bool> flags(levels.size());
        for (std::size_t i = 0; i < levels.size(); ++i)
            for (const int step : {-1, 1}) {
                if (levels[i] <= threshold)
                    break;
                flags[i] = true;
                bool falling = false;
                for (std::size_t j = i + static_cast<std::size_t>(step); j < levels.size() && j != 0;
                     j += static_cast<std::size_t>(step)) {
                    const bool falls = levels[j] < levels[j - static_cast<std::size_t>(step)];
                    if (falling && !falls)
                        break;
                    falling = falling || falls;
                    flags[j] = true;
                }
            }
        return flags;
    };
    std::mt19937 chance(1);
    FlashRecognition recognition;
    for (int series = 0; series < 3000; ++series) {
        Levels levels(2 + chance() % 40);
        for (std::size_t i = 0; i < levels.size(); ++i)
            levels[i] = series % 2 == 0 ? static_cast<float>(chance() % 5 * 300) // with level places
                                        : levels[i - (i > 0)] + static_cast<float>(chance() % 401) - 200;
        const auto flags = flagged(levels);
        std::size_t flashes = flags[0] ? 1 : 0;
        for (std::size_t i = 1; i < flags.size(); ++i)
            flashes += flags[i] && !flags[i - 1] ? 1 : 0;
        std::vector<SpectrumData> recognized;
        if (!recognition.Execute(Series(levels), recognized) || recognized.empty())
            continue; // no ambient light, or nothing stands out
        ASSERT_EQ(recognized.size(), flashes) << "series " << series;
    }
}

TEST(FlashRecognition, GivesNothingWhereNothingStandsOut)
{
    FlashRecognition recognition;
    for (const Levels& levels : {Levels(20, 100), Levels{100}, Levels{}, Levels{100, 149.9F, 199.8F},
                                 Levels{100, 900, std::numeric_limits<float>::quiet_NaN()}}) {
        std::vector<SpectrumData> recognized(3);
        EXPECT_TRUE(recognition.Execute(Series(levels), recognized));
        EXPECT_THAT(recognized, IsEmpty());
    }
}

TEST(FlashRecognition, FailsWithoutAmbientLightOrOnReadingsThatDoNotMatch)
{
    FlashRecognition recognition;
    std::vector<SpectrumData> recognized;
    EXPECT_FALSE(recognition.Execute(Series({900, 600, 300, 100}), recognized)) << "every reading is in the flash";
    EXPECT_THAT(recognized, SizeIs(1));

    for (const std::size_t reading : {1U, 3U}) { // of the ambient light, of the flash
        std::vector<SpectrumData> measured = Series({100, 103, 101, 900, 100, 104});
        measured[reading].StoreData({measured[reading].LoadData()[0] * 4});
        EXPECT_FALSE(recognition.Execute(measured, recognized)) << reading;
        measured[reading].Invalidate();
        EXPECT_FALSE(recognition.Execute(measured, recognized)) << reading;
    }
}
