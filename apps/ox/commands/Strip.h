#pragma once

#include "apps/ox/commands/Options.h"

namespace Ox {

/// The patches found in a scan.
struct Strip {
    std::vector<float> spectra;  ///< patches x 36
    std::vector<int32_t> places; ///< patches x 2, the first and last reading of each
    std::size_t readings = 0;
    bool reversed = false;

    std::string Describe() const;
};

/// Calibrates and scans a strip without recognition: readings x 36.
/// @throws Failure: the person ended, or the scan failed
std::vector<float> ScanReadings(Instrument& instrument, Stage& stage, bool quiet);

/// Finds a known number of patches.
/// @param reference  patches x 3, L*, a*, b*; may be empty
/// @throws Failure: they are not there
Strip FindPatches(const Conditions& conditions, const std::vector<float>& readings, std::size_t patches,
                  const std::vector<float>& reference);

}
