// The road of processors with AVX2 and FMA: the sums in single precision, each step a fused multiply-add.
//
// The engine's step rounds x = w * v + c (all floats) to double and then to float; a fused step rounds once. They
// differ only where the double y of x lies exactly in the middle m of two floats and x beside it: no float and no such
// middle lies between x and y. Let h be the distance from m to the fused result r, a power of two.
//   - y is not x, so x has bits below 2^-52 of its first. The product has 48 bits at most, so it is less than a 16th of
//   x;
//     c is then within a factor of two of r, and c - r is exact.
//   - |x - m| is at most 2^-53 of x, and so at most 2^-28 of h: the residual t = w * v + (c - r), fused, rounds to h or
//     -h, a power of two, whose fraction bits are 0.
//   - h is no subnormal: with w and v of at least 2^-40 x is a multiple of 2^-126, so that an x below 2^-101 is a
//   double.
// So every step whose t has a fraction other than 0 is the engine's; one that overflows gives infinity on both roads,
// and no result in the end, as do an infinite value and a NaN. Where a t has no fraction (one step in eight million, or
// an exact one), where a value is below 2^-40 and where a weight is 0 or smaller (but those behind the last for Z,
// which add nothing), the rows are computed in double.
#include "Vondrel/ColorC/Kernels.h"
#include "Vondrel/ColorC/LanesAvx2.h"

#include "Vondrel/ColorC/KernelBody.h"

namespace {

constexpr std::size_t bands = KernelWeights::bands;

// Four bands of eight spectra.
inline void LoadEight(const float* spectra, __m256 (&values)[4])
{
    __m256 rows[4];
    for (std::size_t i = 0; i < 4; ++i)
        rows[i] = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(spectra + i * bands)),
                                       _mm_loadu_ps(spectra + (i + 4) * bands), 1);
    const __m256 low01 = _mm256_unpacklo_ps(rows[0], rows[1]), low23 = _mm256_unpacklo_ps(rows[2], rows[3]);
    const __m256 high01 = _mm256_unpackhi_ps(rows[0], rows[1]), high23 = _mm256_unpackhi_ps(rows[2], rows[3]);
    values[0] = _mm256_shuffle_ps(low01, low23, 0x44);
    values[1] = _mm256_shuffle_ps(low01, low23, 0xee);
    values[2] = _mm256_shuffle_ps(high01, high23, 0x44);
    values[3] = _mm256_shuffle_ps(high01, high23, 0xee);
}

// What has to be known of all steps.
struct Checks {
    __m256i fraction = _mm256_set1_epi32(-1);      // the least, unsigned
    __m256i least = _mm256_set1_epi32(0x7fffffff); // of the values' bits

    void See(__m256 value) { least = _mm256_min_epi32(least, _mm256_castps_si256(value)); }
    __m256 Step(float weight, __m256 value, __m256 sum)
    {
        const __m256 w = _mm256_set1_ps(weight);
        const __m256 next = _mm256_fmadd_ps(w, value, sum);
        const __m256 residual = _mm256_fmadd_ps(w, value, _mm256_sub_ps(sum, next));
        fraction = _mm256_min_epu32(fraction, _mm256_slli_epi32(_mm256_castps_si256(residual), 9));
        return next;
    }
    bool Passed() const
    {
        const __m256i exact = _mm256_cmpeq_epi32(fraction, _mm256_setzero_si256());
        const __m256i tiny = _mm256_cmpgt_epi32(_mm256_set1_epi32((127 - 40) << 23), least); // 2^-40; all negative ones
        const __m256i failed = _mm256_or_si256(exact, tiny);
        return _mm256_testz_si256(failed, failed) != 0;
    }
};

// The sums of eight rows.
struct Sums {
    __m256 x = _mm256_setzero_ps(), y = _mm256_setzero_ps(), z = _mm256_setzero_ps();

    void Add(const float* spectra, const float (*weights)[3], std::size_t zBands, Checks& checks)
    {
        __m256 values[4];
        LoadEight(spectra, values);
        for (std::size_t i = 0; i < 4; ++i) {
            checks.See(values[i]);
            x = checks.Step(weights[i][0], values[i], x);
            y = checks.Step(weights[i][1], values[i], y);
            if (i < zBands)
                z = checks.Step(weights[i][2], values[i], z);
        }
    }
    void Store(Block& xyz, std::size_t row) const
    {
        _mm256_storeu_ps(&xyz[0][row], x);
        _mm256_storeu_ps(&xyz[1][row], y);
        _mm256_storeu_ps(&xyz[2][row], z);
    }
};

void WeighFused(const KernelWeights& weights, const float* spectra, Block& xyz)
{
    if (!weights.checkable)
        return WeighRows(weights, spectra, xyz);
    Sums first, second;
    Checks checks;
    for (std::size_t band = 0; band < bands; band += 4) {
        const std::size_t zBands = band < weights.lastZ ? weights.lastZ - band : 0;
        first.Add(spectra + band, &weights.single[band], zBands, checks);
        second.Add(spectra + 8 * bands + band, &weights.single[band], zBands, checks);
    }
    if (!checks.Passed())
        return WeighRows(weights, spectra, xyz);
    first.Store(xyz, 0);
    second.Store(xyz, 8);
}

}

namespace Vondrel::ColorC {

const Road fmaRoad{"fma", WeighFused, RowsToLab, RowsFromLab};

}
