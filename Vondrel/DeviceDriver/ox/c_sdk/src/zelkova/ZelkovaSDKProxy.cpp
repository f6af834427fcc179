#include "Vondrel/DeviceDriver/ox/c_sdk/src/zelkova/ZelkovaSDKProxy.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <exception>
#include <memory>

namespace ZelkovaSDK {

using namespace OrvexSDK;
using Vondrel::CMetry::CMetryService;
using Vondrel::CMetry::VDColorVector;
using Vondrel::CMetry::VDMeasureConditions;
using Vondrel::DeviceDriver::Generic::Utilities::Timing;
using Vondrel::Utilities::Tools::lexical_cast;

namespace {

constexpr std::int32_t lcdScreen = 0;
constexpr std::int32_t autoIntensity = 2;

/// What the instrument delivers.
const VDMeasureConditions& GetDefaultConditions()
{
    // Never destroyed: a call may come while the process ends.
    static const auto& conditions = *[] {
        auto c = std::make_unique<VDMeasureConditions>();
        c->SetMeasureCondition(Key::Illumination, "Emission");
        c->SetMeasureCondition(Key::ColorSpace, "CIEXYZ");
        return c.release();
    }();
    return conditions;
}

constexpr const char* noDensities = "This device doesn't support densities";

}

Zelkova& ZelkovaSDKProxy::GetDevice()
try {
    if (!device.IsValid()) {
        device = SmartPointer<Zelkova>(new Zelkova);
        SetMeasureMode(TranslateMeasureMode(SingleEmission));
    }
    return *device;
}
TRACE_GUARD("ZelkovaSDKProxy", "GetDevice")

std::string ZelkovaSDKProxy::GetDeviceType()
try {
    return "OrvexDisplay";
}
TRACE_GUARD("ZelkovaSDKProxy", "GetDeviceType")

bool ZelkovaSDKProxy::IsConnected()
try {
    if (GetDevice().IsConnected())
        return true;
    device = 0;
    return GetDevice().IsConnected();
}
TRACE_GUARD("ZelkovaSDKProxy", "IsConnected")

bool ZelkovaSDKProxy::IsKeyPressed()
try {
    if (!IsConnected())
        throw SDKError(OX_DeviceNotConnected, "ox-Display not connected !",
                       THROW_LOCATION("ZelkovaSDKProxy", "IsKeyPressed"));
    return false;
}
TRACE_GUARD("ZelkovaSDKProxy", "IsKeyPressed")

std::int32_t ZelkovaSDKProxy::GetSampleCount()
try {
    return CurrentModeState().cache.Count();
}
TRACE_GUARD("ZelkovaSDKProxy", "GetSampleCount")

template<class Operation>
void ZelkovaSDKProxy::WithRecoveryByReopening(Operation operation)
{
    try {
        operation(GetDevice());
        return;
    } catch (const std::exception&) {
        device = 0;
    }
    operation(GetDevice());
}

bool ZelkovaSDKProxy::IsMeasuringEmission()
{
    return GetOption(Key::MeasurementMode) == TranslateMeasureMode(SingleEmission);
}

void ZelkovaSDKProxy::Calibrate()
try {
    CurrentModeState().cache.Clear();
    std::int32_t screen = lcdScreen;
    if (IsMeasuringEmission())
        screen = Zelkova::TranslateScreenType(GetOptions()[Key::ScreenType]);
    WithRecoveryByReopening([screen](Zelkova& open) { open.Calibrate(screen); });
    GetOptions()[Key::LastCalibrationTime] = lexical_cast<std::string>(Timing::Instance()->GetActualTimeStamp());
}
TRACE_GUARD("ZelkovaSDKProxy", "Calibrate")

void ZelkovaSDKProxy::TriggerMeasurement()
try {
    CurrentModeState().cache.Clear();
    std::int32_t intensity = autoIntensity;
    std::int32_t screen = lcdScreen;
    if (IsMeasuringEmission()) {
        intensity = Zelkova::TranslatePatchIntensity(GetOptions()[Key::PatchIntensity]);
        screen = Zelkova::TranslateScreenType(GetOptions()[Key::ScreenType]);
    }
    WithRecoveryByReopening([&](Zelkova& open) {
        const auto sample = open.TriggerMeasurement(screen, intensity);
        CurrentModeState().cache = sample;
    });
    CountMeasurement();
}
TRACE_GUARD("ZelkovaSDKProxy", "TriggerMeasurement")

void ZelkovaSDKProxy::TriggerCountedScan(std::int32_t)
try {
    throw SDKError(OX_NotAvailable, "This device doesn't support scanning",
                   THROW_LOCATION("ZelkovaSDKProxy", "TriggerCountedScan"));
}
TRACE_GUARD("ZelkovaSDKProxy", "TriggerCountedScan")

void ZelkovaSDKProxy::GetSpectrum(float*, std::int32_t)
try {
    throw SDKError(OX_NotAvailable, "This device can measure tristimulus only",
                   THROW_LOCATION("ZelkovaSDKProxy", "GetSpectrum"));
}
TRACE_GUARD("ZelkovaSDKProxy", "GetSpectrum")

void ZelkovaSDKProxy::GetTriStimulus(float* tristimulus, std::int32_t)
try {
    // A measurement leaves one sample; the validator has refused every other index.
    ModeState& state = CurrentModeState();
    const auto& sample = state.cache[0];
    const VDColorVector measured(sample, GetDefaultConditions());
    const auto converted = CMetryService::GetVector(measured, state.provider.GetCondition(Key::ColorSpace));
    for (std::size_t i = 0; i < 3; ++i)
        tristimulus[i] = converted[i];
}
TRACE_GUARD("ZelkovaSDKProxy", "GetTriStimulus")

void ZelkovaSDKProxy::GetDensities(float*, std::int32_t*, std::int32_t)
try {
    throw SDKError(OX_NotAvailable, noDensities, THROW_LOCATION("ZelkovaSDKProxy", "GetDensities"));
}
TRACE_GUARD("ZelkovaSDKProxy", "GetDensities")

void ZelkovaSDKProxy::GetDensity(float*, std::int32_t)
try {
    throw SDKError(OX_NotAvailable, noDensities, THROW_LOCATION("ZelkovaSDKProxy", "GetDensity"));
}
TRACE_GUARD("ZelkovaSDKProxy", "GetDensity")

void ZelkovaSDKProxy::SetSubstrate(const float*)
try {
    throw SDKError(OX_NotAvailable, noDensities, THROW_LOCATION("ZelkovaSDKProxy", "SetSubstrate"));
}
TRACE_GUARD("ZelkovaSDKProxy", "SetSubstrate")

ModeState::Options& ZelkovaSDKProxy::GetOptions()
{
    return CurrentModeState().options;
}

std::string ZelkovaSDKProxy::GetAvailableMeasureModes()
try {
    const bool ambient = GetDevice().SupportsAmbientLight();
    return ListModes([ambient](const ModeRow& row) {
        return row.onColorimeter && (row.needs == ModeRow::Needs::Nothing || ambient);
    });
}
TRACE_GUARD("ZelkovaSDKProxy", "GetAvailableMeasureModes")

std::int32_t ZelkovaSDKProxy::GetMode()
try {
    return GetDevice().GetMode();
}
TRACE_GUARD("ZelkovaSDKProxy", "GetMode")

void ZelkovaSDKProxy::SetMeasureMode(const std::string& mode)
try {
    const std::int32_t number = TranslateMeasureMode(mode);
    GetDevice().SetMode(number);
}
TRACE_GUARD("ZelkovaSDKProxy", "SetMeasureMode")

void ZelkovaSDKProxy::SetDeviceSpecificOption(const std::string& key, const std::string& value)
try {
    GetOptions()[key] = value;
}
TRACE_GUARD("ZelkovaSDKProxy", "SetOption")

std::string ZelkovaSDKProxy::GetDeviceSpecificOption(const std::string& key)
try {
    std::string result;
    if (key == Key::SerialNumber) {
        result = lexical_cast<std::string>(GetDevice().GetSerialNumber());
    } else if (key == Key::MeasurementMode) {
        result = TranslateMeasureMode(GetMode());
    } else if (key == Key::PhysicalFilter) {
        result = "1";
    } else if (const std::string* const option = GetOptions().Find(key)) {
        result = *option;
    }
    if (result.empty())
        throw SDKError(OX_InvalidParameter, "Unknown argument " + key, THROW_LOCATION("ZelkovaSDKProxy", "GetOption"));
    return result;
}
TRACE_GUARD("ZelkovaSDKProxy", "GetOption")

}
