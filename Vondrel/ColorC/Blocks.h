#pragma once

#include "Vondrel/ColorC/Basis.h"
#include "Vondrel/ColorC/Kernels.h"

#include <algorithm>
#include <array>
#include <cstddef>

/// Rows in blocks, as the kernels take them.
namespace Vondrel::ColorC {

/// Fewer rows than these are not worth a block.
inline constexpr std::size_t fewestRows = 4;

/// Sixteen spectra in a row: those of the caller where there are enough, else a copy with the first repeated; divided
/// by the paper where there is one.
class SpectraBlock {
public:
    const float* Get(const float* spectra, std::size_t rows, const float* paper) noexcept
    {
        if (rows >= blockRows && paper == nullptr)
            return spectra;
        for (std::size_t row = 0; row < blockRows; ++row) {
            const float* const from = spectra + (row < rows ? row : 0) * OXC_BANDS;
            float* const to = copy.data() + row * OXC_BANDS;
            for (std::size_t i = 0; i < OXC_BANDS; ++i)
                to[i] = paper == nullptr ? from[i] : from[i] / paper[i];
        }
        return copy.data();
    }

private:
    std::array<float, blockRows * OXC_BANDS> copy;
};

/// Colours row by row to elements by axis, the first row repeated where there are fewer than sixteen; and back.
void ReadBlock(const float* colors, std::size_t rows, Block& block) noexcept;
void WriteBlock(const Block& block, std::size_t rows, float* colors) noexcept;

/// The colours of at most sixteen spectra, without a look at what they are.
void GetColors(const oxc_conditions& conditions, const CMetry::ColorBasis& basis, const SpaceRow& space,
               const float* spectra, std::size_t rows, float* colors);

/// Calls operation(first, rows) for blocks of at most sixteen rows.
template<typename Operation>
void ForBlocks(std::size_t count, Operation operation)
{
    for (std::size_t first = 0; first < count; first += blockRows)
        operation(first, std::min(blockRows, count - first));
}

}
