#include "tests/wire/real/MockUsb.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What all instruments of a test share. It goes, and its files with it, with the last of them.
std::shared_ptr<UMockdevTestbed> SharedTestbed()
{
    static std::weak_ptr<UMockdevTestbed> shared;
    auto testbed = shared.lock();
    if (!testbed)
        shared = testbed = {umockdev_testbed_new(), g_object_unref};
    return testbed;
}

std::string FourDigits(std::uint16_t id)
{
    char text[8];
    std::snprintf(text, sizeof text, "%04x", id);
    return text;
}

usbdevfs_urb* UrbOf(std::uint64_t tag)
{
    return reinterpret_cast<usbdevfs_urb*>(static_cast<std::uintptr_t>(tag));
}

std::uint64_t TagOf(const usbdevfs_urb* urb)
{
    return reinterpret_cast<std::uintptr_t>(urb);
}

bool IsControl(const usbdevfs_urb& urb)
{
    return urb.type == USBDEVFS_URB_TYPE_CONTROL;
}

}

MockUsb::MockUsb(int number_, std::uint16_t vendor_, std::uint16_t product_)
    : testbed(SharedTestbed()), number(number_ - 1), vendor(vendor_), product(product_)
{
    Plug();
}

MockUsb::~MockUsb()
{
    Unplug();
}

std::string MockUsb::Address() const
{
    char path[32];
    std::snprintf(path, sizeof path, "/dev/bus/usb/001/%03d", number);
    return path;
}

std::string MockUsb::NodeFile() const
{
    g_autofree gchar* root = umockdev_testbed_get_root_dir(testbed.get());
    return root + Address();
}

void MockUsb::Appear()
{
    ++number; // at each plugging, as the kernel does
    // Node and handler first: an application opens a device as soon as it sees its attributes.
    const auto path = Address();
    const auto file = NodeFile();
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    if (mkfifo(file.c_str(), 0660) != 0)
        throw std::runtime_error("mkfifo");
    node = open(file.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (node < 0 || fcntl(node, F_SETPIPE_SZ, 4096) < 0)
        throw std::runtime_error("open of the node");
    {
        const std::lock_guard lock(guard);
        done.clear();
        gateOpen = true; // the pipe is empty
        UpdateGate();
    }
    handler = umockdev_ioctl_base_new();
    g_signal_connect(handler, "handle-ioctl", G_CALLBACK(HandleIoctl), this);
    umockdev_testbed_attach_ioctl(testbed.get(), path.c_str(), handler, nullptr);

    const auto text = std::to_string(number);
    const auto name = "1-" + text;
    const auto vendorId = FourDigits(vendor);
    const auto productId = FourDigits(product);
    const gchar* attributes[] = {
        "busnum", "1",        "devnum",         text.c_str(), "bConfigurationValue", "1",    "speed",
        "480",    "idVendor", vendorId.c_str(), "idProduct",  productId.c_str(),     nullptr};
    const gchar* properties[] = {"DEVNAME", path.c_str(), "DEVTYPE",    "usb_device", "BUSNUM",
                                 "001",     "DEVNUM",     text.c_str(), nullptr};
    g_autofree gchar* added = umockdev_testbed_add_devicev(
        testbed.get(), "usb", name.c_str(), nullptr, const_cast<gchar**>(attributes), const_cast<gchar**>(properties));
    syspath = added;
    auto blob = Descriptors(vendor, product);
    umockdev_testbed_set_attribute_binary(testbed.get(), syspath.c_str(), "descriptors", blob.data(),
                                          static_cast<gint>(blob.size()));
    umockdev_testbed_uevent(testbed.get(), syspath.c_str(), "add");
}

void MockUsb::Disappear()
{
    {
        const std::lock_guard lock(guard);
        UpdateGate();
    }
    umockdev_testbed_uevent(testbed.get(), syspath.c_str(), "remove");
    umockdev_testbed_remove_device(testbed.get(), syspath.c_str());
    // Whoever still has the node open goes on to ask, and is told that there is no device.
    std::filesystem::remove(NodeFile());
    close(node);
}

gboolean MockUsb::HandleIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self)
{
    static_cast<MockUsb*>(self)->Answer(client);
    return TRUE;
}

