#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/DriverCalculation.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/SensorData.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"
#include "Vondrel/DeviceDriver/GENERIC/HighLevelDriver.h"
#include "Vondrel/DeviceDriver/GENERIC/LowLevelDriver.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <cstdint>
#include <vector>

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// What all handles share: the physical conditions of the mode, its calculation, the physical measurement through the
/// low-level driver, the last results. Derived handles differ in their default conditions, in how they calibrate, and
/// in how they make results of raw data.
///
/// Conditions persist between measurements: what a calibration leaves behind stays until the next change.
class MeasurementHandle : public HighLevelDriver {
public:
    template<typename T>
    using SmartPointer = Utilities::Tools::SmartPointer<T>;
    using Properties = Configuration::Properties;
    using SensorData = Calculation::SensorData;
    using RawVector = std::vector<std::int32_t>;

    /// Reads the instrument's calibration and what it supplies of the conditions, then sets the defaults.
    explicit MeasurementHandle(const SmartPointer<LowLevelDriver>& driver_);

    const std::vector<SpectrumData>& GetMeasurementResult() override { return results; }
    void SetPhysicalCondition(std::uint16_t id, const Property& property) override;
    Property GetPhysicalCondition(std::uint16_t id) override;
    bool LockHandle() override;
    void UnlockHandle() noexcept override;

    virtual Properties& GetPhysicalCondition() { return physicalConditions; }
    virtual const Properties& GetPhysicalCondition() const { return physicalConditions; }

    /// One measurement under the present conditions: one record with all readings.
    virtual SensorData TriggerPhysicalMeasurement();

    /// One scan under the present conditions: one record for each reading.
    virtual std::vector<SensorData> TriggerPhysicalMeasurementStrip();

    /// Measures a dark at the present integration time and gain, whatever the lamp and scan conditions are, and makes
    /// it the current dark.
    /// @return the mean of its readings
    virtual RawVector TriggerDarkMeasurement();

protected:
    void SetMeasurementResult(const SpectrumData& result);
    /// Swaps: `newResults` gets the old ones.
    void SetMeasurementResult(std::vector<SpectrumData>& newResults);

    /// Multiplies each band by its factor in SpectralCorrection, if there is one for each. Never fails.
    void SpectrumCorrection(SpectrumData& spectrum) const noexcept;

    std::int32_t LongCondition(std::uint16_t id) { return GetPhysicalCondition().GetProperty(id).AsLong(); }
    float FloatCondition(std::uint16_t id) { return GetPhysicalCondition().GetProperty(id).AsFloat(); }
    void SetCondition(std::uint16_t id, const Property& property) { GetPhysicalCondition().SetProperty(id, property); }

    Calculation::DriverCalculation& Calculator() { return *calculation; }
    LowLevelDriver& Driver() { return *driver; }

private:
    SmartPointer<Calculation::DriverCalculation> calculation;
    SmartPointer<LowLevelDriver> driver;
    std::vector<SpectrumData> results;
    Properties physicalConditions{"PhysicalConditions"};
};

}
