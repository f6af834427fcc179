#pragma once

#include "platform/Usb.h"
#include "platform/libusb/Context.h"

#include <array>
#include <atomic>

namespace Platform::Libusb {

/// One instrument that this process has opened. All its pipes share it; the last one closes it.
class Device {
public:
    /// The device at this address: the one that is open already, or a newly opened one.
    /// @return empty on failure, with the reason in `result`
    static std::shared_ptr<Device> Open(const std::string& address, TransferResult& result);

    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    libusb_context* GetContext() const { return context.get(); }
    libusb_device_handle* GetHandle() const { return handle; }

    /// The endpoint behind pipe 1, 2 or 3.
    std::uint8_t Endpoint(unsigned pipe) const { return endpoints[pipe]; }

    /// To be told of how each transfer ended: a pipe that stalled is freed before its next transfer, and an instrument
    /// that has gone is never opened again by this object.
    void Note(unsigned pipe, TransferKind kind);
    void FreeStalledPipe(unsigned pipe);

    bool HasGone() const { return gone; }

private:
    Device(const Context& context_, libusb_device_handle* handle_) : context(context_), handle(handle_) { }

    int Claim();
    bool FindEndpoints(const libusb_interface_descriptor& setting);

    Context context;
    libusb_device_handle* handle;
    int interfaceNumber = -1;
    std::array<std::uint8_t, 4> endpoints{}; // by pipe; 0 is none
    std::array<std::atomic<bool>, 4> stalled{};
    std::atomic<bool> gone = false;
};

}
