#pragma once

#include <libusb.h>

#include <memory>
#include <string>
#include <vector>

/// The instruments on libusb: what the pipes share.
namespace Platform::Libusb {

/// libusb's session. It lives as long as someone needs it, so that no thread of libusb stays behind.
using Context = std::shared_ptr<libusb_context>;

/// The session that is open now, or a new one.
/// @return empty with libusb's code in `error` when there is none to be had
Context AcquireContext(int& error);

/// The attached devices that are instruments of ours, in the order of their addresses.
class DeviceList {
public:
    explicit DeviceList(const Context& context_);
    ~DeviceList();
    DeviceList(const DeviceList&) = delete;
    DeviceList& operator=(const DeviceList&) = delete;

    std::vector<std::string> Addresses() const;

    /// Null if nothing has this address. Valid as long as the list.
    libusb_device* Find(const std::string& address) const;

private:
    struct Entry {
        std::string address;
        libusb_device* device;
    };

    Context context; // outlives the list
    libusb_device** list = nullptr;
    std::vector<Entry> entries;
};

}
