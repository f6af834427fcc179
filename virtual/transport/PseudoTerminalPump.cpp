#include "virtual/transport/PseudoTerminalPump.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Virtual {

namespace {

constexpr int glanceMs = 10; // between looks at whether the port is open and the pump still wanted

}

std::shared_ptr<PseudoTerminalPump> PseudoTerminalPump::Start(Clock& clock, std::shared_ptr<WireInstrument> instrument)
{
    const std::shared_ptr<PseudoTerminalPump> pump(new PseudoTerminalPump(clock, std::move(instrument)));
    pump->terminal = Platform::PseudoTerminal::Open();
    if (!pump->terminal)
        return nullptr;
    pump->instrument->SetPortName(pump->terminal->PortName());
    auto ownership = std::make_unique<std::shared_ptr<PseudoTerminalPump>>(pump);
    if (!Platform::RunningThread::Start(&Run, ownership.get()))
        return nullptr;
    static_cast<void>(ownership.release()); // the thread's now
    return pump;
}

PseudoTerminalPump::PseudoTerminalPump(Clock& benchClock, std::shared_ptr<WireInstrument> farEnd)
    : clock(benchClock), instrument(std::move(farEnd))
{
}

void PseudoTerminalPump::Run(void* argument) noexcept
{
    const std::unique_ptr<std::shared_ptr<PseudoTerminalPump>> pump(
        static_cast<std::shared_ptr<PseudoTerminalPump>*>(argument));
    try {
        (*pump)->Loop();
    } catch (const std::exception&) {
        // Out of memory: the line hangs up.
    }
}

void PseudoTerminalPump::Loop()
{
    std::array<std::uint8_t, 256> buffer{};
    while (!stopped && terminal) {
        std::size_t moved = 0;
        switch (terminal->Read(buffer.data(), buffer.size(), &moved, glanceMs)) {
        case Platform::PseudoTerminal::Line::failed:
            return;
        case Platform::PseudoTerminal::Line::unopened:
            PortState(false);
            break;
        case Platform::PseudoTerminal::Line::quiet:
            PortState(true);
            break;
        case Platform::PseudoTerminal::Line::bytes:
            PortState(true);
            Carry({buffer.data(), moved});
            break;
        }
    }
}

/// Tells the instrument when the host has opened or closed the port.
void PseudoTerminalPump::PortState(bool open)
{
    if (open == portOpen)
        return;
    portOpen = open;
    std::vector<Arrival> junk;
    {
        const BenchLock lock;
        const Moment now = clock.Now();
        static_cast<void>(open ? instrument->Open(now, junk) : instrument->Close(now));
    }
    Deliver(junk);
}

void PseudoTerminalPump::Carry(std::span<const std::uint8_t> bytes)
{
    std::vector<Arrival> arrivals;
    {
        const BenchLock lock;
        receivedUntil = std::max(receivedUntil, clock.Now()) + TimeOf(bytes.size());
        arrivals = instrument->Receive(bytes, receivedUntil);
    }
    Deliver(arrivals);
}

/// On the line, at the speed that the port is set to.
Moment PseudoTerminalPump::TimeOf(std::size_t bytes) const
{
    return static_cast<Moment>(bytes) * ByteTime(terminal->BaudRate());
}

/// Sends each reply when the bench's clock has come to its last byte. A virtual clock moves there at once.
void PseudoTerminalPump::Deliver(const std::vector<Arrival>& arrivals)
{
    for (const Arrival& arrival : arrivals) {
        if (!terminal)
            return;
        {
            BenchLock lock;
            const Moment end = arrival.due + TimeOf(arrival.bytes.size());
            const auto due = [end] { return std::optional(end); };
            clock.WaitFor(lock, due, end);
        }
        if (stopped)
            return;
        if (!arrival.bytes.empty())
            terminal->Write(arrival.bytes.data(), arrival.bytes.size());
        if (arrival.end != Arrival::End::none)
            HangUp();
    }
}

/// A pseudo-terminal cannot fail in another way. The instrument goes on behind a new one.
void PseudoTerminalPump::HangUp()
{
    terminal->Linger();
    auto fresh = Platform::PseudoTerminal::Open();
    const BenchLock lock;
    terminal = std::move(fresh);
    portOpen = false;
    instrument->SetPortName(terminal ? terminal->PortName() : std::string());
}

}
