#pragma once

#include "virtual/colorimeter/LightModel.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Virtual::Colorimeter {

/// What the instrument says to a command: the echo of its code, then the result.
struct Reply {
    std::vector<std::uint8_t> bytes; ///< at most 9
    double seconds = 0.0;            ///< how long the instrument is busy before it answers
};

/// The non-volatile memory: cells that can be held, one by one or all together, against writing.
class Memory {
public:
    explicit Memory(std::vector<std::uint8_t> image) : cells(std::move(image)), held(cells.size()) { }

    std::uint8_t Read(std::size_t at) const { return cells.at(at); }

    /// Nothing happens where the cell is held.
    void Write(std::size_t at, std::uint8_t value);

    void Hold(std::size_t at, bool on) { held.at(at) = on; }

    std::span<std::uint8_t> Cells() { return cells; }
    std::size_t Size() const { return cells.size(); }

    bool writable = true;

private:
    std::vector<std::uint8_t> cells;
    std::vector<bool> held;
};

/// The program inside a colorimeter. It gets one command at a time and answers it; it knows no wire and no clock, but
/// tells how long it was busy.
class Firmware {
public:
    explicit Firmware(const Type& type);

    /// Starts anew, with all that is not in the memory forgotten.
    void PowerOn(bool usb);

    /// @param frame  the command code, then its parameters
    /// @return none for a command that this instrument does not know in this length, or that names a cell or a channel
    ///         which it does not have
    std::optional<Reply> Answer(std::span<const std::uint8_t> frame);

    Memory memory;
    Scene scene;
    std::string version;          ///< its digits decide what the firmware can
    std::int64_t ticksLimit = 0;  ///< the largest integration time that is taken; 0: any; -1: none is
    std::int32_t lockAfter = 2;   ///< readings of the lock detector until the loop has locked; -1: never
    std::uint8_t periodsLeft = 0; ///< periods that a time-limited command leaves uncounted

    std::uint32_t IntegrationTicks() const { return state.ticks; }
    const LightModel& Light() const { return light; }

private:
    struct Command;
    using Parameters = std::span<const std::uint8_t>; // without the code
    using Counts = std::array<std::uint32_t, 3>;
    static const Command commands[];

    bool Has(const Command& command, Parameters given) const;
    std::uint16_t Features() const;
    int Revision() const;
    double TickSeconds() const;

    Reply Version(Parameters given);
    Reply ReadChannel(Parameters given);
    Reply ReadRefresh(Parameters given);
    Reply SetTicks(Parameters given);
    Reply GetTicks(Parameters given);
    Reply WriteCell(Parameters given);
    Reply ReadCell(Parameters given);
    Reply ReadPeriods(Parameters given);
    Reply ReadEdges(Parameters given);
    Reply ReadWidePeriods(Parameters given);
    Reply ReadWideChannel(Parameters given);
    Reply SetWideEdges(Parameters given);
    Reply GetWideEdges(Parameters given);
    Reply ReadWideEdges(Parameters given);
    Reply ReadLimitedEdges(Parameters given);
    Reply FetchLimited(Parameters given);
    Reply SetRegister(Parameters given);
    Reply GetRegister(Parameters given);
    Reply WriteExtended(Parameters given);
    Reply ReadExtended(Parameters given);
    Reply SetDark(Parameters given);
    Reply ReadLock(Parameters given);

    Reply Acknowledge() const;
    Reply WithLong(std::uint32_t value, double seconds = 0.0) const;
    Reply CountPulses(std::size_t channel);
    std::uint32_t IntegratedCount(std::size_t channel) const;
    Reply CountPeriods(std::size_t channel, std::uint32_t periods);
    Reply CountEdges(const Counts& edges);
    double SecondsFor(std::size_t channel, std::uint32_t pulses) const;
    double ClockCounts(double seconds) const;
    std::size_t RegisterIndex() const;

    /// What is forgotten without power.
    struct State {
        bool usb = false;
        std::uint32_t ticks = 0;
        Counts edgeCounts{};                // of the last reading; green and blue wait to be fetched
        std::array<bool, 3> edgesPending{}; // by channel
        Counts limitedCounts{};             // of the last time-limited reading
        Counts wideEdges{1, 1, 1};
        Triple carry{}; // of edge counts: the rest that rounding left over
        std::array<std::uint32_t, 6> registers{};
        std::int32_t lockReadings = 0;
    };

    const Type& type;
    LightModel light;
    State state;
    std::uint8_t code = 0; // of the command being answered
};

}
