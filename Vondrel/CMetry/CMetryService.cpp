#include "Vondrel/CMetry/CMetryService.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/ColorRenderingIndex.h"
#include "Vondrel/CMetry/Internals/ColorTemperature.h"
#include "Vondrel/CMetry/Internals/ConditionNames.h"
#include "Vondrel/CMetry/Internals/Lab2Spec.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <cstddef>
#include <iterator>
#include <utility>

namespace Vondrel::CMetry {

namespace {

using Calculator = CMetryCalculator;

constexpr const char* calculatorFailed = "CMetryCalculator";

[[noreturn]] void Fail(const std::string& text, std::string location)
{
    throw CMetryException(text, std::move(location));
}

// From a spectrum.

template<bool (*Chromaticity)(const VDColorVector&, VDColorVector&)>
bool ByXYZ(const VDSpectrum& spectrum, const VDMeasureConditions& conditions, VDColorVector& result)
{
    VDMeasureConditions ofXYZ = conditions;
    ofXYZ.SetColorSpace(ColorSpace::CIEXYZ);
    VDColorVector xyz;
    return Calculator::GetVector_CIEXYZ(spectrum, ofXYZ, xyz) && Chromaticity(xyz, result);
}

bool LabToRGB(const VDColorVector& lab, VDColorVector& result)
{
    result = lab;
    return Calculator::GetVector_CIELab_RGB(lab, result);
}

bool ByLab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions, VDColorVector& result)
{
    VDColorVector lab;
    return Calculator::GetVector_CIELab(spectrum, conditions, lab) && LabToRGB(lab, result);
}

struct SpectrumRow {
    ColorSpace colorSpace;
    bool (*calculate)(const VDSpectrum&, const VDMeasureConditions&, VDColorVector&);
};

constexpr SpectrumRow spectrumRows[] = {
    {ColorSpace::CIELab, Calculator::GetVector_CIELab},
    {ColorSpace::CIELCh, Calculator::GetVector_CIELCh_ab},
    {ColorSpace::CIEXYZ, Calculator::GetVector_CIEXYZ},
    {ColorSpace::CIExyY, Calculator::GetVector_CIExyY},
    {ColorSpace::CIELChuv, Calculator::GetVector_CIELCh_uv},
    {ColorSpace::LABvd, Calculator::GetVector_LABvd},
    {ColorSpace::LCHvd, Calculator::GetVector_LCHvd},
    {ColorSpace::CIELuv, Calculator::GetVector_CIELuv},
    {ColorSpace::CIEuvY1976, ByXYZ<Calculator::GetVector_CIEuvY1976>},
    {ColorSpace::CIEuvY1960, ByXYZ<Calculator::GetVector_CIEuvY1960>},
    {ColorSpace::HunterLab, Calculator::GetVector_HunterLab},
    {ColorSpace::RxRyRz, Calculator::GetVector_RxRyRz},
    {ColorSpace::RGB, ByLab},
};

// From a vector.

struct ConversionRow {
    ColorSpace from, to;
    bool (*calculate)(const VDColorVector&, VDColorVector&);
};

constexpr ConversionRow conversionRows[] = {
    {ColorSpace::CIEXYZ, ColorSpace::CIELab, Calculator::GetVector_CIELab},
    {ColorSpace::CIELab, ColorSpace::CIEXYZ, Calculator::GetVector_CIEXYZ},
    {ColorSpace::CIELab, ColorSpace::CIELCh, Calculator::GetVector_CIELCh_ab},
    {ColorSpace::LABvd, ColorSpace::LCHvd, Calculator::GetVector_CIELCh_ab},
    {ColorSpace::CIELuv, ColorSpace::CIELChuv, Calculator::GetVector_CIELCh_ab},
    {ColorSpace::CIEXYZ, ColorSpace::CIExyY, Calculator::GetVector_CIExyY},
    {ColorSpace::CIELab, ColorSpace::RGB, LabToRGB},
    {ColorSpace::CIEXYZ, ColorSpace::CIEuvY1960, Calculator::GetVector_CIEuvY1960},
    {ColorSpace::CIExyY, ColorSpace::CIEuvY1960, Calculator::GetVector_CIEuvY1960},
    {ColorSpace::CIEXYZ, ColorSpace::CIEuvY1976, Calculator::GetVector_CIEuvY1976},
    {ColorSpace::CIExyY, ColorSpace::CIEuvY1976, Calculator::GetVector_CIEuvY1976},
};

std::string UnsupportedConversion(const VDColorVector& vector, std::string_view colorSpace)
{
    return "Conversion not supported from ColorSpace "
        + MeasureConditionTranslator::ToString(vector.GetMeasureConditions().GetColorSpace()) + " to ColorSpace "
        + std::string(colorSpace);
}

// Differences.

struct Parameters {
    float p1, p2, p3;
};

Parameters WithDefaults(DeltaEFormula formula, const Parameters& given)
{
    const auto orDefault = [](float value, float standard) { return value == 0.0F ? standard : value; };
    return {orDefault(given.p1, formula == DeltaEFormula::CMC ? 2.0F : 1.0F), orDefault(given.p2, 1.0F),
            orDefault(given.p3, 1.0F)};
}

// The vector itself where it is one of Lab.
const VDColorVector& AsLab(const VDColorVector& vector, VDColorVector& converted)
{
    if (vector.GetMeasureConditions().GetColorSpace() == ColorSpace::CIELab)
        return vector;
    converted = CMetryService::GetVector(vector, ColorSpace::CIELab);
    return converted;
}

struct DeltaVectorRow {
    ColorSpace from, to;
    bool (*calculate)(const VDColorVector&, const VDColorVector&, VDColorVector&);
};

constexpr DeltaVectorRow deltaVectorRows[] = {
    {ColorSpace::CIELab, ColorSpace::CIELCh, Calculator::GetVector_DeltaCIELCH_ab},
    {ColorSpace::CIELuv, ColorSpace::CIELChuv, Calculator::GetVector_CIELCH_uv},
    {ColorSpace::LABvd, ColorSpace::LCHvd, Calculator::GetVector_LCHvd_delta},
};

constexpr const char* undefinedColorType = "Undefined";

/// By the number of the colour class.
constexpr const char* colorTypes[] = {
    "Magenta", undefinedColorType, "Blue",   "Cyan", "Turquo", "Green", "Olive", "YellowGreen", "Beige",
    "Brown",   "Yellow",           "Orange", "Red",  "White",  "Gray",  "Black",
};

}

