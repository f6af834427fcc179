#include "platform/Usb.h"

#include "platform/libusb/Failure.h"
#include "platform/libusb/Transfer.h"

#include <algorithm>

namespace Platform {

namespace {

using Libusb::PipeCore;
using Libusb::Transfer;
using Libusb::TransferState;

class Pipe : public UsbPipe {
public:
    Pipe(unsigned pipe, const std::shared_ptr<Libusb::Device>& device) : core(std::make_shared<PipeCore>(pipe, device))
    {
    }
    ~Pipe() override { core->Close(); }

    std::unique_ptr<UsbTransfer> MakeTransfer(std::size_t capacity) override
    {
        return std::make_unique<Transfer>(MakeState(0, capacity));
    }

    std::unique_ptr<UsbTransfer> MakeControl(const ControlRequest& request, std::size_t capacity) override
    {
        const auto state = MakeState(LIBUSB_CONTROL_SETUP_SIZE, capacity);
        const auto setup = state->Header();
        setup[0] = static_cast<std::uint8_t>((request[0] & 1) << 7 | (request[1] & 3) << 5 | (request[2] & 31));
        setup[1] = request[4];
        std::copy_n(request.begin() + 6, 4, setup.begin() + 2); // value and index, little-endian on both sides
        return std::make_unique<Transfer>(state);
    }

    void Close() override { core->Close(); }

private:
    std::shared_ptr<TransferState> MakeState(std::size_t headerSize, std::size_t capacity)
    {
        auto state = std::make_shared<TransferState>(core, headerSize, capacity);
        core->Join(state);
        return state;
    }

    std::shared_ptr<PipeCore> core;
};

}

std::vector<std::string> UsbAddresses(std::size_t most)
{
    int error = LIBUSB_SUCCESS;
    const auto context = Libusb::AcquireContext(error);
    if (!context)
        return {};
    auto addresses = Libusb::DeviceList(context).Addresses();
    addresses.resize(std::min(addresses.size(), most));
    return addresses;
}

std::unique_ptr<UsbPipe> OpenUsbPipe(const std::string& address, unsigned pipe, TransferResult& result)
{
    if (pipe > 3) {
        result = Libusb::FailureOf(LIBUSB_ERROR_INVALID_PARAM);
        return nullptr;
    }
    const auto device = Libusb::Device::Open(address, result);
    if (!device)
        return nullptr;
    return std::make_unique<Pipe>(pipe, device);
}

}
