#pragma once

#include "Vondrel/DeviceDriver/ox/Orvex.h"

namespace OrvexSDK {

/// Puts a device into a mode for the length of a scope.
class ModeScope {
public:
    using Orvex = Vondrel::DeviceDriver::ox::Orvex;

    ModeScope(Orvex& theDevice, std::int32_t mode) : device(theDevice), remembered(theDevice.GetMode())
    {
        device.Activate(mode);
    }
    ModeScope(const ModeScope&) = delete;
    ModeScope& operator=(const ModeScope&) = delete;
    ~ModeScope() { device.Activate(remembered); }

private:
    Orvex& device;
    std::int32_t remembered;
};

}
