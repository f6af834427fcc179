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
///
/// The model: readings of a patch agree up to noise, a reading over an edge is a mixture of its neighbours, gaps have
/// one colour, and so has the backing. Four steps, each with a class or a page of its own:
/// - Noise: what readings of one colour differ by, taken from the scan, and a scale on which it is even. A long scan is
///   pooled to some 24 readings a patch first.
/// - FindFlats: by dynamic programming the best set of stretches that agree. Readings over an edge belong to none.
/// - ChooseFlats: by dynamic programming over flats and patches the likeliest choice of so many; the others must be
///   backing, gaps, or mixtures of their neighbours, where a hand rested over an edge. A reference adds how far the
///   colours lie apart, forwards and backwards. Steps two and three are tried with less and less evidence for a flat
///   until a choice leaves nothing unexplained.
/// - FindExtents: where the chosen flats begin and end, reading by reading.
/// Time and memory grow with the readings and with patches times flats. The tables are made once, for all attempts.
/// @return nothing if there are not so many places where the colour stays
std::optional<Found> FindPatches(const Strip& strip);

}
