#pragma once

#include "Vondrel/CMetry/Internals/StandardTables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Vondrel::CMetry {

class VDMeasureConditions;

/// An illuminant's or an observer's table on its way to the weighting factors. Wavelengths in nanometres; entry i
/// belongs to GetMinWavelength() + i * GetStepSize().
class StandardFilter {
public:
    static constexpr std::size_t maxValues = 531; ///< 300 to 830 nm at 1 nm

    /// An empty record: all fields 0 and no values.
    StandardFilter() = default;
    explicit StandardFilter(const StandardTable& table);

    std::span<const float> GetFilter() const { return {values.data(), count}; }
    std::uint16_t GetMinWavelength() const { return minWavelength; }
    std::uint16_t GetMaxWavelength() const { return maxWavelength; }
    std::uint16_t GetStepSize() const { return stepSize; }

    /// Becomes the spectrum that the conditions hold as user-defined illumination, at any scale.
    /// @throws NullPointerException  the conditions hold none
    void SetUserIllumination(const VDMeasureConditions& conditions);
    /// @param spectrum  36 values of relative power
    void SetUserIllumination(const float* spectrum);

    /// Becomes CIE daylight of the conditions' nominal colour temperature, 100 at 560 nm (CIE 15, Colorimetry: the
    /// daylight formula; M1 and M2 rounded to three decimals). The temperature is not checked: one without a daylight
    /// (0 K) gives values that are not finite, and one above 32767 K counts as negative, less 65536.
    void SetDxxIllumination(const VDMeasureConditions& conditions);
    /// @param nominal  kelvin
    void SetDxxIllumination(std::uint16_t nominal);

private:
    std::uint16_t stepSize = 0;
    std::uint16_t maxWavelength = 0;
    std::uint16_t minWavelength = 0;
    std::size_t count = 0;
    std::array<float, maxValues> values;
};

}
