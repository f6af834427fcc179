// oxc_find_patches: what it refuses, what a failure leaves, that no scan breaks it, and what memory it asks for.

#include "benchmarks/cmetry/AllocationCount.h"
#include "orvex/color.h"
#include "tests/strips/StripScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>

namespace {

struct PatchCall : testing::Test {
    const std::unique_ptr<oxc_conditions, void (*)(oxc_conditions*)> conditions{oxc_conditions_new(),
                                                                                oxc_conditions_free};
    StripSettings settings{.patches = 5};
    StripScene scene = StripScene::Make(settings, Reference::True, 2); // seed 2 is read from its end
    std::vector<float> spectra = std::vector<float>(5 * OXC_BANDS, -7);
    std::vector<std::int32_t> places = std::vector<std::int32_t>(10, -7);
    std::int32_t reversed = -7;

    std::int32_t Find(std::size_t count, std::size_t patches, bool referred = true)
    {
        return oxc_find_patches(conditions.get(), scene.readings.data(), count, patches,
                                referred ? scene.reference[0].data() : nullptr, spectra.data(), places.data(),
                                &reversed);
    }
    bool Untouched() const
    {
        return std::ranges::count(spectra, -7.0F) == std::ssize(spectra)
            && std::ranges::count(places, -7) == std::ssize(places) && reversed == -7;
    }
};

}

TEST_F(PatchCall, FindsTheStripInTheOrderOfItsReference)
{
    ASSERT_EQ(oxc_set(conditions.get(), "Colorimetric.Illumination", "D50"), OX_NoError);
    ASSERT_EQ(oxc_set(conditions.get(), "ColorSpaceDescription.Type", "CIEXYZ"), OX_NoError); // takes no part
    ASSERT_EQ(Find(scene.Count(), 5), OX_NoError) << oxc_error();
    EXPECT_STREQ(oxc_error(), "");
    ASSERT_EQ(reversed, scene.reversed);
    for (std::size_t i = 0; i < 5; ++i) {
        const auto lab = StripLab(&spectra[i * OXC_BANDS]);
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(lab[axis], scene.reference[i][axis], 0.3);
        const std::int32_t patch = scene.reversed ? 4 - static_cast<std::int32_t>(i) : static_cast<std::int32_t>(i);
        EXPECT_EQ(scene.on[static_cast<std::size_t>(places[2 * i] + places[2 * i + 1]) / 2], patch);
    }
    ASSERT_EQ(Find(scene.Count(), 5, false), OX_NoError);
    EXPECT_EQ(reversed, 0);
    EXPECT_LT(places[0], places[8]);
}

TEST_F(PatchCall, RefusesAndLeavesTheOutputs)
{
    const float* readings = scene.readings.data();
    const float* reference = scene.reference[0].data();
    const std::size_t count = scene.Count(), huge = static_cast<std::size_t>(-1);
    std::vector<float> broken = scene.readings, expectation(15, NAN);
    broken[1000] = INFINITY;
    const struct {
        const char* what;
        std::int32_t code;
        const oxc_conditions* conditions;
        const float* readings;
        std::size_t count, patches;
        const float* reference;
        float* spectra;
    } cases[] = {
        {"no conditions", OX_InvalidParameter, nullptr, readings, count, 5, nullptr, spectra.data()},
        {"no readings", OX_InvalidParameter, conditions.get(), nullptr, count, 5, nullptr, spectra.data()},
        {"no room", OX_InvalidParameter, conditions.get(), readings, count, 5, nullptr, nullptr},
        {"no patches", OX_InvalidParameter, conditions.get(), readings, count, 0, nullptr, spectra.data()},
        {"infinite reading", OX_InvalidParameter, conditions.get(), broken.data(), count, 5, nullptr, spectra.data()},
        {"no number", OX_InvalidParameter, conditions.get(), readings, count, 5, expectation.data(), spectra.data()},
        {"too many readings", OX_InvalidParameter, conditions.get(), readings, huge, 5, nullptr, spectra.data()},
        {"half a memory", OX_InvalidParameter, conditions.get(), readings, huge / 144, 5, nullptr, spectra.data()},
        {"an output over the scan", OX_InvalidParameter, conditions.get(), readings, count, 5, nullptr,
         &scene.readings[9]},
        {"nothing read", OX_RecognitionFailed, conditions.get(), nullptr, 0, 5, nullptr, spectra.data()},
        {"more patches than readings", OX_RecognitionFailed, conditions.get(), readings, 4, 5, nullptr, spectra.data()},
        {"any number of patches", OX_RecognitionFailed, conditions.get(), readings, count, huge, reference,
         spectra.data()},
        {"only paper", OX_RecognitionFailed, conditions.get(), readings, 30, 5, reference, spectra.data()},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(oxc_find_patches(c.conditions, c.readings, c.count, c.patches, c.reference, c.spectra, places.data(),
                                   &reversed),
                  c.code)
            << c.what;
        EXPECT_STRNE(oxc_error(), "") << c.what;
        EXPECT_TRUE(Untouched()) << c.what;
    }
    ASSERT_EQ(oxc_set(conditions.get(), "Colorimetric.WhiteBase", "Paper"), OX_NoError);
    EXPECT_EQ(Find(count, 5), OX_NoSubstrate);
    EXPECT_TRUE(Untouched());
}

