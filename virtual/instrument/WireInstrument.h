#pragma once

#include "virtual/instrument/Instrument.h"

#include <array>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Virtual {

/// Microseconds that a byte takes on a serial line: a start bit, eight bits, a stop bit.
constexpr Moment ByteTime(std::int64_t baud)
{
    return (10'000'000 + baud - 1) / baud;
}

/// What an instrument sends over a serial line, and when it begins to.
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
/// bytes in. Its port is opened and closed by the host; an instrument does not mind being opened twice. It knows
/// nothing of the time that bytes take on their way: that is the line's.
class WireInstrument : public Instrument {
public:
    using Instrument::Instrument;

    /// The host opens the port.
    /// @param junk  receives what comes over a serial line at once
    /// @return a number of <cerrno>, 0 if the port is open
    virtual int Open(Moment now, std::vector<Arrival>& junk) = 0;

    /// The host sets the serial line up: 9600 baud, 8 data bits, no parity, one stop bit.
    /// @return a number of <cerrno>, 0 if the line is set
    virtual int SetUp(Moment now) = 0;

    /// The host raises or drops the control lines, DTR and RTS. Opening and closing the port drop them.
    virtual void SetControlLines(bool up, Moment now) = 0;

    /// The host closes the port. The number is told to the host; the port is closed all the same.
    virtual int Close(Moment now) = 0;

    /// Bytes from the host that are here now; they need not end with a frame.
    virtual std::vector<Arrival> Receive(std::span<const std::uint8_t> bytes, Moment now) = 0;

    /// One request over the channel.
    virtual ChannelAnswer Exchange(std::span<const std::uint8_t, 8> request, Moment now) = 0;

    /// The device name under which the host finds its serial line; empty without one.
    const std::string& PortName() const { return portName; }
    void SetPortName(std::string name) { portName = std::move(name); }

    /// How often the power has gone, and when it last went: what had not reached the host by then never does.
    std::uint32_t PowerLosses() const { return powerLosses; }
    Moment LastPowerLoss() const { return lastPowerLoss; }

protected:
    void NotePowerLoss(Moment now)
    {
        ++powerLosses;
        lastPowerLoss = now;
    }

private:
    std::string portName;
    std::uint32_t powerLosses = 0;
    Moment lastPowerLoss = 0;
};

}
