#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/MeasurementHandle.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// The sensor's counts as they come, one result of 128 values for each reading; value 0 repeats value 1. The lamp stays
/// off unless DarkMeasurement is set to 0.
class RawHandle : public MeasurementHandle {
public:
    explicit RawHandle(const SmartPointer<LowLevelDriver>& driver_);

    void Calibrate(bool) override { }
    void TriggerMeasurement() override;
    std::string Whoami() const override { return "Raw"; }

protected:
    /// Appends each reading of a record to the results.
    static void AppendCounts(SensorData& data, std::vector<SpectrumData>& counts);
};

/// The same along a strip.
class RawScanHandle : public RawHandle {
public:
    explicit RawScanHandle(const SmartPointer<LowLevelDriver>& driver_);

    void TriggerMeasurement() override;
    std::string Whoami() const override { return "RawScan"; }
};

}
