#include "virtual/spectrophotometer/UsbPort.h"

#include <algorithm>
#include <utility>

namespace Virtual {

namespace {

constexpr std::uint8_t keyMessage[] = {1, 0, 0, 0, 0, 0, 0, 0};
constexpr std::uint8_t measureRequest = 0xC0;
constexpr std::uint8_t resetRequest = 0xCA;

const char* EndingWord(Ending ending)
{
    switch (ending) {
    case Ending::stalled:
        return "stalled";
    case Ending::gone:
        return "gone";
    case Ending::cancelled:
        return "cancelled";
    default:
        return "failed";
    }
}

Trace::Channel ChannelOf(PipeKind kind)
{
    return kind == PipeKind::interruptIn ? Trace::Channel::interrupt : Trace::Channel::main;
}

const char* ReadName(PipeKind kind)
{
    return kind == PipeKind::interruptIn ? "interrupt-read" : "bulk-read";
}

std::string ControlPoint(const ControlSetup& setup)
{
    return "control:" + HexBytes({&setup.request, 1}).substr(1);
}

/// A field of a request that is 0 in most of them: " value 0084", or nothing.
std::string Field(const char* name, std::uint16_t content)
{
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(content >> 8), static_cast<std::uint8_t>(content & 0xFF)};
    const std::string hex = HexBytes(bytes);
    return content == 0 ? "" : std::string(" ") + name + hex.substr(0, 3) + hex.substr(4);
}

std::string PipeText(const char* what, PipeKind kind)
{
    return what + std::to_string(static_cast<unsigned>(kind));
}

}

UsbPort::UsbPort(Instrument& owner, Firmware& program) : instrument(owner), firmware(program) { }

std::shared_ptr<OpenPipe> UsbPort::Open(PipeKind kind, Moment now, Ending& ending)
{
    ending = Ending::gone;
    if (!instrument.IsPlugged())
        return nullptr;
    switch (instrument.faults.Pass({"open", PipeText("open:", kind), "any"})) {
    case Fault::unplug:
        instrument.Unplug(now);
        return nullptr;
    case Fault::fail:
        ending = Ending::failed;
        return nullptr;
    case Fault::denied:
        ending = Ending::denied;
        return nullptr;
    case Fault::busy:
        ending = Ending::busy;
        return nullptr;
    default:
        break;
    }
    if (firmware.strict && IsOpen(kind)) {
        ending = Ending::busy;
        return nullptr;
    }
    ending = Ending::done;
    instrument.trace.Add(ChannelOf(kind), PipeText("open ", kind));
    auto pipe = std::make_shared<OpenPipe>(OpenPipe{kind, instrument.Session()});
    openPipes.push_back(pipe);
    return pipe;
}

void UsbPort::Close(OpenPipe& pipe, Moment now)
{
    if (!pipe.open)
        return;
    pipe.open = false;
    for (const auto& transfer : std::vector<Holder>(inFlight))
        if (transfer->pipe.get() == &pipe)
            Cancel(*transfer, now);
    std::erase_if(openPipes, [](const auto& other) { return other.expired() || !other.lock()->open; });
    if (!IsOpen(PipeKind::interruptIn))
        messages.clear();
    if (instrument.faults.Pass({"close", "any"}) == Fault::unplug)
        instrument.Unplug(now);
    instrument.trace.Add(ChannelOf(pipe.kind), PipeText("close ", pipe.kind));
}

bool UsbPort::IsOpen(PipeKind kind) const
{
    return std::ranges::any_of(openPipes, [&](const auto& weak) {
        const auto pipe = weak.lock();
        return pipe && pipe->kind == kind && Lives(*pipe);
    });
}

bool UsbPort::Lives(const OpenPipe& pipe) const
{
    return pipe.open && instrument.IsPlugged() && pipe.session == instrument.Session();
}

