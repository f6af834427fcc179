#pragma once

#include "virtual/bench/Instrument.h"

#include <array>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Virtual {

/// What comes to the host over a serial line, and when.
struct Arrival {
    enum class End {
        none,
        failedRead, ///< the host's next read behind these bytes fails
        hangUp      ///< the far end is gone behind these bytes, until the host opens the port anew
    };

    Bytes bytes;
    Moment due = 0;
    End end = End::none;
};

/// The answer of a device channel. The error is a number of <cerrno>, 0 for none; the bytes only count without one.
struct ChannelAnswer {
    int error = 0;
    std::array<std::uint8_t, 8> bytes{};
    Moment due = 0;
};

/// An instrument that a host reaches byte by byte: over a serial line, or over a channel of eight bytes out and eight
/// bytes in. Its port is opened and closed by the host; an instrument does not mind being opened twice.
class WireInstrument : public Instrument {
public:
    using Instrument::Instrument;

    /// The host opens the port.
    /// @param junk  receives what comes over a serial line at once
    /// @return a number of <cerrno>, 0 if the port is open
    virtual int Open(Moment now, std::vector<Arrival>& junk) = 0;

    /// The host closes the port. The number is told to the host; the port is closed all the same.
    virtual int Close(Moment now) = 0;

    /// Bytes from the host over the serial line; they need not end with a frame.
    virtual std::vector<Arrival> Receive(std::span<const std::uint8_t> bytes, Moment now) = 0;

    /// One request over the channel.
    virtual ChannelAnswer Exchange(std::span<const std::uint8_t, 8> request, Moment now) = 0;

    /// The device name under which the host finds its serial line; empty without one.
    const std::string& PortName() const { return portName; }
    void SetPortName(std::string name) { portName = std::move(name); }

private:
    std::string portName;
};

}
