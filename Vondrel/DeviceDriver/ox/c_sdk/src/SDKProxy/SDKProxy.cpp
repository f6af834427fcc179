#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SDKProxy.h"

#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "platform/RunTime.h"

#include <utility>

namespace OrvexSDK {

using Vondrel::DeviceDriver::Generic::Utilities::Timing;
using Vondrel::Utilities::Tools::lexical_cast;

namespace {

constexpr const char* versionText = "Version " ORVEX_VERSION "  Build 103";

}

void SDKProxy::MessageFromDevice(unsigned short message, std::int32_t source)
try {
    const auto text = lexical_cast<std::string>(source);
    // On the device's thread, perhaps while the proxy goes: nothing here may ask for its dynamic type.
    SDKProxy::SendDeviceMessage(TranslateDeviceMessage(message), text);
}
TRACE_GUARD("SDKProxy", "MessageFromDevice")

OX_ErrorHandler SDKProxy::RegisterErrorHandler(OX_ErrorHandler handler)
{
    return std::exchange(errorHandler, handler);
}

OX_DeviceMessageHandler SDKProxy::RegisterDeviceMessageHandler(OX_DeviceMessageHandler handler)
{
    return messageHandler.exchange(handler);
}

const std::string& SDKProxy::GetDeviceInfo(const std::string& key)
try {
    return GetOption(key);
}
TRACE_GUARD("SDKProxy", "GetDeviceInfo")

void SDKProxy::SetOption(const std::string& key, const std::string& value)
try {
    if (key == Key::MeasurementMode)
        SetMeasureMode(value);
    else if (key == Key::Reset)
        modeStates.erase(TranslateMeasureMode(value));
    else if (IsColorimetricKey(key))
        GetColorMetryProvider().SetCondition(key, value);
    else
        SetDeviceSpecificOption(key, value);
}
TRACE_GUARD("SDKProxy", "SetOption")

const std::string& SDKProxy::GetOption(const std::string& key)
try {
    const OptionRow* const row = FindOption(key);
    const auto answered = row == nullptr ? OptionRow::Answer::Device : row->answer;
    if (answered == OptionRow::Answer::Library)
        AnswerFromLibrary(key);
    else if (answered == OptionRow::Answer::Condition)
        answer = GetColorMetryProvider().GetCondition(key);
    else if (!IsConnected())
        answer.clear();
    else if (answered == OptionRow::Answer::Connected)
        AnswerWhileConnected(key);
    else
        answer = GetDeviceSpecificOption(key);
    return answer;
}
TRACE_GUARD("SDKProxy", "GetOption")

void SDKProxy::AnswerFromLibrary(const std::string& key)
{
    if (key == Key::DeviceType)
        answer = GetDeviceType();
    else if (key == "Version")
        answer = versionText;
    else if (key == "LastError")
        answer = GetLastError().what();
    else if (key == "ExtendedErrorInformation")
        answer = GetLastError().ExtendedInformation();
    else
        answer = YesOrNo(CanConnect());
}

/// What cannot be asked is not connected.
bool SDKProxy::CanConnect()
{
    try {
        return IsConnected();
    } catch (...) {
        Platform::PassForcedUnwind();
        return false;
    }
}

void SDKProxy::AnswerWhileConnected(const std::string& key)
{
    if (key == "AvailableSamples")
        answer = lexical_cast<std::string>(GetSampleCount());
    else if (key == "IsKeyPressed")
        answer = YesOrNo(IsKeyPressed());
    else if (key == Key::LastCalibrationTime)
        answer = lexical_cast<std::string>(GetLastCalibrationTime());
    else if (key == Key::LastCalibrationCounter)
        answer = lexical_cast<std::string>(GetLastCalibrationCounter());
    else
        answer = GetAvailableMeasureModes();
}

void SDKProxy::SetLastError(const SDKError& error)
{
    lastError = error;
}

const SDKError& SDKProxy::GetLastError()
{
    return lastError;
}

// No trace guard: it would turn the application's own exception into one of ours.
void SDKProxy::HandleError(const std::string& function, const SDKError& error)
{
    lastError = error;
    if (errorHandler == nullptr)
        return;
    // The handler may drop this proxy: nothing of it is touched once the call has begun.
    const OX_ErrorHandler handler = errorHandler;
    try {
        handler(function.c_str(), error.Code(), error.what());
    } catch (const OXSDK::Exception&) {
        throw;
    } catch (...) {
        Platform::PassForcedUnwind();
        // An application's failure is no business of the failing call.
    }
}

void SDKProxy::SendDeviceMessage(std::int32_t message, const std::string& text)
try {
    const OX_DeviceMessageHandler handler = messageHandler;
    if (handler == nullptr)
        return;
    try {
        handler(message, text.c_str());
    } catch (...) {
        Platform::PassForcedUnwind();
        // An application's failure must not end the message thread.
    }
}
TRACE_GUARD("SDKProxy", "SendDeviceMessage")

std::int32_t SDKProxy::GetLastCalibrationTime()
{
    const auto calibrated = lexical_cast<std::int32_t>(GetOptions()[Key::LastCalibrationTime]);
    return calibrated <= 0 ? -1 : Timing::Instance()->GetActualTimeStamp() - calibrated;
}

std::int32_t SDKProxy::GetLastCalibrationCounter()
{
    return lexical_cast<std::int32_t>(GetOptions()[Key::LastCalibrationCounter]);
}

void SDKProxy::CountMeasurement()
{
    std::string& counter = GetOptions()[Key::LastCalibrationCounter];
    const auto count = static_cast<std::uint32_t>(lexical_cast<std::int32_t>(counter));
    counter = lexical_cast<std::string>(static_cast<std::int32_t>(count + 1));
}

ColorMetryProvider& SDKProxy::GetColorMetryProvider()
{
    return CurrentModeState().provider;
}

ModeState& SDKProxy::CurrentModeState()
{
    return modeStates[GetMode()];
}

bool SDKProxy::IsColorimetricKey(const std::string& key)
{
    const OptionRow* const row = FindOption(key);
    return row != nullptr && row->answer == OptionRow::Answer::Condition;
}

}