Fault UsbPort::Pass(const Transfer& transfer)
{
    auto& faults = instrument.faults;
    switch (transfer.pipe->kind) {
    case PipeKind::bulkIn:
        return faults.Pass({"bulk-read", "any"});
    case PipeKind::bulkOut:
        return faults.Pass({"bulk-write", "any"});
    case PipeKind::interruptIn:
        return faults.Pass({"interrupt-read"});
    case PipeKind::control:
        break;
    }
    const std::string point = ControlPoint(transfer.setup);
    return transfer.setup.request == resetRequest ? faults.Pass({"control", point, "reset", "any"})
                                                  : faults.Pass({"control", point, "any"});
}

void UsbPort::Submit(const Holder& transfer, Moment now)
{
    transfer->inFlight = true;
    transfer->due.reset();
    transfer->hangs = false;
    transfer->moved = 0;
    const PipeKind kind = transfer->pipe->kind;
    const bool numbered = kind == PipeKind::bulkIn || kind == PipeKind::interruptIn;
    inFlight.push_back(transfer);
    if (kind == PipeKind::interruptIn)
        transfer->pipe->busyHost = false;
    if (!Lives(*transfer->pipe))
        return End(*transfer, Ending::gone, 0, now);

    if (numbered) {
        transfer->number = ++lastNumber;
        instrument.trace.Add(ChannelOf(kind),
                             std::string("submit ") + ReadName(kind) + " " + std::to_string(transfer->size) + " #"
                                 + std::to_string(transfer->number));
    }
    Perform(*transfer, Pass(*transfer), now);
    if (kind == PipeKind::control)
        TraceControl(*transfer);
}

void UsbPort::Perform(Transfer& transfer, Fault fault, Moment now)
{
    if (GivesQueuedAnswer(transfer, now))
        return;
    if (EndsAtOnce(transfer, fault, now)) {
        if (transfer.pipe->kind == PipeKind::bulkOut)
            firmware.BulkWriteFailed();
        return;
    }
    switch (transfer.pipe->kind) {
    case PipeKind::control:
        return transfer.setup.fromDevice ? PerformRequest(transfer, fault, now) : PerformOrder(transfer, fault, now);
    case PipeKind::bulkIn:
        return PerformBulkRead(transfer, fault, now);
    case PipeKind::bulkOut:
        return PerformBulkWrite(transfer, fault, now);
    case PipeKind::interruptIn:
        return AwaitMessage(transfer, now);
    }
}

bool UsbPort::EndsAtOnce(Transfer& transfer, Fault fault, Moment now)
{
    switch (fault) {
    case Fault::fail:
        End(transfer, Ending::failed, 0, now);
        return true;
    case Fault::stall:
        End(transfer, Ending::stalled, 0, now);
        return true;
    case Fault::timeout:
        transfer.hangs = true;
        return true;
    case Fault::unplug:
        instrument.Unplug(now);
        return true;
    case Fault::half:
    case Fault::oneShort:
    case Fault::empty:
    case Fault::garbage: {
        if (transfer.pipe->kind != PipeKind::interruptIn)
            return false;
        // The message comes now, and in this state.
        const std::span bytes(transfer.buffer.data(), BytesUnder(fault, transfer.size));
        Scramble(bytes);
        End(transfer, Ending::done, bytes.size(), now);
        return true;
    }
    default:
        return false;
    }
}

bool UsbPort::GivesQueuedAnswer(Transfer& transfer, Moment now)
{
    if (transfer.pipe->kind != PipeKind::control || !transfer.setup.fromDevice)
        return false;
    const auto answer = instrument.faults.TakeAnswer(ControlPoint(transfer.setup));
    if (!answer)
        return false;
    const std::size_t size = std::min(answer->size(), transfer.size);
    std::copy_n(answer->begin(), size, transfer.buffer.begin());
    End(transfer, Ending::done, size, now);
    return true;
}

