#pragma once

#include <umockdev.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <linux/usbdevice_fs.h>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// An instrument on the USB file system that umockdev shows to this process: it answers libusb's requests to the
/// kernel.
///
/// Its node is a pipe that looks full as long as there is nothing to reap, since umockdev leaves polling to the kernel.
class MockUsb {
public:
    /// Plugs in an instrument with these ids at this device number of bus 1.
    MockUsb(UMockdevTestbed* testbed_, int number_, const char* vendor = "1209", const char* product = "0001");
    ~MockUsb();
    MockUsb(const MockUsb&) = delete;
    MockUsb& operator=(const MockUsb&) = delete;

    void Plug();
    void Unplug();
    void Press();

    /// What the instrument makes of a control request: bytes moved, or a negative error. Reads and writes the data
    /// stage.
    std::function<int(const std::uint8_t* setup, std::uint8_t* data)> control;
    std::vector<std::uint8_t> stream; ///< what bulk reads get; a read beyond it ends short

    enum class Behaviour { answer, hold, stall, fail };
    /// By endpoint (0 for control): what becomes of the transfers from now on.
    std::map<std::uint8_t, Behaviour> behaviours;
    int claimError = 0;

    // What was seen.
    std::vector<std::string> setups;   ///< setup packets in hex
    std::vector<std::uint8_t> written; ///< through the bulk-out pipe
    int clearedHalts = 0;

    std::mutex guard; ///< of everything above while the instrument is plugged in

    /// Waits until a transfer is held on this endpoint. False after two seconds.
    bool AwaitHeld(std::uint8_t endpoint);

    static constexpr std::uint8_t bulkIn = 0x82;
    static constexpr std::uint8_t bulkOut = 0x01;
    static constexpr std::uint8_t interruptIn = 0x84;

private:
    static gboolean HandleIoctl(UMockdevIoctlBase* handler, UMockdevIoctlClient* client, gpointer self);

    void Answer(UMockdevIoctlClient* client);
    long Submit(usbdevfs_urb* urb);
    long Discard(usbdevfs_urb* urb);
    long Reap(usbdevfs_urb** reaped);
    void Serve(usbdevfs_urb* urb);
    int Move(usbdevfs_urb* urb);
    void Complete(usbdevfs_urb* urb, int status, int moved);
    void UpdateGate();

    UMockdevTestbed* const testbed;
    UMockdevIoctlBase* handler = nullptr;
    int number;
    const std::string vendorId;
    const std::string productId;
    std::string syspath;
    int node = -1;
    bool gateOpen = true;
    bool gone = true;
    int presses = 0;
    std::list<usbdevfs_urb*> held;
    std::deque<usbdevfs_urb*> done;
};
