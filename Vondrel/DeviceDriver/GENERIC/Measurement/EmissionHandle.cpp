#include "Vondrel/DeviceDriver/GENERIC/Measurement/EmissionHandle.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/GENERIC/Measurement/ConditionGuard.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <array>

namespace Vondrel::DeviceDriver::Generic::Measurement {

using Calculation::SensorData;
using namespace Configuration;

namespace {

struct BaseDark {
    float time; ///< seconds
    std::int32_t gain;
    std::int32_t count;
};

/// In the order in which the calculation takes them.
constexpr std::array<BaseDark, 4> baseDarks{{{0.01F, 1, 100}, {1.0F, 1, 1}, {0.01F, 0, 100}, {1.0F, 0, 1}}};

}

void EmissionHandle::Calibrate(bool)
try {
    if (LongCondition(AdaptiveMode) == 0) {
        TriggerDarkMeasurement();
        return;
    }
    const ConditionGuard<3> guard(*this, {IntegrationTime, Gain, SpectrumCount});
    std::array<SensorData, baseDarks.size()> darks;
    for (std::size_t i = 0; i < baseDarks.size(); ++i)
        darks[i] = InternalDarkMeasurement(baseDarks[i].time, baseDarks[i].gain, baseDarks[i].count);
    Calculator().Dark(darks[0], darks[1], darks[2], darks[3]);
}
TRACE_GUARD("EmissionHandle", "Calibrate")

SensorData EmissionHandle::InternalDarkMeasurement(float time, std::int32_t gain, std::int32_t count)
try {
    SetCondition(IntegrationTime, time);
    SetCondition(Gain, gain);
    SetCondition(SpectrumCount, count);
    SensorData dark;
    dark.StoreRawData({TriggerDarkMeasurement()});
    dark.SetGain(gain);
    dark.SetIntegrationTime(time);
    return dark;
}
TRACE_GUARD("EmissionHandle", "InternalDarkMeasurement")

SensorData EmissionHandle::InternalMeasurement()
try {
    if (LongCondition(AdaptiveMode) != 0)
        Optimize();
    return TriggerPhysicalMeasurement();
}
TRACE_GUARD("EmissionHandle", "InternalMeasurement")

void EmissionHandle::Optimize()
try {
    SetCondition(IntegrationTime, 0.25F);
    SetCondition(Gain, 1);
    SensorData data = TriggerPhysicalMeasurement();
    if (Calculator().SensorIsSaturated(data)) {
        SetCondition(IntegrationTime, Calculator().GetSaveIntegrationTime());
        data = TriggerPhysicalMeasurement();
    }
    float time = FloatCondition(IntegrationTime);
    const bool sensitive = Calculator().NewIntegrationTime(data, time, 1.0F, false);
    SetCondition(IntegrationTime, time);
    SetCondition(Gain, sensitive ? 0 : 1);
}
TRACE_GUARD("EmissionHandle", "Optimize")

void EmissionHandle::TriggerMeasurement()
try {
    SensorData data = InternalMeasurement();
    SpectrumData spectrum;
    Calculator().Sample(data, spectrum, Whoami());
    SetMeasurementResult(spectrum);
}
TRACE_GUARD("EmissionHandle", "TriggerMeasurement")

}