VDColorVector CMetryService::GetVector(const VDSpectrum& spectrum, const VDMeasureConditions& conditions)
try {
    for (const auto& row : spectrumRows) {
        if (row.colorSpace != conditions.GetColorSpace())
            continue;
        VDColorVector result;
        if (!row.calculate(spectrum, conditions, result))
            Fail(calculatorFailed, THROW_LOCATION("CMetryService", "GetVector"));
        return result;
    }
    Fail("GetVector not supported for ColorSpace " + MeasureConditionTranslator::ToString(conditions.GetColorSpace()),
         THROW_LOCATION("CMetryService", "GetVector"));
}
TRACE_GUARD("CMetryService", "GetVector")

VDColorVector CMetryService::GetVector(const VDColorVector& vector, ColorSpace colorSpace)
try {
    const ColorSpace source = vector.GetMeasureConditions().GetColorSpace();
    if (source == colorSpace)
        return vector;
    if (colorSpace == ColorSpace::RGB && source != ColorSpace::CIELab)
        return GetVector(GetVector(vector, ColorSpace::CIELab), ColorSpace::RGB);

    for (const auto& row : conversionRows) {
        if (row.from != source || row.to != colorSpace)
            continue;
        VDColorVector converted;
        if (!row.calculate(vector, converted))
            Fail(calculatorFailed, THROW_LOCATION("CMetryService", "GetVector"));
        if (colorSpace == ColorSpace::RGB)
            return converted;
        VDMeasureConditions conditions = vector.GetMeasureConditions();
        conditions.SetColorSpace(colorSpace);
        return {converted[0], converted[1], converted[2], conditions};
    }
    Fail(UnsupportedConversion(vector, MeasureConditionTranslator::ToString(colorSpace)),
         THROW_LOCATION("CMetryService", "GetVector"));
}
TRACE_GUARD("CMetryService", "GetVector")

VDColorVector CMetryService::GetVector(const VDColorVector& vector, std::string_view colorSpace)
try {
    for (const auto& name : colorSpaceNames)
        if (colorSpace == name.text)
            return GetVector(vector, name.value);
    Fail(UnsupportedConversion(vector, colorSpace), THROW_LOCATION("CMetryService", "GetVector"));
}
TRACE_GUARD("CMetryService", "GetVector")

float CMetryService::GetDeltaE(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                               const VDMeasureConditions& conditions, float p1, float p2, float p3)
try {
    const DeltaEFormula formula = conditions.GetDeltaEFormula();
    const Parameters p = WithDefaults(formula, {p1, p2, p3});
    float deltaE = Calculator::DeltaEFailure;
    switch (formula) {
    case DeltaEFormula::CIELab:
        deltaE = Calculator::GetDeltaE_CIELAB(spectrum1, spectrum2, conditions);
        break;
    case DeltaEFormula::LABvd:
        deltaE = Calculator::GetDeltaE_vd(spectrum1, spectrum2, conditions);
        break;
    case DeltaEFormula::CIELuv:
        deltaE = Calculator::GetDeltaE_CIELUV(spectrum1, spectrum2, conditions);
        break;
    case DeltaEFormula::FMCII:
        deltaE = Calculator::GetDeltaE_FMCII(spectrum1, spectrum2, conditions);
        break;
    case DeltaEFormula::CMC:
        deltaE = Calculator::GetDeltaE_CMC(spectrum1, spectrum2, conditions, p.p1, p.p2);
        break;
    case DeltaEFormula::CIE94:
        deltaE = Calculator::GetDeltaE_94(spectrum1, spectrum2, conditions, p.p1, p.p2, p.p3);
        break;
    case DeltaEFormula::CIE2000:
        deltaE = Calculator::GetDeltaE_2000(spectrum1, spectrum2, conditions, p.p1, p.p2, p.p3);
        break;
    default:
        Fail("GetDeltaE not supported for DeltaEFormula " + MeasureConditionTranslator::ToString(formula),
             THROW_LOCATION("CMetryService", "GetDeltaE(spectra)"));
    }
    if (deltaE == Calculator::DeltaEFailure)
        Fail(calculatorFailed, THROW_LOCATION("CMetryService", "GetDeltaE(spectra)"));
    return deltaE;
}
TRACE_GUARD("CMetryService", "GetDeltaE(spectra)")

