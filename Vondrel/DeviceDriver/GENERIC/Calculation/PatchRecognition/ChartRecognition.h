#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Recognition.h"

#include <cstddef>
#include <cstdint>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// What is known about the difference between a reading and the next.
struct RecognitionElement {
    std::uint8_t patch = 0;  ///< 1: of a stable place; 0: of an edge
    std::uint8_t useful = 0; ///< 1: in the used part of the scan, and may contribute
};

/// Finds the patches in a scan over a row of them: one averaged spectrum for each.
///
/// Inside a patch the colour difference between neighbouring readings is small, at a transition it is large. What lies
/// between follows the scan's own mean difference around the place, and the lightness there: a white shows differences
/// that a black hides. Only what stands between two edges is a patch.
///
/// A host can watch it at work through the recognition callbacks.
class ChartRecognition : public Recognition {
public:
    /// @param measured    the readings, in order: reflectance factors in 36 bands
    /// @param recognized  the patches are appended to it
    /// @return false if there are fewer than two readings, a reading that is no spectrum, or fewer than two places
    /// where
    ///         the colour jumps; true without a patch if nothing between them is one
    bool Execute(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized) override;

private:
    using Differences = std::vector<float>;           ///< delta E 2000 of each reading and the next
    using Lightnesses = std::vector<float>;           ///< L* of each reading but the last
    using EdgeLevels = std::vector<float>;            ///< the delta E above which a difference is an edge
    using Elements = std::vector<RecognitionElement>; ///< one for each difference
    struct Run;

    void RecognizePatches(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized) const;
    void CreateDifferences(const std::vector<SpectrumData>& measured, Differences& differences,
                           Lightnesses& lightnesses) const;
    void EliminateUselessDataAtTheBorder(const Differences& differences, Elements& elements) const;
    void CreateEdgeLevels(const Differences& differences, const Lightnesses& lightnesses, const Elements& elements,
                          EdgeLevels& edgeLevels) const;
    bool CreateMovingMean(const Differences& differences, std::size_t start, std::size_t end,
                          EdgeLevels& edgeLevels) const;
    void DetectEdges(const Differences& differences, const EdgeLevels& edgeLevels, Elements& elements) const;
    void EliminateWrongPatches(Elements& elements) const;
    void EliminateInstablePatches(const Differences& differences, const Lightnesses& lightnesses,
                                  Elements& elements) const;
    void ExtractPatches(const Differences& differences, const Elements& elements,
                        const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized) const;
    static SpectrumData ExtractCurrentValley(const Differences& differences, float threshold, std::size_t position,
                                             std::size_t length, const std::vector<SpectrumData>& measured);
    static SpectrumData CreateMeanValue(const std::vector<const SpectrumData*>& readings);
    static std::size_t GetStartPosition(const Elements& elements);
    static std::size_t GetEndPosition(const Elements& elements);
    float LowestEdgeLevel(float lightness) const;

    float borderThreshold = 2.0F;    // a difference above it marks the first and the last place with signal
    float windowFraction = 0.2F;     // of the used length, for the window of the moving mean
    float levelFactor = 0.6F;        // from the moving mean to the edge level
    float levelFloor = 0.2F;         // the lowest edge level, that of a white
    std::int16_t neighbourRatio = 4; // a patch is short if this many fit into its shorter neighbour
    std::int16_t shortestPatch = 3;  // only patches up to this length are dropped
    float selectionQuantile = 0.5F;  // the share of the steadiest differences that goes into a patch
    float levelFloorRange = 1.8F;    // what the lowest edge level rises by from white to black
};

}
