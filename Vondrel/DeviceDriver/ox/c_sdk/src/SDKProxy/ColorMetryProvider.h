#pragma once

#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/CMetry/VDSample.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace OrvexSDK {

/// Answers colour questions about the samples of one measure mode, under the conditions in force at the moment.
class ColorMetryProvider {
public:
    static constexpr std::size_t filterCount = 4;

    /// Default conditions, with an absolute white base.
    ColorMetryProvider();

    /// Whether the conditions leave the choice of a density filter to the sample.
    bool ChoosesFilter() const;

    /// The text of a condition's value; "Undefined" for an unknown key.
    std::string GetCondition(const std::string& key) const;

    /// @throws CMetryException           an unknown key or value
    /// @throws InvalidArgumentException  an illuminant without the number that it needs
    void SetCondition(const std::string& key, const std::string& value);

    /// The sample in the colour space of the conditions.
    /// @param sample  36 values
    /// @throws CMetryException  a shorter sample, conditions that name no such colour, white base "Paper" without paper
    std::array<float, 3> GetTristimulus(const std::vector<float>& sample) const;

    /// Sets the paper.
    /// @param spectrum  36 reflectance factors
    void SetDensitySubstrat(const float* spectrum);

    /// @return the density through the filter of the conditions, and the name of that filter: the one chosen if the
    ///         conditions say "Auto"
    /// @throws SDKError 5 "no substrate set"  white base "Paper" and no paper with a value above 0
    /// @throws CMetryException                "Calculation of Density failed", "Missing WhiteReference"
    std::pair<float, std::string> GetDensity(const std::vector<float>& sample) const;

    /// @return the densities through cyan, magenta, yellow and black, and the name of the filter that the automatic
    ///         choice takes, whatever the conditions say
    /// @throws as GetDensity; the filter of the conditions stays in every case
    std::pair<std::array<float, filterCount>, std::string> GetDensities(const std::vector<float>& sample) const;

    /// @return 0 to 3 for cyan, magenta, yellow, black; 4 for any other name
    static std::int32_t GetFilterIndex(const std::string& filterName);

private:
    void PutPaperInForce() const;

    Vondrel::CMetry::VDSpectrum substrate;
    Vondrel::Utilities::Tools::SmartPointer<Vondrel::CMetry::VDSample> paper; // that spectrum, once it is set
    Vondrel::CMetry::VDMeasureConditions conditions;
};

}
