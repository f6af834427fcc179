// The calls that give colours.
#include "Vondrel/CMetry/Internals/ConditionNames.h"
#include "Vondrel/CMetry/Internals/Lab2Spec.h"
#include "Vondrel/ColorC/Basis.h"

#include <algorithm>
#include <string_view>

using namespace Vondrel::CMetry;
using namespace Vondrel::ColorC;

namespace {

// Stores a colour, or marks a row without one.
void Store(const Color& color, const float* from, std::size_t fromSize, std::size_t row, float* to, Rows& rows)
{
    if (AllFinite(color.data(), color.size()) && AllFinite(from, fromSize)) {
        std::copy(color.begin(), color.end(), to);
        return;
    }
    if (AllFinite(from, fromSize))
        rows.Fail(row, OX_CalculationFailed, noResult);
    else
        rows.Fail(row, OX_InvalidParameter, notFinite);
    std::fill_n(to, color.size(), noNumber);
}

ColorSpace ReadSpace(const char* text)
{
    RequireNonNull(text);
    for (const auto& name : colorSpaceNames)
        if (std::string_view(text) == name.text)
            return name.value;
    throw Refusal{OX_InvalidParameter, "unknown colour space"};
}

Color LabToXYZ(const ColorBasis& basis, const Color& lab)
{
    return Formulas::LabToXYZ(basis.weights, lab);
}

Color LabToRGB(const ColorBasis& basis, const Color& lab)
{
    return Formulas::LabToRGB(basis.weights, lab);
}

Color ToLCh(const ColorBasis&, const Color& color)
{
    return Formulas::ToLCh(color);
}

Color xyYTouvY1976(const ColorBasis&, const Color& xyY)
{
    return Formulas::xyYTouvY1976(xyY);
}

Color xyYTouvY1960(const ColorBasis&, const Color& xyY)
{
    return Formulas::uvY1976To1960(Formulas::xyYTouvY1976(xyY));
}

struct ConversionRow {
    ColorSpace from, to;
    Needs needs;
    Color (*convert)(const ColorBasis& basis, const Color& color);
};

// From XYZ the spaces' own ways are used.
constexpr ConversionRow conversionRows[] = {
    {ColorSpace::CIELab, ColorSpace::CIEXYZ, Needs::Weights, LabToXYZ},
    {ColorSpace::CIELab, ColorSpace::RGB, Needs::Weights, LabToRGB},
    {ColorSpace::CIELab, ColorSpace::CIELCh, Needs::Nothing, ToLCh},
    {ColorSpace::LABvd, ColorSpace::LCHvd, Needs::Nothing, ToLCh},
    {ColorSpace::CIELuv, ColorSpace::CIELChuv, Needs::Nothing, ToLCh},
    {ColorSpace::CIExyY, ColorSpace::CIEuvY1976, Needs::Nothing, xyYTouvY1976},
    {ColorSpace::CIExyY, ColorSpace::CIEuvY1960, Needs::Nothing, xyYTouvY1960},
};

constexpr ColorSpace fromXYZ[] = {ColorSpace::CIELab, ColorSpace::CIExyY, ColorSpace::CIEuvY1976,
                                  ColorSpace::CIEuvY1960, ColorSpace::RGB};

ConversionRow FindConversion(ColorSpace from, ColorSpace to)
{
    if (from == to)
        return {from, to, Needs::Nothing, [](const ColorBasis&, const Color& color) { return color; }};
    for (const auto& row : conversionRows)
        if (row.from == from && row.to == to)
            return row;
    if (from == ColorSpace::CIEXYZ && std::find(std::begin(fromXYZ), std::end(fromXYZ), to) != std::end(fromXYZ)) {
        const SpaceRow& row = FindSpace(to);
        return {from, to, row.needs, row.fromXYZ};
    }
    throw Refusal{OX_NotSupported, "no conversion between these colour spaces"};
}

}

extern "C" {

int32_t oxc_colors(const oxc_conditions* conditions, const float* spectra, size_t count, float* colors)
{
    return Call([&] {
        RequireNonNull(conditions);
        const SpaceRow& space = FindSpace(conditions->values.GetColorSpace());
        const ColorBasis basis = GetBasis(conditions, space.needs);
        CheckArrays(count, {{spectra, OXC_BANDS}}, {{colors, 3}});
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const float* const spectrum = spectra + row * OXC_BANDS;
            Store(space.fromXYZ(basis, Formulas::SpectrumToXYZ(basis, spectrum)), spectrum, OXC_BANDS, row,
                  colors + row * 3, rows);
        }
        return rows.Result();
    });
}

int32_t oxc_convert(const oxc_conditions* conditions, const char* from, const float* colors, size_t count,
                    const char* to, float* converted)
{
    return Call([&] {
        const ConversionRow conversion = FindConversion(ReadSpace(from), ReadSpace(to));
        Require(conditions, conversion.needs);
        CheckArrays(count, {{colors, 3}}, {{converted, 3}});
        static const Weightfactors none{VDIllumination(IlluminationTYPE::Emission), Observer::TwoDegree, nullptr};
        const bool onPaper = conversion.to == ColorSpace::CIExyY && conversion.from != conversion.to
            && conditions->values.GetWhiteBase() == WhiteBase::Paper; // the chromaticity of a black
        if (onPaper && !conditions->paper)
            throw Refusal{OX_NoSubstrate, noPaper};
        const ColorBasis basis{conditions->weights ? *conditions->weights : none,
                               onPaper ? conditions->paper->data() : nullptr};
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            const Color color{colors[row * 3], colors[row * 3 + 1], colors[row * 3 + 2]};
            Store(conversion.convert(basis, color), color.data(), color.size(), row, converted + row * 3, rows);
        }
        return rows.Result();
    });
}

int32_t oxc_spectra_of_lab(const oxc_conditions* conditions, const float* lab, size_t count, float* spectra)
{
    return Call([&] {
        const ColorBasis given = GetBasis(conditions, Needs::White);
        const ColorBasis basis{given.weights, given.weights.IsEmission() ? nullptr : given.paper};
        CheckArrays(count, {{lab, 3}}, {{spectra, OXC_BANDS}});
        constexpr float tolerance = 0.1F;
        constexpr int maxIterations = 1000;
        Rows rows;
        for (std::size_t row = 0; row < count; ++row) {
            float* const spectrum = spectra + row * OXC_BANDS;
            const Color color{lab[row * 3], lab[row * 3 + 1], lab[row * 3 + 2]};
            const bool finite = AllFinite(color.data(), color.size());
            if (finite && Lab2Spec::Find(basis, color, spectrum, tolerance, false, maxIterations))
                continue;
            rows.Fail(row, finite ? OX_CalculationFailed : OX_InvalidParameter,
                      finite ? "no reflectance gives this colour" : notFinite);
            std::fill_n(spectrum, OXC_BANDS, noNumber);
        }
        return rows.Result();
    });
}
}
