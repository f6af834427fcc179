#pragma once

#include "Vondrel/CMetry/Internals/StandardFilter.h"
#include "Vondrel/CMetry/Internals/Weightfactors.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"

#include <cstddef>
#include <optional>

namespace Vondrel::CMetry {

/// Keeps the weights of the last conditions, and hands out the published tables. Has no lock.
class CMetryFilter {
public:
    /// Makes the weights fit the conditions: computes new ones only when the illuminant, the observer or the
    /// user-defined illumination (the pointer, not its values) is another. After a failure the old ones stand.
    /// @throws CMetryException, NullPointerException  as the constructor of Weightfactors
    void SetMeasuringConditions(const VDMeasureConditions& other)
    {
        if (!Fit(other))
            Renew(other);
    }

    /// Of the last conditions; before the first, of default ones.
    VDIllumination GetIllumination() const { return conditions.GetIllumination(); }
    Observer GetObserver() const { return conditions.GetObserver(); }

    /// The current weights.
    /// @throws NullPointerException  nothing has been set yet
    const Weightfactors& GetWeights() const
    {
        if (!weights)
            RefuseEmpty();
        return *weights;
    }

    /// The current weights of an axis, one for each point of a spectrum.
    /// @throws CMetryException "Invalid Axis"
    /// @throws NullPointerException  nothing has been set yet
    const float* operator[](std::size_t axis) const { return GetWeights()[axis]; }

    /// The current white point; 0 for an axis above 2, and before anything has been set.
    float GetFilterSum(std::size_t axis) const { return weights ? weights->GetFilterSum(axis) : 0.0F; }

    /// The table of an illuminant; an empty record for an F illuminant outside F1 to F12.
    /// @throws CMetryException "Unsupported Illumination type"
    static StandardFilter GetIlluFilter(const VDIllumination& illumination);

    /// The table of a colour matching function: axis 0 x-bar, 1 y-bar, 2 z-bar.
    /// @throws CMetryException "Unsupported Observer type"; "Invalid Axis"
    static StandardFilter GetObserverFilter(Observer observer, std::size_t axis);
    /// The three of an observer in place, by axis.
    /// @throws CMetryException "Unsupported Observer type"
    static const StandardTable* GetObserverTables(Observer observer);

private:
    // Illuminant and observer are all that the stored conditions are asked for: where these are equal nothing changes.
    bool Fit(const VDMeasureConditions& other) const
    {
        return weights && conditions.GetIllumination() == other.GetIllumination()
            && conditions.GetObserver() == other.GetObserver() && conditions.SharesUserdefinedIllumination(other);
    }
    void Renew(const VDMeasureConditions& other);
    [[noreturn]] static void RefuseEmpty();

    std::optional<Weightfactors> weights;
    VDMeasureConditions conditions; // default ones before the first weights
};

}
