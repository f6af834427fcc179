#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Measurement/AmbientLightHandle.h"

namespace Vondrel::DeviceDriver::Generic::Measurement {

/// A quick series of ambient readings, one result for each, under the conditions and the dark as they stand.
class AmbientLightScanHandle : public AmbientLightHandle {
public:
    explicit AmbientLightScanHandle(const SmartPointer<LowLevelDriver>& driver_);

    void TriggerMeasurement() override;
    std::string Whoami() const override { return "AmbientLightScan"; }
};

}
