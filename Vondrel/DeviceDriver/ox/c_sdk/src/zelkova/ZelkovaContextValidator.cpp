#include "Vondrel/DeviceDriver/ox/c_sdk/src/zelkova/ZelkovaContextValidator.h"

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextManager.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/zelkova/ZelkovaSDKProxy.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

namespace ZelkovaSDK {

using namespace OrvexSDK;
using Vondrel::Utilities::Tools::lexical_cast;

namespace {

SDKProxy& Proxy()
{
    return *ContextManager::Instance().Current().Proxy();
}

}

void ZelkovaContextValidator::Validate(const std::string& functionName, const CallParameters& parameters)
try {
    if (functionName == "OX_GetDeviceInfo" || functionName == "OX_GetOption") {
        const std::string_view key = ContextParameterValidator::Validate(parameters.key);
        if (key == Key::Recognition)
            throw SDKError(OX_InternalError, "invalid key Recognition for Orvex-Display",
                           THROW_LOCATION("ZelkovaContextValidator", "Validate"));
    } else if (functionName == "OX_SetOption") {
        const std::string_view key = ContextParameterValidator::Validate(parameters.key);
        const std::string_view value = ContextParameterValidator::Validate(parameters.value);
        if (key == Key::MeasurementMode)
            ValidateMeasureMode(value);
    } else if (functionName == "OX_TriggerMeasurement") {
        ValidateScreenType();
    } else if (functionName == "OX_GetTriStimulus") {
        ValidateIndex(parameters);
        ValidatePointer(parameters.buffer);
    }
}
TRACE_GUARD("ZelkovaContextValidator", "Validate")

void ZelkovaContextValidator::ValidateMeasureMode(std::string_view value)
{
    const ModeRow* const row = FindMode(value);
    if (row == nullptr || !row->onColorimeter)
        throw SDKError(OX_NotSupported, "this device doesn't support measure mode" + std::string(value), "");
    if (row->needs == ModeRow::Needs::AmbientHead
        && !dynamic_cast<ZelkovaSDKProxy&>(Proxy()).GetDevice().SupportsAmbientLight())
        throw SDKError(OX_NotSupported, "this device doesn't have ambient light support", "");
}

void ZelkovaContextValidator::ValidateScreenType()
{
    if (Proxy().GetOption(Key::MeasurementMode) != TranslateMeasureMode(SingleEmission))
        return;
    const std::string screen = Proxy().GetOption(Key::ScreenType);
    if (screen != "LCD" && screen != "CRT")
        throw SDKError(OX_InvalidParameter, "screen type not set",
                       THROW_LOCATION("ZelkovaContextValidator", "Validate"));
}

void ZelkovaContextValidator::ValidateIndex(const CallParameters& parameters)
{
    if (parameters.index < -1)
        throw SDKError(OX_InvalidParameter, "index < 0 !", THROW_LOCATION("ZelkovaContextValidator", "Validate"));
    if (parameters.index >= parameters.limit)
        throw SDKError(OX_IndexOutOfRange,
                       "index out of range (" + lexical_cast<std::string>(parameters.index) + " > "
                           + lexical_cast<std::string>(parameters.limit) + ")",
                       THROW_LOCATION("ZelkovaContextValidator", "Validate"));
}

}
