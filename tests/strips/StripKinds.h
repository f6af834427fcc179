#pragma once

#include "tests/strips/StripScene.h"

#include <array>
#include <cstdint>
#include <vector>

/// A kind of scan, and the share of perfect results in percent that it is to have: without a reference, with the true
/// one, with one that is off by some delta E of 4.
struct StripKind {
    const char* name;
    std::array<int, 3> aims;
    StripSettings settings;
};

const std::vector<StripKind>& StripKinds();

/// Results over many scenes.
struct StripScore {
    std::size_t scenes = 0, perfect = 0;
    std::size_t clean = 0, cleanUsed = 0; ///< readings that see one patch alone; those of them that are used
    std::size_t used = 0, usedOver = 0;   ///< readings between a first and a last one; those of them over an edge

    /// @param spectra  rows of 36, one for each patch; empty: the recognition failed
    /// @param places   first and last reading of each; empty: not known
    /// @return whether every patch was found once, in order, its mean within CIEDE2000 of 0.5, and the direction
    bool Add(const StripScene& scene, const std::vector<float>& spectra, const std::vector<std::int32_t>& places,
             std::int32_t reversed);
    StripScore& operator+=(const StripScore& other);
};
