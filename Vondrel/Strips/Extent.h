#pragma once

#include "Vondrel/Strips/Flats.h"

namespace Vondrel::Strips {

/// The readings of a patch.
struct Extent {
    Span span;
    std::vector<std::size_t> spoiled; ///< readings inside that do not belong to it
};

/// Where flats begin and end, to the reading.
///
/// A reading over an edge leaves the flat in the direction of the neighbour's colour; how far, in deviations of the
/// noise, says more than its whole distance. Between colours that noise hides an edge takes as many readings as between
/// others.
/// @param readings  the scan, reading by reading
/// @param flats     all flats of the scan, spans and colours on its scale
/// @param chosen    those that are asked for, ascending
std::vector<Extent> FindExtents(const Rows& readings, const std::vector<Flat>& flats, const Noise& noise,
                                const std::vector<std::size_t>& chosen);

} // namespace
