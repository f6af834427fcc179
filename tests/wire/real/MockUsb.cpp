#include "tests/wire/real/MockUsb.h"

#include "tests/wire/Samples.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

std::string NodeOf(int number)
{
    char path[32];
    std::snprintf(path, sizeof path, "/dev/bus/usb/001/%03d", number);
    return path;
}

/// Device, configuration, one interface with its endpoints; a second bulk-in endpoint stands behind the first.
std::vector<std::uint8_t> Descriptors(const std::string& vendor, const std::string& product)
{
    const auto number = [](const std::string& hex) { return std::stoi(hex, nullptr, 16); };
    const auto low = [](int value) { return static_cast<std::uint8_t>(value & 0xFF); };
    const auto high = [](int value) { return static_cast<std::uint8_t>(value >> 8); };
    const int v = number(vendor);
    const int p = number(product);
    return {18,      1,      0,
            2,       0,      0,
            0,       64,     low(v),
            high(v), low(p), high(p),
            0,       1,      0,
            0,       0,      1, //
            9,       2,      46,
            0,       1,      1,
            0,       0x80,   50, //
            9,       4,      0,
            0,       4,      0xFF,
            0,       0,      0, //
            7,       5,      MockUsb::bulkOut,
            2,       64,     0,
            0, //
            7,       5,      MockUsb::bulkIn,
            2,       64,     0,
            0, //
            7,       5,      0x83,
            2,       64,     0,
            0, //
            7,       5,      MockUsb::interruptIn,
            3,       8,      0,
            10};
}

}

MockUsb::MockUsb(UMockdevTestbed* testbed_, int number_, const char* vendor, const char* product)
    : testbed(testbed_), number(number_), vendorId(vendor), productId(product)
{
    Plug();
}

MockUsb::~MockUsb()
{
    Unplug();
}

