#include "Vondrel/CMetry/VDMeasureConditions.h"

#include "Vondrel/CMetry/CMetryException.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/CMetry/VDSpectrum.h"
#include "Vondrel/Utilities/Exceptions/NullPointerException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>

namespace Vondrel::CMetry {

namespace {

const char* const className = "VDMeasureConditions";

using Translator = MeasureConditionTranslator;

const std::vector<std::string>& KnownSpectrumTypes()
{
    static const auto& types = VDMeasureConditions::GetSupportedValues(Keys::SpectrumType);
    return types;
}

std::string FirstSupported(std::string_view key)
{
    return VDMeasureConditions::GetSupportedValues(key).front();
}

}

struct VDMeasureConditions::Extras {
    std::map<std::string, std::string, std::less<>> customConditions{{std::string(Keys::CustomCondition), "Disable"}};
    std::string spectrumType; // counts where none of the supported ones is set
    std::shared_ptr<const VDSpectrum> userdefinedIllumination;

    bool AreDefault() const
    {
        return !userdefinedIllumination && spectrumType.empty() && customConditions.size() == 1
            && customConditions.begin()->second == "Disable";
    }
};

const VDMeasureConditions::Extras& VDMeasureConditions::GetExtras() const
{
    static const Extras& none = *new Extras; // calls may come while the process ends
    return extras ? *extras : none;
}

template<typename Change>
void VDMeasureConditions::ChangeExtras(Change change)
{
    auto changed = std::make_shared<Extras>(GetExtras());
    change(*changed);
    if (changed->AreDefault())
        extras.reset();
    else
        extras = std::move(changed);
}

bool VDMeasureConditions::operator==(const VDMeasureConditions& other) const
{
    if (extras == other.extras)
        return values == other.values;
    Values theirValues = other.values;
    theirValues.spectrumType = values.spectrumType;
    if (values != theirValues)
        return false;
    if (GetSpectrumType() != other.GetSpectrumType())
        return false;
    const VDSpectrum* const mine = FindUserdefinedIllumination();
    const VDSpectrum* const theirs = other.FindUserdefinedIllumination();
    return mine == theirs || (mine != nullptr && theirs != nullptr && *mine == *theirs);
}

void VDMeasureConditions::SetMeasureCondition(const std::string& key, const std::string& value)
try {
    if (key == Keys::PhysicalFilter)
        values.physicalFilter = Translator::GetPhysicalFilter(value);
    else if (key == Keys::Observer)
        values.observer = Translator::GetObserver(value);
    else if (key == Keys::Illumination)
        SetIllumination(Translator::GetIllumination(value));
    else if (key == Keys::WhiteBase)
        values.whiteBase = Translator::GetWhiteBase(value);
    else if (key == Keys::DensityStandard)
        values.densityStandard = Translator::GetDensityStandard(value);
    else if (key == Keys::DensityFilterMode)
        values.densityFilterMode = Translator::GetDensityFilterMode(value);
    else if (key == Keys::ColorSpace)
        values.colorSpace = Translator::GetColorSpace(value);
    else if (key == Keys::VectorKind)
        values.vectorKind = Translator::GetRelativeOrAbsoluteVector(value);
    else if (key == Keys::DeltaEFormula)
        values.deltaEFormula = Translator::GetDeltaEFormula(value);
    else if (key == Keys::SpectrumType)
        SetSpectrumType(value);
    else if (key != Keys::NumberOfDataPoints && key != Keys::MaxWavelength && key != Keys::MinWavelength)
        SetCustomCondition(key, value);
}
TRACE_GUARD(className, "SetMeasureCondition")

std::string VDMeasureConditions::GetMeasureCondition(const std::string& key) const
try {
    if (key == Keys::PhysicalFilter)
        return Translator::ToString(values.physicalFilter);
    if (key == Keys::NumberOfDataPoints || key == Keys::MaxWavelength || key == Keys::MinWavelength)
        return FirstSupported(key);
    if (key == Keys::Observer)
        return Translator::ToString(values.observer);
    if (key == Keys::Illumination)
        return Translator::ToString(values.illumination);
    if (key == Keys::WhiteBase)
        return Translator::ToString(values.whiteBase);
    if (key == Keys::DensityStandard)
        return Translator::ToString(values.densityStandard);
    if (key == Keys::DensityFilterMode)
        return Translator::ToString(values.densityFilterMode);
    if (key == Keys::ColorSpace)
        return Translator::ToString(values.colorSpace);
    if (key == Keys::VectorKind)
        return Translator::ToString(values.vectorKind);
    if (key == Keys::DeltaEFormula)
        return Translator::ToString(values.deltaEFormula);
    if (key == Keys::SpectrumType)
        return GetSpectrumType();

    const auto& custom = GetExtras().customConditions;
    const auto found = custom.find(key);
    return CustomConditionsEnabled() && found != custom.end() ? found->second : "Undefined";
}
TRACE_GUARD(className, "GetMeasureCondition")

void VDMeasureConditions::SetMeasureConditions(const std::map<std::string, std::string>& conditions)
try {
    for (const auto& [key, value] : conditions)
        SetMeasureCondition(key, value);
}
TRACE_GUARD(className, "SetMeasureConditions")

bool VDMeasureConditions::CustomConditionsEnabled() const
{
    return GetExtras().customConditions.find(Keys::CustomCondition)->second == "Enable";
}

void VDMeasureConditions::SetCustomCondition(const std::string& key, const std::string& value)
{
    if (key != Keys::CustomCondition && !CustomConditionsEnabled())
        throw CMetryException("Modification not supported for key: " + key,
                              THROW_LOCATION(className, "SetMeasureCondition"));
    ChangeExtras([&](Extras& changed) { changed.customConditions[key] = value; });
}

const std::string& VDMeasureConditions::GetSpectrumType() const
{
    if (values.spectrumType == otherSpectrumType)
        return GetExtras().spectrumType;
    return KnownSpectrumTypes()[static_cast<std::size_t>(values.spectrumType)];
}

void VDMeasureConditions::SetSpectrumType(const std::string& value)
{
    const auto& known = KnownSpectrumTypes();
    const auto found = std::find(known.begin(), known.end(), value);
    const bool other = found == known.end();
    if (other || values.spectrumType == otherSpectrumType)
        ChangeExtras([&](Extras& changed) { changed.spectrumType = other ? value : ""; });
    values.spectrumType = other ? otherSpectrumType : static_cast<std::int8_t>(found - known.begin());
}

void VDMeasureConditions::SetIllumination(const VDIllumination& value)
try {
    const VDIllumination copy = value; // it may be the one that stands here
    if (copy.GetIlluminationTYPE() != IlluminationTYPE::Userdefined && FindUserdefinedIllumination() != nullptr)
        ChangeExtras([](Extras& changed) { changed.userdefinedIllumination.reset(); });
    values.illumination = copy;
}
TRACE_GUARD(className, "SetIllumination")

void VDMeasureConditions::SetUserdefinedIllumination(const VDSpectrum& spectrum)
try {
    const auto copy = std::make_shared<const VDSpectrum>(spectrum);
    ChangeExtras([&](Extras& changed) { changed.userdefinedIllumination = copy; });
    SetMeasureCondition(std::string(Keys::Illumination), "Userdefined");
}
TRACE_GUARD(className, "SetUserdefinedIllumination")

const VDSpectrum& VDMeasureConditions::GetUserdefinedIllumination() const
try {
    const VDSpectrum* const spectrum = FindUserdefinedIllumination();
    if (spectrum == nullptr)
        throw Utilities::Exceptions::NullPointerException("no spectrum of the user-defined illumination",
                                                          THROW_LOCATION(className, "GetUserdefinedIllumination"));
    return *spectrum;
}
TRACE_GUARD(className, "GetUserdefinedIllumination")

const VDSpectrum* VDMeasureConditions::FindUserdefinedIllumination() const noexcept
{
    return extras ? extras->userdefinedIllumination.get() : nullptr;
}

const std::vector<std::string>& VDMeasureConditions::GetSupportedValues(std::string_view key)
try {
    return Initialisator::Instance().GetSupportedValues(key);
}
TRACE_GUARD(className, "GetSupportedValues")

std::string VDMeasureConditions::GetElementName(std::size_t index) const
try {
    const auto& labels = GetSupportedValues("ColorSpaceDescription." + Translator::ToString(values.colorSpace));
    if (index >= labels.size() / 2)
        throw CMetryException("No element " + Utilities::Tools::lexical_cast<std::string>(index) + " in ColorSpace "
                                  + Translator::ToString(values.colorSpace),
                              THROW_LOCATION(className, "GetElementName"));
    return labels[values.vectorKind == VectorKind::DeltaVector ? index + 3 : index];
}
TRACE_GUARD(className, "GetElementName")

}
