#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/OrvexSDKProxy.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/FlashRecognition.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/ChartRecognition.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/Vocabulary.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/ModeScope.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>

namespace OrvexSDK {

using namespace Vondrel::DeviceDriver::Generic::Calculation;
using Vondrel::DeviceDriver::Generic::Utilities::Timing;
using Vondrel::Utilities::Tools::lexical_cast;
namespace Id = Vondrel::DeviceDriver::Generic::Configuration;
namespace Device = Vondrel::DeviceDriver::ox;

namespace {

const std::string& noFilter = *new std::string("not set"); // never destroyed: a call may come while the process ends

/// Modulo 2 to the 32nd: an instrument may hold any number.
std::int32_t Difference(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

}

OrvexSDKProxy::OrvexSDKProxy(std::int32_t theDeviceIndex) : deviceIndex(theDeviceIndex) { }

OrvexSDKProxy::SmartPointer<OrvexSDKProxy::Orvex>& OrvexSDKProxy::GetDevice()
try {
    if (!device.IsValid()) {
        device = SmartPointer<Orvex>(new Orvex(&listener, deviceIndex));
        // A device that cannot say what it is stays, in the mode of its own.
        if (!device->IsOrvexMonitor())
            device->Activate(Device::RemissionMode);
    }
    return device;
}
TRACE_GUARD("OrvexSDKProxy", "GetDevice")

std::string OrvexSDKProxy::GetDeviceType()
try {
    return deviceIndex == 0 ? "Orvex" : "Orvex" + lexical_cast<std::string>(deviceIndex);
}
TRACE_GUARD("OrvexSDKProxy", "GetDeviceType")

const std::string& OrvexSDKProxy::GetDeviceInfo(const std::string& key)
try {
    return key == Key::DensityFilterMode ? GetOptions()[Key::LastAutoDensityFilter] : SDKProxy::GetDeviceInfo(key);
}
TRACE_GUARD("OrvexSDKProxy", "GetDeviceInfo")

bool OrvexSDKProxy::IsConnected()
try {
    return Device().IsConnected();
}
TRACE_GUARD("OrvexSDKProxy", "IsConnected")

bool OrvexSDKProxy::IsKeyPressed()
try {
    if (!Device().IsConnected())
        throw SDKError(OX_DeviceNotConnected, "ox not connected !", THROW_LOCATION("OrvexSDKProxy", "IsKeyPressed"));
    return Device().IsButtonPressed();
}
TRACE_GUARD("OrvexSDKProxy", "IsKeyPressed")

std::int32_t OrvexSDKProxy::GetSampleCount()
try {
    return CurrentModeState().cache.Count();
}
TRACE_GUARD("OrvexSDKProxy", "GetSampleCount")

std::int32_t OrvexSDKProxy::GetMode()
try {
    return Device().GetMode();
}
TRACE_GUARD("OrvexSDKProxy", "GetMode")

ModeState::Options& OrvexSDKProxy::GetOptions()
{
    return CurrentModeState().options;
}

void OrvexSDKProxy::Calibrate()
try {
    CurrentModeState().cache.Clear();
    Device().Calibrate(true);
    GetOptions()[Key::LastCalibrationTime] = lexical_cast<std::string>(Timing::Instance()->GetActualTimeStamp());
}
TRACE_GUARD("OrvexSDKProxy", "Calibrate")

void OrvexSDKProxy::TriggerMeasurement()
try {
    CurrentModeState().cache.Clear();
    std::vector<SpectrumData> recognized;
    // Copies: the application's recognition callbacks may measure again, change the strategy or reset the mode.
    const auto measured = Device().TriggerMeasurement();
    const auto recognition = CurrentModeState().recognition;
    const bool succeeded = recognition->Execute(measured, recognized);
    CurrentModeState().cache = recognized;
    CountMeasurement();
    if (!succeeded)
        SetLastError(SDKError(OX_RecognitionFailed, "strip recognition failed", ""));
}
TRACE_GUARD("OrvexSDKProxy", "TriggerMeasurement")

void OrvexSDKProxy::TriggerCountedScan(std::int32_t count)
try {
    const ModeScope scope(Device(), Device::RemissionScanMode);
    Device().SetCondition(Id::ScanCountOverride, count);
    TriggerMeasurement();
    Device().SetCondition(Id::ScanCountOverride, 0);
}
TRACE_GUARD("OrvexSDKProxy", "TriggerCountedScan")

const std::vector<float>& OrvexSDKProxy::Sample(std::int32_t index)
{
    return CurrentModeState().cache[static_cast<std::uint32_t>(index)];
}

void OrvexSDKProxy::GetSpectrum(float* spectrum, std::int32_t index)
try {
    const auto& sample = Sample(index);
    std::copy_n(sample.begin(), std::min<std::size_t>(sample.size(), OX_SPECTRUM_SIZE), spectrum);
}
TRACE_GUARD("OrvexSDKProxy", "GetSpectrum")

void OrvexSDKProxy::GetTriStimulus(float* tristimulus, std::int32_t index)
try {
    const auto values = GetColorMetryProvider().GetTristimulus(Sample(index));
    std::copy(values.begin(), values.end(), tristimulus);
}
TRACE_GUARD("OrvexSDKProxy", "GetTriStimulus")

void OrvexSDKProxy::GetDensities(float* densities, std::int32_t* autoIndex, std::int32_t index)
try {
    ColorMetryProvider& provider = GetColorMetryProvider();
    const auto [values, filterName] = provider.GetDensities(Sample(index));
    std::copy(values.begin(), values.end(), densities);
    if (provider.ChoosesFilter())
        GetOptions()[Key::LastAutoDensityFilter] = filterName;
    if (autoIndex != nullptr)
        *autoIndex = ColorMetryProvider::GetFilterIndex(filterName);
}
TRACE_GUARD("OrvexSDKProxy", "GetDensities")

void OrvexSDKProxy::GetDensity(float* density, std::int32_t index)
try {
    ColorMetryProvider& provider = GetColorMetryProvider();
    const auto [value, filterName] = provider.GetDensity(Sample(index));
    *density = value;
    GetOptions()[Key::LastAutoDensityFilter] = provider.ChoosesFilter() ? filterName : noFilter;
}
TRACE_GUARD("OrvexSDKProxy", "GetDensity")

void OrvexSDKProxy::SetSubstrate(const float* spectrum)
try {
    GetColorMetryProvider().SetDensitySubstrat(spectrum);
}
TRACE_GUARD("OrvexSDKProxy", "SetSubstrate")

// In mode 0 the instrument itself remembers its calibration.

std::int32_t OrvexSDKProxy::GetLastCalibrationTime()
try {
    if (GetMode() != Device::RemissionMode)
        return SDKProxy::GetLastCalibrationTime();
    const ModeScope scope(Device(), Device::ServiceMode);
    return Difference(Timing::Instance()->GetActualTimeStamp(),
                      Device().GetCondition(Id::LastCalibrationTime).AsLong());
}
TRACE_GUARD("OrvexSDKProxy", "GetLastCalibrationTime")

std::int32_t OrvexSDKProxy::GetLastCalibrationCounter()
try {
    if (GetMode() != Device::RemissionMode)
        return SDKProxy::GetLastCalibrationCounter();
    const ModeScope scope(Device(), Device::ServiceMode);
    return Difference(Device().GetCondition(Id::LampMeasurementCount).AsLong(),
                      Device().GetCondition(Id::LastCalibrationCounter).AsLong());
}
TRACE_GUARD("OrvexSDKProxy", "GetLastCalibrationCounter")

std::string OrvexSDKProxy::GetAvailableMeasureModes()
try {
    const ModeScope scope(Device(), Device::ServiceMode);
    if (!Device().IsConnected())
        return "";
    const bool reflectance = !Device().IsOrvexMonitor();
    const bool ambient = Device().HasAmbientLightSupport();
    return ListModes([=](const ModeRow& row) {
        return row.needs == ModeRow::Needs::Nothing
            || (row.needs == ModeRow::Needs::Reflectance ? reflectance : ambient);
    });
}
TRACE_GUARD("OrvexSDKProxy", "GetAvailableMeasureModes")

void OrvexSDKProxy::SetMeasureMode(const std::string& text)
try {
    const std::int32_t mode = TranslateMeasureMode(text);
    Device().Activate(mode);
    if (FindMode(mode)->IsEmission())
        GetColorMetryProvider().SetCondition(Key::Illumination, "Emission");
}
TRACE_GUARD("OrvexSDKProxy", "SetMeasureMode")

void OrvexSDKProxy::SetRecognitionStrategy(bool disable)
{
    const ModeRow* const row = FindMode(GetMode());
    const auto recognised = row == nullptr ? ModeRow::Recognised::Nothing : row->recognised;
    SmartPointer<Recognition>& recognition = CurrentModeState().recognition;
    if (disable)
        recognition = SmartPointer<Recognition>(new DummyRecognition);
    else if (recognised == ModeRow::Recognised::Flashes)
        recognition = SmartPointer<Recognition>(new FlashRecognition);
    else if (recognised == ModeRow::Recognised::Patches)
        recognition = SmartPointer<Recognition>(new ChartRecognition);
    else
        recognition = SmartPointer<Recognition>();
}

bool OrvexSDKProxy::IsRecognitionEnabled()
{
    const auto& recognition = CurrentModeState().recognition;
    return recognition.IsValid() && dynamic_cast<DummyRecognition*>(&*recognition) == nullptr;
}

}
