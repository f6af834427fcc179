#include "Vondrel/DeviceDriver/GENERIC/Measurement/RemissionScanHandle.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/ConditionGuard.h"
#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <limits>

namespace Vondrel::DeviceDriver::Generic::Measurement {

using Calculation::SpectrumData;
using Generic::Utilities::Timing;
using namespace Configuration;

namespace {

constexpr const char* sampleMode = "Remission";

/// How many readings of `time` seconds fit into `seconds`, truncated.
std::int32_t ReadingsWithin(double seconds, float time)
{
    const double readings = seconds / time;
    if (!(readings >= 0 && readings < std::numeric_limits<std::int32_t>::max()))
        throw DataException("Integration time is not valid", THROW_LOCATION("RemissionScanHandle", "ReadingsWithin"));
    return static_cast<std::int32_t>(readings);
}

}

RemissionScanHandle::RemissionScanHandle(const SmartPointer<LowLevelDriver>& driver_)
try : MeasurementHandle(driver_) {
    SetCondition(DarkMeasurement, 0);
    SetCondition(TriggerDelay, 0.2F);
    SetCondition(Gain, 1);
    SetCondition(SkipDarkCycle, 0);
    SetCondition(ScanMode, 1);
    SetCondition(IntegrationTime, 0.02F);
    SetCondition(SpectrumCount, 10);
    SetCondition(AdaptiveMode, 1);
}
TRACE_GUARD("RemissionScanHandle", "RemissionScanHandle")

void RemissionScanHandle::Calibrate(bool)
try {
    const ConditionGuard<2> guard(*this, {SpectrumCount, ScanMode});
    const bool adaptive = LongCondition(AdaptiveMode) != 0;
    float time = FloatCondition(IntegrationTime);
    SetCondition(SpectrumCount, ReadingsWithin(0.1, time));
    SetCondition(ScanMode, 0);
    const float factor = FloatCondition(ScanLevelFactor);
    const float shortest = FloatCondition(ScanMinIntegrationTime);
    Timing::Instance()->DeviceDriverSleep(1000);
    if (adaptive) {
        time = std::max(FindIntegrationTime(factor), shortest);
        SetCondition(IntegrationTime, time);
        Timing::Instance()->DeviceDriverSleep(1000);
    }
    TriggerDarkMeasurement();
    SetCondition(SpectrumCount, ReadingsWithin(1.0, time));
    SensorData white = TriggerPhysicalMeasurement();
    Calculator().White(white, false, factor);
}
TRACE_GUARD("RemissionScanHandle", "Calibrate")

float RemissionScanHandle::FindIntegrationTime(float factor)
{
    float time = Calculator().GetSaveIntegrationTime();
    SetCondition(IntegrationTime, time);
    TriggerDarkMeasurement();
    SensorData white = TriggerPhysicalMeasurement();
    Calculator().NewIntegrationTime(white, time, factor, true);
    // Only a look at the reference: a wrong one ends the calibration here.
    Calculator().White(white, false, factor);
    return time;
}

void RemissionScanHandle::TriggerMeasurement()
try {
    std::vector<SpectrumData> spectra;
    SetMeasurementResult(spectra);
    Calculator().ResetWhite();
    TriggerDarkMeasurement();
    auto readings = TriggerPhysicalMeasurementStrip();
    spectra.assign(readings.size(), SpectrumData());
    for (std::size_t i = 0; i < readings.size(); ++i) {
        Calculator().Sample(readings[i], spectra[i], sampleMode);
        SpectrumCorrection(spectra[i]);
    }
    SetMeasurementResult(spectra);
}
TRACE_GUARD("RemissionScanHandle", "TriggerMeasurement")

}
