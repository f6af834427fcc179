#include "Vondrel/CMetry/Internals/Weightfactors.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/SinglePrecision.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

using Vondrel::Utilities::Tools::lexical_cast;

namespace Vondrel::CMetry {

namespace {

/// One point of an interval: the share of each of the nodes that the polynomial runs through.
template<std::size_t nodes>
using LagrangeCoeff = std::vector<std::array<float, nodes>>;

/// The Lagrange basis polynomials on the nodes 0, step, 2 step, ... at the points offset, offset + 1, ... of one
/// interval of `step` points.
template<std::size_t nodes>
LagrangeCoeff<nodes> GetLagrangeCoeff(int step, int offset)
{
    LagrangeCoeff<nodes> result(static_cast<std::size_t>(step));
    for (int i = 0; i < step; ++i) {
        for (int k = 0; k < static_cast<int>(nodes); ++k) {
            int numerator = 1, denominator = 1; // exact for any step that an illuminant or a spectrum has
            for (int other = 0; other < static_cast<int>(nodes); ++other) {
                if (other == k)
                    continue;
                numerator *= i + offset - other * step;
                denominator *= (k - other) * step;
            }
            result[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)] =
                static_cast<float>(static_cast<double>(numerator) / denominator);
        }
    }
    return result;
}

LagrangeCoeff<3> GetLagrange2Coeff(int step, int offset)
{
    return GetLagrangeCoeff<3>(step, offset);
}
LagrangeCoeff<4> GetLagrange3Coeff(int step, int offset)
{
    return GetLagrangeCoeff<4>(step, offset);
}

/// Interpolates one interval between grid values from the nodes around it.
template<std::size_t nodes>
void InterpolateInterval(const LagrangeCoeff<nodes>& coeff, const float* node, float* out)
{
    for (const auto& shares : coeff) {
        float sum = 0.0F;
        for (std::size_t k = 0; k < nodes; ++k)
            sum = Accumulate(sum, shares[k], node[k]);
        *out++ = sum;
    }
}

/// The reverse: adds the products of one interval to the weights of the nodes that interpolate it.
template<std::size_t nodes>
void CollapseInterval(const LagrangeCoeff<nodes>& coeff, const float* products, double* node)
{
    std::array<float, nodes> sums{};
    for (const auto& shares : coeff) {
        for (std::size_t k = 0; k < nodes; ++k)
            sums[k] = Accumulate(sums[k], shares[k], *products);
        ++products;
    }
    for (std::size_t k = 0; k < nodes; ++k)
        node[k] += sums[k];
}

/// The illuminant on its own step from 360 to 780 nm, its ends held flat where it does not reach so far.
std::vector<float> AdjustIlluminationVector(const StandardFilter& filter)
{
    const auto& values = filter.GetFilter();
    const int step = filter.GetStepSize();
    const int last = static_cast<int>(values.size()) - 1;
    std::vector<float> result;
    for (int wavelength = Weightfactors::minCalcWavelength; wavelength <= Weightfactors::maxCalcWavelength;
         wavelength += step) {
        const int index = (wavelength - filter.GetMinWavelength()) / step;
        result.push_back(values[static_cast<std::size_t>(std::clamp(index, 0, last))]);
    }
    return result;
}

/// A colour matching function at 1 nm from 360 to 780 nm, zero where its table does not reach so far.
template<typename Array>
void AdjustObserverVector(const StandardFilter& filter, Array& result)
{
    result.fill(0.0F);
    const int first = std::max<int>(filter.GetMinWavelength(), Weightfactors::minCalcWavelength);
    const int last = std::min<int>(filter.GetMaxWavelength(), Weightfactors::maxCalcWavelength);
    const auto* source = filter.GetFilter().data() + (first - filter.GetMinWavelength());
    std::copy(source, source + (last - first + 1), result.begin() + (first - Weightfactors::minCalcWavelength));
}

std::uint16_t ReadNumber(const VDMeasureConditions& conditions, std::string_view key)
{
    return lexical_cast<std::uint16_t>(conditions.GetMeasureCondition(std::string(key)));
}

} // namespace