/// The handler shares its address space with libusb: what the argument points at is read and written in place.
void MockUsb::Answer(UMockdevIoctlClient* client)
{
    const std::lock_guard lock(guard);
    UMockdevIoctlData* const data = umockdev_ioctl_client_get_arg(client);
    void* argument = nullptr;
    std::memcpy(&argument, data->data, sizeof argument);
    const long result = Perform(umockdev_ioctl_client_get_request(client), argument);
    UpdateGate();
    umockdev_ioctl_client_complete(client, result < 0 ? -1 : result, static_cast<int>(result < 0 ? -result : 0));
}

/// @return as the kernel: a negative error on failure
long MockUsb::Perform(unsigned long request, void* argument)
{
    switch (request) {
    case USBDEVFS_GET_CAPABILITIES:
        *static_cast<std::uint32_t*>(argument) =
            USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
        return 0;
    case USBDEVFS_CLAIMINTERFACE:
        ++claims;
        return Open();
    case USBDEVFS_RELEASEINTERFACE:
        --claims;
        Close();
        [[fallthrough]];
    case USBDEVFS_SETINTERFACE:
    case USBDEVFS_RESET:
        return IsPlugged() ? 0 : -ENODEV;
    case USBDEVFS_CLEAR_HALT:
        ++clearedHalts;
        return 0;
    case USBDEVFS_GETDRIVER:
        return -ENODATA;
    case USBDEVFS_SUBMITURB:
        return Accept(static_cast<usbdevfs_urb*>(argument));
    case USBDEVFS_DISCARDURB:
        return Discard(static_cast<usbdevfs_urb*>(argument));
    case USBDEVFS_REAPURBNDELAY:
    case USBDEVFS_REAPURB:
        return Reap(static_cast<usbdevfs_urb**>(argument));
    default:
        return -ENOTTY;
    }
}

long MockUsb::Accept(usbdevfs_urb* urb)
{
    if (!IsPlugged())
        return -ENODEV;
    const std::span bytes(static_cast<const std::uint8_t*>(urb->buffer), static_cast<std::size_t>(urb->buffer_length));
    Setup setup{};
    if (IsControl(*urb))
        std::ranges::copy(bytes.first(setup.size()), setup.begin());
    Submit(TagOf(urb), IsControl(*urb) ? std::uint8_t{0} : urb->endpoint, setup,
           bytes.subspan(IsControl(*urb) ? setup.size() : 0));
    return 0;
}

long MockUsb::Discard(usbdevfs_urb* urb)
{
    if (!Cancel(TagOf(urb)))
        return -EINVAL;
    Ended(TagOf(urb), -ENOENT, 0, {});
    return 0;
}

long MockUsb::Reap(usbdevfs_urb** reaped)
{
    if (done.empty())
        return IsPlugged() ? -EAGAIN : -ENODEV;
    *reaped = done.front();
    done.pop_front();
    return 0;
}

void MockUsb::Ended(Tag tag, int status, std::size_t moved, std::span<const std::uint8_t> data)
{
    auto* const urb = UrbOf(tag);
    std::ranges::copy(data, static_cast<std::uint8_t*>(urb->buffer) + (IsControl(*urb) ? sizeof(Setup) : 0));
    urb->status = status;
    urb->actual_length = static_cast<int>(moved);
    done.push_back(urb);
    UpdateGate();
}

/// Empty: there is something to reap, or the device has gone. One byte: nothing to reap.
void MockUsb::UpdateGate()
{
    const bool open = !IsPlugged() || !done.empty();
    if (open == gateOpen)
        return;
    gateOpen = open;
    char byte = 0;
    const auto moved = open ? read(node, &byte, 1) : write(node, &byte, 1);
    if (moved != 1)
        throw std::runtime_error("the gate is stuck");
}
