// The exported calls. Each says its name, its parameters and its operation; the frame does the rest.

#include "orvex/ox.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/RecognitionCallbacks.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/CallFrame.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"

#include <cstring>
#include <optional>
#include <string>

using namespace OrvexSDK;

namespace {

bool Is(const char* text, const char* expected)
{
    return text != nullptr && std::strcmp(text, expected) == 0;
}

/// For operations that run recognition callbacks, which may drop the context: its proxy stays until the operation ends.
ContextManager::SmartPointer<SDKProxy> KeptProxy()
{
    return ContextManager::Instance().Current().Proxy();
}

/// A key that asks for the error of the call before.
bool AsksForError(const char* key)
{
    return Is(key, "LastError") || Is(key, "ExtendedErrorInformation");
}

/// The two text queries: they differ in the operation, and each keeps its own answer.
template<const std::string& (SDKProxy::*operation)(const std::string&)>
const char* Query(const Call& call)
{
    return Guarded<const char*>("", [&] {
        static std::string& answer = *new std::string; // never destroyed: the application may hold its text
        answer.clear();
        const char* const key = call.parameters.key;
        std::optional<SDKError> before;
        if (AsksForError(key))
            before = CurrentProxy().GetLastError();
        const bool done = Perform(call, [&] {
            if (before)
                CurrentProxy().SetLastError(*before);
            static std::string& text = *new std::string; // keeps its memory; calls may come while the process ends
            text = key;
            answer = (CurrentProxy().*operation)(text);
        });
        if (!done)
            answer.clear();
        return answer.c_str();
    });
}

/// The options that concern the contexts themselves. False if the option is none of them.
bool SetContextOption(const std::string& key, const std::string& value)
{
    if (key == "DeviceType") {
        ContextManager::Instance().SetCurrent(ContextManager::Translate(value));
        return true;
    }
    if (key != "Reset")
        return false;
    if (value == "All") {
        ContextManager::Reset();
        return true;
    }
    if (!value.starts_with("Orvex"))
        return false;
    const std::int32_t id = ContextManager::Translate(value);
    ContextManager::Instance().Erase(id);
    ContextManager::Instance().SetCurrent(id);
    return true;
}

OX_Result SetOption(Call call)
{
    std::string mode;
    CallParameters& parameters = call.parameters;
    if (Is(parameters.key, "MeasurementMode") && Is(parameters.value, "ResetAll")) {
        parameters.key = "Reset";
        parameters.value = "All";
    } else if (Is(parameters.key, "MeasurementMode") && Is(parameters.value, "Reset")) {
        mode = OX_GetOption("MeasurementMode");
        parameters.key = "Reset";
        parameters.value = mode.c_str();
    }
    bool contextOption = false;
    const bool done = Perform(call, [&] {
        static std::string& key = *new std::string; // they keep their memory; calls may come while the process ends
        static std::string& value = *new std::string;
        key = parameters.key;
        value = parameters.value;
        contextOption = SetContextOption(key, value);
        if (!contextOption)
            CurrentProxy().SetOption(key, value);
    });
    // What was current before may be gone: a change of context that worked is a success without asking anyone.
    return done && contextOption ? OX_NoError : CurrentProxy().GetLastError().Code();
}

}

const char* OX_GetDeviceInfo(const char* key)
{
    return Query<&SDKProxy::GetDeviceInfo>({__func__, __FILE__, __LINE__, {.key = key}});
}

const char* OX_GetOption(const char* key)
{
    return Query<&SDKProxy::GetOption>({__func__, __FILE__, __LINE__, {.key = key}});
}

OX_Result OX_SetOption(const char* key, const char* value)
{
    const Call call{__func__, __FILE__, __LINE__, {.key = key, .value = value}};
    return Guarded<OX_Result>(OX_InternalError, [&] { return SetOption(call); });
}

OX_Result OX_IsConnected(void)
{
    const Call call{__func__, __FILE__, __LINE__};
    return Guarded<OX_Result>(OX_DeviceNotConnected, [&] {
        bool connected = false;
        const bool done = Perform(call, [&] { connected = CurrentProxy().IsConnected(); });
        return done && connected ? OX_NoError : OX_DeviceNotConnected;
    });
}

