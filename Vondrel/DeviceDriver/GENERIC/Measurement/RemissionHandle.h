#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/MeasurementHandle.h"
#include "Vondrel/Utilities/Tools/DateTime.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// The reflectance of one spot. Its white calibration lies in the instrument's log and survives a restart.
class RemissionHandle : public MeasurementHandle {
public:
    /// Takes over the stored calibration, if there is a good one.
    explicit RemissionHandle(const SmartPointer<LowLevelDriver>& driver_);

    void Calibrate(bool darkStep) override;
    void TriggerMeasurement() override;
    std::string Whoami() const override { return "Remission"; }

private:
    class TimeNote;

    void PrepareStoredWhiteData();
    void RestAfterLamp(std::int32_t milliseconds);
    bool TryWhite(SensorData& white, bool failureCounts);
    RawVector CalibrateAtNewTime(SensorData& white);
    void StoreCalibration(const RawVector& dark, SensorData& white);

    Utilities::Tools::DateTime lastDarkTime;
};

}
