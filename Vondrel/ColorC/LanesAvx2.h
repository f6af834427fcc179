// Lanes of the roads with AVX2, see KernelBody.h.
#include <immintrin.h>

namespace {

struct Lanes {
    static constexpr std::size_t width = 4;
    using Mask = __m256d;
    __m256d value;

    static Lanes All(double value) { return {_mm256_set1_pd(value)}; }
    static Lanes Load(const float* from) { return {_mm256_cvtps_pd(_mm_loadu_ps(from))}; }
    static Lanes LoadRatio(const float* from, float white)
    {
        return {_mm256_cvtps_pd(_mm_div_ps(_mm_loadu_ps(from), _mm_set1_ps(white)))};
    }
    void Store(float* to) const { _mm_storeu_ps(to, _mm256_cvtpd_ps(value)); }
    friend Lanes operator+(Lanes a, Lanes b) { return {_mm256_add_pd(a.value, b.value)}; }
    friend Lanes operator-(Lanes a, Lanes b) { return {_mm256_sub_pd(a.value, b.value)}; }
    friend Lanes operator*(Lanes a, Lanes b) { return {_mm256_mul_pd(a.value, b.value)}; }
    friend Lanes operator/(Lanes a, Lanes b) { return {_mm256_div_pd(a.value, b.value)}; }
#ifdef __FMA__
    static Lanes MulAdd(Lanes a, Lanes b, Lanes c)
    {
        return {_mm256_fmadd_pd(a.value, b.value, c.value)};
    }
    static Lanes OneMinusProduct(Lanes a, Lanes b)
    {
        return {_mm256_fnmadd_pd(a.value, b.value, _mm256_set1_pd(1))};
    }
#else
    static Lanes MulAdd(Lanes a, Lanes b, Lanes c)
    {
        return a * b + c;
    }
    static Lanes OneMinusProduct(Lanes a, Lanes b)
    {
        return All(1) - a * b;
    }
#endif
    Lanes Single() const
    {
        return {_mm256_cvtps_pd(_mm256_cvtpd_ps(value))};
    }
    static Lanes CubeRootGuess(Lanes x)
    {
        const __m256i high = _mm256_srli_epi64(_mm256_castpd_si256(x.value), 32);
        const __m256i third = _mm256_srli_epi64(_mm256_mul_epu32(high, _mm256_set1_epi64x(0xaaaaaaab)), 33); // high / 3
        return {_mm256_castsi256_pd(_mm256_slli_epi64(_mm256_sub_epi64(_mm256_set1_epi64x(0x553ef000), third), 32))};
    }
    static Mask Greater(Lanes a, double b)
    {
        return _mm256_cmp_pd(a.value, _mm256_set1_pd(b), _CMP_GT_OQ);
    }
    static Lanes Select(Mask mask, Lanes a, Lanes b)
    {
        return {_mm256_blendv_pd(b.value, a.value, mask)};
    }
    static bool AllSet(Mask mask)
    {
        return _mm256_movemask_pd(mask) == 15;
    }
    static void LoadBands(const float* spectra, Lanes (&bands)[4])
    {
        constexpr std::size_t next = Vondrel::ColorC::KernelWeights::bands;
        const __m128 row0 = _mm_loadu_ps(spectra), row1 = _mm_loadu_ps(spectra + next);
        const __m128 row2 = _mm_loadu_ps(spectra + 2 * next), row3 = _mm_loadu_ps(spectra + 3 * next);
        const __m128 low01 = _mm_unpacklo_ps(row0, row1), low23 = _mm_unpacklo_ps(row2, row3);
        const __m128 high01 = _mm_unpackhi_ps(row0, row1), high23 = _mm_unpackhi_ps(row2, row3);
        bands[0] = {_mm256_cvtps_pd(_mm_movelh_ps(low01, low23))};
        bands[1] = {_mm256_cvtps_pd(_mm_movehl_ps(low23, low01))};
        bands[2] = {_mm256_cvtps_pd(_mm_movelh_ps(high01, high23))};
        bands[3] = {_mm256_cvtps_pd(_mm_movehl_ps(high23, high01))};
    }
};

}
