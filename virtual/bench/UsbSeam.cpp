// The seam's USB side: the pipes of the spectrophotometers on the bench.

#include "platform/Usb.h"
#include "virtual/bench/Bench.h"
#include "virtual/spectrophotometer/Spectrophotometer.h"

#include <cerrno>
#include <utility>

namespace Virtual {

namespace {

using Platform::ControlRequest;
using Platform::TransferKind;
using Platform::TransferResult;

TransferResult ResultOf(Ending ending, std::size_t moved)
{
    switch (ending) {
    case Ending::done:
        return {TransferKind::done, moved, 0};
    case Ending::stalled:
        return {TransferKind::stalled, moved, EPIPE};
    case Ending::gone:
        return {TransferKind::gone, moved, ENODEV};
    case Ending::cancelled:
        return {TransferKind::cancelled, moved, ECANCELED};
    case Ending::denied:
        return {TransferKind::denied, moved, EACCES};
    case Ending::busy:
        return {TransferKind::denied, moved, EBUSY};
    case Ending::failed:
        break;
    }
    return {TransferKind::failed, moved, EIO};
}

ControlSetup SetupOf(const ControlRequest& request)
{
    const auto word = [&](std::size_t at) { return static_cast<std::uint16_t>(request[at] | request[at + 1] << 8); };
    return {request[0] != 0, request[1], request[2], request[4], word(6), word(8)};
}

/// One transfer of the library on the bench.
class BenchTransfer final : public Platform::UsbTransfer {
public:
    BenchTransfer(std::shared_ptr<Spectrophotometer> owner, std::shared_ptr<OpenPipe> pipe, const ControlSetup& setup,
                  std::size_t capacity)
        : instrument(std::move(owner))
    {
        transfer->pipe = std::move(pipe);
        transfer->setup = setup;
        transfer->buffer.resize(capacity);
    }

    ~BenchTransfer() override { Cancel(); }

    std::span<std::uint8_t> Buffer() override { return transfer->buffer; }

    TransferResult Submit(std::size_t size) override
    {
        const BenchLock lock;
        if (transfer->inFlight || size > transfer->buffer.size())
            return {TransferKind::failed, 0, transfer->inFlight ? EBUSY : EINVAL};
        auto& bench = Bench::Instance();
        transfer->size = size;
        timedOut = false;
        instrument->Port().Submit(transfer, bench.Now());
        bench.Changed();
        if (IsComplete() && transfer->ending == Ending::gone)
            return Reap();
        return {TransferKind::done, 0, 0};
    }

    WaitEnd Wait(std::optional<std::int64_t> limitMs) override
    {
        BenchLock lock;
        auto& bench = Bench::Instance();
        if (!transfer->inFlight)
            return WaitEnd::completed;
        const auto due = [this, &bench]() -> std::optional<Moment> {
            return woken ? bench.Now() : transfer->inFlight ? transfer->due : bench.Now();
        };
        const auto deadline = limitMs ? std::optional(bench.After(MicrosecondsOf(*limitMs))) : std::nullopt;
        const bool ended = bench.WaitFor(lock, due, deadline);
        if (ended && (!transfer->inFlight || IsComplete())) {
            Reap();
            return WaitEnd::completed;
        }
        timedOut = !ended;
        woken = false;
        return ended ? WaitEnd::woken : WaitEnd::timedOut;
    }

    TransferResult Result() override
    {
        const BenchLock lock;
        if (transfer->inFlight && !IsComplete())
            return {TransferKind::pending, 0, timedOut ? ETIMEDOUT : 0};
        return Reap();
    }

    void Cancel() override
    {
        const BenchLock lock;
        auto& bench = Bench::Instance();
        instrument->Port().Cancel(*transfer, bench.Now());
        bench.Changed();
    }

    void Wake() override
    {
        const BenchLock lock;
        woken = true;
        Bench::Instance().Changed();
    }

private:
    static std::int64_t MicrosecondsOf(std::int64_t milliseconds)
    {
        constexpr std::int64_t most = INT64_MAX / 1000;
        return milliseconds <= 0 ? 0 : milliseconds > most ? INT64_MAX : milliseconds * 1000;
    }

    bool IsComplete() const { return UsbPort::IsComplete(*transfer, Bench::Instance().Now()); }

    TransferResult Reap()
    {
        instrument->Port().Reap(*transfer);
        return ResultOf(transfer->ending, transfer->moved);
    }

    std::shared_ptr<Spectrophotometer> instrument;
    std::shared_ptr<Transfer> transfer = std::make_shared<Transfer>();
    bool timedOut = false; // the rest under the bench's lock
    bool woken = false;
};

class BenchPipe final : public Platform::UsbPipe {
public:
    BenchPipe(std::shared_ptr<Spectrophotometer> owner, std::shared_ptr<OpenPipe> opened)
        : instrument(std::move(owner)), pipe(std::move(opened))
    {
    }

    ~BenchPipe() override { Close(); }

    std::unique_ptr<Platform::UsbTransfer> MakeTransfer(std::size_t capacity) override
    {
        return std::make_unique<BenchTransfer>(instrument, pipe, ControlSetup(), capacity);
    }

    std::unique_ptr<Platform::UsbTransfer> MakeControl(const ControlRequest& request, std::size_t capacity) override
    {
        return std::make_unique<BenchTransfer>(instrument, pipe, SetupOf(request), capacity);
    }

    void Close() override
    {
        const BenchLock lock;
        auto& bench = Bench::Instance();
        instrument->Port().Close(*pipe, bench.Now());
        bench.Changed();
    }

private:
    std::shared_ptr<Spectrophotometer> instrument;
    std::shared_ptr<OpenPipe> pipe;
};

/// The spectrophotometers of the bench, in the order of their places.
std::vector<std::shared_ptr<Spectrophotometer>> Spectrophotometers()
{
    std::vector<std::shared_ptr<Spectrophotometer>> found;
    for (const auto& entry : Bench::Instance().Entries())
        if (entry.spectrophotometer)
            found.push_back(std::static_pointer_cast<Spectrophotometer>(entry.instrument));
    return found;
}

}

}

namespace Platform {

std::vector<std::string> UsbAddresses(std::size_t most)
{
    const Virtual::BenchLock lock;
    auto& bench = Virtual::Bench::Instance();
    std::vector<std::string> addresses;
    for (const auto& instrument : Virtual::Spectrophotometers()) {
        if (addresses.size() == most)
            break;
        if (instrument->Answers(bench.Now()))
            addresses.push_back(instrument->Address());
    }
    bench.Changed();
    return addresses;
}

std::unique_ptr<UsbPipe> OpenUsbPipe(const std::string& address, unsigned pipe, TransferResult& result)
{
    const Virtual::BenchLock lock;
    auto& bench = Virtual::Bench::Instance();
    result = {TransferKind::gone, 0, ENODEV};
    if (pipe > 3) {
        result = {TransferKind::failed, 0, EINVAL};
        return nullptr;
    }
    for (auto& instrument : Virtual::Spectrophotometers()) {
        if (instrument->Address() != address || !instrument->IsPlugged())
            continue;
        Virtual::Ending ending = Virtual::Ending::gone;
        auto opened = instrument->Port().Open(static_cast<Virtual::PipeKind>(pipe), bench.Now(), ending);
        bench.Changed();
        result = Virtual::ResultOf(ending, 0);
        return opened ? std::make_unique<Virtual::BenchPipe>(std::move(instrument), std::move(opened)) : nullptr;
    }
    return nullptr;
}

}
