#pragma once

#include "Vondrel/CMetry/Internals/DensityFilter.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <array>

namespace Vondrel::CMetry {

/// The densities of a spectrum in the four channels Black, Cyan, Magenta, Yellow, and how they came about. A channel is
/// named by DensityFilterMode::Black to Yellow.
class VDDensity {
public:
    using Sequence = std::array<float, densityChannels>;
    using UserFilter = Utilities::Tools::SmartPointer<DensityFilter>;

    /// Four zeros, not valid.
    VDDensity() = default;
    VDDensity(const Sequence& densities, const VDMeasureConditions& conditions, DensityStandard standard,
              const UserFilter& userFilter);

    /// The density of a channel; for Auto that of the channel which DensityCalculator::GetDensityFilter selects; for
    /// Max 0, since a maximum needs the spectrum.
    /// @throws CMetryException "Invalid density channel": none of these
    float GetDensity(DensityFilterMode mode) const;

    /// @throws CMetryException "Invalid density channel"
    void SetDensity(float value, DensityFilterMode channel);
    float& operator[](DensityFilterMode channel);
    float operator[](DensityFilterMode channel) const;

    /// By channel, 0 Black to 3 Yellow.
    const Sequence& GetAllDensities() const { return densities; }
    void SetAllDensities(const Sequence& values);

    bool IsValid() const { return valid; }

    DensityStandard GetDensityStd() const { return densityStd; }
    void SetDensityStd(DensityStandard standard) { densityStd = standard; }
    const UserFilter& GetUserDefinedFilter() const { return userDefinedFilter; }
    void SetUserDefinedFilter(const UserFilter& filter) { userDefinedFilter = filter; }
    const VDMeasureConditions& GetPhysMeasCond() const { return physMeasCond; }
    void SetPhysMeasCond(const VDMeasureConditions& conditions) { physMeasCond = conditions; }

private:
    Sequence densities{};
    bool valid = false;
    UserFilter userDefinedFilter;
    DensityStandard densityStd = DensityStandard::Undefined;
    VDMeasureConditions physMeasCond;
};

}
