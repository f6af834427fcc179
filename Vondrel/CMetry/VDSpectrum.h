#pragma once

#include "Vondrel/CMetry/SpectrumGrid.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vondrel::CMetry {

/// One spectrum on the fixed grid, 36 values from 380 to 730 nm in steps of 10 nm, with its conditions. A reflectance
/// is a factor, 1.0 for the perfect white; otherwise a spectral power.
class VDSpectrum {
public:
    using ValueArray = std::array<float, SpectrumGrid::NumberOfDataPoints>;

    /// All zero, default conditions.
    VDSpectrum() = default;
    /// @param values  at least 36, the first 36 count
    /// @throws CMetryException  fewer
    explicit VDSpectrum(const std::vector<float>& values, const VDMeasureConditions& conditions = {});
    /// @param values  36
    explicit VDSpectrum(const float* values, const VDMeasureConditions& conditions = {});
    explicit VDSpectrum(const ValueArray& values_, const VDMeasureConditions& conditions = {})
        : measureConditions(conditions), values(values_)
    {
    }

    /// Values as floats, and the conditions.
    bool operator==(const VDSpectrum& other) const = default;

    /// @param index  0 to 35, unchecked
    float& operator[](std::size_t index) noexcept { return values[index]; }
    const float& operator[](std::size_t index) const noexcept { return values[index]; }

    std::vector<float> GetValues() const { return {values.begin(), values.end()}; }
    /// The same in place.
    const ValueArray& Values() const noexcept { return values; }

    VDMeasureConditions& GetMeasureConditions() noexcept { return measureConditions; }
    const VDMeasureConditions& GetMeasureConditions() const noexcept { return measureConditions; }
    VDMeasureConditions GetPhysMeasCond() const { return measureConditions; }
    void SetMeasureConditions(const VDMeasureConditions& conditions) { measureConditions = conditions; }

    /// Whether any value is above 0.
    bool IsValid() const noexcept;

    static std::size_t GetNrOfDataPoints() noexcept { return SpectrumGrid::NumberOfDataPoints; }
    /// The index at or below a wavelength in nm; 0 for one outside the grid.
    static std::size_t GetArrayIndex(std::int16_t wavelength) noexcept;
    /// The wavelength in nm at an index; 0 for one outside the grid.
    static std::int16_t GetWaveLength(std::size_t index) noexcept;

private:
    VDMeasureConditions measureConditions;
    ValueArray values{};
};

}
