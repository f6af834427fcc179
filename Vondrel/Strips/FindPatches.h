#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace Vondrel::Strips {

constexpr std::size_t bands = 36;

/// The scan over a strip and what is known about it.
struct Strip {
    const float* readings = nullptr; ///< count rows of 36 finite numbers
    std::size_t count = 0;
    std::size_t patches = 0;
    const float* reference = nullptr; ///< patches rows of L*, a*, b*; null: nothing is known
    /// From rows of 36 to rows of L*, a*, b*; called where there is a reference.
    std::function<void(const float* spectra, std::size_t count, float* lab)> toLab;
};

struct Patch {
    std::size_t first = 0, last = 0; ///< readings
    std::array<float, bands> spectrum{};
};

struct Found {
    std::vector<Patch> patches; ///< in the order of the reference, where there is one
    bool reversed = false;      ///< which is not that of the scan
};

/// The division of a scan into patches and what lies between them.
/// @return nothing if there are not so many places where the colour stays
std::optional<Found> FindPatches(const Strip& strip);

} // namespace
