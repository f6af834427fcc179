// The calls that compare colours.
#include "Vondrel/CMetry/Internals/DifferenceFormulas.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
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

float OfFMCII(const Color& reference, const Color& sample, const Parameters&)
{
    const float difference = Formulas::DeltaE_FMCII(reference, sample);
    return difference == deltaEFailure ? noNumber : difference;
}

Color ToColor(const float* elements)
{
    return {elements[0], elements[1], elements[2]};
}

template<float (*of)(const Color&, const Color&, const Parameters&)>
void Each(const float* references, const float* samples, std::size_t count, const Parameters& p, float* differences)
{
    for (std::size_t i = 0; i < count; ++i)
        differences[i] = of(ToColor(references + i * 3), ToColor(samples + i * 3), p);
}

void EachOf2000(const float* references, const float* samples, std::size_t count, const Parameters& p,
                float* differences)
{
    for (std::size_t i = 0; i < count; i += 2) {
        const std::size_t next = std::min(i + 1, count - 1);
        const Color reference[] = {ToColor(references + i * 3), ToColor(references + next * 3)};
        const Color sample[] = {ToColor(samples + i * 3), ToColor(samples + next * 3)};
        const auto both = Formulas::DeltaE_2000(reference, sample, p.p1, p.p2, p.p3);
        differences[next] = both[1];
        differences[i] = both[0];
    }
}

struct FormulaRow {
    DeltaEFormula formula;
    ColorSpace space; ///< of the colours that it compares
    void (*differences)(const float* references, const float* samples, std::size_t count, const Parameters& p,
                        float* differences);
};

constexpr FormulaRow formulaRows[] = {
    {DeltaEFormula::CIELab, ColorSpace::CIELab, Each<OfCIELAB>},
    {DeltaEFormula::CIELuv, ColorSpace::CIELuv, Each<OfCIELAB>},
    {DeltaEFormula::LABvd, ColorSpace::LABvd, Each<OfCIELAB>},
    {DeltaEFormula::FMCII, ColorSpace::CIEXYZ, Each<OfFMCII>},
    {DeltaEFormula::CMC, ColorSpace::CIELab, Each<OfCMC>},
    {DeltaEFormula::CIE94, ColorSpace::CIELab, Each<Of94>},
    {DeltaEFormula::CIE2000, ColorSpace::CIELab, EachOf2000},
};

const FormulaRow& FindFormula(const oxc_conditions* conditions)
{
    RequireNonNull(conditions);
    for (const auto& row : formulaRows)
        if (row.formula == conditions->values.GetDeltaEFormula())
            return row;
    throw Refusal{OX_NotSupported, "no such difference formula"};
}

// Marks the rows without a number, of `count` from the first on.
void Check(const float* reference, const float* sample, std::size_t size, std::size_t first, std::size_t count,
           float* differences, Rows& rows)
{
    for (std::size_t row = first; row < first + count; ++row) {
        if (std::isfinite(differences[row]))
            continue;
        const bool finite = AllFinite(reference + row * size, size) && AllFinite(sample + row * size, size);
        rows.Fail(row, finite ? OX_CalculationFailed : OX_InvalidParameter, finite ? noResult : notFinite);
        differences[row] = noNumber;
    }
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
        formula.differences(reference_lab, sample_lab, count, parameters, differences);
        Rows rows;
        Check(reference_lab, sample_lab, 3, 0, count, differences, rows);
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
            formula.differences(colors1[0].data(), colors2[0].data(), size, parameters, differences + first);
            Check(reference, sample, OXC_BANDS, first, size, differences, rows);
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
            indices[row] = GetMetamery(basis, {weights, basis.paper}, spectrum1, spectrum2);
            Check(reference, sample, OXC_BANDS, row, 1, indices, rows);
        }
        return rows.Result();
    });
}
}
