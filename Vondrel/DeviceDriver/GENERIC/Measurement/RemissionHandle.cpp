#include "Vondrel/DeviceDriver/GENERIC/Measurement/RemissionHandle.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <exception>

namespace Vondrel::DeviceDriver::Generic::Measurement {

using Generic::Utilities::Timing;
using Vondrel::Utilities::Tools::DateTime;
using namespace Configuration;

/// Notes the time of the last dark when the operation ends, however it ends.
class RemissionHandle::TimeNote {
public:
    explicit TimeNote(DateTime& time_) : time(time_) { }
    TimeNote(const TimeNote&) = delete;
    TimeNote& operator=(const TimeNote&) = delete;
    ~TimeNote()
    {
        try {
            time.SetNow();
        } catch (...) {
            // Without the time the next measurement waits once too often or not at all.
        }
    }

private:
    DateTime& time;
};

RemissionHandle::RemissionHandle(const SmartPointer<LowLevelDriver>& driver_)
try : MeasurementHandle(driver_) {
    SetCondition(DarkMeasurement, 0);
    SetCondition(TriggerDelay, 0.2F);
    SetCondition(Gain, 1);
    SetCondition(SkipDarkCycle, 0);
    SetCondition(ScanMode, 0);
    SetCondition(IntegrationTime, 0.02F);
    SetCondition(SpectrumCount, 1);
    SetCondition(AdaptiveMode, 1);
    try {
        PrepareStoredWhiteData();
    } catch (const std::exception&) {
        // Never calibrated, or not in order any more: a handle without white.
    }
}
TRACE_GUARD("RemissionHandle", "RemissionHandle")

void RemissionHandle::PrepareStoredWhiteData()
try {
    auto& log = Driver().GetLogData(false);
    const std::int32_t gain = log.GetItem(LastCalibrationGain).AsLong();
    const float time = log.GetItem(LastCalibrationIntegrationTime).AsFloat();

    SensorData data;
    data.SetGain(gain);
    data.SetIntegrationTime(time);
    data.SetSize(1);
    data.StoreRawData({log.GetItem(LastCalibrationDark).AsLongVector()});
    Calculator().Dark(data);
    data.StoreRawData({log.GetItem(LastCalibrationWhite).AsLongVector()});
    Calculator().White(data, true, 1.0F);
    SetCondition(IntegrationTime, time);
    SetCondition(Gain, gain);
}
TRACE_GUARD("RemissionHandle", "PrepareStoredWhiteData")

void RemissionHandle::RestAfterLamp(std::int32_t milliseconds)
{
    if (DateTime().GetLongTime() - lastDarkTime.GetLongTime() < 2)
        Timing::Instance()->DeviceDriverSleep(milliseconds);
}

bool RemissionHandle::TryWhite(SensorData& white, bool failureCounts)
{
    try {
        return Calculator().White(white, true, 1.0F);
    } catch (const std::exception&) {
        if (failureCounts)
            throw;
        return false;
    }
}

void RemissionHandle::Calibrate(bool)
try {
    const bool adaptive = LongCondition(AdaptiveMode) != 0;
    const TimeNote note(lastDarkTime);
    RestAfterLamp(1500);
    RawVector dark = TriggerDarkMeasurement();
    SensorData white = TriggerPhysicalMeasurement();
    const bool optimal = TryWhite(white, !adaptive);
    if (!optimal && adaptive)
        dark = CalibrateAtNewTime(white);
    StoreCalibration(dark, white);
}
TRACE_GUARD("RemissionHandle", "Calibrate")

/// The second pass: finds an integration time, and measures dark and white with it.
MeasurementHandle::RawVector RemissionHandle::CalibrateAtNewTime(SensorData& white)
{
    const auto timing = Timing::Instance();
    float time = Calculator().GetSaveIntegrationTime();
    SetCondition(IntegrationTime, time);
    timing->DeviceDriverSleep(500);
    white = TriggerPhysicalMeasurement();
    // The lamp gives light enough: the proposal for the gain is left aside.
    Calculator().NewIntegrationTime(white, time, 1.0F, true);
    SetCondition(IntegrationTime, time);
    timing->DeviceDriverSleep(1500);
    RawVector dark = TriggerDarkMeasurement();
    white = TriggerPhysicalMeasurement();
    Calculator().White(white, true, 1.0F);
    return dark;
}

void RemissionHandle::StoreCalibration(const RawVector& dark, SensorData& white)
{
    auto& log = Driver().GetLogData(false);
    log.SetItem(LastCalibrationDark, dark);
    log.SetItem(LastCalibrationWhite, white.LoadRawData().front());
    log.SetItem(LastCalibrationGain, white.GetGain());
    log.SetItem(LastCalibrationIntegrationTime, white.GetIntegrationTime());
    log.SetItem(LastCalibrationTime, DateTime().GetLongTime());
    log.SetItem(LastCalibrationCounter, log.GetItem(LampMeasurementCount));
}

void RemissionHandle::TriggerMeasurement()
try {
    const TimeNote note(lastDarkTime);
    if (LongCondition(SkipDarkCycle) == 0) {
        RestAfterLamp(1000);
        TriggerDarkMeasurement();
    }
    SensorData data = TriggerPhysicalMeasurement();
    SpectrumData spectrum;
    Calculator().Sample(data, spectrum, Whoami());
    SpectrumCorrection(spectrum);
    SetMeasurementResult(spectrum);
}
TRACE_GUARD("RemissionHandle", "TriggerMeasurement")

}
