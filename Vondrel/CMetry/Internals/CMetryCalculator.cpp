#include "Vondrel/CMetry/Internals/CMetryCalculator.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/LabFormulas.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::CMetry {

namespace {

const char* const className = "CMetryCalculator";

// Never destroyed: calls may come while the process ends.
CMetryFilter& CurrentWeights()
{
    static CMetryFilter& weights = *new CMetryFilter;
    return weights;
}

const Weightfactors& Fit(const VDMeasureConditions& conditions)
{
    CurrentWeights().SetMeasuringConditions(conditions);
    return CurrentWeights().GetWeights();
}

// Weights by whose white a value can be divided.
const Weightfactors& FitWithWhite(const VDMeasureConditions& conditions, const char* method)
{
    const Weightfactors& weights = Fit(conditions);
    if (!weights.HasWhite())
        throw CMetryException("Illumination gives no white point", THROW_LOCATION(className, method));
    return weights;
}

Color ToColor(const VDColorVector& vector)
{
    return {vector[0], vector[1], vector[2]};
}

void Store(const Color& color, const VDMeasureConditions& conditions, VDColorVector& result)
{
    if (&conditions != &result.GetMeasureConditions())
        result.SetMeasureConditions(conditions);
    result.SetElements(color[0], color[1], color[2]);
}

bool IsEmission(const VDMeasureConditions& conditions)
{
    return conditions.GetIllumination().GetIlluminationTYPE() == IlluminationTYPE::Emission;
}

// The chromaticity of the illuminant, for a black.
bool GetFlatXYZ(const VDMeasureConditions& conditions, VDColorVector& result)
{
    const float* const paper = CMetryCalculator::GetPaperValues();
    if (!IsEmission(conditions) && conditions.GetWhiteBase() == WhiteBase::Paper && paper == nullptr)
        return false;
    Store(Formulas::FlatXYZ({Fit(conditions), conditions.GetWhiteBase() == WhiteBase::Paper ? paper : nullptr}),
          conditions, result);
    return true;
}

}

CMetryFilter& CMetryCalculator::GetFilter() noexcept
{
    return CurrentWeights();
}

bool CMetryCalculator::GetVector_CIEXYZ(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    VDMeasureConditions working = conditions;
    working.SetPhysMeasCond(spectrum.GetMeasureConditions());
    const float* paper = nullptr;
    if (IsEmission(spectrum.GetMeasureConditions()))
        working.SetIllumination(VDIllumination(IlluminationTYPE::Emission));
    else if (working.GetWhiteBase() == WhiteBase::Paper && (paper = GetPaperValues()) == nullptr)
        return false;
    Store(Formulas::SpectrumToXYZ({Fit(working), paper}, spectrum.Values().data()), working, result);
    return true;
}
TRACE_GUARD(className, "GetVector_CIEXYZ")

bool CMetryCalculator::GetVector_CIELab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    return GetVector_CIEXYZ(spectrum, conditions, result) && GetVector_CIELab(result, result);
}
TRACE_GUARD(className, "GetVector_CIELab")

bool CMetryCalculator::GetVector_CIELCh_ab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                           VDColorVector& result)
try {
    return GetVector_CIELab(spectrum, conditions, result) && GetVector_CIELCh_ab(result, result);
}
TRACE_GUARD(className, "GetVector_CIELCh_ab")

bool CMetryCalculator::GetVector_CIExyY(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    return GetVector_CIEXYZ(spectrum, conditions, result) && GetVector_CIExyY(result, result);
}
TRACE_GUARD(className, "GetVector_CIExyY")

