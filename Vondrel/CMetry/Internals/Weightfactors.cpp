#include "Vondrel/CMetry/Internals/Weightfactors.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/CMetry/Internals/TwoLanes.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace Vondrel::CMetry {

namespace {

/// The Lagrange basis polynomials on the nodes 0, step, 2 step, ... at the points offset, offset + 1, ... of one
/// interval of `step` points: the share of each of the nodes that the polynomial runs through.
template<std::size_t nodes, int step, int offset>
constexpr auto lagrange = [] {
    std::array<std::array<float, nodes>, step> result{};
    for (int i = 0; i < step; ++i)
        for (int k = 0; k < static_cast<int>(nodes); ++k) {
            int numerator = 1, denominator = 1; // exact
            for (int other = 0; other < static_cast<int>(nodes); ++other) {
                if (other == k)
                    continue;
                numerator *= i + offset - other * step;
                denominator *= (k - other) * step;
            }
            result[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)] =
                static_cast<float>(static_cast<double>(numerator) / denominator);
        }
    return result;
}();

template<std::size_t nodes, std::size_t step>
using Lagrange = std::array<std::array<float, nodes>, step>;

/// Interpolates one interval between grid values from the nodes around it.
template<std::size_t nodes, std::size_t step>
void InterpolateInterval(const Lagrange<nodes, step>& coeff, const float* node, float* out)
{
    for (const auto& shares : coeff) {
        float sum = 0.0F;
        for (std::size_t k = 0; k < nodes; ++k)
            sum = Accumulate(sum, shares[k], node[k]);
        *out++ = sum;
    }
}

/// The shares in pairs, as wide as they are multiplied.
template<std::size_t nodes, int step, int offset>
constexpr auto lagrangePairs = [] {
    constexpr std::size_t pairs = (nodes + 1) / 2;
    std::array<std::array<TwoDoubles, pairs>, step> result{};
    for (std::size_t i = 0; i < step; ++i)
        for (std::size_t pair = 0; pair < pairs; ++pair) {
            const auto& shares = lagrange<nodes, step, offset>[i];
            const std::size_t k = 2 * pair;
            result[i][pair] = TwoDoubles{shares[k], k + 1 < nodes ? shares[k + 1] : 0.0F};
        }
    return result;
}();

/// The reverse: adds the products of one interval to the weights of the nodes that interpolate it.
template<std::size_t nodes, int step, int offset>
void CollapseInterval(const float* products, double* node)
{
    TwoDoubles sums[(nodes + 1) / 2] = {};
    for (const auto& shares : lagrangePairs<nodes, step, offset>) {
        const TwoDoubles product = Both(*products++);
        for (std::size_t pair = 0; pair < shares.size(); ++pair)
            sums[pair] = Single(shares[pair] * product + sums[pair]);
    }
    for (std::size_t k = 0; k < nodes; ++k)
        node[k] += sums[k / 2][k % 2];
}

constexpr int calcRange = Weightfactors::maxCalcWavelength - Weightfactors::minCalcWavelength;

/// The illuminant on its own step from 360 to 780 nm, its ends held flat where it does not reach so far, and between
/// by polynomials. Adds up the luminance on the way, whose chain of roundings fills the gaps.
template<int step>
float InterpolateTable(const StandardFilter& filter, const float* luminosity, float* out)
{
    // The sum stays in single precision: in double some of the white points change their fourth decimal.
    float luminance = 0.0F;
    const auto add = [&](int count) {
        for (int i = 0; i < count; ++i)
            luminance = Accumulate(luminance, *out++, *luminosity++);
    };

    constexpr std::size_t intervals = calcRange / step;
    const auto table = filter.GetFilter();
    std::array<float, intervals + 1> grid;
    for (int i = 0; i <= static_cast<int>(intervals); ++i) {
        const int index = (Weightfactors::minCalcWavelength - filter.GetMinWavelength()) / step + i;
        grid[static_cast<std::size_t>(i)] =
            table[static_cast<std::size_t>(std::clamp(index, 0, static_cast<int>(table.size()) - 1))];
    }
    InterpolateInterval(lagrange<3, step, 0>, grid.data(), out);
    add(step);
    for (std::size_t interval = 1; interval < intervals - 1; ++interval) {
        InterpolateInterval(lagrange<4, step, step>, &grid[interval - 1], out);
        add(step);
    }
    InterpolateInterval(lagrange<3, step, step>, &grid[intervals - 2], out);
    out[step] = grid.back();
    add(step + 1);
    return luminance;
}

const VDSpectrum* FindSpectrum(const VDMeasureConditions& conditions)
{
    return conditions.GetIllumination().GetIlluminationTYPE() == IlluminationTYPE::Userdefined
        ? conditions.FindUserdefinedIllumination()
        : nullptr;
}

}

Weightfactors::Weightfactors(const VDMeasureConditions& conditions)
    : Weightfactors(conditions.GetIllumination(), conditions.GetObserver(),
                    FindSpectrum(conditions) == nullptr ? nullptr : FindSpectrum(conditions)->Values().data())
{
}

