#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/MeasurementHandle.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// Measures nothing: reads and writes single properties of the instrument, past the conditions of any mode.
class ServiceHandle : public MeasurementHandle {
public:
    using MeasurementHandle::MeasurementHandle;

    void Calibrate(bool) override { }
    /// @throws DataException "Not supported!"
    void TriggerMeasurement() override;
    void SetPhysicalCondition(std::uint16_t id, const Property& property) override;
    /// @throws DataException "invalid property id ..."
    Property GetPhysicalCondition(std::uint16_t id) override;
    std::string Whoami() const override { return "Service"; }

    /// Writes a whole set to the instrument.
    virtual void SetConditions(const Properties& conditions);
};

}
