#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"

/// The texts of the condition values, once.
namespace Vondrel::CMetry {

template<typename Value>
struct ConditionName {
    Value value;
    const char* text;
};

/// Dxx and Fxx are followed by a number.
inline constexpr ConditionName<IlluminationTYPE> illuminationNames[] = {
    {IlluminationTYPE::A, "A"},
    {IlluminationTYPE::B, "B"},
    {IlluminationTYPE::C, "C"},
    {IlluminationTYPE::D75, "D75"},
    {IlluminationTYPE::D65, "D65"},
    {IlluminationTYPE::D55, "D55"},
    {IlluminationTYPE::D50, "D50"},
    {IlluminationTYPE::Dxx, "Dxx, Temperature:"},
    {IlluminationTYPE::F2, "F2"},
    {IlluminationTYPE::F7, "F7"},
    {IlluminationTYPE::F11, "F11"},
    {IlluminationTYPE::Fxx, "F"},
    {IlluminationTYPE::Userdefined, "Userdefined"},
    {IlluminationTYPE::Emission, "Emission"},
    {IlluminationTYPE::Undefined, "Undefined"},
};

inline constexpr ConditionName<Observer> observerNames[] = {
    {Observer::TwoDegree, "TwoDegree"},
    {Observer::TenDegree, "TenDegree"},
    {Observer::Undefined, "Undefined"},
};

inline constexpr ConditionName<WhiteBase> whiteBaseNames[] = {
    {WhiteBase::Absolute, "Absolute"},
    {WhiteBase::Paper, "Paper"},
    {WhiteBase::Automatic, "Automatic"},
    {WhiteBase::Undefined, "Undefined"},
};

inline constexpr ConditionName<DensityStandard> densityStandardNames[] = {
    {DensityStandard::DIN, "DIN"},     {DensityStandard::DINNB, "DINNB"}, {DensityStandard::ANSIA, "ANSIA"},
    {DensityStandard::ANSIE, "ANSIE"}, {DensityStandard::ANSII, "ANSII"}, {DensityStandard::ANSIT, "ANSIT"},
    {DensityStandard::SPI, "SPI"},     {DensityStandard::User, "User"},   {DensityStandard::Undefined, "Undefined"},
};

inline constexpr ConditionName<DensityFilterMode> densityFilterModeNames[] = {
    {DensityFilterMode::Black, "Black"},
    {DensityFilterMode::Cyan, "Cyan"},
    {DensityFilterMode::Magenta, "Magenta"},
    {DensityFilterMode::Yellow, "Yellow"},
    {DensityFilterMode::Max, "Max"},
    {DensityFilterMode::Auto, "Auto"},
    {DensityFilterMode::Undefined, "Undefined"},
};

inline constexpr ConditionName<PhysicalFilter> physicalFilterNames[] = {
    {PhysicalFilter::No, "No"},
    {PhysicalFilter::Polarizer, "Polarizer"},
    {PhysicalFilter::D65, "D65"},
    {PhysicalFilter::UVCut, "UVCut"},
    {PhysicalFilter::LastSelectable, "LastSelectable"},
    {PhysicalFilter::Custom, "Custom"},
    {PhysicalFilter::CalibrationCheck, "CalibrationCheck"},
    {PhysicalFilter::ND0, "ND0"},
    {PhysicalFilter::Undefined, "Undefined"},
};

inline constexpr ConditionName<ColorSpace> colorSpaceNames[] = {
    {ColorSpace::CIELab, "CIELab"},
    {ColorSpace::CIELCh, "CIELCh"},
    {ColorSpace::CIELuv, "CIELuv"},
    {ColorSpace::CIELChuv, "CIELChuv"},
    {ColorSpace::CIEuvY1960, "CIEuvY1960"},
    {ColorSpace::CIEuvY1976, "CIEuvY1976"},
    {ColorSpace::CIEXYZ, "CIEXYZ"},
    {ColorSpace::CIExyY, "CIExyY"},
    {ColorSpace::HunterLab, "HunterLab"},
    {ColorSpace::RxRyRz, "RxRyRz"},
    {ColorSpace::LABvd, "LABvd"},
    {ColorSpace::LCHvd, "LCHvd"},
    {ColorSpace::RGB, "RGB"},
    {ColorSpace::CMYK, "CMYK"},
    {ColorSpace::Undefined, "Undefined"},
};

inline constexpr ConditionName<DeltaEFormula> deltaEFormulaNames[] = {
    {DeltaEFormula::CIELab, "CIELab"}, {DeltaEFormula::CIELuv, "CIELuv"},
    {DeltaEFormula::LABvd, "LABvd"},   {DeltaEFormula::FMCII, "FMCII"},
    {DeltaEFormula::CMC, "CMC"},       {DeltaEFormula::CIE94, "94"},
    {DeltaEFormula::CIE2000, "2000"},  {DeltaEFormula::Undefined, "Undefined"},
};

inline constexpr ConditionName<VectorKind> vectorKindNames[] = {
    {VectorKind::AbsoluteVector, "AbsoluteVector"},
    {VectorKind::DeltaVector, "DeltaVector"},
    {VectorKind::Undefined, "Undefined"},
};

}
