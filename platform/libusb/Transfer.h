#pragma once

#include "platform/libusb/Device.h"

#include <mutex>

namespace Platform::Libusb {

class Transfer;

/// What the transfers of one pipe share with it. Empty of a device once the pipe is closed.
class PipeCore {
public:
    PipeCore(unsigned pipe_, const std::shared_ptr<Device>& device_) : pipe(pipe_), device(device_) { }

    unsigned GetPipe() const { return pipe; }
    std::shared_ptr<Device> GetDevice();

    void Join(const std::shared_ptr<class TransferState>& state);
    void Close();

private:
    const unsigned pipe;
    std::mutex guard;
    std::shared_ptr<Device> device;
    std::vector<std::weak_ptr<TransferState>> transfers;
};

/// The part of a transfer that libusb knows. It stays until libusb lets go of it, even when the transfer itself is
/// gone.
class TransferState : public std::enable_shared_from_this<TransferState> {
public:
    TransferState(const std::shared_ptr<PipeCore>& core_, std::size_t headerSize_, std::size_t capacity);
    ~TransferState();
    TransferState(const TransferState&) = delete;
    TransferState& operator=(const TransferState&) = delete;

    std::span<std::uint8_t> Buffer() { return std::span(buffer).subspan(headerSize); }
    std::span<std::uint8_t> Header() { return std::span(buffer).first(headerSize); }

    TransferResult Submit(std::size_t size);
    UsbTransfer::WaitEnd Wait(std::optional<std::int64_t> limitMs);
    TransferResult Result() const { return inFlight ? InFlightResult() : result; }
    void RequestCancel();
    void Cancel();
    void Wake();

private:
    static void LIBUSB_CALL Completed(libusb_transfer* ended);

    TransferResult InFlightResult() const;
    void Fill(Device& target, std::size_t size);
    void Complete();
    void EndWait(int end);

    const std::shared_ptr<PipeCore> core;
    const std::size_t headerSize; ///< bytes before the data in the buffer: the setup packet of a control transfer
    std::vector<std::uint8_t> buffer;
    libusb_transfer* const transfer;

    std::shared_ptr<Device> device;      ///< of the submission
    std::shared_ptr<TransferState> self; ///< while libusb knows this
    TransferResult result{TransferKind::cancelled, 0, 0};
    bool timedOut = false;
    std::atomic<bool> inFlight = false;
    std::atomic<bool> woken = false;
    int endWait = 0; ///< see EndWait
};

/// A transfer of the seam: its owner's hold on the state.
class Transfer : public UsbTransfer {
public:
    explicit Transfer(std::shared_ptr<TransferState> state_) : state(std::move(state_)) { }
    ~Transfer() override { state->Cancel(); }

    std::span<std::uint8_t> Buffer() override { return state->Buffer(); }
    TransferResult Submit(std::size_t size) override { return state->Submit(size); }
    WaitEnd Wait(std::optional<std::int64_t> limitMs) override { return state->Wait(limitMs); }
    TransferResult Result() override { return state->Result(); }
    void Cancel() override { state->Cancel(); }
    void Wake() override { state->Wake(); }

private:
    std::shared_ptr<TransferState> state;
};

}
