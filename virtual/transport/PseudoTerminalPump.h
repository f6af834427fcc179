#pragma once

#include "platform/Threading.h"
#include "platform/pseudoterminal/PseudoTerminal.h"
#include "virtual/instrument/WireInstrument.h"
#include "virtual/transport/Clock.h"

#include <atomic>
#include <memory>

namespace Virtual {

/// Carries the bytes between an instrument and its pseudo-terminal, on a thread of its own. The thread co-owns the pump
/// and is never waited for.
class PseudoTerminalPump : public std::enable_shared_from_this<PseudoTerminalPump> {
public:
    /// Makes the pseudo-terminal and starts the thread. Null if the system has none left. Under the bench's lock.
    static std::shared_ptr<PseudoTerminalPump> Start(Clock& clock, std::shared_ptr<WireInstrument> instrument);

    /// Lets the thread end; the line hangs up within a tenth of a second.
    void Stop() { stopped = true; }

private:
    PseudoTerminalPump(Clock& benchClock, std::shared_ptr<WireInstrument> farEnd);
    static void Run(void* argument) noexcept;
    void Loop();
    void PortState(bool open);
    void Carry(std::span<const std::uint8_t> bytes);
    void Deliver(const std::vector<Arrival>& arrivals);
    void HangUp();
    Moment TimeOf(std::size_t bytes) const;

    Clock& clock;
    std::shared_ptr<WireInstrument> instrument;
    std::unique_ptr<Platform::PseudoTerminal> terminal; // of the thread alone, once it runs
    std::atomic<bool> stopped = false;
    Moment receivedUntil = 0; // the host's last byte is at the instrument
    bool portOpen = false;
};

}
