#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/ColorMetryProvider.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/CMetry/DensityService.h"
#include "Vondrel/CMetry/MeasureConditionTranslator.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "orvex/ox.h"

#include <algorithm>

namespace OrvexSDK {

using Vondrel::CMetry::CMetryService;
using Vondrel::CMetry::DensityFilterMode;
using Vondrel::CMetry::DensityService;
using Vondrel::CMetry::MeasureConditionTranslator;
using Vondrel::CMetry::VDMeasureConditions;
using Vondrel::CMetry::VDSpectrum;

namespace {

/// In the order of the exported densities.
const auto& filterNames = *new std::array<std::string, ColorMetryProvider::filterCount>{"Cyan", "Magenta", "Yellow",
                                                                                        "Black"}; // never destroyed

}

ColorMetryProvider::ColorMetryProvider()
{
    conditions.SetMeasureCondition(Key::WhiteBase, "Absolute");
}

bool ColorMetryProvider::ChoosesFilter() const
{
    return conditions.GetDensityFilterMode() == DensityFilterMode::Auto;
}

std::string ColorMetryProvider::GetCondition(const std::string& key) const
try {
    return conditions.GetMeasureCondition(key);
}
TRACE_GUARD("ColorMetryProvider", "GetCondition")

void ColorMetryProvider::SetCondition(const std::string& key, const std::string& value)
try {
    conditions.SetMeasureCondition(key, value);
}
TRACE_GUARD("ColorMetryProvider", "SetCondition")

std::array<float, 3> ColorMetryProvider::GetTristimulus(const std::vector<float>& sample) const
try {
    const auto vector = CMetryService::GetVector(VDSpectrum(sample), conditions);
    return {vector[0], vector[1], vector[2]};
}
TRACE_GUARD("ColorMetryProvider", "GetTristimulus")

void ColorMetryProvider::SetDensitySubstrat(const float* spectrum)
try {
    substrate = VDSpectrum(spectrum);
    paper = Vondrel::Utilities::Tools::SmartPointer<Vondrel::CMetry::VDSample>(new Vondrel::CMetry::VDSample);
    paper->SetSpectrum(substrate);
    DensityService::SetPaperWhite(paper);
}
TRACE_GUARD("ColorMetryProvider", "SetDensitySubstrat")

void ColorMetryProvider::PutPaperInForce() const
{
    if (conditions.GetWhiteBase() != Vondrel::CMetry::WhiteBase::Paper)
        return;
    if (!substrate.IsValid())
        throw SDKError(OX_NoSubstrate, "no substrate set", THROW_LOCATION("ColorMetryProvider", "GetDensity"));
    DensityService::SetPaperWhite(paper);
}

std::pair<float, std::string> ColorMetryProvider::GetDensity(const std::vector<float>& sample) const
try {
    PutPaperInForce();
    const VDSpectrum spectrum(sample);
    const float density = DensityService::GetDensity(spectrum, conditions);
    return {density,
            ChoosesFilter() ? DensityService::GetDensityFilterName(spectrum, conditions)
                            : MeasureConditionTranslator::ToString(conditions.GetDensityFilterMode())};
}
TRACE_GUARD("ColorMetryProvider", "GetDensity")

std::pair<std::array<float, ColorMetryProvider::filterCount>, std::string>
ColorMetryProvider::GetDensities(const std::vector<float>& sample) const
try {
    PutPaperInForce();
    auto channel = DensityFilterMode::Undefined;
    const auto [black, cyan, magenta, yellow] = DensityService::GetDensities(VDSpectrum(sample), conditions, channel);
    return {{cyan, magenta, yellow, black}, MeasureConditionTranslator::ToString(channel)};
}
TRACE_GUARD("ColorMetryProvider", "GetDensities")

std::int32_t ColorMetryProvider::GetFilterIndex(const std::string& filterName)
{
    return static_cast<std::int32_t>(std::find(filterNames.begin(), filterNames.end(), filterName)
                                     - filterNames.begin());
}

}
