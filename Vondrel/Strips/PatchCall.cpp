// The call that finds the patches of a strip.
#include "Vondrel/ColorC/Basis.h"
#include "Vondrel/Strips/FindPatches.h"

#include <algorithm>

using namespace Vondrel::CMetry;
using namespace Vondrel::ColorC;
using namespace Vondrel::Strips;

namespace {

constexpr Refusal tooFewPlaces{OX_RecognitionFailed, "not so many places where the colour stays"};

void CheckArguments(const float* readings, std::size_t count, std::size_t patches, const float* reference,
                    const float* spectra, const std::int32_t* places)
{
    if (patches == 0)
        throw Refusal{OX_InvalidParameter, "no patches to find"};
    if (count > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw Refusal{OX_InvalidParameter, "more readings than places can name"};
    CheckArrays(count, {{readings, OXC_BANDS}}, {});
    if (!AllFinite(readings, count * OXC_BANDS))
        throw Refusal{OX_InvalidParameter, notFinite};
    if (patches > count)
        throw tooFewPlaces;
    if (reference != nullptr && !AllFinite(reference, patches * 3))
        throw Refusal{OX_InvalidParameter, notFinite};
    const Array scan{readings, count * OXC_BANDS}, expected{reference, patches * 3},
        means{spectra, patches * OXC_BANDS}, spans{places, patches * 2};
    CheckArrays(1, {scan}, {means});
    if (reference != nullptr)
        CheckArrays(1, {expected}, {means});
    if (places != nullptr)
        CheckArrays(1, {scan, means}, {spans});
    if (places != nullptr && reference != nullptr)
        CheckArrays(1, {expected}, {spans});
}

void Store(const Found& found, float* spectra, std::int32_t* places, std::int32_t* reversed)
{
    for (const Patch& patch : found.patches) {
        spectra = std::copy(patch.spectrum.begin(), patch.spectrum.end(), spectra);
        if (places != nullptr) {
            *places++ = static_cast<std::int32_t>(patch.first);
            *places++ = static_cast<std::int32_t>(patch.last);
        }
    }
    if (reversed != nullptr)
        *reversed = found.reversed ? 1 : 0;
}

}

extern "C" int32_t oxc_find_patches(const oxc_conditions* conditions, const float* readings, size_t count,
                                    size_t patches, const float* reference_lab, float* spectra, int32_t* places,
                                    int32_t* reversed)
{
    return Call([&] {
        RequireNonNull(conditions, spectra);
        CheckArguments(readings, count, patches, reference_lab, spectra, places);
        if (reference_lab != nullptr)
            GetBasis(conditions, Needs::White);
        const auto toLab = [conditions](const float* rows, std::size_t rowCount, float* lab) {
            const SpaceRow& space = FindSpace(ColorSpace::CIELab);
            const ColorBasis basis = GetBasis(conditions, space.needs);
            for (std::size_t row = 0; row < rowCount; ++row) {
                const Color color = space.fromXYZ(basis, Formulas::SpectrumToXYZ(basis, rows + row * OXC_BANDS));
                std::copy(color.begin(), color.end(), lab + row * 3);
            }
        };
        const auto found = FindPatches({readings, count, patches, reference_lab, toLab});
        if (!found)
            throw tooFewPlaces;
        Store(*found, spectra, places, reversed);
        return OX_NoError;
    });
}
