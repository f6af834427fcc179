#include "Vondrel/ColorC/Blocks.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Vondrel::ColorC {

using namespace CMetry;

namespace {

// Four colours row by row, to and from elements by axis.
#ifdef __SSE2__
void ReadFour(const float* colors, Block& block, std::size_t row) noexcept
{
    const __m128 a = _mm_loadu_ps(colors), b = _mm_loadu_ps(colors + 4), c = _mm_loadu_ps(colors + 8);
    const __m128 xy23 = _mm_shuffle_ps(b, c, _MM_SHUFFLE(2, 1, 3, 2));
    const __m128 yz01 = _mm_shuffle_ps(a, b, _MM_SHUFFLE(1, 0, 2, 1));
    _mm_storeu_ps(&block[0][row], _mm_shuffle_ps(a, xy23, _MM_SHUFFLE(2, 0, 3, 0)));
    _mm_storeu_ps(&block[1][row], _mm_shuffle_ps(yz01, xy23, _MM_SHUFFLE(3, 1, 2, 0)));
    _mm_storeu_ps(&block[2][row], _mm_shuffle_ps(yz01, c, _MM_SHUFFLE(3, 0, 3, 1)));
}

void WriteFour(const Block& block, std::size_t row, float* colors) noexcept
{
    const __m128 x = _mm_loadu_ps(&block[0][row]), y = _mm_loadu_ps(&block[1][row]), z = _mm_loadu_ps(&block[2][row]);
    const __m128 xy02 = _mm_shuffle_ps(x, y, _MM_SHUFFLE(2, 0, 2, 0));
    const __m128 yz13 = _mm_shuffle_ps(y, z, _MM_SHUFFLE(3, 1, 3, 1));
    const __m128 z02x13 = _mm_shuffle_ps(z, x, _MM_SHUFFLE(3, 1, 2, 0));
    _mm_storeu_ps(colors, _mm_shuffle_ps(xy02, z02x13, _MM_SHUFFLE(2, 0, 2, 0)));
    _mm_storeu_ps(colors + 4, _mm_shuffle_ps(yz13, xy02, _MM_SHUFFLE(3, 1, 2, 0)));
    _mm_storeu_ps(colors + 8, _mm_shuffle_ps(z02x13, yz13, _MM_SHUFFLE(3, 1, 3, 1)));
}
#else
void ReadFour(const float* colors, Block& block, std::size_t row) noexcept
{
    for (std::size_t i = 0; i < 12; ++i)
        block[i % 3][row + i / 3] = colors[i];
}

void WriteFour(const Block& block, std::size_t row, float* colors) noexcept
{
    for (std::size_t i = 0; i < 12; ++i)
        colors[i] = block[i % 3][row + i / 3];
}
#endif

}

void ReadBlock(const float* colors, std::size_t rows, Block& block) noexcept
{
    float padded[blockRows * 3];
    if (rows < blockRows) {
        for (std::size_t row = 0; row < blockRows; ++row)
            std::copy_n(colors + (row < rows ? row : 0) * 3, 3, padded + row * 3);
        colors = padded;
    }
    for (std::size_t row = 0; row < blockRows; row += 4)
        ReadFour(colors + row * 3, block, row);
}

void WriteBlock(const Block& block, std::size_t rows, float* colors) noexcept
{
    float padded[blockRows * 3];
    float* const to = rows < blockRows ? padded : colors;
    for (std::size_t row = 0; row < blockRows; row += 4)
        WriteFour(block, row, to + row * 3);
    if (rows < blockRows)
        std::copy_n(padded, rows * 3, colors);
}

void GetColors(const oxc_conditions& conditions, const ColorBasis& basis, const SpaceRow& space, const float* spectra,
               std::size_t rows, float* colors)
{
    if (rows < fewestRows) {
        for (std::size_t row = 0; row < rows; ++row) {
            const Color color = space.fromXYZ(basis, Formulas::SpectrumToXYZ(basis, spectra + row * OXC_BANDS));
            std::copy(color.begin(), color.end(), colors + row * 3);
        }
        return;
    }
    const Road& road = CurrentRoad();
    SpectraBlock block;
    Block elements;
    road.weigh(conditions.kernelWeights, block.Get(spectra, rows, basis.paper), elements);
    if (space.space == ColorSpace::CIELab)
        road.toLab(conditions.kernelWeights, elements);
    if (space.space == ColorSpace::CIELab || space.space == ColorSpace::CIEXYZ)
        return WriteBlock(elements, rows, colors);
    for (std::size_t row = 0; row < rows; ++row) {
        const Color color = space.fromXYZ(basis, {elements[0][row], elements[1][row], elements[2][row]});
        std::copy(color.begin(), color.end(), colors + row * 3);
    }
}

}
