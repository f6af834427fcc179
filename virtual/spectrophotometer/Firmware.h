#pragma once

#include "virtual/instrument/Faults.h"
#include "virtual/instrument/Instrument.h"
#include "virtual/spectrophotometer/Measurement.h"
#include "virtual/spectrophotometer/Memory.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

namespace Virtual {

/// A control request in the terms of USB. The length of the data stage comes with the data.
struct ControlSetup {
    bool fromDevice = false;
    std::uint8_t type = 0; ///< 0 standard, 2 vendor
    std::uint8_t recipient = 0;
    std::uint8_t request = 0;
    std::uint16_t value = 0;
    std::uint16_t index = 0;
};

/// A way to measure that the firmware offers.
struct MeasureMode {
    std::uint8_t tickMultiplier; ///< ticks of one unit of the trigger delay, and the fewest ticks of a reading
    std::uint8_t tickLength;     ///< microseconds
    std::uint8_t flags;          ///< bit 0: perfect mode
};

/// What the instrument says of itself.
struct Identity {
    std::uint16_t version = 302;
    std::uint16_t word = 0;
    std::uint16_t overflowThreshold = 60000;
    std::uint8_t deviceType = 1;
    std::uint8_t status = 0;
    std::deque<std::uint8_t> comingStatus; ///< of the next replies; then `status`
    int powerRecoversAfter = 3;            ///< replies with status 8 after the reset for power; -1: it never recovers
};

/// The measure parameters as they came last.
struct MeasureParameters {
    std::uint16_t ticks = 0;
    std::uint16_t delay = 0;
    std::uint16_t count = 0;
    std::uint8_t flags = 0;

    bool Scan() const { return (flags & 1) != 0; }
    bool LampOff() const { return (flags & 2) != 0; }
    Gain GainSetting() const { return (flags & 4) != 0 ? Gain::normal : Gain::high; }
    bool DarkCycleFirst() const { return !LampOff() && (flags & 8) == 0; }
    bool HasUnknownFlags() const { return (flags & 0xF0) != 0; }
};

/// What a measurement is started with.
struct MeasureOrder {
    MeasureParameters parameters;
    Exposure exposure;
    double delay = 0.0; ///< seconds before the first reading, with the lamp on already
};

/// What a started measurement will deliver.
struct MeasureStart {
    std::size_t readings = 0;
    std::optional<Measurement> running; ///< none with prepared blocks
    Bytes prepared;                     ///< delivered as they stand
};

/// The part of the instrument that measures when the firmware tells it to.
class MeasuringHead {
public:
    virtual ~MeasuringHead() = default;
    virtual MeasureStart Start(const MeasureOrder& order) = 0;
};

/// The firmware: it answers requests and delivers bulk data. It knows moments only from its caller, and of the way that
/// brings the requests (a bench, a mocked device node, a network) it knows nothing.
class Firmware {
public:
    Firmware(MemoryImage& cells, MeasuringHead& measuringHead);

    Identity identity;
    std::vector<MeasureMode> modes;
    MeasureParameters parameters;
    bool strict = true; ///< refuses what a host has no reason to ask for; false: takes whatever it can make sense of

    /// One control request. Requests to the instrument read `data`, requests from it fill it.
    /// @return bytes moved; none if the instrument stalls
    std::optional<std::size_t> Control(const ControlSetup& setup, std::span<std::uint8_t> data, Moment now);

    /// A transfer into the bulk pipe.
    /// @return when the instrument has taken it; none: it stalls, and a write that was under way is given up
    std::optional<Moment> BulkWrite(std::span<const std::uint8_t> data, Moment now);

    /// A transfer into the bulk pipe that broke on its way: the write that it belongs to is given up.
    void BulkWriteFailed() { pendingWrite.reset(); }

    struct BulkData {
        std::size_t moved; ///< may be less than asked
        Moment due;        ///< when the last of them is there
    };

    /// A transfer out of the bulk pipe. What the instrument does not have, and will not have without a further request,
    /// is left out.
    /// @return none: the instrument stalls, and the data stays
    std::optional<BulkData> BulkRead(std::span<std::uint8_t> data, Moment now);

    /// The state after the cable was put in: only the memory is as it was.
    void PowerUp();

    /// The mode that is selected; the fixed one of a firmware that offers none.
    MeasureMode PresentMode() const;

private:
    using Handler = std::optional<std::size_t> (Firmware::*)(const ControlSetup&, std::span<std::uint8_t>, Moment);

    /// One request that the firmware knows.
    struct Command {
        std::uint8_t request;
        std::uint8_t type;
        bool fromDevice;
        int length; ///< of the data stage; -1: any
        int value;  ///< -1: any
        Handler handler;
    };
    static const Command commands[];

    bool Takes(const Command& command, const ControlSetup& setup, std::size_t size) const;
    bool Suits(const MeasureParameters& told) const;

    std::optional<std::size_t> Measure(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> SetParameters(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> TellParameters(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> ExpectWrite(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> ReadCells(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> WriteLogic(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> ReadLogic(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> Identify(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> Reset(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> SelectMode(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> TellMode(const ControlSetup&, std::span<std::uint8_t>, Moment);
    std::optional<std::size_t> Acknowledge(const ControlSetup&, std::span<std::uint8_t>, Moment);

    bool HasModes() const { return identity.version >= 301; }
    std::uint8_t NextStatus();
    void DropData();
    void Render(std::size_t upTo);

    /// A memory write between its request and its second zero byte.
    struct PendingWrite {
        bool intoFirmware; ///< the program, which this model takes and leaves alone
        std::uint32_t address;
        std::size_t size;
        Bytes data;
        int zeros = 0;
    };

    /// Bulk data on its way: what lies ready, and the measurement that makes more of it.
    struct Delivery {
        Bytes ready;
        std::size_t taken = 0;
        std::size_t blocksToCome = 0;
        std::optional<Measurement> running;
        Moment start = 0;          ///< when the first block began
        double blockTime = 0.0;    ///< microseconds; 0: all is there at once
        std::size_t announced = 0; ///< bytes that a read has to ask for; 0: blocks, as many as it likes

        bool IsOwedTo(std::size_t askedFor) const;
    };

    MemoryImage& memory;
    MeasuringHead& head;
    std::optional<PendingWrite> pendingWrite;
    Delivery delivery;
    bool hasParameters = false;
    std::uint8_t mode = 1; ///< counted from 1
    std::uint16_t logicWord = 0xFFFF;
    int weakReplies = -1; ///< replies with status 8 that are still to come after the reset for power; -1: no reset yet
};

}