bool CMetryCalculator::GetVector_LCHvd(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                       VDColorVector& result)
try {
    if (!GetVector_CIELCh_ab(spectrum, conditions, result))
        return false;
    Store(Formulas::LChToLCHvd(ToColor(result)), result.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_LCHvd")

bool CMetryCalculator::GetVector_LABvd(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                       VDColorVector& result)
try {
    if (!GetVector_LCHvd(spectrum, conditions, result))
        return false;
    Store(Formulas::LCHvdToLABvd(ToColor(result)), result.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_LABvd")

bool CMetryCalculator::GetVector_CIELuv(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    if (!GetVector_CIEXYZ(spectrum, conditions, result))
        return false;
    const Color xyz = ToColor(result);
    if (Formulas::LacksUV(xyz) && !GetFlatXYZ(VDMeasureConditions(result.GetMeasureConditions()), result))
        return false;
    const Weightfactors& weights = FitWithWhite(result.GetMeasureConditions(), "GetVector_CIELuv");
    Store(Formulas::XYZToLuv(weights, xyz, ToColor(result)), result.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_CIELuv")

bool CMetryCalculator::GetVector_CIELCh_uv(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                           VDColorVector& result)
try {
    return GetVector_CIELuv(spectrum, conditions, result) && GetVector_CIELCh_ab(result, result);
}
TRACE_GUARD(className, "GetVector_CIELCh_uv")

bool CMetryCalculator::GetVector_HunterLab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                           VDColorVector& result)
try {
    if (!GetVector_CIEXYZ(spectrum, conditions, result))
        return false;
    const Weightfactors& weights = FitWithWhite(result.GetMeasureConditions(), "GetVector_HunterLab");
    Store(Formulas::XYZToHunterLab(weights, ToColor(result)), result.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_HunterLab")

bool CMetryCalculator::GetVector_RxRyRz(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                        VDColorVector& result)
try {
    if (!GetVector_CIEXYZ(spectrum, conditions, result))
        return false;
    const Weightfactors& weights = FitWithWhite(result.GetMeasureConditions(), "GetVector_RxRyRz");
    Store(Formulas::XYZToRxRyRz(weights, ToColor(result)), result.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_RxRyRz")

bool CMetryCalculator::GetVector_RGB(const VDSpectrum& spectrum, VDColorVector& result)
try {
    VDMeasureConditions conditions = result.GetMeasureConditions();
    conditions.SetColorSpace(ColorSpace::CIELab);
    VDColorVector lab;
    return GetVector_CIELab(spectrum, conditions, lab) && GetVector_CIELab_RGB(lab, result);
}
TRACE_GUARD(className, "GetVector_RGB")

bool CMetryCalculator::GetVector_CIELab(const VDColorVector& source, VDColorVector& result)
try {
    const Weightfactors& weights = FitWithWhite(source.GetMeasureConditions(), "GetVector_CIELab");
    Store(Formulas::XYZToLab(weights, ToColor(source)), source.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_CIELab")

bool CMetryCalculator::GetVector_CIEXYZ(const VDColorVector& source, VDColorVector& result)
try {
    const Weightfactors& weights = Fit(source.GetMeasureConditions());
    Store(Formulas::LabToXYZ(weights, ToColor(source)), source.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_CIEXYZ")

bool CMetryCalculator::GetVector_CIELCh_ab(const VDColorVector& source, VDColorVector& result)
{
    Store(Formulas::ToLCh(ToColor(source)), source.GetMeasureConditions(), result);
    return true;
}

bool CMetryCalculator::GetVector_CIExyY(const VDColorVector& source, VDColorVector& result)
try {
    const Color xyz = ToColor(source);
    VDColorVector colored;
    const bool lacking = Formulas::LacksXY(xyz);
    if (lacking && !GetFlatXYZ(source.GetMeasureConditions(), colored))
        return false;
    Store(Formulas::XYZToxyY(xyz, lacking ? ToColor(colored) : xyz), source.GetMeasureConditions(), result);
    return true;
}
TRACE_GUARD(className, "GetVector_CIExyY")

bool CMetryCalculator::GetVector_CIEuvY1976(const VDColorVector& source, VDColorVector& result)
try {
    const ColorSpace type = source.GetMeasureConditions().GetColorSpace();
    if (type != ColorSpace::CIEXYZ && type != ColorSpace::CIExyY)
        return false;
    const Color color = ToColor(source);
    Store(type == ColorSpace::CIEXYZ ? Formulas::XYZTouvY1976(color) : Formulas::xyYTouvY1976(color),
          source.GetMeasureConditions(), result);
    result.GetMeasureConditions().SetColorSpace(ColorSpace::CIEuvY1976);
    return true;
}
TRACE_GUARD(className, "GetVector_CIEuvY1976")

bool CMetryCalculator::GetVector_CIEuvY1960(const VDColorVector& source, VDColorVector& result)
try {
    if (!GetVector_CIEuvY1976(source, result))
        return false;
    Store(Formulas::uvY1976To1960(ToColor(result)), result.GetMeasureConditions(), result);
    result.GetMeasureConditions().SetColorSpace(ColorSpace::CIEuvY1960);
    return true;
}
TRACE_GUARD(className, "GetVector_CIEuvY1960")

bool CMetryCalculator::GetVector_CIELab_RGB(const VDColorVector& source, VDColorVector& result)
try {
    const Color channels = Formulas::LabToRGB(Fit(source.GetMeasureConditions()), ToColor(source));
    result.GetMeasureConditions().SetColorSpace(ColorSpace::RGB);
    result.SetElements(channels[0], channels[1], channels[2]);
    return true;
}
TRACE_GUARD(className, "GetVector_CIELab_RGB")

bool CMetryCalculator::GetNormValence(const VDMeasureConditions& conditions, VDColorVector& result)
try {
    const Weightfactors& weights = Fit(conditions);
    result = {weights.GetFilterSum(0), weights.GetFilterSum(1), weights.GetFilterSum(2), conditions};
    return true;
}
TRACE_GUARD(className, "GetNormValence")

double CMetryCalculator::DegToRad(double degrees) noexcept
{
    return Formulas::DegToRad(degrees);
}

double CMetryCalculator::RadToDeg(double radians) noexcept
{
    return Formulas::RadToDeg(radians);
}

}