Weightfactors::Weightfactors(const VDMeasureConditions& conditions)
try {
    SetInstrumentData(conditions);
    SetObserver(conditions.GetObserver());
    if (!emission)
        InterpolateIllumination(conditions);
    SetKFactor();
    CalculateWeightfactors();
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

void Weightfactors::SetInstrumentData(const VDMeasureConditions& conditions)
try {
    numberOfDataPoints = ReadNumber(conditions, Keys::NumberOfDataPoints);
    minWavelength = ReadNumber(conditions, Keys::MinWavelength);
    maxWavelength = ReadNumber(conditions, Keys::MaxWavelength);
    emission = conditions.GetIllumination().GetIlluminationTYPE() == IlluminationTYPE::Emission;
    stepSize = GetStepSize(numberOfDataPoints, minWavelength, maxWavelength);
}
TRACE_GUARD("Weightfactors", "SetInstrumentData")

void Weightfactors::SetObserver(Observer number)
try {
    for (std::size_t axis = 0; axis < axes; ++axis)
        AdjustObserverVector(CMetryFilter::GetObserverFilter(number, axis), observer[axis]);
}
TRACE_GUARD("Weightfactors", "SetObserver")

void Weightfactors::InterpolateIllumination(const VDMeasureConditions& conditions)
try {
    StandardFilter filter;
    const auto type = conditions.GetIllumination().GetIlluminationTYPE();
    if (type == IlluminationTYPE::Userdefined)
        filter.SetUserIllumination(conditions);
    else if (type == IlluminationTYPE::Dxx)
        filter.SetDxxIllumination(conditions);
    else
        filter = CMetryFilter::GetIlluFilter(conditions.GetIllumination());
    if (filter.GetFilter().empty())
        throw CMetryException("Illumination without a table: "
                                  + MeasureConditionTranslator::ToString(conditions.GetIllumination()),
                              THROW_LOCATION("Weightfactors", "InterpolateIllumination"));

    const std::vector<float> grid = AdjustIlluminationVector(filter);
    const int step = filter.GetStepSize();
    const std::size_t intervals = grid.size() - 1;
    const auto interior = GetLagrange3Coeff(step, step);
    float* out = illumination.data();
    InterpolateInterval(GetLagrange2Coeff(step, 0), grid.data(), out);
    for (std::size_t interval = 1; interval < intervals - 1; ++interval)
        InterpolateInterval(interior, &grid[interval - 1], out += step);
    InterpolateInterval(GetLagrange2Coeff(step, step), &grid[intervals - 2], out + step);
    illumination.back() = grid.back();
}
TRACE_GUARD("Weightfactors", "InterpolateIllumination")

void Weightfactors::SetKFactor()
try {
    if (emission) {
        kFactor = 0.683F;
        return;
    }
    // The sum stays in single precision: in double some of the white points change their fourth decimal.
    float luminance = 0.0F;
    for (std::size_t i = 0; i < calcPoints; ++i)
        luminance = Accumulate(luminance, illumination[i], observer[1][i]);
    kFactor = 100.0F / luminance;
    if (!std::isfinite(luminance) || !std::isfinite(kFactor))
        throw CMetryException("Illumination gives no white point", THROW_LOCATION("Weightfactors", "SetKFactor"));
}
TRACE_GUARD("Weightfactors", "SetKFactor")

std::array<Weightfactors::CalcArray, Weightfactors::axes> Weightfactors::GetProducts() const
{
    std::array<CalcArray, axes> products;
    for (std::size_t axis = 0; axis < axes; ++axis)
        for (std::size_t i = 0; i < calcPoints; ++i) {
            const double light = emission ? 1.0 : static_cast<double>(illumination[i]);
            products[axis][i] = static_cast<float>(light * observer[axis][i] * kFactor);
        }
    return products;
}

void Weightfactors::CalculateWeightfactors()
try {
    const std::size_t step = stepSize;
    const std::size_t intervals = (calcPoints - 1) / step;
    const auto first = GetLagrange2Coeff(stepSize, 0);
    const auto interior = GetLagrange3Coeff(stepSize, stepSize);
    const auto last = GetLagrange2Coeff(stepSize, stepSize);
    const auto products = GetProducts();

    for (std::size_t axis = 0; axis < axes; ++axis) {
        const float* product = products[axis].data();
        std::vector<double> nodes(intervals + 1);
        CollapseInterval(first, product, nodes.data());
        for (std::size_t interval = 1; interval < intervals - 1; ++interval)
            CollapseInterval(interior, product + interval * step, &nodes[interval - 1]);
        CollapseInterval(last, product + (intervals - 1) * step, &nodes[intervals - 2]);
        nodes[intervals] += product[intervals * step];

        // What lies beyond the instrument's range falls on its first and last point.
        auto& target = weights[axis];
        target.assign(numberOfDataPoints, 0.0F);
        const int offset = (minWavelength - minCalcWavelength) / stepSize;
        for (std::size_t j = 0; j < nodes.size(); ++j) {
            const int index = std::clamp(static_cast<int>(j) - offset, 0, numberOfDataPoints - 1);
            target[static_cast<std::size_t>(index)] += static_cast<float>(nodes[j]);
        }
    }
}
TRACE_GUARD("Weightfactors", "CalculateWeightfactors")

void Weightfactors::CalculateSum()
try {
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
TRACE_GUARD("Weightfactors", "CalculateSum")

} // namespace
