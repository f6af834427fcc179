#pragma once

#include "Vondrel/CMetry/SpectrumGrid.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vondrel::CMetry {

enum class Observer : std::int32_t;
class VDIllumination;
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
    /// @param userdefined  the spectrum of illumination type Userdefined: 36 values of relative power, or null
    Weightfactors(const VDIllumination& illumination, Observer observer, const float* userdefined);

    /// The weights of an axis, one for each point of the spectrum: 0 X, 1 Y, 2 Z.
    /// @throws CMetryException "Invalid Axis"
    const float* operator[](std::size_t axis) const;

    /// The white point: the sum of the weights, the constant 100 for Y; 0 for an axis above 2.
    float GetFilterSum(std::size_t axis) const { return axis < axes ? filterSum[axis] : 0.0F; }

    /// Whether X, Y and Z can be divided by those of the white.
    bool HasWhite() const noexcept { return filterSum[0] != 0.0F && filterSum[2] != 0.0F; }
    /// Whether these are the weights of a light, without an illuminant.
    bool IsEmission() const noexcept { return emission; }

    /// The step between the points of a spectrum grid, in nanometres.
    /// @throws CMetryException "Measure conditions: ...": the grid cannot carry weights
    static std::uint16_t GetStepSize(std::uint16_t points, std::uint16_t minWavelength, std::uint16_t maxWavelength);

private:
    using Curve = std::array<float, calcPoints>;

    /// @return the luminance: the sum of light and luminosity
    static float InterpolateIllumination(const VDIllumination& illumination, const float* userdefined,
                                         const float* luminosity, Curve& light);
    static float GetKFactor(float luminance);
    /// @param product  of illuminant and observer, for the first `count` wavelengths
    void CalculateWeightfactors(Curve& product, std::size_t count, std::size_t axis);
    void CalculateSum();

    std::array<std::array<float, SpectrumGrid::NumberOfDataPoints>, axes> weights{};
    std::array<float, axes> filterSum{};
    bool emission = false;
};

}
