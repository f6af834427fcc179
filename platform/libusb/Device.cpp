#include "platform/libusb/Device.h"

#include "platform/libusb/Failure.h"

#include <map>
#include <mutex>

namespace Platform::Libusb {

namespace {

/// The devices that this process has opened, by address. Never destroyed, see AcquireContext.
struct Registry {
    std::mutex guard;
    std::map<std::string, std::weak_ptr<Device>> devices;
};

Registry& OpenDevices()
{
    static auto& registry = *new Registry;
    return registry;
}

/// The pipe that an endpoint is meant for: 1 bulk in, 2 bulk out, 3 interrupt in, 0 none.
unsigned PipeOf(const libusb_endpoint_descriptor& endpoint)
{
    const bool in = (endpoint.bEndpointAddress & LIBUSB_ENDPOINT_IN) != 0;
    switch (endpoint.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK) {
    case LIBUSB_TRANSFER_TYPE_BULK:
        return in ? 1 : 2;
    case LIBUSB_TRANSFER_TYPE_INTERRUPT:
        return in ? 3 : 0;
    default:
        return 0;
    }
}

}

std::shared_ptr<Device> Device::Open(const std::string& address, TransferResult& result)
{
    auto& registry = OpenDevices();
    const std::lock_guard lock(registry.guard);
    std::erase_if(registry.devices, [](const auto& known) { return known.second.expired(); });
    if (const auto known = registry.devices.find(address); known != registry.devices.end())
        if (auto device = known->second.lock(); device && !device->HasGone())
            return device;

    int error = LIBUSB_SUCCESS;
    const auto context = AcquireContext(error);
    if (!context) {
        result = FailureOf(error);
        return nullptr;
    }
    const DeviceList attached(context);
    libusb_device_handle* handle = nullptr;
    auto* const found = attached.Find(address);
    error = found != nullptr ? libusb_open(found, &handle) : LIBUSB_ERROR_NO_DEVICE;
    if (error != LIBUSB_SUCCESS) {
        result = FailureOf(error);
        return nullptr;
    }
    std::shared_ptr<Device> device(new Device(context, handle));
    error = device->Claim();
    if (error != LIBUSB_SUCCESS) {
        result = FailureOf(error);
        return nullptr;
    }
    registry.devices[address] = device;
    return device;
}

Device::~Device()
{
    if (interfaceNumber >= 0)
        libusb_release_interface(handle, interfaceNumber);
    libusb_close(handle);
}

/// Claims the first interface that has all three pipes.
int Device::Claim()
{
    libusb_config_descriptor* configuration = nullptr;
    const int error = libusb_get_active_config_descriptor(libusb_get_device(handle), &configuration);
    if (error != LIBUSB_SUCCESS)
        return error;
    const std::unique_ptr<libusb_config_descriptor, decltype(&libusb_free_config_descriptor)> owner(
        configuration, libusb_free_config_descriptor);

    for (int i = 0; i < configuration->bNumInterfaces; ++i) {
        const auto& candidate = configuration->interface[i];
        if (candidate.num_altsetting < 1 || !FindEndpoints(candidate.altsetting[0]))
            continue;
        const int number = candidate.altsetting[0].bInterfaceNumber;
        const int claimed = libusb_claim_interface(handle, number);
        if (claimed == LIBUSB_SUCCESS)
            interfaceNumber = number;
        return claimed;
    }
    return LIBUSB_ERROR_NOT_SUPPORTED;
}

/// Takes the first endpoint of each kind. False if the interface lacks one.
bool Device::FindEndpoints(const libusb_interface_descriptor& setting)
{
    endpoints = {};
    for (int i = 0; i < setting.bNumEndpoints; ++i)
        if (auto& place = endpoints[PipeOf(setting.endpoint[i])]; place == 0)
            place = setting.endpoint[i].bEndpointAddress;
    return endpoints[1] != 0 && endpoints[2] != 0 && endpoints[3] != 0;
}

void Device::Note(unsigned pipe, TransferKind kind)
{
    if (kind == TransferKind::gone)
        gone = true;
    if (kind == TransferKind::stalled && pipe != 0)
        stalled[pipe] = true;
}

void Device::FreeStalledPipe(unsigned pipe)
{
    if (stalled[pipe].exchange(false))
        libusb_clear_halt(handle, endpoints[pipe]);
}

}
