#pragma once

#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <string>
#include <vector>

namespace Vondrel::DeviceDriver::ox {

/// Says which spectrophotometers are attached.
class USBBrowser {
public:
    virtual ~USBBrowser() = default;

    /// Device addresses, at most 127. Never fails: what cannot be listed is not there.
    virtual std::vector<std::string> GetDevices() = 0;

    virtual bool IsAnyOrvexConnected() = 0;

    /// A new browser.
    static Utilities::Tools::SmartPointer<USBBrowser> Instance();
};

}
