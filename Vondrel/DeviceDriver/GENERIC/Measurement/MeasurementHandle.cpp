#include "Vondrel/DeviceDriver/GENERIC/Measurement/MeasurementHandle.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Multithreading/Mutex.h"
#include "platform/RunTime.h"

#include <atomic>

namespace Vondrel::DeviceDriver::Generic::Measurement {

using Calculation::DriverCalculation;
using namespace Configuration;

namespace {

constexpr std::int32_t lockLimitMs = 10000;

/// The one lock of all handles; null before the first of them is locked. Never destroyed: a call may come while the
/// process ends.
std::atomic<Utilities::Multithreading::Mutex*> handleLock = nullptr;

Utilities::Multithreading::Mutex& MakeHandleLock()
{
    static auto& made = *new Utilities::Multithreading::Mutex("default");
    handleLock = &made;
    return made;
}

struct Default {
    std::uint16_t id;
    Property value;
};

void SetDefaults(Properties& conditions)
{
    const Default defaults[] = {
        {DarkMeasurement, 1},    {TriggerDelay, 0.2F}, {Gain, 1},         {SkipDarkCycle, 0}, {ScanMode, 0},
        {IntegrationTime, 0.5F}, {SpectrumCount, 2},   {AdaptiveMode, 0}, {SimulateDark, 0},  {LogMeasurement, 1},
    };
    for (const auto& d : defaults)
        conditions.SetProperty(d.id, d.value);
}

}

MeasurementHandle::MeasurementHandle(const SmartPointer<LowLevelDriver>& driver_)
try : driver(driver_) {
    results.reserve(1);
    Properties calibration("CalibrationData");
    driver->LoadData(calibration);
    calculation = SmartPointer<DriverCalculation>(new DriverCalculation(calibration));
    driver->LoadData(physicalConditions);
    SetDefaults(physicalConditions);
}
TRACE_GUARD("MeasurementHandle", "MeasurementHandle")

void MeasurementHandle::SetPhysicalCondition(std::uint16_t id, const Property& property)
try {
    GetPhysicalCondition().SetProperty(id, property);
}
TRACE_GUARD("MeasurementHandle", "SetPhysicalCondition")

Property MeasurementHandle::GetPhysicalCondition(std::uint16_t id)
try {
    return GetPhysicalCondition().GetProperty(id);
}
TRACE_GUARD("MeasurementHandle", "GetPhysicalCondition")

bool MeasurementHandle::LockHandle()
{
    try {
        return MakeHandleLock().TryLock(lockLimitMs);
    } catch (...) {
        Platform::PassForcedUnwind();
        return false;
    }
}

void MeasurementHandle::UnlockHandle() noexcept
{
    try {
        if (auto* const made = handleLock.load())
            made->Unlock();
    } catch (...) {
        // The operation is over; its outcome does not depend on the lock.
    }
}

Calculation::SensorData MeasurementHandle::TriggerPhysicalMeasurement()
try {
    auto measured = TriggerPhysicalMeasurementStrip();
    if (measured.empty())
        throw DataException("Data not valid", THROW_LOCATION("MeasurementHandle", "TriggerPhysicalMeasurement"));
    return std::move(measured.front());
}
TRACE_GUARD("MeasurementHandle", "TriggerPhysicalMeasurement")

std::vector<Calculation::SensorData> MeasurementHandle::TriggerPhysicalMeasurementStrip()
try {
    return driver->ExecuteMeasurement(GetPhysicalCondition());
}
TRACE_GUARD("MeasurementHandle", "TriggerPhysicalMeasurementStrip")

MeasurementHandle::RawVector MeasurementHandle::TriggerDarkMeasurement()
try {
    SetCondition(LogMeasurement, 0);
    const Property lamp = GetPhysicalCondition().GetProperty(DarkMeasurement);
    const Property scan = GetPhysicalCondition().GetProperty(ScanMode);
    const auto restore = [&] {
        SetCondition(DarkMeasurement, lamp);
        SetCondition(ScanMode, scan);
        SetCondition(LogMeasurement, 1);
    };
    SensorData dark;
    try {
        SetCondition(DarkMeasurement, 1);
        SetCondition(ScanMode, 0);
        dark = TriggerPhysicalMeasurement();
        calculation->Dark(dark);
    } catch (...) {
        restore();
        throw;
    }
    restore();
    return dark.LoadRawData().front();
}
TRACE_GUARD("MeasurementHandle", "TriggerDarkMeasurement")

void MeasurementHandle::SetMeasurementResult(const SpectrumData& result)
try {
    results.assign(1, result);
}
TRACE_GUARD("MeasurementHandle", "SetMeasurementResult")

void MeasurementHandle::SetMeasurementResult(std::vector<SpectrumData>& newResults)
{
    results.swap(newResults);
}

void MeasurementHandle::SpectrumCorrection(SpectrumData& spectrum) const noexcept
{
    try {
        const Properties& conditions = GetPhysicalCondition();
        if (!conditions.Contains(SpectralCorrection))
            return;
        const auto& factors = conditions.GetProperty(SpectralCorrection).AsFloatVector();
        auto& bands = spectrum.LoadData();
        if (factors.size() != bands.size())
            return;
        for (std::size_t band = 0; band < bands.size(); ++band)
            bands[band] *= factors[band];
    } catch (...) {
        // A correction that cannot be made leaves the spectrum as measured.
    }
}

}
