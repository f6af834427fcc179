#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/MeasurementHandle.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// A light source, with the lamp off. In adaptive mode a test reading chooses integration time and gain for each
/// measurement, and the dark is interpolated between four base darks of the calibration.
class EmissionHandle : public MeasurementHandle {
public:
    using MeasurementHandle::MeasurementHandle;

    void Calibrate(bool darkStep) override;
    void TriggerMeasurement() override;
    std::string Whoami() const override { return "Emission"; }

    /// One base dark: `count` readings at a time (s) and a gain. Leaves these conditions behind.
    SensorData InternalDarkMeasurement(float time, std::int32_t gain, std::int32_t count);

    /// A measurement, adaptive if so set.
    SensorData InternalMeasurement();

    /// Finds integration time and gain for the light that is there now, and sets them.
    void Optimize();
};

}
