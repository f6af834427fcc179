// The calls that give colours.
#include "Vondrel/CMetry/Internals/ConditionNames.h"
#include "Vondrel/CMetry/Internals/Lab2Spec.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/ColorC/Blocks.h"

#include <algorithm>
#include <string_view>

using namespace Vondrel::CMetry;
using namespace Vondrel::ColorC;

namespace {

// Marks the rows whose colour is none.
void CheckColors(float* colors, std::size_t count, const float* from, std::size_t fromSize, std::size_t firstRow,
                 Rows& rows)
{
    if (AllFinite(colors, count * 3))
        return;
    for (std::size_t row = 0; row < count; ++row) {
        if (AllFinite(colors + row * 3, 3))
            continue;
        const bool finite = AllFinite(from + row * fromSize, fromSize);
        rows.Fail(firstRow + row, finite ? OX_CalculationFailed : OX_InvalidParameter, finite ? noResult : notFinite);
        std::fill_n(colors + row * 3, 3, noNumber);
    }
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

// The chromaticity of a black is that of the paper, where the white base is one; for the rest only weights count.
ColorBasis GetConversionBasis(const oxc_conditions& conditions, const ConversionRow& conversion)
{
    static const Weightfactors none{VDIllumination(IlluminationTYPE::Emission), Observer::TwoDegree, nullptr};
    const bool onPaper = conversion.to == ColorSpace::CIExyY && conversion.from != conversion.to
        && conditions.values.GetWhiteBase() == WhiteBase::Paper;
    if (onPaper && !conditions.paper)
        throw Refusal{OX_NoSubstrate, noPaper};
    return {conditions.weights ? *conditions.weights : none, onPaper ? conditions.paper->data() : nullptr};
}

// RGB has a number for everything: what came from no number is none.
void HideColorsOfNoNumbers(const float* from, std::size_t rows, float* colors, std::size_t fromSize = OXC_BANDS)
{
    for (std::size_t row = 0; row < rows; ++row)
        if (!AllFinite(from + row * fromSize, fromSize))
            colors[row * 3] = noNumber;
}

// The loop for many rows, where there is one.
auto FindKernel(const ConversionRow& conversion) -> decltype(Road::toLab)
{
    if (conversion.from == ColorSpace::CIEXYZ && conversion.to == ColorSpace::CIELab)
        return CurrentRoad().toLab;
    if (conversion.from == ColorSpace::CIELab && conversion.to == ColorSpace::CIEXYZ)
        return CurrentRoad().fromLab;
    return nullptr;
}

void Convert(const ColorBasis& basis, const ConversionRow& conversion, const float* source, std::size_t rows,
             float* target)
{
    for (std::size_t row = 0; row < rows; ++row) {
        const Color color = conversion.convert(basis, {source[row * 3], source[row * 3 + 1], source[row * 3 + 2]});
        std::copy(color.begin(), color.end(), target + row * 3);
    }
    if (conversion.to == ColorSpace::RGB)
        HideColorsOfNoNumbers(source, rows, target, 3);
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
        ForBlocks(count, [&](std::size_t first, std::size_t size) {
            const float* const from = spectra + first * OXC_BANDS;
            float* const to = colors + first * 3;
            GetColors(*conditions, basis, space, from, size, to);
            if (space.space == ColorSpace::RGB)
                HideColorsOfNoNumbers(from, size, to);
            CheckColors(to, size, from, OXC_BANDS, first, rows);
        });
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
        const ColorBasis basis = GetConversionBasis(*conditions, conversion);
        Rows rows;
        const auto kernel = FindKernel(conversion);
        ForBlocks(count, [&](std::size_t first, std::size_t size) {
            const float* const source = colors + first * 3;
            float* const target = converted + first * 3;
            if (size >= fewestRows && kernel != nullptr) {
                Block block;
                ReadBlock(source, size, block);
                kernel(conditions->kernelWeights, block);
                if (AllFinite(block[0], sizeof block / sizeof(float)))
                    return WriteBlock(block, size, target);
            }
            float copy[blockRows * 3]; // the caller's may be the target
            std::copy_n(source, size * 3, copy);
            Convert(basis, conversion, copy, size, target);
            CheckColors(target, size, copy, 3, first, rows);
        });
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
