#pragma once

#include "virtual/instrument/Curve.h"
#include "virtual/instrument/Faults.h"
#include "virtual/instrument/Trace.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Virtual instruments. Nothing in here knows a clock, a lock or the library: moments come in as arguments,
/// microseconds of the bench's monotonic clock, and the bench's lock is held by whoever calls.
namespace Virtual {

using Moment = std::int64_t; ///< microseconds of the bench's monotonic clock

/// One number of an instrument, as oxv_set_number() and oxv_get_number() know it.
struct NumberRow {
    const char* name;
    double initial;
    double lowest;
    double highest;
    bool whole;    ///< takes whole numbers only
    bool readOnly; ///< told by the instrument
};

/// Where an instrument stands.
struct Place {
    enum class Road { usb, serial, pty };
    Road road = Road::usb;
    int number = 0; ///< USB place from 0, serial port from 1; not used by a pseudo-terminal
};

/// What every virtual instrument offers the bench. The calls below that an instrument does not override are refused
/// with OXV_NOT_POSSIBLE, an unknown name with OXV_NO_SUCH_NAME; a refusal is a thrown Refusal and changes nothing.
class Instrument {
public:
    explicit Instrument(std::span<const NumberRow> numberTable);
    virtual ~Instrument() = default;
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    // ---- the cable

    bool IsPlugged() const { return plugged; }

    /// Counts the pluggings: whatever was opened under another session is dead.
    std::uint32_t Session() const { return session; }

    /// Pulls the cable, or puts it back. Nothing happens if that is its state already. Calls CableChanged.
    void Unplug(Moment now);
    void Plug(Moment now);

    /// Comes once, before the first Plug: the instrument has got its place.
    virtual void TakePlace(const Place& place) = 0;

    // ---- what it says by itself; only instruments with an interrupt pipe do

    /// When the next message, already under way, is due; none if there is none.
    virtual std::optional<Moment> NextMessage() const;

    /// Whether the host has taken up every message and removal that is due by now, and waits for the next.
    virtual bool IsSettled(Moment now) const;

    /// Restarts the noise. The same seed gives the same counts.
    virtual void Seed(std::uint64_t seed) = 0;

    // ---- names

    void SetNumber(std::string_view name, double value);
    double GetNumber(std::string_view name) const;
    virtual void SetText(std::string_view name, std::string_view value);
    virtual std::string GetText(std::string_view name) const;
    virtual void SetBytes(std::string_view name, std::span<const std::uint8_t> bytes);

    // ---- memory

    void ReadMemory(std::uint32_t offset, std::span<std::uint8_t> bytes);
    void WriteMemory(std::uint32_t offset, std::span<const std::uint8_t> bytes);
    virtual void ProtectMemory(std::uint32_t offset, bool on);

    // ---- what lies before it

    virtual void SetCurve(std::string_view name, const Curve& curve);
    virtual void ClearStrip();
    virtual void AddToStrip(const Curve& curve, double seconds, double edgeSeconds);
    virtual void AddFlash(const Curve& curve, double start, double duration);
    virtual void Press(Moment now);

    // ---- faults

    /// Checks the pair with TakesFault and sets it.
    /// @param point  one of the points of oxv_fault()
    void SetFault(std::string_view point, std::uint32_t nth, std::uint32_t times, std::string_view how, Moment now);

    /// Checks point and size with LongestAnswer and queues the answer.
    void QueueAnswer(std::string_view point, std::span<const std::uint8_t> bytes);

    /// Passings of a point so far; an unknown point is refused.
    std::int64_t CountPassings(std::string_view point) const;

    FaultList faults;
    Trace trace;

protected:
    /// What a row of the table holds now.
    double Number(std::size_t row) const { return numbers[row]; }

    /// Sets a row without any check and without NumberChanged: for what the instrument tells by itself.
    void StoreNumber(std::size_t row, double value) { numbers[row] = value; }

    /// What a number reads as; for what changes without being set.
    virtual double TellNumber(std::size_t row) const { return Number(row); }

    /// A number has been set from outside. May refuse it, before anything else has changed.
    virtual void NumberChanged(std::size_t row) = 0;

    /// The cable was pulled or put back; IsPlugged has the new state.
    virtual void CableChanged(Moment now) = 0;

    /// The cells that the memory calls reach, as they lie in the instrument.
    virtual std::span<std::uint8_t> Memory() = 0;

    /// Whether the fault has a meaning at this point of this instrument. Both names are known ones.
    virtual bool TakesFault(std::string_view point, Fault fault) const = 0;

    /// A fault was set; for faults that also meet what is already under way.
    virtual void FaultSet(std::string_view point, Moment now);

    /// The most bytes that an answer queued for this point can have; 0 refuses the point.
    virtual std::size_t LongestAnswer(std::string_view point) const = 0;

private:
    std::size_t RowOf(std::string_view name) const;

    std::span<const NumberRow> table;
    std::vector<double> numbers; // one for each row
    std::uint32_t session = 0;
    bool plugged = false;
};

/// The points of oxv_fault() that carry a number do so in one of two forms.
/// @return the number behind "control:" (hexadecimal) or behind "command:" and "open:" (decimal), 0 to 255; -1 for a
///         point without or with a bad number
int PointNumber(std::string_view point);

/// A point in the one form under which passings are counted: "control:C9" with two upper-case hex digits, "command:13"
/// and "open:2" without leading zeros, any other as it stands.
std::string PointName(std::string_view point);

}
