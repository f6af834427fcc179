#pragma once

#include "platform/SerialPort.h"
#include "virtual/bench/Bench.h"
#include "virtual/bench/WireInstrument.h"

#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace Virtual {

/// The host's end of a serial line in memory, open on one instrument. Bytes arrive when the bench's clock has come to
/// their moment. A pulled cable is silence, as on a real line.
class SerialLine {
public:
    SerialLine(std::shared_ptr<WireInstrument> farEnd, std::vector<Arrival> atOpen);

    /// Platform::SerialRead() under the limits.
    int Read(BenchLock& lock, std::span<std::uint8_t> bytes, std::size_t* moved);

    /// Platform::SerialWrite().
    int Write(std::span<const std::uint8_t> bytes, std::size_t* moved);

    void DropReceived(Moment now);

    /// Ends the line: the far end is gone for good. Whoever waits in Read comes back.
    void HangUp();

    WireInstrument& FarEnd() { return *instrument; }

    Platform::SerialLimits limits{};
    int descriptor = -1; ///< the one that the application holds for this line; -1: none

private:
    std::optional<Moment> NextMoment();
    void Append(std::vector<Arrival> more);
    std::size_t Take(std::span<std::uint8_t> bytes);

    std::shared_ptr<WireInstrument> instrument;
    std::uint32_t session; // the plugging under which the bytes set out
    std::deque<Arrival> arrivals;
    bool hungUp = false;
};

}
