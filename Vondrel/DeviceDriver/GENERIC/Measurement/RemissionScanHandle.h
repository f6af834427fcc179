#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/MeasurementHandle.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// Reflectance along a strip, one result for each reading. Its calibration is a series on the white reference: the
/// reading at position i of a scan is corrected by the white at position i.
class RemissionScanHandle : public MeasurementHandle {
public:
    explicit RemissionScanHandle(const SmartPointer<LowLevelDriver>& driver_);

    void Calibrate(bool darkStep) override;
    void TriggerMeasurement() override;
    std::string Whoami() const override { return "RemissionScan"; }

private:
    float FindIntegrationTime(float factor);
};

}
