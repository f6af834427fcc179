#pragma once

#include <cstddef>

/// The loops of the bulk calls, for sixteen rows at once.
///
/// The sums of one spectrum are a chain: each step is rounded to single precision before the next. Only other spectra
/// fill the gaps. The processor's road is chosen once, at run time; all roads give the same bits as the formulas of the
/// engine, because every lane does the same operations in the same order: a product of two floats is exact in double,
/// and so is a fused multiply-add equal to a product and a sum; all else is +, -, *, / and conversions, which IEEE 754
/// rounds in one way. No road may contract or reorder (-ffp-contract=off). The one that leaves double says in its file
/// how it knows that it may.
namespace Vondrel::ColorC {

inline constexpr std::size_t blockRows = 16;

/// Elements by axis, then by row.
using Block = float[3][blockRows];

/// Weights as the roads read them.
struct KernelWeights {
    static constexpr std::size_t bands = 36;
    alignas(32) double wide[bands][3] = {};
    float single[bands][3] = {};
    double white[3] = {};
    std::size_t lastZ = 0;  ///< behind the last band with a weight for Z
    bool checkable = false; ///< no other weight is 0, and none is tiny
};

struct Road {
    const char* name;
    /// @param spectra  16 x 36
    void (*weigh)(const KernelWeights& weights, const float* spectra, Block& xyz);
    // In place.
    void (*toLab)(const KernelWeights& weights, Block& colors);
    void (*fromLab)(const KernelWeights& weights, Block& colors);
};

/// The roads of this build from the plainest on; null behind the last.
const Road* RoadAt(std::size_t index) noexcept;
/// Whether this processor can go it.
bool CanGo(const Road& road) noexcept;
/// The best for this processor, or the one that was forced.
const Road& CurrentRoad() noexcept;
/// For tests and measurements; null: the best again. Not while others compute.
void ForceRoad(const Road* road) noexcept;

extern const Road plainRoad;
#ifdef __x86_64__
extern const Road sse2Road, avx2Road, fmaRoad;
#endif

}
