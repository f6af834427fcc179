// Patches that are found in made-up scans, and how many scans of each kind come out right.

#include "Vondrel/Strips/FindPatches.h"
#include "tests/strips/StripKinds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

using namespace Vondrel::Strips;

namespace {

constexpr std::uint32_t seeds = ORVEX_STRIP_SEEDS; // of each kind of scan

std::optional<Found> Find(const std::vector<float>& readings, std::size_t patches,
                          const std::vector<StripScene::Lab>& reference = {})
{
    return FindPatches({readings.data(), readings.size() / bands, patches,
                        reference.empty() ? nullptr : reference[0].data(),
                        [](const float* spectra, std::size_t count, float* lab) {
                            for (std::size_t i = 0; i < count; ++i)
                                std::ranges::copy(StripLab(spectra + bands * i), lab + 3 * i);
                        }});
}

bool Add(StripScore& score, const StripScene& scene)
{
    std::vector<float> spectra;
    std::vector<std::int32_t> places;
    const auto found = Find(scene.readings, scene.patches.size(), scene.reference);
    for (std::size_t i = 0; found && i < found->patches.size(); ++i) {
        const Patch& patch = found->patches[i];
        spectra.insert(spectra.end(), patch.spectrum.begin(), patch.spectrum.end());
        places.push_back(static_cast<std::int32_t>(patch.first));
        places.push_back(static_cast<std::int32_t>(patch.last));
    }
    return score.Add(scene, spectra, places, found && found->reversed);
}

/// A scan of greys: level and number of readings of each, without noise.
std::vector<float> Greys(std::initializer_list<std::pair<float, std::size_t>> greys)
{
    std::vector<float> readings;
    for (const auto& [level, count] : greys)
        readings.insert(readings.end(), count * bands, level);
    return readings;
}

}

// Each scan beyond the aim of its kind is one too many; a single one is forgiven where the aim is below 100 %.
TEST(FindPatches, FindsTheAimedShareOfEveryKindOfScan)
{
    StripScore all;
    for (const StripKind& kind : StripKinds())
        for (const Reference reference : {Reference::None, Reference::True, Reference::Rough}) {
            StripScore score;
            std::string missed;
            for (std::uint32_t seed = 1; seed <= seeds; ++seed)
                if (!Add(score, StripScene::Make(kind.settings, reference, seed)))
                    missed += " " + std::to_string(seed);
            const int aim = kind.aims[static_cast<std::size_t>(reference)];
            const std::size_t forgiven = (seeds * static_cast<std::size_t>(100 - aim) + 99) / 100;
            EXPECT_GE(score.perfect + forgiven, score.scenes)
                << kind.name << ", reference " << static_cast<int>(reference) << ", seeds" << missed;
            all += score;
        }
    EXPECT_GE(static_cast<double>(all.cleanUsed), 0.9 * static_cast<double>(all.clean));
    EXPECT_LE(static_cast<double>(all.usedOver), 0.03 * static_cast<double>(all.used));
}

TEST(FindPatches, FindsNothingWhereThereIsNothing)
{
    std::vector<float> noise(300 * bands), ramp(300 * bands);
    std::uint32_t state = 1;
    for (float& value : noise)
        value = static_cast<float>((state = state * 1664525U + 1013904223U) >> 8) / 16777216.0F;
    for (std::size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = 0.05F + 0.003F * static_cast<float>(i / bands);
    const struct {
        const char* what;
        std::vector<float> readings;
        std::size_t patches;
    } cases[] = {
        {"no readings", {}, 1},
        {"noise", noise, 5},
        {"a steady ramp", ramp, 5},
        {"bare paper", Greys({{0.85F, 300}}), 2},
        {"one colour too few", Greys({{0.85F, 50}, {0.1F, 30}, {0.5F, 30}, {0.85F, 50}}), 5},
        {"more patches than readings", Greys({{0.85F, 3}, {0.1F, 3}}), 7},
        {"black", Greys({{0.0F, 300}}), 2},
        {"negative", Greys({{-0.1F, 300}}), 2},
    };
    for (const auto& c : cases)
        EXPECT_FALSE(Find(c.readings, c.patches)) << c.what;
}

TEST(FindPatches, GivesTheMeanOfTheReadingsThatBelong)
{
    std::vector<float> readings = Greys({{0.85F, 40}, {0.1F, 20}, {0.5F, 30}, {0.3F, 25}, {0.85F, 40}});
    std::fill_n(readings.begin() + 70 * bands, bands, 0.2F); // dust
    const auto found = Find(readings, 3);
    ASSERT_TRUE(found);
    const std::size_t expected[][2] = {{40, 59}, {60, 89}, {90, 114}};
    const float levels[] = {0.1F, 0.5F, 0.3F};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(found->patches[i].first, expected[i][0]);
        EXPECT_EQ(found->patches[i].last, expected[i][1]);
        EXPECT_FLOAT_EQ(found->patches[i].spectrum[17], levels[i]);
    }
}

TEST(FindPatches, DoesNotDependOnTheScale)
{
    const StripScene scene = StripScene::Make({}, Reference::None, 3);
    std::vector<float> readings = scene.readings;
    for (float& value : readings)
        value *= 1.0F / 1024; // a light, in other units
    const auto found = Find(scene.readings, 24), scaled = Find(readings, 24);
    ASSERT_TRUE(found && scaled);
    for (std::size_t i = 0; i < 24; ++i) {
        EXPECT_EQ(found->patches[i].first, scaled->patches[i].first);
        EXPECT_EQ(found->patches[i].last, scaled->patches[i].last);
    }
}
