// The calls that compare colours.
#include "Vondrel/CMetry/Internals/DifferenceFormulas.h"
#include "Vondrel/ColorC/Blocks.h"

#include <cmath>

using namespace Vondrel::CMetry;
using namespace Vondrel::ColorC;

namespace {

struct Parameters {
    float p1, p2, p3;
};

// The defaults are those of the formulas: CMC(2:1), and factors of 1.
Parameters ReadParameters(DeltaEFormula formula, float p1, float p2, float p3)
{
    if (!std::isfinite(p1) || !std::isfinite(p2) || !std::isfinite(p3))
        throw Refusal{OX_InvalidParameter, notFinite};
    const auto orDefault = [](float value, float standard) { return value == 0.0F ? standard : value; };
    return {orDefault(p1, formula == DeltaEFormula::CMC ? 2.0F : 1.0F), orDefault(p2, 1.0F), orDefault(p3, 1.0F)};
}

float OfCIELAB(const Color& reference, const Color& sample, const Parameters&)
{
    return Formulas::DeltaE_CIELAB(reference, sample);
}

float OfCMC(const Color& reference, const Color& sample, const Parameters& p)
{
    return Formulas::DeltaE_CMC(reference, sample, p.p1, p.p2);
}

float Of94(const Color& reference, const Color& sample, const Parameters& p)
{
    return Formulas::DeltaE_94(reference, sample, p.p1, p.p2, p.p3);
}

float Of2000(const Color& reference, const Color& sample, const Parameters& p)
{
    return Formulas::DeltaE_2000(reference, sample, p.p1, p.p2, p.p3);
}

float OfFMCII(const Color& reference, const Color& sample, const Parameters&)
{
    const float difference = Formulas::DeltaE_FMCII(reference, sample);
    return difference == deltaEFailure ? noNumber : difference;
}

struct FormulaRow {
    DeltaEFormula formula;
    ColorSpace space; ///< of the colours that it compares
    float (*difference)(const Color& reference, const Color& sample, const Parameters& p);
};

constexpr FormulaRow formulaRows[] = {
    {DeltaEFormula::CIELab, ColorSpace::CIELab, OfCIELAB}, {DeltaEFormula::CIELuv, ColorSpace::CIELuv, OfCIELAB},
    {DeltaEFormula::LABvd, ColorSpace::LABvd, OfCIELAB},   {DeltaEFormula::FMCII, ColorSpace::CIEXYZ, OfFMCII},
    {DeltaEFormula::CMC, ColorSpace::CIELab, OfCMC},       {DeltaEFormula::CIE94, ColorSpace::CIELab, Of94},
    {DeltaEFormula::CIE2000, ColorSpace::CIELab, Of2000},
};

const FormulaRow& FindFormula(const oxc_conditions* conditions)
{
    RequireNonNull(conditions);
    for (const auto& row : formulaRows)
        if (row.formula == conditions->values.GetDeltaEFormula())
            return row;
    throw Refusal{OX_NotSupported, "no such difference formula"};
}

// Stores the number of a row, or marks a row without one.
void Store(float value, const float* reference, const float* sample, std::size_t size, std::size_t row, float* to,
           Rows& rows)
{
    to[row] = value;
    if (std::isfinite(value))
        return;
    const bool finite = AllFinite(reference + row * size, size) && AllFinite(sample + row * size, size);
    rows.Fail(row, finite ? OX_CalculationFailed : OX_InvalidParameter, finite ? noResult : notFinite);
    to[row] = noNumber;
}

float GetMetamery(const ColorBasis& basis, const ColorBasis& test, const float* reference, const float* sample)
{
    const Color factors =
        Formulas::GetMetameryFactors(Formulas::SpectrumToXYZ(basis, reference), Formulas::SpectrumToXYZ(basis, sample));
    Color adjusted = Formulas::SpectrumToXYZ(test, sample);
    for (std::size_t axis = 0; axis < adjusted.size(); ++axis)
        adjusted[axis] *= factors[axis];
    return Formulas::DeltaE_CIELAB(Formulas::XYZToLab(test.weights, Formulas::SpectrumToXYZ(test, reference)),
                                   Formulas::XYZToLab(test.weights, adjusted));
}

}

extern "C" {

int32_t oxc_differences(const oxc_conditions* conditions, const float* reference_lab, const float* sample_lab,
                        size_t count, float p1, float p2, float p3, float* differences)
{
    return Call([&] {
        const FormulaRow& formula = FindFormula(conditions);
        if (formula.space != ColorSpace::CIELab)
            throw Refusal{OX_NotSupported, "no difference of Lab colours by this formula"};
        const Parameters parameters = ReadParameters(formula.formula, p1, p2, p3);
        CheckArrays(count, {{reference_lab, 3}, {sample_lab, 3}}, {{differences, 1}});
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const float* const lab1 = reference_lab + row * 3;
            const float* const lab2 = sample_lab + row * 3;
            Store(formula.difference({lab1[0], lab1[1], lab1[2]}, {lab2[0], lab2[1], lab2[2]}, parameters),
                  reference_lab, sample_lab, 3, row, differences, rows);
        }
        return rows.Result();
    });
}

int32_t oxc_spectral_differences(const oxc_conditions* conditions, const float* reference, const float* sample,
                                 size_t count, float p1, float p2, float p3, float* differences)
{
    return Call([&] {
        const FormulaRow& formula = FindFormula(conditions);
        const SpaceRow& space = FindSpace(formula.space);
        const Parameters parameters = ReadParameters(formula.formula, p1, p2, p3);
        const ColorBasis basis = GetBasis(conditions, space.needs);
        CheckArrays(count, {{reference, OXC_BANDS}, {sample, OXC_BANDS}}, {{differences, 1}});
        Rows rows;
        ForBlocks(count, [&](std::size_t first, std::size_t size) {
            Color colors1[blockRows], colors2[blockRows];
            GetColors(*conditions, basis, space, reference + first * OXC_BANDS, size, colors1[0].data());
            GetColors(*conditions, basis, space, sample + first * OXC_BANDS, size, colors2[0].data());
            for (std::size_t i = 0; i < size; ++i)
                Store(formula.difference(colors1[i], colors2[i], parameters), reference, sample, OXC_BANDS, first + i,
                      differences, rows);
        });
        return rows.Result();
    });
}

int32_t oxc_metamerism(const oxc_conditions* conditions, const oxc_conditions* test, const float* reference,
                       const float* sample, size_t count, float* indices)
{
    return Call([&] {
        const ColorBasis basis = GetBasis(conditions, Needs::Weights);
        Require(test, Needs::Weights);
        const Weightfactors weights(test->values.GetIllumination(), conditions->values.GetObserver(),
                                    test->illuminant ? test->illuminant->data() : nullptr);
        if (!weights.HasWhite())
            throw Refusal{OX_CalculationFailed, noWhite};
        CheckArrays(count, {{reference, OXC_BANDS}, {sample, OXC_BANDS}}, {{indices, 1}});
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const float* const spectrum1 = reference + row * OXC_BANDS;
            const float* const spectrum2 = sample + row * OXC_BANDS;
            Store(GetMetamery(basis, {weights, basis.paper}, spectrum1, spectrum2), reference, sample, OXC_BANDS, row,
                  indices, rows);
        }
        return rows.Result();
    });
}
}
