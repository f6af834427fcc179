// Conditions in several threads: objects of their own, and one that all read.
#include "orvex/color.h"
#include "tests/colorc/RandomSpectra.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t count = 40;

struct Results {
    std::vector<float> colors = std::vector<float>(count * 3), densities = std::vector<float>(count * 4);
    std::vector<float> kelvin = std::vector<float>(count), indices = std::vector<float>(count);
    std::vector<std::int32_t> valid = std::vector<std::int32_t>(count);
    std::string illumination, error;

    bool operator==(const Results&) const = default;
};

Results Compute(const oxc_conditions* conditions, const std::vector<float>& spectra)
{
    Results results;
    oxc_colors(conditions, spectra.data(), count, results.colors.data());
    oxc_densities(conditions, spectra.data(), count, results.densities.data());
    oxc_temperatures(spectra.data(), count, results.kelvin.data());
    oxc_rendering_indices(spectra.data(), count, results.indices.data(), results.valid.data());
    results.illumination = oxc_get(conditions, "Colorimetric.Illumination");
    oxc_colors(conditions, nullptr, 1, nullptr);
    results.error = oxc_error();
    return results;
}

}

TEST(Threads, EachWithItsOwnConditionsAndWithOneForAll)
{
    auto spectra = RandomSpectra(count + 1, 5);
    spectra.erase(spectra.begin(), spectra.begin() + OXC_BANDS); // no black
    oxc_conditions* const shared = oxc_conditions_new();
    ASSERT_EQ(oxc_set_illuminant(shared, &spectra[3 * OXC_BANDS]), OX_NoError);
    const Results expected = Compute(shared, spectra);
    const char* const spaces[] = {"CIELab", "CIELuv", "RGB", "LABvd"};

    std::vector<Results> ofShared(4), ofOwn(4);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            for (int turn = 0; turn < 8; ++turn) {
                oxc_conditions* const own = oxc_conditions_copy(shared);
                oxc_set(own, "Colorimetric.Illumination", turn % 2 == 0 ? "D50" : "Userdefined");
                oxc_set(own, "ColorSpaceDescription.Type", spaces[i]);
                oxc_set_paper(own, spectra.data());
                ofOwn[i] = Compute(own, spectra);
                oxc_conditions_free(own);
                ofShared[i] = Compute(shared, spectra);
            }
        });
    for (auto& thread : threads)
        thread.join();

    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(ofShared[i], expected) << i;
        EXPECT_EQ(ofOwn[i].illumination, "Userdefined");
        EXPECT_EQ(ofOwn[i].colors == expected.colors, i == 0) << i;
        EXPECT_EQ(ofOwn[i].error, "parameter must not be null");
    }
    oxc_conditions_free(shared);
}
