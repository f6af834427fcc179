#include "Vondrel/DeviceDriver/GENERIC/Measurement/AmbientLightScanHandle.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

using Calculation::SpectrumData;
using namespace Configuration;

namespace {

constexpr const char* sampleMode = "AmbientLight";

}

AmbientLightScanHandle::AmbientLightScanHandle(const SmartPointer<LowLevelDriver>& driver_)
try : AmbientLightHandle(driver_) {
    SetCondition(ScanMode, 1);
    SetCondition(IntegrationTime, 0.01F);
    SetCondition(SpectrumCount, 10);
}
TRACE_GUARD("AmbientLightScanHandle", "AmbientLightScanHandle")

void AmbientLightScanHandle::TriggerMeasurement()
try {
    std::vector<SpectrumData> spectra;
    SetMeasurementResult(spectra);
    auto readings = TriggerPhysicalMeasurementStrip();
    spectra.assign(readings.size(), SpectrumData());
    for (std::size_t i = 0; i < readings.size(); ++i)
        Calculator().Sample(readings[i], spectra[i], sampleMode);
    SetMeasurementResult(spectra);
}
TRACE_GUARD("AmbientLightScanHandle", "TriggerMeasurement")

}
