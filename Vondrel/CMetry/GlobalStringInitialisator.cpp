#include "Vondrel/CMetry/GlobalStringInitialisator.h"

#include "Vondrel/CMetry/ConditionTypes.h"
#include "Vondrel/CMetry/Internals/ConditionNames.h"
#include "Vondrel/CMetry/Internals/DensityCalculator.h"

#include <cstddef>

namespace Vondrel::CMetry {

namespace {

using Values = std::vector<std::string>;

// All texts of a condition but "Undefined".
template<typename Value, std::size_t count>
Values AllOf(const ConditionName<Value> (&names)[count])
{
    Values values;
    for (const auto& name : names)
        if (name.value != Value::Undefined)
            values.emplace_back(name.text);
    return values;
}

struct SupportedValuesRow {
    std::string_view key;
    Values values;
};

std::vector<SupportedValuesRow> ConditionValues()
{
    return {
        {Keys::Illumination, {"A", "B", "C", "D50", "D55", "D65", "D75", "Dxx", "F", "Userdefined", "Emission"}},
        {Keys::Observer, AllOf(observerNames)},
        {Keys::WhiteBase, AllOf(whiteBaseNames)},
        {Keys::DensityStandard, {"DIN", "DINNB", "ANSIA", "ANSIT", "SPI", "User"}},
        {Keys::DensityFilterMode, AllOf(densityFilterModeNames)},
        {Keys::ColorSpace, AllOf(colorSpaceNames)},
        {Keys::DeltaEFormula, AllOf(deltaEFormulaNames)},
        {Keys::VectorKind, AllOf(vectorKindNames)},
        {Keys::PhysicalFilter, {"No", "Polarizer", "UVCut", "D65", "Custom", "CalibrationCheck", "ND0"}},
        {Keys::SpectrumType, {"Remission", "Emission", "Transmission", "AmbientLight", "Flash"}},
        {Keys::NumberOfDataPoints, {"36"}},
        {Keys::MaxWavelength, {"730nm"}},
        {Keys::MinWavelength, {"380nm"}},
    };
}

std::vector<SupportedValuesRow> ElementLabels()
{
    return {
        {"ColorSpaceDescription.CIELab", {"L*", "a*", "b*", "delta L*", "delta a*", "delta b*"}},
        {"ColorSpaceDescription.CIELCh", {"L*", "C*", "h*", "delta L*", "delta C*", "delta H*"}},
        {"ColorSpaceDescription.CIELuv", {"L", "u*", "v*", "delta L", "delta u*", "delta v*"}},
        {"ColorSpaceDescription.CIELChuv", {"L", "C", "h", "delta L", "delta C", "delta H"}},
        {"ColorSpaceDescription.CIEuvY1960",
         {"u' 1960", "v' 1960", "Y 1960", "delta u' 1960", "delta v' 1960", "delta L 1960"}},
        {"ColorSpaceDescription.CIEuvY1976",
         {"u' 1976", "v' 1976", "Y 1976", "delta u' 1976", "delta v' 1976", "delta L 1976"}},
        {"ColorSpaceDescription.CIEXYZ", {"X", "Y", "Z", "delta X", "delta Y", "delta Z"}},
        {"ColorSpaceDescription.CIExyY", {"x", "y", "Y", "delta x", "delta y", "delta Y"}},
        {"ColorSpaceDescription.HunterLab", {"L(l)", "a(l)", "b(l)", "delta L(l)", "delta a(l)", "delta b(l)"}},
        {"ColorSpaceDescription.RxRyRz", {"Rx", "Ry", "Rz", "delta Rx", "delta Ry", "delta Rz"}},
        {"ColorSpaceDescription.LABvd", {"L(vd)", "a(vd)", "b(vd)", "delta L(vd)", "delta a(vd)", "delta b(vd)"}},
        {"ColorSpaceDescription.LCHvd", {"L(vd)", "C(vd)", "h(vd)", "delta L(vd)", "delta C(vd)", "delta H(vd)"}},
        {"ColorSpaceDescription.RGB", {"R", "G", "B", "delta R", "delta G", "delta B"}},
        {"ColorSpaceDescription.CMYK", {"C", "M", "Y", "K", "delta C", "delta M", "delta Y", "delta K"}},
    };
}

}

Initialisator::Initialisator()
{
    for (auto& row : ConditionValues())
        supportedValues.emplace(row.key, std::move(row.values));
    for (auto& row : ElementLabels())
        supportedValues.emplace(row.key, std::move(row.values));
    DensityCalculator::InitializeDensityCalibration();
}

const Initialisator& Initialisator::Instance()
{
    static const Initialisator& instance = *new Initialisator; // calls may come while the process ends
    return instance;
}

const Values& Initialisator::GetSupportedValues(std::string_view key) const
{
    static const Values& none = *new Values;
    const auto found = supportedValues.find(key);
    return found == supportedValues.end() ? none : found->second;
}

}
