// The road of every x86-64 processor.
#include "Vondrel/ColorC/Kernels.h"

#include <emmintrin.h>

namespace {

struct Lanes {
    static constexpr std::size_t width = 2;
    using Mask = __m128d;
    __m128d value;

    static Lanes All(double value) { return {_mm_set1_pd(value)}; }
    static Lanes Load(const float* from)
    {
        return {_mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))))};
    }
    static Lanes LoadRatio(const float* from, float white)
    {
        const __m128 values = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)));
        return {_mm_cvtps_pd(_mm_div_ps(values, _mm_set1_ps(white)))};
    }
    void Store(float* to) const
    {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_castps_si128(_mm_cvtpd_ps(value)));
    }
    friend Lanes operator+(Lanes a, Lanes b) { return {_mm_add_pd(a.value, b.value)}; }
    friend Lanes operator-(Lanes a, Lanes b) { return {_mm_sub_pd(a.value, b.value)}; }
    friend Lanes operator*(Lanes a, Lanes b) { return {_mm_mul_pd(a.value, b.value)}; }
    friend Lanes operator/(Lanes a, Lanes b) { return {_mm_div_pd(a.value, b.value)}; }
    static Lanes MulAdd(Lanes a, Lanes b, Lanes c) { return a * b + c; }
    static Lanes OneMinusProduct(Lanes a, Lanes b) { return All(1) - a * b; }
    Lanes Single() const { return {_mm_cvtps_pd(_mm_cvtpd_ps(value))}; }
    static Lanes CubeRootGuess(Lanes x)
    {
        const __m128i high = _mm_srli_epi64(_mm_castpd_si128(x.value), 32);
        const __m128i third = _mm_srli_epi64(_mm_mul_epu32(high, _mm_set1_epi64x(0xaaaaaaab)), 33); // high / 3
        return {_mm_castsi128_pd(_mm_slli_epi64(_mm_sub_epi64(_mm_set1_epi64x(0x553ef000), third), 32))};
    }
    static Mask Greater(Lanes a, double b) { return _mm_cmpgt_pd(a.value, _mm_set1_pd(b)); }
    static Lanes Select(Mask mask, Lanes a, Lanes b)
    {
        return {_mm_or_pd(_mm_and_pd(mask, a.value), _mm_andnot_pd(mask, b.value))};
    }
    static bool AllSet(Mask mask) { return _mm_movemask_pd(mask) == 3; }
    static void LoadBands(const float* spectra, Lanes (&bands)[4])
    {
        const __m128 first = _mm_loadu_ps(spectra);
        const __m128 second = _mm_loadu_ps(spectra + Vondrel::ColorC::KernelWeights::bands);
        const __m128 low = _mm_unpacklo_ps(first, second);
        const __m128 high = _mm_unpackhi_ps(first, second);
        bands[0] = {_mm_cvtps_pd(low)};
        bands[1] = {_mm_cvtps_pd(_mm_movehl_ps(low, low))};
        bands[2] = {_mm_cvtps_pd(high)};
        bands[3] = {_mm_cvtps_pd(_mm_movehl_ps(high, high))};
    }
};

}

#include "Vondrel/ColorC/KernelBody.h"

namespace Vondrel::ColorC {

const Road sse2Road{"sse2", WeighRows, RowsToLab, RowsFromLab};

}
