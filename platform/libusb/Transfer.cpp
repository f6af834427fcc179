#include "platform/libusb/Transfer.h"

#include "platform/Clock.h"
#include "platform/libusb/Failure.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace Platform::Libusb {

namespace {

constexpr std::int64_t longestSliceUs = 60'000'000; // of a wait without a limit
constexpr std::int64_t cancelLimitMs = 2000;

timeval ToTimeval(std::int64_t microseconds)
{
    timeval value{};
    value.tv_sec = static_cast<decltype(value.tv_sec)>(microseconds / 1'000'000);
    value.tv_usec = static_cast<decltype(value.tv_usec)>(microseconds % 1'000'000);
    return value;
}

}

std::shared_ptr<Device> PipeCore::GetDevice()
{
    const std::lock_guard lock(guard);
    return device;
}

void PipeCore::Join(const std::shared_ptr<TransferState>& state)
{
    const std::lock_guard lock(guard);
    std::erase_if(transfers, [](const auto& known) { return known.expired(); });
    transfers.push_back(state);
}

void PipeCore::Close()
{
    std::vector<std::weak_ptr<TransferState>> pending;
    std::shared_ptr<Device> closed; // goes after the lock
    {
        const std::lock_guard lock(guard);
        pending.swap(transfers);
        closed.swap(device);
    }
    for (const auto& known : pending)
        if (const auto state = known.lock())
            state->RequestCancel();
}

TransferState::TransferState(const std::shared_ptr<PipeCore>& core_, std::size_t headerSize_, std::size_t capacity)
    : core(core_), headerSize(headerSize_), buffer(headerSize_ + capacity), transfer(libusb_alloc_transfer(0))
{
    if (transfer == nullptr)
        throw std::bad_alloc();
}

TransferState::~TransferState()
{
    libusb_free_transfer(transfer);
}

TransferResult TransferState::Submit(std::size_t size)
{
    if (inFlight || size > Buffer().size())
        return result = FailureOf(inFlight ? LIBUSB_ERROR_BUSY : LIBUSB_ERROR_INVALID_PARAM);
    device = core->GetDevice();
    if (!device || device->HasGone())
        return result = FailureOf(LIBUSB_ERROR_NO_DEVICE);

    device->FreeStalledPipe(core->GetPipe());
    Fill(*device, size);
    timedOut = false;
    self = shared_from_this();
    inFlight = true;
    const int error = libusb_submit_transfer(transfer);
    if (error != LIBUSB_SUCCESS) {
        inFlight = false;
        self.reset();
        result = FailureOf(error);
        device->Note(core->GetPipe(), result.kind);
        return result;
    }
    return {TransferKind::done, 0, 0};
}

void TransferState::Fill(Device& target, std::size_t size)
{
    const auto pipe = core->GetPipe();
    const auto length = static_cast<int>(size);
    if (pipe == 0) {
        Header()[6] = static_cast<std::uint8_t>(size & 0xFF);
        Header()[7] = static_cast<std::uint8_t>(size >> 8 & 0xFF);
        libusb_fill_control_transfer(transfer, target.GetHandle(), buffer.data(), Completed, this, 0);
    } else if (pipe == 3) {
        libusb_fill_interrupt_transfer(transfer, target.GetHandle(), target.Endpoint(pipe), buffer.data(), length,
                                       Completed, this, 0);
    } else {
        libusb_fill_bulk_transfer(transfer, target.GetHandle(), target.Endpoint(pipe), buffer.data(), length, Completed,
                                  this, 0);
    }
}

/// Runs on whichever thread handles libusb's events.
void TransferState::Completed(libusb_transfer* ended)
{
    static_cast<TransferState*>(ended->user_data)->Complete();
}

void TransferState::Complete()
{
    const auto last = std::move(self); // may be all that keeps this alive
    result = OutcomeOf(transfer->status, transfer->actual_length);
    device->Note(core->GetPipe(), result.kind);
    inFlight = false;
    EndWait(1);
}

UsbTransfer::WaitEnd TransferState::Wait(std::optional<std::int64_t> limitMs)
{
    const auto deadline = limitMs ? MonotonicMicroseconds() + *limitMs * 1000 : 0;
    for (bool last = false;;) {
        EndWait(0);
        if (!inFlight)
            return UsbTransfer::WaitEnd::completed;
        if (woken.exchange(false))
            return UsbTransfer::WaitEnd::woken;
        if (last) {
            timedOut = true;
            return UsbTransfer::WaitEnd::timedOut;
        }
        auto slice = longestSliceUs;
        if (limitMs) {
            slice = std::clamp<std::int64_t>(deadline - MonotonicMicroseconds(), 0, longestSliceUs);
            last = slice == 0; // what is done by now is still looked at
        }
        auto limit = ToTimeval(slice);
        const int error = libusb_handle_events_timeout_completed(device->GetContext(), &limit, &endWait);
        if (error != LIBUSB_SUCCESS && error != LIBUSB_ERROR_INTERRUPTED)
            return UsbTransfer::WaitEnd::failed;
    }
}

TransferResult TransferState::InFlightResult() const
{
    return {TransferKind::pending, 0, timedOut ? ETIMEDOUT : 0};
}

/// Not 0 ends libusb's handling of events in the present Wait. It reads this from other threads.
void TransferState::EndWait(int end)
{
    std::atomic_ref<int>(endWait).store(end);
}

void TransferState::RequestCancel()
{
    if (inFlight)
        libusb_cancel_transfer(transfer);
}

void TransferState::Cancel()
{
    if (!inFlight)
        return;
    RequestCancel();
    // A transfer that libusb never gives back keeps itself, its buffer and its device.
    const auto deadline = MonotonicMicroseconds() + cancelLimitMs * 1000;
    while (inFlight && MonotonicMicroseconds() < deadline)
        if (Wait(std::max<std::int64_t>(1, (deadline - MonotonicMicroseconds()) / 1000))
            == UsbTransfer::WaitEnd::failed)
            return;
}

void TransferState::Wake()
{
    woken = true;
    EndWait(1);
    if (const auto target = core->GetDevice())
        libusb_interrupt_event_handler(target->GetContext());
}

}
