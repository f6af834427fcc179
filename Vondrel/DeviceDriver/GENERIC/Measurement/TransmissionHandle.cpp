#include "Vondrel/DeviceDriver/GENERIC/Measurement/TransmissionHandle.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

void TransmissionHandle::Calibrate(bool darkStep)
try {
    if (darkStep) {
        EmissionHandle::Calibrate(true);
        return;
    }
    SensorData data = InternalMeasurement();
    Calculator().Reference(data);
}
TRACE_GUARD("TransmissionHandle", "Calibrate")

void TransmissionHandle::TriggerMeasurement()
try {
    SensorData data = TriggerPhysicalMeasurement();
    SpectrumData spectrum;
    Calculator().Sample(data, spectrum, Whoami());
    SetMeasurementResult(spectrum);
}
TRACE_GUARD("TransmissionHandle", "TriggerMeasurement")

}