void UsbPort::PerformRequest(Transfer& transfer, Fault fault, Moment now)
{
    const std::span data(transfer.buffer.data(), transfer.size);
    const auto moved = firmware.Control(transfer.setup, data, now);
    if (!moved)
        return End(transfer, Ending::stalled, 0, now);
    if (fault == Fault::garbage)
        Scramble(data.first(*moved));
    End(transfer, Ending::done, BytesUnder(fault, *moved), now);
}

void UsbPort::PerformOrder(Transfer& transfer, Fault fault, Moment now)
{
    Bytes arrived = Arriving(transfer, fault);
    const std::uint8_t request = transfer.setup.request;
    const bool accepted = firmware.Control(transfer.setup, arrived, now).has_value();
    if (accepted && (request == measureRequest || request == resetRequest))
        EndBulkReads(now);
    EndOutward(transfer, accepted, arrived.size(), now);
}

void UsbPort::PerformBulkRead(Transfer& transfer, Fault fault, Moment now)
{
    const std::span data(transfer.buffer.data(), transfer.size);
    const auto delivered = firmware.BulkRead(data, now);
    if (!delivered)
        return End(transfer, Ending::stalled, 0, now);
    if (fault == Fault::garbage)
        Scramble(data.first(delivered->moved));
    End(transfer, Ending::done, BytesUnder(fault, delivered->moved), delivered->due);
}

void UsbPort::PerformBulkWrite(Transfer& transfer, Fault fault, Moment now)
{
    const Bytes arrived = Arriving(transfer, fault);
    instrument.trace.Add(Trace::Channel::main, "write " + std::to_string(arrived.size()) + HexBytes(arrived));
    const auto taken = firmware.BulkWrite(arrived, now);
    EndOutward(transfer, taken.has_value(), arrived.size(), taken.value_or(now));
}

Bytes UsbPort::Arriving(const Transfer& transfer, Fault fault)
{
    const auto first = transfer.buffer.begin();
    Bytes arrived(first, first + static_cast<std::ptrdiff_t>(BytesUnder(fault, transfer.size)));
    if (fault == Fault::garbage)
        Scramble(arrived);
    return arrived;
}

void UsbPort::EndOutward(Transfer& transfer, bool accepted, std::size_t arrived, Moment due) const
{
    // What was cut short on the way ends in order for the host, whatever the instrument makes of it.
    const bool done = accepted || arrived < transfer.size;
    End(transfer, done ? Ending::done : Ending::stalled, done ? arrived : 0, due);
}

void UsbPort::AwaitMessage(Transfer& transfer, Moment now)
{
    if (firmware.strict && transfer.size != std::size(keyMessage))
        return End(transfer, Ending::stalled, 0, now);
    const std::size_t size = std::min(transfer.size, std::size(keyMessage));
    std::copy_n(keyMessage, size, transfer.buffer.begin());
    if (messages.empty())
        return;
    End(transfer, Ending::done, size, std::max(now, messages.front()));
    messages.pop_front();
}

void UsbPort::SendMessage(Moment due)
{
    const auto waiting = WaitingForMessage();
    if (waiting)
        End(*waiting, Ending::done, std::min(waiting->size, std::size(keyMessage)), due);
    else if (IsOpen(PipeKind::interruptIn))
        messages.push_back(due);
}

UsbPort::Holder UsbPort::WaitingForMessage() const
{
    const auto found = std::ranges::find_if(inFlight, [](const Holder& transfer) {
        return transfer->pipe->kind == PipeKind::interruptIn && !transfer->due && !transfer->hangs;
    });
    return found == inFlight.end() ? nullptr : *found;
}

void UsbPort::MeetFaultWhileWaiting(Moment now)
{
    const auto waiting = WaitingForMessage();
    if (waiting)
        EndsAtOnce(*waiting, instrument.faults.MeetNewest(), now);
}

