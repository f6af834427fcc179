#include "platform/libusb/Context.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace Platform::Libusb {

namespace {

/// The place of a device on its bus, as the kernel names it. It changes whenever the cable is put in again.
std::string AddressOf(libusb_device* device)
{
    char address[32];
    std::snprintf(address, sizeof address, "/dev/bus/usb/%03u/%03u", libusb_get_bus_number(device),
                  libusb_get_device_address(device));
    return address;
}

bool IsInstrument(libusb_device* device)
{
    libusb_device_descriptor descriptor;
    return libusb_get_device_descriptor(device, &descriptor) == LIBUSB_SUCCESS
        && descriptor.idVendor == ORVEX_USB_VENDOR_ID && descriptor.idProduct == ORVEX_USB_PRODUCT_ID;
}

}

Context AcquireContext(int& error)
{
    // Never destroyed: a thread that was left alone may come here while the process ends.
    static auto& guard = *new std::mutex;
    static auto& shared = *new std::weak_ptr<libusb_context>;

    const std::lock_guard lock(guard);
    if (auto context = shared.lock())
        return context;
    libusb_context* created = nullptr;
    error = libusb_init(&created);
    if (error != LIBUSB_SUCCESS)
        return nullptr;
    Context context(created, libusb_exit);
    shared = context;
    return context;
}

DeviceList::DeviceList(const Context& context_) : context(context_)
{
    const auto count = libusb_get_device_list(context.get(), &list);
    for (ssize_t i = 0; i < count; ++i)
        if (IsInstrument(list[i]))
            entries.push_back({AddressOf(list[i]), list[i]});
    std::ranges::sort(entries, {}, &Entry::address);
}

DeviceList::~DeviceList()
{
    if (list != nullptr)
        libusb_free_device_list(list, 1);
}

std::vector<std::string> DeviceList::Addresses() const
{
    std::vector<std::string> addresses;
    for (const auto& entry : entries)
        addresses.push_back(entry.address);
    return addresses;
}

libusb_device* DeviceList::Find(const std::string& address) const
{
    const auto entry = std::ranges::find(entries, address, &Entry::address);
    return entry == entries.end() ? nullptr : entry->device;
}

}
