#pragma once

#include "tests/wire/real/WiredInstrument.h"

#include <umockdev.h>

#include <deque>
#include <linux/usbdevice_fs.h>

/// An instrument on the USB file system that umockdev shows to this process: it answers libusb's requests to the
/// kernel.
///
/// Its node is a pipe that looks full as long as there is nothing to reap, since umockdev leaves polling to the kernel.
class MockUsb : public WiredInstrument {
public:
    /// Plugs in an instrument with these ids at this device number of bus 1, where it is the only one.
    explicit MockUsb(int number_, std::uint16_t vendor_ = 0x1209, std::uint16_t product_ = 0x0001);
    ~MockUsb() override;

    std::string Address() const override;
    std::string NodeFile() const override;

    std::atomic<int> claims = 0; ///< of the interface, that were not given back

private:
    void Appear() override;
    void Disappear() override;
    void Ended(Tag tag, int status, std::size_t moved, std::span<const std::uint8_t> data) override;

    static gboolean HandleIoctl(UMockdevIoctlBase* handler, UMockdevIoctlClient* client, gpointer self);

    void Answer(UMockdevIoctlClient* client);
    long Perform(unsigned long request, void* argument);
    long Accept(usbdevfs_urb* urb);
    long Discard(usbdevfs_urb* urb);
    long Reap(usbdevfs_urb** reaped);
    void UpdateGate();

    const std::shared_ptr<UMockdevTestbed> testbed;
    int number;
    const std::uint16_t vendor;
    const std::uint16_t product;
    UMockdevIoctlBase* handler = nullptr;
    std::string syspath;
    int node = -1;
    bool gateOpen = true;
    std::deque<usbdevfs_urb*> done;
};
