#pragma once

#include "platform/SerialPort.h"
#include "virtual/instrument/WireInstrument.h"
#include "virtual/transport/Clock.h"

#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace Virtual {

/// The host's end of a serial line in memory, open on one instrument, at 9600 baud. Each byte takes its time, in both
/// directions at once, and is there when the bench's clock has come to its moment. A pulled cable is silence, as on a
/// real line.
class SerialLine {
public:
    SerialLine(Clock& benchClock, std::shared_ptr<WireInstrument> farEnd, const std::vector<Arrival>& atOpen);

    /// SerialPorts::Configure(). What is written before does not reach the instrument.
    int SetUp();

    /// SerialPorts::SetLines().
    void SetControlLines(bool up);

    /// For a line that the application has opened: it is set up, and its control lines have been up for long.
    void TakeAsSetUp();

    /// SerialPorts::Read() under the limits.
    int Read(BenchLock& lock, std::span<std::uint8_t> bytes, std::size_t* moved);

    /// SerialPorts::Write() under the limits: it ends once the transmitter has taken the last byte.
    int Write(BenchLock& lock, std::span<const std::uint8_t> bytes, std::size_t* moved);

    void DropReceived(Moment now);

    /// Ends the line: the far end is gone for good. Whoever waits in Read or Write comes back.
    void HangUp();

    WireInstrument& FarEnd() { return *instrument; }

    Platform::SerialLimits limits{};
    Platform::SerialHandle reserved = nullptr; ///< the one that the application holds for this line, if it does

private:
    /// A byte under way, or the end of the line behind the bytes.
    struct Incoming {
        std::uint8_t byte;
        Moment due;
        Arrival::End end;
    };

    std::optional<Moment> NextMoment();
    void Append(const std::vector<Arrival>& more);
    void Send(std::uint8_t byte);
    void DropLost();

    Clock& clock;
    std::shared_ptr<WireInstrument> instrument;
    std::deque<Incoming> incoming;
    Moment receivedUntil = 0; // the last byte under way is here
    Moment sentUntil = 0;     // the transmitter's last byte is at the instrument
    std::uint32_t losses;     // of the instrument's power, that `incoming` knows of
    bool isSetUp = false;
    bool hungUp = false;
};

}