void UsbPort::End(Transfer& transfer, Ending ending, std::size_t moved, Moment due) const
{
    transfer.ending = ending;
    transfer.moved = moved;
    transfer.due = due;
}

void UsbPort::EndBulkReads(Moment now)
{
    for (const auto& transfer : inFlight)
        if (transfer->pipe->kind == PipeKind::bulkIn && transfer->due && *transfer->due > now)
            End(*transfer, Ending::done, 0, now);
}

void UsbPort::Scramble(std::span<std::uint8_t> bytes)
{
    for (auto& byte : bytes)
        byte = static_cast<std::uint8_t>(random() & 0xFF);
}

bool UsbPort::IsComplete(const Transfer& transfer, Moment now)
{
    return transfer.due && *transfer.due <= now;
}

void UsbPort::Forget(const Transfer& transfer)
{
    std::erase_if(inFlight, [&](const Holder& other) { return other.get() == &transfer; });
}

void UsbPort::Reap(Transfer& transfer)
{
    if (!transfer.inFlight)
        return;
    transfer.inFlight = false;
    const PipeKind kind = transfer.pipe->kind;
    if (kind == PipeKind::interruptIn)
        transfer.pipe->busyHost = true;
    if (transfer.number != 0)
        instrument.trace.Add(
            ChannelOf(kind),
            "done #" + std::to_string(transfer.number) + " "
                + (transfer.ending == Ending::done ? std::to_string(transfer.moved) : EndingWord(transfer.ending)));
    transfer.number = 0;
    Forget(transfer);
}

void UsbPort::Cancel(Transfer& transfer, Moment now)
{
    if (!transfer.inFlight)
        return;
    if (IsComplete(transfer, now))
        return Reap(transfer);
    End(transfer, Ending::cancelled, 0, now);
    transfer.inFlight = false;
    if (transfer.number != 0)
        instrument.trace.Add(ChannelOf(transfer.pipe->kind), "cancel #" + std::to_string(transfer.number));
    transfer.number = 0;
    Forget(transfer);
}

void UsbPort::CableChanged(Moment now)
{
    messages.clear();
    for (const auto& transfer : inFlight)
        if (!IsComplete(*transfer, now))
            End(*transfer, Ending::gone, 0, now);
    firmware.PowerUp();
}

std::optional<Moment> UsbPort::NextMessage() const
{
    std::optional<Moment> next;
    const auto consider = [&](Moment due) { next = next ? std::min(*next, due) : due; };
    if (!messages.empty())
        consider(*std::ranges::min_element(messages));
    for (const auto& transfer : inFlight)
        if (transfer->pipe->kind == PipeKind::interruptIn && transfer->due)
            consider(*transfer->due);
    return next;
}

bool UsbPort::IsSettled(Moment now) const
{
    const auto next = NextMessage();
    if (next && *next <= now)
        return false;
    return std::ranges::all_of(openPipes, [&](const auto& weak) {
        const auto pipe = weak.lock();
        if (!pipe || !pipe->open || pipe->kind != PipeKind::interruptIn)
            return true;
        return Lives(*pipe) && !pipe->busyHost;
    });
}

void UsbPort::TraceControl(const Transfer& transfer)
{
    const auto& [fromDevice, type, recipient, request, value, index] = transfer.setup;
    std::string line = "control" + HexBytes({&request, 1}) + (fromDevice ? " in" : " out");
    line += type == 2 ? "" : type == 0 ? " standard" : " type " + std::to_string(type);
    line += recipient == 0 ? "" : " recipient " + std::to_string(recipient);
    line += Field("value", value) + Field("index", index);
    const std::size_t shown = fromDevice ? transfer.moved : transfer.size;
    line += HexBytes({transfer.buffer.data(), shown});
    if (!transfer.due)
        line += " pending";
    else if (transfer.ending != Ending::done)
        line += std::string(" ") + EndingWord(transfer.ending);
    instrument.trace.Add(Trace::Channel::main, std::move(line));
}

}
