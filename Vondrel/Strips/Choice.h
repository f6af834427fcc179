#pragma once

#include "Vondrel/Strips/Flats.h"

#include <array>
#include <cstdint>
#include <limits>

namespace Vondrel::Strips {

using Lab = std::array<float, 3>;

/// Flats that were taken for the patches, in the order of the scan.
struct Choice {
    std::vector<std::size_t> flats;                      ///< one for each patch, ascending
    float cost = std::numeric_limits<float>::infinity(); ///< the lower, the more likely
    float colour = 0;                                    ///< the part of it that the reference causes
    bool reversed = false;

    void Clear(bool isReversed = false)
    {
        flats.clear();
        cost = std::numeric_limits<float>::infinity();
        colour = 0;
        reversed = isReversed;
    }
};

/// Room that the choice works in, kept from one time to the next. More flats than foreseen make it grow.
struct ChoiceTables {
    ChoiceTables(std::size_t maxFlats, std::size_t patches);

    static constexpr std::size_t widest = 12; // flats from one patch to the next, at most
    Rows lights, gapViews;                    // of each flat
    std::vector<float> lengths, weight, before, behind, take, cost, next;
    std::vector<bool> isGap;
    Rows views; // of each flat and those around it
    std::vector<float> blend, inside, steps;
    std::vector<std::uint8_t> from; // of each patch and flat; grows with the flats that there are
    std::vector<float> off;         // of each patch
    Choice trial, best;
};

/// Which flats are the patches.
///
/// A dynamic programme over flats and patches takes the choice of the least cost. It costs to leave out a flat: next to
/// nothing if it is an exact blend of its neighbours or has the colour of the gaps, more at the ends if it is no
/// backing, most in the middle; it costs to take one that is short for a patch. With a reference it costs how far the
/// colours lie apart, after the shift that most patches share, and one long flat may be several equal patches.
/// @param reference  empty, or one colour for each patch
/// @param labs       the colours of the flats, where there is a reference
/// @return           tables.best
const Choice& ChooseFlats(const std::vector<Flat>& flats, const Noise& noise, std::size_t patches,
                          const std::vector<Lab>& reference, const std::vector<Lab>& labs, ChoiceTables& tables);

}
