#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"
#include "Vondrel/CMetry/Internals/DensityFormulas.h"
#include "Vondrel/CMetry/Internals/Filter.h"

#include <array>
#include <cstddef>

namespace Vondrel::CMetry {

/// The four response curves of a density standard, in the order Black, Cyan, Magenta, Yellow.
///
/// The curves of the standard "User" lie in one table of the process: all zero at first, written by
/// SetUserDefinedFilter. As with any standard they are loaded when the standard is selected and differs from the
/// current one, so new user curves count from the next change to "User" on.
class DensityFilter {
public:
    /// No standard: curves of zeros.
    DensityFilter() = default;
    explicit DensityFilter(DensityStandard standard) { SetDensityStandard(standard); }

    /// Loads the curves of a standard that is not the current one.
    /// @throws CMetryException "Unsupported density standard"
    void SetDensityStandard(DensityStandard standard);

    /// The current standard; Undefined before the first.
    DensityStandard GetDensStd() const { return densityStandard; }

    /// Sets every weight of the user curves to 1.
    static void SetUserDensityStandardToDefault();

    /// A user curve by channel, 0 Black to 3 Yellow. It should sum to 1, that of Black to 100.
    /// @throws CMetryException "Invalid density channel"
    static const Filter::Curve& GetUserDefinedFilter(std::size_t channel);
    static void SetUserDefinedFilter(const Filter::Curve& values, std::size_t channel);

    /// The weights of all four.
    ResponseCurves GetCurves() const;

    /// The curve of a channel, 0 Black to 3 Yellow.
    /// @throws CMetryException "Invalid density channel"
    const Filter& operator[](std::size_t channel) const;

private:
    std::array<Filter, densityChannels> filters;
    DensityStandard densityStandard = DensityStandard::Undefined;
};

}
