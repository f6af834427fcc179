#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/OrvexContextValidator.h"

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextManager.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>

namespace OrvexSDK {

namespace {

SDKProxy& Proxy()
{
    return *ContextManager::Instance().Current().Proxy();
}

OrvexSDKProxy::Orvex& Device()
{
    return *dynamic_cast<OrvexSDKProxy&>(Proxy()).GetDevice();
}

bool ReadsDensities(const std::string& function)
{
    return function == "OX_GetDensities" || function == "OX_GetDensity" || function == "OX_SetSubstrate";
}

bool ReadsSamples(const std::string& function)
{
    return function == "OX_GetSpectrum" || function == "OX_GetTriStimulus";
}

}

void OrvexContextValidator::Validate(const std::string& functionName, const CallParameters& parameters)
try {
    // A refused call leaves a visible mark in the caller's array.
    if (parameters.buffer != nullptr)
        std::fill_n(parameters.buffer, parameters.bufferSize, -1000.0F);
    if (ReadsDensities(functionName)) {
        ValidateReflectanceMode();
        ValidatePointer(parameters.buffer);
    } else if (ReadsSamples(functionName)) {
        ValidatePointer(parameters.buffer);
    } else if (functionName == "OX_SetOption") {
        ValidateSetOption(parameters);
    } else if (functionName == "OX_GetDeviceInfo" || functionName == "OX_GetOption") {
        ValidateRecognition(ContextParameterValidator::Validate(parameters.key));
    } else if (functionName == "OX_TriggerCountedScan" && parameters.index <= 0) {
        throw SDKError(OX_InvalidParameter, "count must be > 0 !!",
                       THROW_LOCATION("OrvexContextValidator", "Validate"));
    }
}
TRACE_GUARD("OrvexContextValidator", "Validate")

void OrvexContextValidator::ValidateReflectanceMode()
{
    const std::int32_t mode = Device().GetMode();
    const ModeRow* const row = FindMode(mode);
    if (row != nullptr && row->needs == ModeRow::Needs::Reflectance)
        return;
    throw SDKError(OX_NotSupported,
                   "density calculation only supported in reflectance mode. Current mode is "
                       + TranslateMeasureMode(mode),
                   THROW_LOCATION("OrvexContextValidator", "Validate"));
}

void OrvexContextValidator::ValidateSetOption(const CallParameters& parameters)
{
    const std::string_view key = ContextParameterValidator::Validate(parameters.key);
    const std::string_view value = ContextParameterValidator::Validate(parameters.value);
    const OptionRow* const row = FindOption(key);
    if (row != nullptr && row->setting == OptionRow::Setting::Refused)
        throw SDKError(OX_InvalidParameter, "The physical filter can not be set !!",
                       THROW_LOCATION("OrvexContextValidator", "Validate"));
    ValidateRecognition(key);
    ValidateMeasureMode(key, value);
    ValidateResetMode(key, value);
}

void OrvexContextValidator::ValidateRecognition(std::string_view key)
{
    if (key != Key::Recognition)
        return;
    const ModeRow* const row = FindMode(Device().GetMode());
    if (row == nullptr || row->recognised == ModeRow::Recognised::Nothing)
        throw SDKError(OX_NotSupported, "recoginition only supported in reflectance-scan mode",
                       THROW_LOCATION("OrvexContextValidator", "ValidateRecognition"));
}

void OrvexContextValidator::ValidateMeasureMode(std::string_view key, std::string_view value)
{
    if (key != Key::MeasurementMode)
        return;
    const ModeRow* const row = FindMode(value);
    const auto needs = row == nullptr ? ModeRow::Needs::Nothing : row->needs;
    if (Device().IsOrvexMonitor() && needs == ModeRow::Needs::Reflectance)
        throw SDKError(OX_NotSupported,
                       "the connected device is a ox-monitor and doesn't support reflectance measurements !",
                       THROW_LOCATION("OrvexContextValidator", "ValidateMeasureMode"));
    if (!Device().HasAmbientLightSupport() && needs == ModeRow::Needs::AmbientHead)
        throw SDKError(OX_NotSupported, "the connected device doesn't support ambient-light measurements !",
                       THROW_LOCATION("OrvexContextValidator", "ValidateMeasureMode"));
}

void OrvexContextValidator::ValidateResetMode(std::string_view key, std::string_view value)
{
    if (key != Key::Reset || value == "All" || value.starts_with("Orvex"))
        return;
    if (Proxy().GetAvailableMeasureModes().find(value) == std::string::npos)
        throw SDKError(OX_NotSupported, "the connected device doesn't support \"" + std::string(value) + "\" !",
                       THROW_LOCATION("OrvexContextValidator", "ValidateResetMode"));
}

}
