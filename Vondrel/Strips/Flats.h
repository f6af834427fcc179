#pragma once

#include "Vondrel/Strips/Noise.h"

namespace Vondrel::Strips {

/// A stretch of readings that agree up to noise.
struct Flat {
    Span span;
    float count = 0; ///< readings that agree; single ones between them may be spoiled
    Row linear{};    ///< their mean
    Even even;       ///< the same on the even scale
    Row drift{};     ///< from its first half to its second, on the even scale

    /// Whether a reading inside is none of the colour: dust, glint.
    bool Spoiled(const Even& reading) const { return even.SquaredDistance(reading.at) > spoiled; }
    static constexpr float spoiled = 60; // a squared deviation beyond it is no noise
};

/// A place in the scan up to which the best set of flats is known.
struct FlatStep {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
    float gain = 0;
    std::size_t first = none; ///< of the flat that ends before here
};

/// The best set of flats: each reading in one earns a constant and pays its squared deviation from the flat's mean,
/// each flat pays a price, and a reading in no flat earns nothing, so that edges stay out.
/// @param price  of a flat; the lower, the more flats
/// @param best   room to work in
/// @param flats  receives them, each of two readings or more
void FindFlats(const std::vector<Even>& even, const Rows& linear, float price, std::vector<FlatStep>& best,
               std::vector<Flat>& flats);

/// Flats next to one another that one mean explains become one.
void JoinFlats(std::vector<Flat>& flats, std::size_t furthest);

/// Leaves out what changes inside as it does around: pieces of a steady ramp.
void DropRamps(std::vector<Flat>& flats);

}
