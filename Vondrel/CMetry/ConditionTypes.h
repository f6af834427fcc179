#pragma once

#include <cstdint>
#include <string_view>

/// The vocabulary of the measure conditions: their keys and, as numbers, their values. The texts of the values are
/// those of MeasureConditionTranslator. A number outside an enumeration can be stored; its text is "Undefined".
namespace Vondrel::CMetry {

namespace Keys {

inline constexpr std::string_view Illumination = "Colorimetric.Illumination";
inline constexpr std::string_view Observer = "Colorimetric.Observer";
inline constexpr std::string_view WhiteBase = "Colorimetric.WhiteBase";
inline constexpr std::string_view DensityStandard = "Colorimetric.DensityStandard";
inline constexpr std::string_view DensityFilterMode = "Colorimetric.DensityFilterMode";
inline constexpr std::string_view PhysicalFilter = "Physical.Filter";
inline constexpr std::string_view SpectrumType = "Physical.SpectrumType";
inline constexpr std::string_view NumberOfDataPoints = "Physical.NumberOfDataPointsSpectrum";
inline constexpr std::string_view MinWavelength = "Physical.WavelengthSpectrumMin";
inline constexpr std::string_view MaxWavelength = "Physical.WavelengthSpectrumMax";
inline constexpr std::string_view ColorSpace = "ColorSpaceDescription.Type";
inline constexpr std::string_view DeltaEFormula = "ColorSpaceDescription.DeltaEFormula";
inline constexpr std::string_view VectorKind = "ColorSpaceDescription.AbsoluteOrDeltaVector";
inline constexpr std::string_view CustomCondition = "CustomCondition"; ///< "Enable" lets unknown keys be stored

}

enum class IlluminationTYPE : std::int32_t {
    Undefined = -1,
    A,
    B,
    C,
    D75,
    D65,
    D55,
    D50,
    Dxx, ///< daylight of VDIllumination's colour temperature
    F2,
    F7,
    F11,
    Fxx, ///< the F illuminant of VDIllumination's F value
    Userdefined,
    Emission,
    S0, ///< daylight basis functions: names of tables, never conditions
    S1,
    S2,
};

enum class Observer : std::int32_t { Undefined = -1, TwoDegree, TenDegree };

enum class WhiteBase : std::int32_t { Undefined = -1, Absolute, Paper, Automatic };

enum class DensityStandard : std::int32_t { Undefined = -1, DIN, DINNB, ANSIA, ANSIE, ANSII, ANSIT, SPI, User };

enum class DensityFilterMode : std::int32_t { Undefined = -1, Black, Cyan, Magenta, Yellow, Max, Auto };

/// The filter in front of the instrument. The numbers have a gap, and 0 stands for undefined.
enum class PhysicalFilter : std::int32_t {
    Undefined,
    No,
    Polarizer,
    D65,
    UVCut,
    LastSelectable,
    Custom = 10,
    CalibrationCheck,
    ND0,
};

enum class ColorSpace : std::int8_t {
    Undefined = -1,
    CIELab,
    CIELCh,
    CIELuv,
    CIELChuv,
    CIEuvY1960,
    CIEuvY1976,
    CIEXYZ,
    CIExyY,
    HunterLab,
    RxRyRz,
    LABvd,
    LCHvd,
    RGB,
    CMYK,
};

enum class DeltaEFormula : std::int8_t { Undefined = -1, CIELab, CIELuv, LABvd, FMCII, CMC, CIE94, CIE2000 };

enum class VectorKind : std::int8_t { Undefined = -1, AbsoluteVector, DeltaVector };

}