OX_Result OX_KeyPressed(void)
{
    const Call call{__func__, __FILE__, __LINE__};
    return Guarded<OX_Result>(OX_DeviceNotConnected, [&]() -> OX_Result {
        bool pressed = false;
        if (!Perform(call, [&] { pressed = CurrentProxy().IsKeyPressed(); }))
            return OX_DeviceNotConnected;
        return pressed ? OX_NoError : OX_KeyNotPressed;
    });
}

int32_t OX_GetNumberOfAvailableSamples(void)
{
    const Call call{__func__, __FILE__, __LINE__};
    return Guarded<int32_t>(-1, [&] {
        int32_t count = -1;
        const bool done = Perform(call, [&] { count = CurrentProxy().GetSampleCount(); });
        return done ? count : -1;
    });
}

OX_Result OX_Calibrate(void)
{
    return PerformForCode({__func__, __FILE__, __LINE__}, [] { CurrentProxy().Calibrate(); });
}

OX_Result OX_TriggerMeasurement(void)
{
    return PerformForCode({__func__, __FILE__, __LINE__}, [] { KeptProxy()->TriggerMeasurement(); });
}

OX_Result OX_TriggerCountedScan(int32_t count)
{
    return PerformForCode({__func__, __FILE__, __LINE__, {.index = count}},
                          [&] { KeptProxy()->TriggerCountedScan(count); });
}

OX_Result OX_GetSpectrum(float spectrum[36], int32_t index)
{
    const CallParameters parameters{.index = index, .buffer = spectrum, .bufferSize = OX_SPECTRUM_SIZE};
    return PerformForCode({__func__, __FILE__, __LINE__, parameters, true},
                          [&] { CurrentProxy().GetSpectrum(spectrum, index); });
}

OX_Result OX_GetTriStimulus(float tristimulus[3], int32_t index)
{
    const CallParameters parameters{.index = index, .buffer = tristimulus, .bufferSize = 3};
    return PerformForCode({__func__, __FILE__, __LINE__, parameters, true},
                          [&] { CurrentProxy().GetTriStimulus(tristimulus, index); });
}

OX_Result OX_GetDensities(float densities[4], int32_t* autoIndex, int32_t index)
{
    const CallParameters parameters{.index = index, .extra = autoIndex, .buffer = densities, .bufferSize = 4};
    return PerformForCode({__func__, __FILE__, __LINE__, parameters, true},
                          [&] { CurrentProxy().GetDensities(densities, autoIndex, index); });
}

OX_Result OX_GetDensity(float* density, int32_t index)
{
    const CallParameters parameters{.index = index, .buffer = density, .bufferSize = 1};
    return PerformForCode({__func__, __FILE__, __LINE__, parameters, true},
                          [&] { CurrentProxy().GetDensity(density, index); });
}

OX_Result OX_SetSubstrate(const float spectrum[36])
{
    // The array is input: the validator looks at the pointer and, with a size of 0, leaves the floats alone.
    const CallParameters parameters{.buffer = const_cast<float*>(spectrum)};
    return PerformForCode({__func__, __FILE__, __LINE__, parameters}, [&] { CurrentProxy().SetSubstrate(spectrum); });
}

OX_ErrorHandler OX_RegisterErrorHandler(OX_ErrorHandler handler)
{
    return Guarded<OX_ErrorHandler>(nullptr, [&] { return CurrentProxy().RegisterErrorHandler(handler); });
}

OX_DeviceMessageHandler OX_RegisterDeviceMessageHandler(OX_DeviceMessageHandler handler)
{
    return Guarded<OX_DeviceMessageHandler>(nullptr,
                                            [&] { return CurrentProxy().RegisterDeviceMessageHandler(handler); });
}

void OX_RegisterRecognitionCallback(OX_RecognitionCallback floats, OX_RecognitionCallbackLong longs)
{
    Vondrel::DeviceDriver::Generic::Calculation::SetRecognitionCallbacks(floats, longs);
}
