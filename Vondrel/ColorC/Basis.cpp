#include "Vondrel/ColorC/Basis.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"

namespace Vondrel::ColorC {

using namespace CMetry;

namespace {

Color ToXYZ(const ColorBasis&, const Color& xyz)
{
    return xyz;
}

Color ToLab(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::XYZToLab(basis.weights, xyz);
}

Color ToLCh(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::ToLCh(ToLab(basis, xyz));
}

Color ToxyY(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::XYZToxyY(xyz, Formulas::LacksXY(xyz) ? Formulas::FlatXYZ(basis) : xyz);
}

Color ToLuv(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::XYZToLuv(basis.weights, xyz, Formulas::LacksUV(xyz) ? Formulas::FlatXYZ(basis) : xyz);
}

Color ToLChuv(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::ToLCh(ToLuv(basis, xyz));
}

Color TouvY1976(const ColorBasis&, const Color& xyz)
{
    return Formulas::XYZTouvY1976(xyz);
}

Color TouvY1960(const ColorBasis&, const Color& xyz)
{
    return Formulas::uvY1976To1960(Formulas::XYZTouvY1976(xyz));
}

Color ToHunterLab(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::XYZToHunterLab(basis.weights, xyz);
}

Color ToRxRyRz(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::XYZToRxRyRz(basis.weights, xyz);
}

Color ToLCHvd(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::LChToLCHvd(ToLCh(basis, xyz));
}

Color ToLABvd(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::LCHvdToLABvd(ToLCHvd(basis, xyz));
}

Color ToRGB(const ColorBasis& basis, const Color& xyz)
{
    return Formulas::LabToRGB(basis.weights, ToLab(basis, xyz));
}

constexpr SpaceRow spaceRows[] = {
    {ColorSpace::CIEXYZ, Needs::Weights, ToXYZ},
    {ColorSpace::CIELab, Needs::White, ToLab},
    {ColorSpace::CIELCh, Needs::White, ToLCh},
    {ColorSpace::CIExyY, Needs::Weights, ToxyY},
    {ColorSpace::CIELuv, Needs::White, ToLuv},
    {ColorSpace::CIELChuv, Needs::White, ToLChuv},
    {ColorSpace::CIEuvY1976, Needs::Weights, TouvY1976},
    {ColorSpace::CIEuvY1960, Needs::Weights, TouvY1960},
    {ColorSpace::HunterLab, Needs::White, ToHunterLab},
    {ColorSpace::RxRyRz, Needs::White, ToRxRyRz},
    {ColorSpace::LCHvd, Needs::White, ToLCHvd},
    {ColorSpace::LABvd, Needs::White, ToLABvd},
    {ColorSpace::RGB, Needs::White, ToRGB},
};

}

void Require(const oxc_conditions* conditions, Needs needs)
{
    RequireNonNull(conditions);
    if (needs != Needs::Nothing && !conditions->weights)
        throw Refusal{OX_CalculationFailed, conditions->whyNoWeights.c_str()};
    if (needs == Needs::White && !conditions->weights->HasWhite())
        throw Refusal{OX_CalculationFailed, noWhite};
}

ColorBasis GetBasis(const oxc_conditions* conditions, Needs needs)
{
    Require(conditions, needs);
    const bool onPaper = conditions->values.GetWhiteBase() == WhiteBase::Paper;
    if (onPaper && !conditions->paper)
        throw Refusal{OX_NoSubstrate, noPaper};
    return {*conditions->weights, onPaper ? conditions->paper->data() : nullptr};
}

const SpaceRow& FindSpace(ColorSpace space)
{
    for (const auto& row : spaceRows)
        if (row.space == space)
            return row;
    throw Refusal{OX_NotSupported, "no colours of this space"};
}

}
