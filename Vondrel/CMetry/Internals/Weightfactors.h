#pragma once

#include "Vondrel/CMetry/Internals/StandardFilter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vondrel::CMetry {

enum class Observer : std::int32_t;
class VDMeasureConditions;

/// The weights by which a spectrum becomes X, Y and Z: X is the sum over the points of weight[0][i] * value[i].
///
/// Lagrange weighting factors in the manner of ASTM E2022: the product of illuminant and observer at 1 nm, collapsed
/// onto the instrument's grid with the coefficients that interpolate a spectrum between its points. A reflectance of 1
/// gives the white of the illuminant with Y = 100. Complete after construction and not changed any more.
class Weightfactors {
public:
    static constexpr std::size_t axes = 3;
    static constexpr std::uint16_t minCalcWavelength = 360; ///< nanometres
    static constexpr std::uint16_t maxCalcWavelength = 780; ///< nanometres
    static constexpr std::size_t calcPoints = maxCalcWavelength - minCalcWavelength + 1;

    /// @throws CMetryException  an illuminant or observer without a table, or an illuminant that gives no white
    /// @throws NullPointerException  user-defined illumination without a spectrum
    explicit Weightfactors(const VDMeasureConditions& conditions);

    /// The weights of an axis, one for each point of the spectrum: 0 X, 1 Y, 2 Z.
    /// @throws CMetryException "Invalid Axis"
    const float* operator[](std::size_t axis) const;

    /// The white point: the sum of the weights, the constant 100 for Y; 0 for an axis above 2.
    float GetFilterSum(std::size_t axis) const { return axis < axes ? filterSum[axis] : 0.0F; }

    /// The step between the points of a spectrum grid, in nanometres.
    /// @throws CMetryException "Measure conditions: ...": the grid cannot carry weights
    static std::uint16_t GetStepSize(std::uint16_t points, std::uint16_t minWavelength, std::uint16_t maxWavelength);

private:
    using CalcArray = std::array<float, calcPoints>;

    void SetInstrumentData(const VDMeasureConditions& conditions);
    void SetObserver(Observer number);
    void InterpolateIllumination(const VDMeasureConditions& conditions);
    void SetKFactor();
    void CalculateWeightfactors();
    void CalculateSum();

    std::array<CalcArray, axes> GetProducts() const;

    CalcArray illumination{}; // stays 0 for emission, which has no illuminant
    std::array<CalcArray, axes> observer{};
    float kFactor = 0.0F;
    std::array<std::vector<float>, axes> weights;
    std::uint16_t numberOfDataPoints = 0, minWavelength = 0, maxWavelength = 0, stepSize = 0;
    std::array<float, axes> filterSum{};
    bool emission = false;
};

} // namespace
