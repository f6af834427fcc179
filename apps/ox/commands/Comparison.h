#pragma once

#include "apps/ox/commands/Options.h"
#include "apps/ox/files/Collection.h"

namespace Ox {

/// Figures of many differences.
struct Figures {
    float mean = 0, p95 = 0, maximum = 0;
    std::size_t worst = 0;   ///< the row of the maximum
    std::size_t lacking = 0; ///< rows without a difference
};

/// Two files, row by row.
class Comparison {
public:
    /// @param testLights  illuminants for the indices of metamerism; may be empty
    /// @throws Failure: the rows do not belong together, or a formula needs spectra that are not there
    Comparison(const Collection& reference, const Collection& measured, const Conditions& conditions,
               const Words& testLights);

    void Write(const OutputOptions& options) const;
    Figures GetFigures() const;
    /// Of each row of the reference, NaN where there is none.
    const std::vector<float>& GetDifferences() const { return differences; }
    /// "24 patches, CIEDE 2000: mean 0.52, 95 % within 1.20, maximum 2.03 (orange)"
    std::string Summarise() const;

private:
    void ComputeDifferences();
    void ComputeMetamerism(const Words& testLights);

    const Collection& reference;
    const Conditions& conditions;
    Words lights;
    std::vector<float> referenceLabs, measuredLabs, referenceSpectra, measuredSpectra, differences;
    std::vector<std::vector<float>> indices; ///< of metamerism, for each light
};

}
