// The options of the spectrophotometer that its proxy does not share with others: properties of the device by number,
// and what a tool in the same process asks for.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/ModeScope.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/OrvexSDKProxy.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/PropertyText.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "platform/RunTime.h"

#include <optional>
#include <stdexcept>

namespace OrvexSDK {

using Vondrel::DeviceDriver::Generic::Configuration::Property;
using Vondrel::DeviceDriver::ox::BrindleUSBDevice;
using Vondrel::Utilities::Exceptions::ResourceException;
using Vondrel::Utilities::Tools::lexical_cast;
namespace Id = Vondrel::DeviceDriver::Generic::Configuration;
namespace Device = Vondrel::DeviceDriver::ox;

namespace {

template<class Pointer>
std::string AddressText(Pointer pointer)
{
    return std::to_string(reinterpret_cast<std::uintptr_t>(pointer));
}

}

void OrvexSDKProxy::SetDeviceSpecificOption(const std::string& key, const std::string& value)
try {
    if (key == Key::Recognition)
        SetRecognitionStrategy(!IsYes(value));
    else if (key == Key::Beep)
        BrindleUSBDevice::SetBeep(IsYes(value));
    else if (key == Key::AdaptiveMode)
        EnterBackdoor(lexical_cast<std::string>(TranslateKey(key)), IsYes(value) ? "1" : "0");
    else
        EnterBackdoor(key, value);
}
TRACE_GUARD("OrvexSDKProxy", "SetOption")

std::string OrvexSDKProxy::GetDeviceSpecificOption(const std::string& key)
try {
    std::string result;
    if (IsColorimetricKey(key))
        result = GetColorMetryProvider().GetCondition(key);
    else if (IsDeviceDriverKey(key))
        result = GetDeviceDriverInfo(key);
    else if (key == Key::MeasurementMode)
        result = TranslateMeasureMode(GetMode());
    else if (key == Key::Recognition)
        result = YesOrNo(IsRecognitionEnabled());
    else if (key == Key::Beep)
        result = YesOrNo(BrindleUSBDevice::IsBeepOn());
    else if (key == Key::LastAutoDensityFilter)
        result = GetOptions()[key];
    else if (key == "oxPInst")
        result = AddressText(this);
    else if (key == "scsOFP")
        result = AddressText(&SetSpectralCorrection);
    else if (key == "ssvOFP")
        result = AddressText(&SetSampleValues);
    else
        result = EnterBackdoor(key);
    if (result.empty())
        throw SDKError(OX_InvalidParameter, "Unknown argument " + key,
                       THROW_LOCATION("OrvexSDKProxy", "GetDeviceSpecificOption"));
    return result;
}
TRACE_GUARD("OrvexSDKProxy", "GetDeviceSpecificOption")

void OrvexSDKProxy::EnterBackdoor(const std::string& key, const std::string& value)
try {
    try {
        const auto id = lexical_cast<std::uint16_t>(key);
        Device().SetCondition(id, PropertyFromText(value));
    } catch (const std::invalid_argument&) {
        // Not a property, or not a value for one: a plain entry of the mode.
        GetOptions()[key] = value;
    }
}
TRACE_GUARD("OrvexSDKProxy", "EnterBackdoor")

std::string OrvexSDKProxy::EnterBackdoor(const std::string& key)
try {
    std::uint16_t id = 0;
    try {
        id = lexical_cast<std::uint16_t>(key);
    } catch (...) {
        Platform::PassForcedUnwind();
        return "";
    }
    std::optional<ModeScope> scope;
    if (!Id::ConfigurationDataConverter::IsModeDependent(id))
        scope.emplace(Device(), Device::ServiceMode);
    return TextFromProperty(Device().GetCondition(id));
}
TRACE_GUARD("OrvexSDKProxy", "EnterBackdoor")

std::string OrvexSDKProxy::GetDeviceDriverInfo(const std::string& key)
try {
    const std::uint16_t id = TranslateKey(key);
    if (key == Key::AdaptiveMode)
        return YesOrNo(Device().GetCondition(id).AsLong() != 0);
    if (key != Key::SerialNumber && key != Key::PhysicalFilter)
        throw ResourceException("id \"" + key + "\" doesn't exist",
                                THROW_LOCATION("OrvexSDKProxy", "GetDeviceDriverInfo"));
    const ModeScope scope(Device(), Device::ServiceMode);
    const std::int32_t value = Device().GetCondition(id).AsLong();
    if (key == Key::SerialNumber)
        return lexical_cast<std::string>(value);
    return value == Id::ultravioletFilter ? "2" : "1";
}
TRACE_GUARD("OrvexSDKProxy", "GetDeviceDriverInfo")

void SetSpectralCorrection(OrvexSDKProxy* proxy, bool enable, const float* spectrum)
try {
    const Property correction =
        enable ? Property(std::vector<float>(spectrum, spectrum + OX_SPECTRUM_SIZE)) : Property(std::int32_t{0});
    proxy->GetDevice()->SetCondition(Id::SpectralCorrection, correction);
}
TRACE_GUARD("", "SetSpectralCorrection")

void SetSampleValues(OrvexSDKProxy* proxy, const float* const* spectra, std::int32_t count)
try {
    proxy->ReplaceSamples(spectra, count);
}
TRACE_GUARD("", "SetSampleValues")

void OrvexSDKProxy::ReplaceSamples(const float* const* spectra, std::int32_t count)
{
    SampleCache& cache = CurrentModeState().cache;
    if (cache.IsEmpty())
        return;
    cache.Clear();
    for (std::int32_t i = 0; i < count; ++i)
        cache.Append(spectra[i], OX_SPECTRUM_SIZE);
}

}
