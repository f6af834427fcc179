#pragma once

#include "Vondrel/CMetry/Internals/ColorFormulas.h"
#include "Vondrel/CMetry/Internals/DensityFormulas.h"
#include "Vondrel/CMetry/Internals/Weightfactors.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/ColorC/Kernels.h"
#include "orvex/color.h"

#include <array>
#include <optional>
#include <string>

/// What a public conditions object holds: the texts' meanings, and everything that follows from them, ready to be read
/// by any number of threads.
struct oxc_conditions {
    using Spectrum = std::array<float, OXC_BANDS>;

    oxc_conditions();

    /// @throws CMetryException, InvalidArgumentException  unknown key or value; nothing has changed then
    void Set(const std::string& key, const std::string& value);
    /// @throws CMetryException  the spectrum gives no white
    void SetIlluminant(const Spectrum& spectrum);
    void SetPaper(const std::optional<Spectrum>& spectrum);

    Vondrel::CMetry::VDMeasureConditions values;
    std::string illumination; ///< its text
    std::optional<Spectrum> illuminant, paper;
    std::optional<Vondrel::CMetry::Weightfactors> weights; ///< none where illuminant and observer give none
    std::string whyNoWeights;
    std::optional<Vondrel::CMetry::ResponseCurves> curves; ///< of the density standard
    Vondrel::CMetry::FourDensities paperDensities{};       ///< 0 without a paper

    // The same for the kernels: weights; curves of cyan, magenta, yellow; curve of black.
    Vondrel::ColorC::KernelWeights kernelWeights, colorCurves, blackCurve;

private:
    void Renew(const Vondrel::CMetry::VDMeasureConditions& changed, const Spectrum* newIlluminant = nullptr);
    void RenewDensities();
};