Weightfactors::Weightfactors(const VDIllumination& illumination, Observer number, const float* userdefined)
try {
    constexpr float ofEmission = 0.683F;
    emission = illumination.GetIlluminationTYPE() == IlluminationTYPE::Emission;
    const StandardTable* const tables = CMetryFilter::GetObserverTables(number);
    Curve light, product;
    float kFactor = ofEmission;
    if (emission)
        light.fill(1.0F);
    else
        kFactor = GetKFactor(InterpolateIllumination(illumination, userdefined, tables[1].values, light));
    for (std::size_t axis = 0; axis < axes; ++axis) {
        // The colour matching functions begin where the calculation does; the last ends early.
        const std::size_t count = std::min(tables[axis].Size(), calcPoints);
        for (std::size_t i = 0; i < count; ++i)
            product[i] = Single(static_cast<double>(light[i]) * tables[axis].values[i] * kFactor);
        CalculateWeightfactors(product, count, axis);
    }
    CalculateSum();
}
TRACE_GUARD("Weightfactors", "Weightfactors")

const float* Weightfactors::operator[](std::size_t axis) const
try {
    if (axis >= axes)
        throw CMetryException("Invalid Axis", THROW_LOCATION("Weightfactors", "operator[]"));
    return weights[axis].data();
}
TRACE_GUARD("Weightfactors", "operator[]")

std::uint16_t Weightfactors::GetStepSize(std::uint16_t points, std::uint16_t minWavelength, std::uint16_t maxWavelength)
try {
    const auto refuse = [](const char* text) {
        throw CMetryException(std::string("Measure conditions: ") + text,
                              THROW_LOCATION("Weightfactors", "SetInstrumentData"));
    };
    if (points < 4)
        refuse("Too few measure data");
    if (maxWavelength <= minWavelength || maxWavelength <= minCalcWavelength || minWavelength >= maxCalcWavelength)
        refuse("Check bandwidth of measure data");
    const int step = (maxWavelength - minWavelength) / (points - 1);
    if (step == 0 || (maxCalcWavelength - minCalcWavelength) % step != 0)
        refuse("measure data bandwith conflicts Step size is not a integer.");
    if ((minCalcWavelength - minWavelength) % step != 0 || (minCalcWavelength - maxWavelength) % step != 0)
        refuse("measure data bandwith conflicts with internal calculation bandwith.");
    return static_cast<std::uint16_t>(step);
}
TRACE_GUARD("Weightfactors", "GetStepSize")

float Weightfactors::InterpolateIllumination(const VDIllumination& illumination, const float* userdefined,
                                             const float* luminosity, Curve& light)
try {
    StandardFilter filter;
    const auto type = illumination.GetIlluminationTYPE();
    if (type == IlluminationTYPE::Dxx)
        filter.SetDxxIllumination(illumination.GetColorTemperature());
    else if (type != IlluminationTYPE::Userdefined)
        filter = CMetryFilter::GetIlluFilter(illumination);
    else if (userdefined != nullptr)
        filter.SetUserIllumination(userdefined);
    else
        throw Utilities::Exceptions::NullPointerException("no spectrum of the user-defined illumination",
                                                          THROW_LOCATION("Weightfactors", "InterpolateIllumination"));
    switch (filter.GetStepSize()) {
    case 1:
        return InterpolateTable<1>(filter, luminosity, light.data());
    case 5:
        return InterpolateTable<5>(filter, luminosity, light.data());
    case 10:
        return InterpolateTable<10>(filter, luminosity, light.data());
    default:
        throw CMetryException("Illumination without a table: " + MeasureConditionTranslator::ToString(illumination),
                              THROW_LOCATION("Weightfactors", "InterpolateIllumination"));
    }
}
TRACE_GUARD("Weightfactors", "InterpolateIllumination")

float Weightfactors::GetKFactor(float luminance)
try {
    const float kFactor = 100.0F / luminance;
    if (!std::isfinite(luminance) || !std::isfinite(kFactor))
        throw CMetryException("Illumination gives no white point", THROW_LOCATION("Weightfactors", "SetKFactor"));
    return kFactor;
}
TRACE_GUARD("Weightfactors", "SetKFactor")

void Weightfactors::CalculateWeightfactors(Curve& product, std::size_t count, std::size_t axis)
{
    constexpr int step = SpectrumGrid::StepSize;
    constexpr std::size_t intervals = calcRange / step;
    std::fill(product.begin() + static_cast<std::ptrdiff_t>(count), product.end(), 0.0F);
    std::array<double, intervals + 1> nodes{};
    CollapseInterval<3, step, 0>(product.data(), nodes.data());
    for (std::size_t interval = 1; interval < intervals - 1 && interval * step < count; ++interval)
        CollapseInterval<4, step, step>(&product[interval * step], &nodes[interval - 1]);
    CollapseInterval<3, step, step>(&product[(intervals - 1) * step], &nodes[intervals - 2]);
    nodes[intervals] += product[intervals * step];

    // What lies beyond the instrument's range falls on its first and last point.
    auto& target = weights[axis];
    constexpr int offset = (SpectrumGrid::MinWavelength - minCalcWavelength) / step;
    for (std::size_t j = 0; j < nodes.size(); ++j) {
        const int index = std::clamp(static_cast<int>(j) - offset, 0, static_cast<int>(target.size()) - 1);
        target[static_cast<std::size_t>(index)] += static_cast<float>(nodes[j]);
    }
}

void Weightfactors::CalculateSum()
{
    // Added in double and rounded once: a running sum in single precision loses the fourth decimal of Z for D50 and
    // F11 (2 degree). Y is 100 by definition.
    for (std::size_t axis = 0; axis < axes; ++axis) {
        double sum = 0.0;
        for (const float weight : weights[axis])
            sum += weight;
        filterSum[axis] = static_cast<float>(sum);
    }
    filterSum[1] = 100.0F;
}

}
