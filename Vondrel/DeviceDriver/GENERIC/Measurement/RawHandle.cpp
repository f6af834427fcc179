#include "Vondrel/DeviceDriver/GENERIC/Measurement/RawHandle.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

using Calculation::SpectrumData;
using namespace Configuration;

RawHandle::RawHandle(const SmartPointer<LowLevelDriver>& driver_)
try : MeasurementHandle(driver_) {
    SetCondition(SpectrumCount, 1);
}
TRACE_GUARD("RawHandle", "RawHandle")

void RawHandle::AppendCounts(SensorData& data, std::vector<SpectrumData>& counts)
{
    data.CopyRawToSpectrum();
    data.Begin();
    for (std::size_t i = 0; i < data.GetSize(); ++i, data++) {
        SpectrumData& reading = counts.emplace_back();
        reading.SetSize(1);
        reading.StoreData(data.LoadData());
    }
}

void RawHandle::TriggerMeasurement()
try {
    SensorData data = TriggerPhysicalMeasurement();
    std::vector<SpectrumData> counts;
    AppendCounts(data, counts);
    SetMeasurementResult(counts);
}
TRACE_GUARD("RawHandle", "TriggerMeasurement")

RawScanHandle::RawScanHandle(const SmartPointer<LowLevelDriver>& driver_)
try : RawHandle(driver_) {
    SetCondition(ScanMode, 1);
    SetCondition(SpectrumCount, 10);
}
TRACE_GUARD("RawScanHandle", "RawScanHandle")

void RawScanHandle::TriggerMeasurement()
try {
    std::vector<SpectrumData> counts;
    for (SensorData& reading : TriggerPhysicalMeasurementStrip())
        AppendCounts(reading, counts);
    SetMeasurementResult(counts);
}
TRACE_GUARD("RawScanHandle", "TriggerMeasurement")

}
