#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"

#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::ox {

namespace {

class USBBrowserImpl_PC : public USBBrowser {
public:
    std::vector<std::string> GetDevices() override
    {
        try {
            return BrindleUSBDevice::GetAllDevices();
        } catch (...) {
            return {};
        }
    }

    bool IsAnyOrvexConnected() override { return !GetDevices().empty(); }
};

}

Utilities::Tools::SmartPointer<USBBrowser> USBBrowser::Instance()
try {
    return Utilities::Tools::SmartPointer<USBBrowser>(new USBBrowserImpl_PC);
}
TRACE_GUARD("USBBrowser", "Instance")

}
