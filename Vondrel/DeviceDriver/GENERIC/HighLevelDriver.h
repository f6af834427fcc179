#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/Property.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Vondrel::DeviceDriver::Generic {

/// One way of measuring with the instrument, as the device object sees it. Everything but Whoami and
/// GetMeasurementResult may fail with the exceptions of the driver and of the calculation. To be used between
/// LockHandle and UnlockHandle.
class HighLevelDriver {
public:
    using Property = Configuration::Property;
    using SpectrumData = Calculation::SpectrumData;

    virtual ~HighLevelDriver() = default;

    /// @param darkStep  the transmission handle's first stage; the others do not look at it
    virtual void Calibrate(bool darkStep) = 0;
    virtual void TriggerMeasurement() = 0;

    /// The results of the last measurement.
    virtual const std::vector<SpectrumData>& GetMeasurementResult() = 0;

    virtual void SetPhysicalCondition(std::uint16_t id, const Property& property) = 0;
    /// @throws ResourceException  the handle has no such condition
    virtual Property GetPhysicalCondition(std::uint16_t id) = 0;

    /// Waits for the one lock of all handles, also of other processes, at most 10 s. Never throws.
    /// @return whether it was acquired
    virtual bool LockHandle() = 0;
    /// Does no harm when the lock is not held. Never throws.
    virtual void UnlockHandle() noexcept = 0;

    /// The name of the mode.
    virtual std::string Whoami() const = 0;
};

}
