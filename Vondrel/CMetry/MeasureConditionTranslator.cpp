#include "Vondrel/CMetry/MeasureConditionTranslator.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/Internals/ConditionNames.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <cstddef>
#include <limits>

namespace Vondrel::CMetry {

namespace {

const char* const className = "MeasureConditionTranslator";

[[noreturn]] void Refuse(const std::string& value, const char* what, const char* methodName)
{
    throw CMetryException(value + what, THROW_LOCATION(className, methodName));
}

template<typename Value, std::size_t count>
Value ToNumber(const std::string& text, const ConditionName<Value> (&names)[count], const char* refusal,
               const char* methodName)
{
    for (const auto& name : names)
        if (text == name.text)
            return name.value;
    Refuse(text, refusal, methodName);
}

template<typename Value, std::size_t count>
std::string ToText(Value value, const ConditionName<Value> (&names)[count])
{
    for (const auto& name : names)
        if (value == name.value)
            return name.text;
    return "Undefined";
}

const char* const notAnIllumination = " is not a valid illuminationtype";

// The number behind the first letters of an illuminant's text.
template<typename Number>
Number ReadNumber(const std::string& value, std::size_t position)
{
    if (value.size() < position)
        Refuse(value, notAnIllumination, "GetIllumination");
    const auto number = Utilities::Tools::lexical_cast<std::int32_t>(value.substr(position));
    if (number < 0 || number > std::numeric_limits<Number>::max())
        Refuse(value, notAnIllumination, "GetIllumination");
    return static_cast<Number>(number);
}

}

WhiteBase MeasureConditionTranslator::GetWhiteBase(const std::string& value)
try {
    return ToNumber(value, whiteBaseNames, " is not a valid whitespacetype", "GetWhiteBase");
}
TRACE_GUARD(className, "GetWhiteBase")

Observer MeasureConditionTranslator::GetObserver(const std::string& value)
try {
    return ToNumber(value, observerNames, " is not a valid observertype", "GetObserver");
}
TRACE_GUARD(className, "GetObserver")

DensityStandard MeasureConditionTranslator::GetDensityStandard(const std::string& value)
try {
    return ToNumber(value, densityStandardNames, " is not a valid density standard type", "GetDensityStandard");
}
TRACE_GUARD(className, "GetDensityStandard")

DensityFilterMode MeasureConditionTranslator::GetDensityFilterMode(const std::string& value)
try {
    return ToNumber(value, densityFilterModeNames, " is not a valid density filter mode", "GetDensityFilterMode");
}
TRACE_GUARD(className, "GetDensityFilterMode")

PhysicalFilter MeasureConditionTranslator::GetPhysicalFilter(const std::string& value)
try {
    return ToNumber(value, physicalFilterNames, " is not a valid whitespacetype", "GetPhysicalFilter");
}
TRACE_GUARD(className, "GetPhysicalFilter")

VectorKind MeasureConditionTranslator::GetRelativeOrAbsoluteVector(const std::string& value)
try {
    return ToNumber(value, vectorKindNames, " is not valid for absolute or relative vectors",
                    "GetRelativeOrAbsoluteVector");
}
TRACE_GUARD(className, "GetRelativeOrAbsoluteVector")

ColorSpace MeasureConditionTranslator::GetColorSpace(const std::string& value)
try {
    return ToNumber(value, colorSpaceNames, " is not a valid color space", "GetColorSpace");
}
TRACE_GUARD(className, "GetColorSpace")

DeltaEFormula MeasureConditionTranslator::GetDeltaEFormula(const std::string& value)
try {
    return ToNumber(value, deltaEFormulaNames, " is not a valid delta E formula", "GetDeltaEFormula");
}
TRACE_GUARD(className, "GetDeltaEFormula")

VDIllumination MeasureConditionTranslator::GetIllumination(const std::string& value)
try {
    for (const auto& name : illuminationNames)
        if (value == name.text && name.value != IlluminationTYPE::Fxx && name.value != IlluminationTYPE::Dxx)
            return VDIllumination(name.value);

    const auto prefixLength = [](IlluminationTYPE type) { return ToText(type, illuminationNames).size(); };
    if (value.starts_with('F')) {
        VDIllumination illumination(IlluminationTYPE::Fxx);
        illumination.SetFValue(ReadNumber<std::uint8_t>(value, prefixLength(IlluminationTYPE::Fxx)));
        return illumination;
    }
    if (value.starts_with('D')) {
        VDIllumination illumination(IlluminationTYPE::Dxx);
        illumination.SetColorTemperature(ReadNumber<std::uint16_t>(value, prefixLength(IlluminationTYPE::Dxx)));
        return illumination;
    }
    Refuse(value, notAnIllumination, "GetIllumination");
}
TRACE_GUARD(className, "GetIllumination")

std::string MeasureConditionTranslator::ToString(WhiteBase value)
{
    return ToText(value, whiteBaseNames);
}

std::string MeasureConditionTranslator::ToString(Observer value)
{
    return ToText(value, observerNames);
}

std::string MeasureConditionTranslator::ToString(DensityStandard value)
{
    return ToText(value, densityStandardNames);
}

std::string MeasureConditionTranslator::ToString(DensityFilterMode value)
{
    return ToText(value, densityFilterModeNames);
}

std::string MeasureConditionTranslator::ToString(PhysicalFilter value)
{
    return ToText(value, physicalFilterNames);
}

std::string MeasureConditionTranslator::ToString(VectorKind value)
{
    return ToText(value, vectorKindNames);
}

std::string MeasureConditionTranslator::ToString(ColorSpace value)
{
    return ToText(value, colorSpaceNames);
}

std::string MeasureConditionTranslator::ToString(DeltaEFormula value)
{
    return ToText(value, deltaEFormulaNames);
}

std::string MeasureConditionTranslator::ToString(const VDIllumination& value)
{
    const std::string text = ToText(value.GetIlluminationTYPE(), illuminationNames);
    if (value.GetIlluminationTYPE() == IlluminationTYPE::Dxx)
        return text + Utilities::Tools::lexical_cast<std::string>(value.GetColorTemperature());
    if (value.GetIlluminationTYPE() == IlluminationTYPE::Fxx)
        return text + Utilities::Tools::lexical_cast<std::string>(static_cast<std::uint16_t>(value.GetFValue()));
    return text;
}

}
