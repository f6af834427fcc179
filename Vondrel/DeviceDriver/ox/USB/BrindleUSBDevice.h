#pragma once

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "Vondrel/DeviceDriver/ox/USB/InterruptListener.h"
#include "Vondrel/DeviceDriver/ox/USB/ScanReader.h"
#include "Vondrel/DeviceDriver/ox/USB/USBConnection.h"
#include "Vondrel/Utilities/Multithreading/Mutex.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Vondrel::DeviceDriver::ox {

/// One open spectrophotometer: its pipes, the watch on its interrupt pipe, and the lock that keeps the users of one
/// instrument, in this process and in others, apart for the length of a transfer.
class BrindleUSBDevice : public Generic::EventListener {
public:
    /// Opens the pipes and starts the watch.
    /// @param listener       told of the button and of the removal; may be null
    /// @param deviceAddress  one of GetAllDevices
    /// @throws IOException   a pipe does not open, or the watch does not start
    BrindleUSBDevice(Generic::EventListener* listener, const std::string& deviceAddress);
    ~BrindleUSBDevice() override;
    BrindleUSBDevice(const BrindleUSBDevice&) = delete;
    BrindleUSBDevice& operator=(const BrindleUSBDevice&) = delete;

    /// Forwards to the listener. After "gone" the pipes are closed, and every transfer fails.
    void MessageFromDevice(std::uint16_t message, std::int32_t source) override;

    /// No message reaches the listener after this.
    void RemoveListener(Generic::EventListener* listener);

    /// One control transfer, see USBConnection.
    void PerformDeviceIOControl(const Platform::ControlRequest& request, std::span<std::uint8_t> data);

    /// Bulk transfers of exactly the given bytes, within limitMs + 5000 ms, see USBConnection.
    void ReadData(std::span<std::uint8_t> buffer, std::int64_t limitMs);
    void WriteData(std::span<const std::uint8_t> buffer, std::int64_t limitMs);

    /// Reads a scan to its end, which is a short package: first two lines, then ten at a time, with one read always in
    /// flight. The queue then holds the lines that arrived, after a failure too.
    /// @param lineSize  bytes, at most 6553
    /// @param limitMs   milliseconds for each package, plus 5000
    /// @throws TimeoutException, IOException  a package does not come, or holds no whole number of lines
    void ReadDataStrip(ScanQueue& lines, std::size_t lineSize, std::int64_t limitMs);

    const std::string& GetAddress() const { return address; }

    /// Addresses of the instruments that are attached now, at most 127.
    static std::vector<std::string> GetAllDevices();

    /// Whether a scan sounds a tone at its first data, for all instruments of the process. On at the start.
    static void SetBeep(bool on);
    static bool IsBeepOn();

private:
    void HandleUntouchedButton();
    void Shutdown();

    Utilities::Multithreading::Mutex deviceLock;
    std::string address;
    Generic::EventListener* listener;
    std::optional<USBConnection> control; // the pipes are open from the construction on
    std::optional<USBConnection> bulkIn;
    std::optional<USBConnection> bulkOut;
    InterruptListener interruptListener;

    static std::atomic<bool> beep;
};

}
