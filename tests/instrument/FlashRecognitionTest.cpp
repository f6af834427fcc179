#include "Vondrel/DeviceDriver/GENERIC/Calculation/FlashRecognition.h"
#include "tests/support/Rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

using namespace Vondrel::DeviceDriver::Generic::Calculation;
using testing::IsEmpty;
using testing::SizeIs;

using Levels = std::vector<float>;

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

}

TEST(FlashRecognition, SumsWhatEachFlashAddsToTheAmbientLight)
{
    FlashRecognition recognition;
    const auto rows = ReadRows(ORVEX_TEST_DATA "/flashes.txt");
    EXPECT_EQ(rows.size(), 9U);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.at(0));
        constexpr float time = 0.25F;
        const auto levels = Numbers(row.at(1)), amounts = Numbers(row.at(2));
        std::vector<SpectrumData> measured = Series(Levels(levels.begin(), levels.end()), time, 1), recognized(5);
        measured.back().SetIntegrationTime(9);
        measured.back().SetGain(0);
        ASSERT_TRUE(recognition.Execute(measured, recognized));
        ASSERT_THAT(recognized, SizeIs(amounts.size()));
        for (std::size_t flash = 0; flash < recognized.size(); ++flash) {
            ASSERT_THAT(recognized[flash].LoadData(), SizeIs(2));
            EXPECT_NEAR(recognized[flash].LoadData()[0], amounts[flash] / 4, 1e-3);
            EXPECT_NEAR(recognized[flash].LoadData()[1], amounts[flash] * 3 / 4, 1e-3);
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
