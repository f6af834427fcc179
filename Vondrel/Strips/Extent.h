#pragma once

#include "Vondrel/Strips/Flats.h"

namespace Vondrel::Strips {

/// The readings of a patch.
struct Extent {
    Span span;
    Even middle;                    ///< their colour
    float furthest = Flat::spoiled; ///< squared distance from it of readings that belong

    bool Spoiled(const Even& reading) const { return middle.SquaredDistance(reading.at) > furthest; }
};

/// Where flats begin and end, to the reading.
///
/// A reading over an edge leaves the flat in the direction of the neighbour's colour; how far, in deviations of the
/// noise, says more than its whole distance. Between colours that noise hides an edge takes as many readings as between
/// others.
/// @param readings  the scan, reading by reading
/// @param even      the same on the even scale
/// @param flats     all flats of the scan, spans and colours on its scale
/// @param chosen    those that are asked for, ascending
std::vector<Extent> FindExtents(const Rows& readings, const std::vector<Even>& even, const std::vector<Flat>& flats,
                                const Noise& noise, const std::vector<std::size_t>& chosen);

}