// The tables are made once: neither readings nor patches, attempts or flats make more of them.
TEST_F(PatchCall, AsksForTheSameFewBlocksOfMemoryWhateverTheScan)
{
    const StripSettings kinds[] = {{},
                                   {.patches = 3, .readings = 4},
                                   {.patches = 96, .readings = 120},
                                   {.aperture = 0.6, .dust = 20, .stops = 6},
                                   {.gap = 0.3, .blackGap = true, .common = 0.02},
                                   {.patches = 6, .readings = 100, .backingLength = 100}};
    for (const StripSettings& kind : kinds)
        for (const Reference known : {Reference::None, Reference::Rough}) {
            scene = StripScene::Make(kind, known, 1);
            spectra.resize(kind.patches * OXC_BANDS);
            places.resize(kind.patches * 2);
            const std::size_t before = AllocationCount();
            ASSERT_EQ(Find(scene.Count(), kind.patches, known != Reference::None), OX_NoError);
            EXPECT_LE(AllocationCount() - before, 50U) << scene.Count() << " readings, " << kind.patches << " patches";
        }
}

// Scans of greys, steps, noise and numbers at the ends of their range.
TEST_F(PatchCall, TakesAnyScan)
{
    std::mt19937 random(7);
    const float odd[] = {0, -0.0F, 1e-45F, 1e-30F, 1e-3F, 1, -1, 1e6F, 1e30F, 3.4e38F, -3.4e38F};
    const auto any = [&] { return odd[random() % std::size(odd)]; };
    std::size_t found = 0;
    for (int run = 0; run < 1500; ++run) {
        const std::size_t count = random() % 90, patches = 1 + random() % 12, kind = random() % 4;
        std::vector<float> readings(count * OXC_BANDS), expected(patches * 3);
        float level = any();
        for (std::size_t i = 0; i < readings.size(); ++i) {
            if (i % OXC_BANDS == 0 && random() % 6 == 0)
                level = random() % 4 == 0 ? any() : static_cast<float>(random() % 1000) / 1000;
            readings[i] = kind == 0 ? any() : kind == 1 ? level : level + static_cast<float>(random() % 100) * 1e-5F;
        }
        std::ranges::generate(expected, [&] { return kind == 3 ? any() : static_cast<float>(random() % 100); });
        std::vector<float> means(patches * OXC_BANDS, -7);
        std::vector<std::int32_t> spans(patches * 2, -7);
        const std::int32_t code =
            oxc_find_patches(conditions.get(), readings.data(), count, patches,
                             random() % 2 == 0 ? expected.data() : nullptr, means.data(), spans.data(), &reversed);
        ASSERT_TRUE(code == OX_NoError || code == OX_RecognitionFailed) << run << " " << oxc_error();
        found += code == OX_NoError;
        ASSERT_EQ(spans[0] == -7, code != OX_NoError) << run;
        for (std::size_t i = 0; i < patches && code == OX_NoError; ++i) {
            ASSERT_LE(0, spans[2 * i]);
            ASSERT_LE(spans[2 * i], spans[2 * i + 1]);
            ASSERT_LT(spans[2 * i + 1], static_cast<std::int32_t>(count));
            const std::size_t next = reversed == 0 ? 2 * i + 2 : 2 * i - 2; // none behind the last: out of bounds
            ASSERT_TRUE(next >= spans.size() || spans[2 * i + 1] < spans[next]) << run;
        }
        ASSERT_TRUE(std::ranges::all_of(means, [](float value) { return std::isfinite(value); })) << run;
    }
    EXPECT_GT(found, 100U);
}