float CMetryService::GetDeltaE(const VDColorVector& vector1, const VDColorVector& vector2, float p1, float p2, float p3)
try {
    const DeltaEFormula formula = vector1.GetMeasureConditions().GetDeltaEFormula();
    const Parameters p = WithDefaults(formula, {p1, p2, p3});
    VDColorVector converted1, converted2;
    const VDColorVector& lab1 = AsLab(vector1, converted1);
    const VDColorVector& lab2 = AsLab(vector2, converted2);
    float deltaE = Calculator::DeltaEFailure;
    if (formula == DeltaEFormula::CIELab)
        deltaE = Calculator::GetDeltaE_CIELAB(lab1, lab2);
    else if (formula == DeltaEFormula::CMC)
        deltaE = Calculator::GetDeltaE_CMC(lab1, lab2, p.p1, p.p2);
    else if (formula == DeltaEFormula::CIE94)
        deltaE = Calculator::GetDeltaE_94(lab1, lab2, p.p1, p.p2, p.p3);
    else if (formula == DeltaEFormula::CIE2000)
        deltaE = Calculator::GetDeltaE_2000(lab1, lab2, p.p1, p.p2, p.p3);
    if (deltaE == Calculator::DeltaEFailure)
        Fail(calculatorFailed, THROW_LOCATION("CMetryService", "GetDeltaE(Lab)"));
    return deltaE;
}
TRACE_GUARD("CMetryService", "GetDeltaE(Lab)")

VDColorVector CMetryService::GetDeltaVector(const VDColorVector& vector1, const VDColorVector& vector2)
try {
    const ColorSpace source = vector1.GetMeasureConditions().GetColorSpace();
    for (const auto& row : deltaVectorRows) {
        VDColorVector result;
        if (row.from != source || !row.calculate(vector1, vector2, result))
            continue;
        VDMeasureConditions conditions = vector1.GetMeasureConditions();
        conditions.SetColorSpace(row.to);
        result.SetMeasureConditions(conditions);
        return result;
    }
    Fail(calculatorFailed, THROW_LOCATION("CMetryService", "GetDeltaVector"));
}
TRACE_GUARD("CMetryService", "GetDeltaVector")

float CMetryService::GetMetamery(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                 const VDMeasureConditions& conditions, const VDMeasureConditions& testConditions)
try {
    const float index = Calculator::GetMetamery(spectrum1, spectrum2, conditions, testConditions.GetIllumination());
    if (index == Calculator::DeltaEFailure)
        Fail(calculatorFailed, THROW_LOCATION("CMetryService", "GetMetamery"));
    return index;
}
TRACE_GUARD("CMetryService", "GetMetamery")

std::string CMetryService::GetColorType(const VDSpectrum& spectrum)
try {
    const int type = Calculator::GetColorType(spectrum);
    const bool known = type >= 0 && static_cast<std::size_t>(type) < std::size(colorTypes);
    return known ? colorTypes[type] : undefinedColorType;
}
TRACE_GUARD("CMetryService", "GetColorType")

const std::vector<std::string>& CMetryService::GetSupportedValues(std::string_view key)
try {
    return VDMeasureConditions::GetSupportedValues(key);
}
TRACE_GUARD("CMetryService", "GetSupportedValues")

float CMetryService::GetColorTemperature(const VDSpectrum& spectrum)
try {
    return ColorTemperature().GetColorTemperature(spectrum);
}
TRACE_GUARD("CMetryService", "GetColorTemperature")

VDSpectrum CMetryService::GetSpectrum(const VDColorVector& vector)
try {
    static const Lab2Spec estimator;
    constexpr float tolerance = 0.1F;
    constexpr int maxIterations = 1000;
    VDSpectrum spectrum;
    if (!estimator.GetSpectrum(GetVector(vector, ColorSpace::CIELab), spectrum, tolerance, false, maxIterations))
        Fail("CMetryCalculator: Conversion out of Range", THROW_LOCATION("CMetryService", "GetSpectrum"));
    return spectrum;
}
TRACE_GUARD("CMetryService", "GetSpectrum")

bool CMetryService::GetColorRenderingIndex(const VDSpectrum& spectrum, float& index, std::string& reference)
try {
    bool valid = false;
    index = ColorRenderingIndex().GetColorRenderingIndex(spectrum, valid, reference);
    return valid;
}
TRACE_GUARD("CMetryService", "GetColorRenderingIndex")

}
