#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"

#include "Vondrel/DeviceDriver/ox/USB/RequestBlock.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Multithreading/ScopedLock.h"
#include "platform/Threading.h"

#include <array>

namespace Vondrel::DeviceDriver::ox {

using Utilities::Multithreading::ScopedLock;

namespace {

constexpr std::size_t maxDevices = 127;

/// The letters and digits of an address: the name of the lock that all users of the instrument share.
std::string StripStrangeChars(const std::string& address)
{
    std::string stripped;
    for (const char c : address)
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))
            stripped += c;
    return stripped;
}

/// Raises the calling thread for the length of a scan.
class PriorityScope {
public:
    PriorityScope() : previous(Platform::RaisePriority()) { }
    ~PriorityScope() { Platform::RestorePriority(previous); }
    PriorityScope(const PriorityScope&) = delete;
    PriorityScope& operator=(const PriorityScope&) = delete;

private:
    const std::int32_t previous;
};

}

std::atomic<bool> BrindleUSBDevice::beep = true;

BrindleUSBDevice::BrindleUSBDevice(Generic::EventListener* listener_, const std::string& deviceAddress)
try : deviceLock(StripStrangeChars(deviceAddress)), address(deviceAddress), listener(listener_),
    interruptListener(deviceAddress) {
    try {
        control.emplace(address, PipeType::control);
        bulkIn.emplace(address, PipeType::bulkIn);
        bulkOut.emplace(address, PipeType::bulkOut);
        interruptListener.SetListener(this);
        interruptListener.Start();
    } catch (...) {
        Shutdown();
        throw;
    }
}
TRACE_GUARD("BrindleUSBDevice", "BrindleUSBDevice")

BrindleUSBDevice::~BrindleUSBDevice()
{
    try {
        Shutdown();
    } catch (...) {
        // The instrument may be gone: closing goes on.
    }
}

void BrindleUSBDevice::MessageFromDevice(std::uint16_t message, std::int32_t source)
try {
    ScopedLock guard(deviceLock);
    if (listener)
        listener->MessageFromDevice(message, source);
    if (message != Generic::deviceGoneMessage)
        return;
    bulkOut->Close();
    bulkIn->Close();
    control->Close();
}
TRACE_GUARD("BrindleUSBDevice", "MessageFromDevice")

void BrindleUSBDevice::RemoveListener(Generic::EventListener* /*listener*/)
try {
    interruptListener.ClearListener(); // its lock comes before the device lock
    ScopedLock guard(deviceLock);
    listener = nullptr;
}
TRACE_GUARD("BrindleUSBDevice", "RemoveListener")

void BrindleUSBDevice::PerformDeviceIOControl(const Platform::ControlRequest& request, std::span<std::uint8_t> data)
try {
    ScopedLock guard(deviceLock);
    control->PerformDeviceIOControl(request, data, true);
}
TRACE_GUARD("BrindleUSBDevice", "PerformDeviceIOControl")

void BrindleUSBDevice::ReadData(std::span<std::uint8_t> buffer, std::int64_t limitMs)
try {
    ScopedLock guard(deviceLock);
    bulkIn->Read(buffer, limitMs);
}
TRACE_GUARD("BrindleUSBDevice", "ReadData")

void BrindleUSBDevice::WriteData(std::span<const std::uint8_t> buffer, std::int64_t limitMs)
try {
    ScopedLock guard(deviceLock);
    bulkOut->Write(buffer, limitMs);
}
TRACE_GUARD("BrindleUSBDevice", "WriteData")

void BrindleUSBDevice::ReadDataStrip(ScanQueue& lines, std::size_t lineSize, std::int64_t limitMs)
try {
    ScopedLock guard(deviceLock);
    PriorityScope priority;
    ScanReader(*bulkIn, lineSize, limitMs).ReadInto(lines, beep);
}
TRACE_GUARD("BrindleUSBDevice", "ReadDataStrip")

std::vector<std::string> BrindleUSBDevice::GetAllDevices()
try {
    return Platform::UsbAddresses(maxDevices);
}
TRACE_GUARD("BrindleUSBDevice", "GetAllDevices")

void BrindleUSBDevice::SetBeep(bool on)
{
    beep = on;
}

bool BrindleUSBDevice::IsBeepOn()
{
    return beep;
}

/// Without a press the firmware is asked to end its wait for the button; also where the opening failed behind the
/// control pipe.
void BrindleUSBDevice::HandleUntouchedButton()
try {
    if (!control || interruptListener.IsButtonTouched())
        return;
    std::array<std::uint8_t, 8> data{};
    ScopedLock guard(deviceLock);
    control->PerformDeviceIOControl(MakeRequest(Direction::toDevice, RequestType::standard, 0, 0x84), data, false);
    control->PerformDeviceIOControl(MakeRequest(Direction::toDevice, RequestType::vendor, 0xD0, 3), data, false);
}
TRACE_GUARD("BrindleUSBDevice", "HandleUntouchedButton")

void BrindleUSBDevice::Shutdown()
try {
    HandleUntouchedButton();
    interruptListener.Stop();
}
TRACE_GUARD("BrindleUSBDevice", "Shutdown")

}
