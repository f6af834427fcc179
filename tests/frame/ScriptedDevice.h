#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/DeviceKinds.h"

#include <functional>
#include <string>
#include <vector>

/// What the proxies and validators of these tests do; replaces the library's own kinds of devices.
struct ScriptedDevice {
    std::function<void()> operation = [] {}; ///< run by every operation of the device
    std::function<void(const std::string&, const OrvexSDK::CallParameters&)> validate =
        [](const std::string&, const OrvexSDK::CallParameters&) {};
    std::function<void()> farewell = [] {}; ///< run by the destructor of a proxy
    std::vector<std::string> calls;         ///< "0 Calibrate": id of the proxy and operation, oldest first
    std::int32_t samples = 3;
    std::int32_t mode = 0;
    bool colorimeterAttached = false;
    int alive = 0; ///< proxies in existence
};

ScriptedDevice& Scripted();
