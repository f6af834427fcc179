// Any bits as spectra, colours, papers and lights, under all conditions and by every public colour call: a result is
// finite, or its row is none and the call says so.

#include "orvex/color.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Bytes {
    const std::uint8_t* data;
    std::size_t size;

    std::uint8_t Take()
    {
        if (size == 0)
            return 0;
        --size;
        return *data++;
    }
    float TakeFloat()
    {
        std::uint8_t bytes[4];
        for (auto& byte : bytes)
            byte = Take();
        float value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
};

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

// A call and what it has written: no result without a code, no code without a text and a row that is none.
void Check(std::int32_t code, const std::vector<float>& results)
{
    std::size_t none = 0;
    for (const float value : results) {
        Require(!std::isinf(value));
        none += std::isnan(value) ? 1 : 0;
    }
    Require((code == OX_NoError) == (std::strlen(oxc_error()) == 0));
    if (code == OX_NoError || std::strncmp(oxc_error(), "row ", 4) == 0)
        Require((code == OX_NoError) == (none == 0));
}

// A strip of any readings: as many patches as were asked for, in order and apart, or nothing is written.
void CheckPatches(const oxc_conditions* conditions, const std::vector<float>& readings, std::size_t patches,
                  const float* reference)
{
    const auto count = static_cast<std::int32_t>(readings.size() / OXC_BANDS);
    std::vector<float> means(patches * OXC_BANDS + 1, 0.0F);
    std::vector<std::int32_t> places(patches * 2 + 1, -1);
    std::int32_t reversed = -1;
    const std::int32_t code = oxc_find_patches(conditions, readings.data(), readings.size() / OXC_BANDS, patches,
                                               reference, means.data(), places.data(), &reversed);
    const bool found = code == OX_NoError;
    Require(found == (std::strlen(oxc_error()) == 0) && (reversed == 0 || reversed == 1) == found);
    for (const float value : means)
        Require(std::isfinite(value) && (found || value == 0.0F));
    std::vector<std::int32_t> taken(readings.size() / OXC_BANDS, 0);
    for (std::size_t patch = 0; patch < patches; ++patch) {
        const std::int32_t first = places[2 * patch], last = places[2 * patch + 1];
        Require(found ? first >= 0 && first <= last && last < count : first == -1 && last == -1);
        for (std::int32_t i = first; found && i <= last; ++i)
            Require(taken[static_cast<std::size_t>(i)]++ == 0);
    }
    Require(places.back() == -1 && means.back() == 0.0F);
}

void SetAny(oxc_conditions* conditions, const char* key, std::uint8_t which)
{
    std::size_t count = 0;
    while (oxc_value(key, count) != nullptr)
        ++count;
    Require(oxc_set(conditions, key, oxc_value(key, which % count)) == OX_NoError);
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Bytes bytes{data, size};
    oxc_conditions* const conditions = oxc_conditions_new();
    for (const char* key : {"Colorimetric.Illumination", "Colorimetric.Observer", "Colorimetric.WhiteBase",
                            "Colorimetric.DensityStandard", "Colorimetric.DensityFilterMode",
                            "ColorSpaceDescription.Type", "ColorSpaceDescription.DeltaEFormula"})
        SetAny(conditions, key, bytes.Take());
    const std::size_t count = 1 + bytes.Take() % 20;
    const std::uint8_t extra = bytes.Take();
    const double first = 300 + bytes.Take(), step = static_cast<double>(bytes.TakeFloat());
    std::string text;
    for (std::uint8_t i = 0; i < extra % 32; ++i)
        text += static_cast<char>(bytes.Take());
    oxc_set(conditions, "Colorimetric.Illumination", text.c_str());

    // Values repeat where the input is short, so that few bytes make many rows.
    std::vector<float> given;
    do
        given.push_back(bytes.TakeFloat());
    while (bytes.size >= 4);
    std::vector<float> spectra(count * OXC_BANDS), others(count * OXC_BANDS);
    for (std::size_t i = 0; i < spectra.size(); ++i) {
        spectra[i] = given[i % given.size()];
        others[i] = given[(i * 7 + 3) % given.size()];
    }
    if (extra & 32)
        oxc_set_paper(conditions, others.data());
    if (extra & 64)
        oxc_set_illuminant(conditions, others.data());

    std::vector<float> colors(count * 3, 0.0F), numbers(count, 0.0F), densities(count * 4, 0.0F);
    std::vector<float> made(count * OXC_BANDS, 0.0F);
    std::vector<std::int32_t> filters(count);
    Check(oxc_colors(conditions, spectra.data(), count, colors.data()), colors);
    Check(oxc_spectral_differences(conditions, spectra.data(), others.data(), count, 0, 0, 0, numbers.data()), numbers);
    Check(oxc_metamerism(conditions, conditions, spectra.data(), others.data(), count, numbers.data()), numbers);
    Check(oxc_differences(conditions, spectra.data(), others.data(), count, 0, 0, 0, numbers.data()), numbers);
    Check(oxc_densities(conditions, spectra.data(), count, densities.data()), densities);
    Check(oxc_density(conditions, spectra.data(), count, numbers.data(), filters.data()), numbers);
    Check(oxc_temperatures(spectra.data(), count, numbers.data()), numbers);
    Check(oxc_rendering_indices(spectra.data(), count, numbers.data(), filters.data()), numbers);
    Check(oxc_resample(spectra.data(), OXC_BANDS, first, step, count, made.data()), made);
    CheckPatches(conditions, spectra, extra % 8, extra & 128 ? others.data() : nullptr);
    if (count < 4)
        Check(oxc_spectra_of_lab(conditions, spectra.data(), count, made.data()), made);
    const char* const from = oxc_value("ColorSpaceDescription.Type", extra % 14);
    for (std::size_t i = 0; oxc_value("ColorSpaceDescription.Type", i) != nullptr; ++i)
        Check(oxc_convert(conditions, from, spectra.data(), count, oxc_value("ColorSpaceDescription.Type", i),
                          colors.data()),
              colors);
    oxc_conditions_free(conditions);
    return 0;
}
