#include "tests/wire/real/WiredInstrument.h"

#include "tests/wire/Samples.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

using namespace Virtual;

namespace {

using Clock = std::chrono::steady_clock;

Moment Now()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

PipeKind PipeOf(std::uint8_t endpoint)
{
    switch (endpoint) {
    case WiredInstrument::bulkIn:
        return PipeKind::bulkIn;
    case WiredInstrument::bulkOut:
        return PipeKind::bulkOut;
    case WiredInstrument::interruptIn:
        return PipeKind::interruptIn;
    default:
        return PipeKind::control;
    }
}

/// As a host controller tells it to the kernel's users.
int StatusOf(Ending ending)
{
    switch (ending) {
    case Ending::done:
        return 0;
    case Ending::stalled:
        return -EPIPE;
    case Ending::gone:
        return -ESHUTDOWN;
    default:
        return -EPROTO;
    }
}

ControlSetup Parsed(const std::array<std::uint8_t, 8>& setup)
{
    const auto word = [&](std::size_t at) { return static_cast<std::uint16_t>(setup[at] | setup[at + 1] << 8); };
    return {.fromDevice = (setup[0] & 0x80) != 0,
            .type = static_cast<std::uint8_t>(setup[0] >> 5 & 3),
            .recipient = static_cast<std::uint8_t>(setup[0] & 31),
            .request = setup[1],
            .value = word(2),
            .index = word(4)};
}

}

WiredInstrument::WiredInstrument()
{
    instrument.TakePlace({Place::Road::usb, 0});
    instrument.SetNumber("scan-readings", 25);
    instrument.SetNumber("scan-line", 1);
}

void WiredInstrument::Plug()
{
    {
        const std::lock_guard lock(guard);
        instrument.Plug(Now());
    }
    clock = std::thread([this] { Run(); });
    Appear();
}

void WiredInstrument::Unplug()
{
    {
        const std::lock_guard lock(guard);
        if (!instrument.IsPlugged())
            return;
        instrument.Unplug(Now());
        EndWhatIsDue();
        Close();
        changed.notify_all();
    }
    clock.join();
    Disappear();
}

void WiredInstrument::Press()
{
    const std::lock_guard lock(guard);
    instrument.Press(Now());
    EndWhatIsDue();
}

void WiredInstrument::SetBlocks(std::span<const std::uint8_t> blocks)
{
    const std::lock_guard lock(guard);
    instrument.SetBytes("blocks", blocks);
}

void WiredInstrument::SetFault(std::string_view point, std::string_view how)
{
    const std::lock_guard lock(guard);
    instrument.SetFault(point, 1, 0, how, Now());
}

void WiredInstrument::ClearFaults()
{
    const std::lock_guard lock(guard);
    instrument.faults.Clear();
}

std::vector<std::uint8_t> WiredInstrument::Memory(std::uint32_t offset, std::size_t size)
{
    const std::lock_guard lock(guard);
    std::vector<std::uint8_t> bytes(size);
    instrument.ReadMemory(offset, bytes);
    return bytes;
}

std::vector<std::string> WiredInstrument::Setups()
{
    const std::lock_guard lock(guard);
    return setups;
}

bool WiredInstrument::AwaitHeld(std::uint8_t endpoint)
{
    for (int i = 0; i < 200; ++i) {
        {
            const std::lock_guard lock(guard);
            if (std::ranges::any_of(
                    inFlight, [&](const InFlight& one) { return one.endpoint == endpoint && !one.transfer->due; }))
                return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

int WiredInstrument::Open()
{
    for (std::size_t kind = 0; kind < pipes.size(); ++kind) {
        if (pipes[kind])
            continue;
        Ending ending = Ending::done;
        pipes[kind] = instrument.Port().Open(static_cast<PipeKind>(kind), Now(), ending);
        if (!pipes[kind]) {
            Close();
            return ending == Ending::busy ? -EBUSY : ending == Ending::gone ? -ENODEV : -EIO;
        }
    }
    return 0;
}

void WiredInstrument::Close()
{
    for (auto& pipe : pipes)
        if (const auto closed = std::exchange(pipe, nullptr))
            instrument.Port().Close(*closed, Now());
}

void WiredInstrument::Submit(Tag tag, std::uint8_t endpoint, const Setup& setup, std::span<const std::uint8_t> data)
{
    const auto& pipe = pipes[static_cast<std::size_t>(PipeOf(endpoint))];
    if (!pipe)
        return Ended(tag, -EPIPE, 0, {});
    auto transfer = std::make_shared<Transfer>();
    transfer->pipe = pipe;
    transfer->buffer.assign(data.begin(), data.end());
    transfer->size = data.size();
    if (pipe->kind == PipeKind::control) {
        transfer->setup = Parsed(setup);
        setups.push_back(Hex(setup));
    }
    inFlight.push_back({tag, endpoint, transfer});
    instrument.Port().Submit(transfer, Now());
    EndWhatIsDue();
    changed.notify_all();
}

bool WiredInstrument::Cancel(Tag tag)
{
    const auto found = std::ranges::find(inFlight, tag, &InFlight::tag);
    if (found == inFlight.end())
        return false;
    instrument.Port().Cancel(*found->transfer, Now());
    inFlight.erase(found);
    return true;
}

void WiredInstrument::Run()
{
    std::unique_lock lock(guard);
    while (instrument.IsPlugged()) {
        EndWhatIsDue();
        if (const auto next = NextEnd())
            changed.wait_until(lock, Clock::time_point(std::chrono::microseconds(*next)));
        else
            changed.wait(lock);
    }
}

void WiredInstrument::EndWhatIsDue()
{
    const auto now = Now();
    const auto rest = std::stable_partition(
        inFlight.begin(), inFlight.end(), [&](const InFlight& one) { return UsbPort::IsComplete(*one.transfer, now); });
    const std::vector<InFlight> due(inFlight.begin(), rest);
    inFlight.erase(inFlight.begin(), rest);
    for (const auto& [tag, endpoint, transfer] : due) {
        instrument.Port().Reap(*transfer);
        const bool inwards = endpoint == 0 ? transfer->setup.fromDevice : (endpoint & 0x80) != 0;
        Ended(tag, StatusOf(transfer->ending), transfer->moved,
              std::span(transfer->buffer).first(inwards ? transfer->moved : 0));
    }
}

std::optional<Moment> WiredInstrument::NextEnd() const
{
    std::optional<Moment> next;
    for (const auto& one : inFlight)
        if (const auto due = one.transfer->due)
            next = next ? std::min(*next, *due) : *due;
    return next;
}

/// A second bulk-in endpoint stands behind the first.
std::vector<std::uint8_t> WiredInstrument::Descriptors(std::uint16_t vendor, std::uint16_t product)
{
    const auto low = [](int value) { return static_cast<std::uint8_t>(value & 0xFF); };
    const auto high = [](int value) { return static_cast<std::uint8_t>(value >> 8); };
    return {
        18, 1, 0,           2, 0,        0,         0, 64,   low(vendor), high(vendor), low(product), high(product),
        0,  1, 0,           0, 0,        1,                      //
        9,  2, 46,          0, 1,        1,         0, 0x80, 50, //
        9,  4, 0,           0, 4,        0xFF,      0, 0,    0,  //
        7,  5, bulkOut,     2, low(512), high(512), 0,           //
        7,  5, bulkIn,      2, low(512), high(512), 0,           //
        7,  5, 0x83,        2, low(512), high(512), 0,           //
        7,  5, interruptIn, 3, 8,        0,         4,           //
    };
}