void MockUsb::Plug()
{
    if (!syspath.empty())
        ++number; // as the kernel does
    // Node and handler first: an application opens a device as soon as it sees its attributes.
    const auto path = NodeOf(number);
    g_autofree gchar* root = umockdev_testbed_get_root_dir(testbed);
    const auto file = std::string(root) + path;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    if (mkfifo(file.c_str(), 0660) != 0)
        throw std::runtime_error("mkfifo");
    node = open(file.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (node < 0 || fcntl(node, F_SETPIPE_SZ, 4096) < 0)
        throw std::runtime_error("open of the node");
    {
        const std::lock_guard lock(guard);
        gone = false;
        UpdateGate();
    }
    handler = umockdev_ioctl_base_new();
    g_signal_connect(handler, "handle-ioctl", G_CALLBACK(HandleIoctl), this);
    umockdev_testbed_attach_ioctl(testbed, path.c_str(), handler, nullptr);

    const auto text = std::to_string(number);
    const auto name = "1-" + text;
    const gchar* attributes[] = {"busnum", "1",  "devnum",   text.c_str(),     "bConfigurationValue", "1",
                                 "speed",  "12", "idVendor", vendorId.c_str(), "idProduct",           productId.c_str(),
                                 nullptr};
    const gchar* properties[] = {"DEVNAME", path.c_str(), "DEVTYPE",    "usb_device", "BUSNUM",
                                 "001",     "DEVNUM",     text.c_str(), nullptr};
    g_autofree gchar* added = umockdev_testbed_add_devicev(
        testbed, "usb", name.c_str(), nullptr, const_cast<gchar**>(attributes), const_cast<gchar**>(properties));
    syspath = added;
    auto blob = Descriptors(vendorId, productId);
    umockdev_testbed_set_attribute_binary(testbed, syspath.c_str(), "descriptors", blob.data(),
                                          static_cast<gint>(blob.size()));
    umockdev_testbed_uevent(testbed, syspath.c_str(), "add");
}

void MockUsb::Unplug()
{
    {
        const std::lock_guard lock(guard);
        if (gone)
            return;
        gone = true;
        for (auto* urb : std::exchange(held, {}))
            Complete(urb, -ESHUTDOWN, 0);
        UpdateGate();
    }
    umockdev_testbed_uevent(testbed, syspath.c_str(), "remove");
    umockdev_testbed_remove_device(testbed, syspath.c_str());
    // Whoever still has the node open goes on to ask, and is told that there is no device.
    g_autofree gchar* root = umockdev_testbed_get_root_dir(testbed);
    std::filesystem::remove(std::string(root) + NodeOf(number));
    close(node);
}

void MockUsb::Press()
{
    const std::lock_guard lock(guard);
    ++presses;
    const auto waiting = std::ranges::find(held, interruptIn, &usbdevfs_urb::endpoint);
    if (waiting != held.end()) {
        auto* urb = *waiting;
        held.erase(waiting);
        Serve(urb);
    }
    UpdateGate();
}

bool MockUsb::AwaitHeld(std::uint8_t endpoint)
{
    for (int i = 0; i < 200; ++i) {
        {
            const std::lock_guard lock(guard);
            if (std::ranges::find(held, endpoint, &usbdevfs_urb::endpoint) != held.end())
                return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
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
    long result = 0;
    switch (umockdev_ioctl_client_get_request(client)) {
    case USBDEVFS_GET_CAPABILITIES:
        *static_cast<std::uint32_t*>(argument) =
            USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
        break;
    case USBDEVFS_CLAIMINTERFACE:
        result = gone ? -ENODEV : -claimError;
        break;
    case USBDEVFS_RELEASEINTERFACE:
    case USBDEVFS_SETINTERFACE:
    case USBDEVFS_RESET:
        result = gone ? -ENODEV : 0;
        break;
    case USBDEVFS_CLEAR_HALT:
        ++clearedHalts;
        break;
    case USBDEVFS_GETDRIVER:
        result = -ENODATA;
        break;
    case USBDEVFS_SUBMITURB:
        result = Submit(static_cast<usbdevfs_urb*>(argument));
        break;
    case USBDEVFS_DISCARDURB:
        result = Discard(static_cast<usbdevfs_urb*>(argument));
        break;
    case USBDEVFS_REAPURBNDELAY:
    case USBDEVFS_REAPURB:
        result = Reap(static_cast<usbdevfs_urb**>(argument));
        break;
    default:
        result = -ENOTTY;
    }
    UpdateGate();
    umockdev_ioctl_client_complete(client, result < 0 ? -1 : result, static_cast<int>(result < 0 ? -result : 0));
}

long MockUsb::Submit(usbdevfs_urb* urb)
{
    if (gone)
        return -ENODEV;
    Serve(urb);
    return 0;
}

long MockUsb::Discard(usbdevfs_urb* urb)
{
    const auto found = std::ranges::find(held, urb);
    if (found == held.end())
        return -EINVAL;
    held.erase(found);
    Complete(urb, -ENOENT, 0);
    return 0;
}

long MockUsb::Reap(usbdevfs_urb** reaped)
{
    if (done.empty())
        return gone ? -ENODEV : -EAGAIN;
    *reaped = done.front();
    done.pop_front();
    return 0;
}

void MockUsb::Serve(usbdevfs_urb* urb)
{
    const auto endpoint = urb->type == USBDEVFS_URB_TYPE_CONTROL ? std::uint8_t{0} : urb->endpoint;
    const bool waitsForPress = endpoint == interruptIn && presses == 0;
    switch (waitsForPress ? Behaviour::hold : behaviours[endpoint]) {
    case Behaviour::hold:
        held.push_back(urb);
        return;
    case Behaviour::stall:
        Complete(urb, -EPIPE, 0);
        return;
    case Behaviour::fail:
        Complete(urb, -EPROTO, 0);
        return;
    case Behaviour::answer:
        const int moved = Move(urb);
        Complete(urb, std::min(moved, 0), std::max(moved, 0));
    }
}

/// @return bytes moved, or a negative error
int MockUsb::Move(usbdevfs_urb* urb)
{
    auto* const buffer = static_cast<std::uint8_t*>(urb->buffer);
    if (urb->type == USBDEVFS_URB_TYPE_CONTROL) {
        setups.push_back(Hex(std::span(buffer, 8)));
        return control(buffer, buffer + 8);
    }
    if (urb->endpoint == bulkOut) {
        written.insert(written.end(), buffer, buffer + urb->buffer_length);
        return urb->buffer_length;
    }
    if (urb->endpoint == interruptIn) {
        --presses;
        return 8;
    }
    const auto size = std::min(static_cast<std::size_t>(urb->buffer_length), stream.size());
    std::copy_n(stream.begin(), size, buffer);
    stream.erase(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
    return static_cast<int>(size);
}

void MockUsb::Complete(usbdevfs_urb* urb, int status, int moved)
{
    urb->status = status;
    urb->actual_length = moved;
    done.push_back(urb);
}

/// Empty: there is something to reap, or the device has gone. One byte: nothing to reap.
void MockUsb::UpdateGate()
{
    const bool open = gone || !done.empty();
    if (open == gateOpen)
        return;
    gateOpen = open;
    char byte = 0;
    const auto moved = open ? read(node, &byte, 1) : write(node, &byte, 1);
    if (moved != 1)
        throw std::runtime_error("the gate is stuck");
}
