#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// What a made-up scan over a strip of patches is like. Lengths are in patches, noise is rms.
struct StripSettings {
    std::size_t patches = 24;
    double readings = 30;        ///< a patch, in the mean
    double aperture = 0.2;       ///< its diameter; round or rectangular, by the seed
    bool soft = false;           ///< the aperture has no sharp rim
    double speed = 0.1;          ///< how far the hand's speed leaves its mean
    double widths = 0;           ///< how far a patch's width leaves the mean
    double gap = 0;              ///< between patches
    bool blackGap = false;       ///< else it is paper
    double slant = 0;            ///< how far an edge lies askew under the aperture
    double nearest = 5;          ///< CIEDE2000 of neighbours, at least
    double furthest = 0;         ///< the same, at most; 0: no limit
    double ramp = 0;             ///< greys in steps of such a CIELAB difference instead of colours
    std::size_t equal = 0;       ///< patches that repeat the one before
    std::size_t paper = 0;       ///< patches of bare paper
    double ends = 0;             ///< CIEDE2000 of the first and last patch to the backing; 0: like neighbours
    double additive = 0.0002;    ///< noise of each band, of the perfect white
    double proportional = 0.001; ///< noise of each band, of what is read
    double common = 0.001;       ///< flicker: of what is read, for all bands
    std::size_t dust = 0;        ///< readings that dust or glint spoils
    std::size_t stops = 0;       ///< places where the hand rests for half a patch to one and a half
    double waves = 0;            ///< flicker of 4 to 40 readings a period, for all bands
    double drift = 0;            ///< of the lamp over the scan
    bool backing = true;         ///< before and behind the strip; else the scan begins and ends on a patch
    double backingLength = 2;    ///< on each side, in the mean
    double backingLevel = 0;     ///< a grey backing of this reflectance; 0: paper
    double bar = 0;              ///< a black bar before the strip, of this width
    double barGap = 1;           ///< the paper between bar and strip
};

enum class Reference { None, True, Rough };

/// The scan and all that is true about it.
struct StripScene {
    using Spectrum = std::array<float, 36>;
    using Lab = std::array<float, 3>;

    static StripScene Make(const StripSettings& settings, Reference reference, std::uint32_t seed);

    std::vector<float> readings;   ///< rows of 36
    std::vector<std::int32_t> on;  ///< for each reading the patch that alone fills the aperture; -1: none does
    std::vector<Spectrum> patches; ///< in the order of the scan, with the lamp's drift at each
    std::vector<Lab> reference;    ///< empty without one
    bool reversed = false;         ///< the reference goes from the scan's end
    std::size_t Count() const { return on.size(); }
};

/// CIELAB under D50, 2 degree.
StripScene::Lab StripLab(const float* spectrum);
