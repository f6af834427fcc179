#pragma once

#include "virtual/instrument/Instrument.h"
#include "virtual/spectrophotometer/Firmware.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <random>
#include <vector>

namespace Virtual {

/// The four pipes: control, bulk data from and to the instrument, interrupt messages from it.
enum class PipeKind : unsigned { control = 0, bulkIn = 1, bulkOut = 2, interruptIn = 3 };

/// How a transfer or an opening ends.
enum class Ending { done, stalled, gone, cancelled, denied, busy, failed };

/// One opening of a pipe. It dies with the cable, and does not live again when the cable is back.
struct OpenPipe {
    PipeKind kind;
    std::uint32_t session; ///< of the instrument
    bool open = true;
    bool busyHost = false; ///< an interrupt message was fetched and the host does not wait for the next one yet
};

/// One transfer. Whoever submits it fills the upper part, the port the lower one.
struct Transfer {
    std::shared_ptr<OpenPipe> pipe;
    ControlSetup setup; ///< of a control transfer
    Bytes buffer;
    std::size_t size = 0; ///< bytes to move, at most the buffer's

    bool inFlight = false;     ///< until it is reaped or cancelled
    bool hangs = false;        ///< by a fault: only cancel and unplug end it
    std::optional<Moment> due; ///< when it ends; none while nobody can say
    Ending ending = Ending::done;
    std::size_t moved = 0;
    std::uint64_t number = 0; ///< in the trace
};

/// The USB side of a spectrophotometer: submit, complete, cancel, with everything that can go wrong on the way. Control
/// requests and bulk data go to the firmware.
class UsbPort {
public:
    UsbPort(Instrument& owner, Firmware& program);

    /// @return null with the reason in `ending` on failure
    std::shared_ptr<OpenPipe> Open(PipeKind kind, Moment now, Ending& ending);

    /// Cancels what is in flight on the pipe. Nothing happens to a closed one.
    void Close(OpenPipe& pipe, Moment now);

    /// Starts a transfer. It ends at its `due`, which may come to be known, or become earlier, only later.
    void Submit(const std::shared_ptr<Transfer>& transfer, Moment now);

    static bool IsComplete(const Transfer& transfer, Moment now);

    /// The host has taken notice of a completion.
    void Reap(Transfer& transfer);

    /// Gives a transfer up; one that is complete already stays so, and is reaped.
    void Cancel(Transfer& transfer, Moment now);

    /// Sends a message through the interrupt pipe. It is lost if the host has not opened the pipe.
    void SendMessage(Moment due);

    void CableChanged(Moment now);

    /// A fault was set at the point of the interrupt pipe: the read that waits there meets it too.
    void MeetFaultWhileWaiting(Moment now);

    std::optional<Moment> NextMessage() const;
    bool IsSettled(Moment now) const;

    void Seed(std::uint64_t seed) { random.seed(seed); }

private:
    using Holder = std::shared_ptr<Transfer>;

    Fault Pass(const Transfer& transfer);
    void Perform(Transfer& transfer, Fault fault, Moment now);
    void PerformRequest(Transfer& transfer, Fault fault, Moment now);
    void PerformOrder(Transfer& transfer, Fault fault, Moment now);
    void PerformBulkRead(Transfer& transfer, Fault fault, Moment now);
    void PerformBulkWrite(Transfer& transfer, Fault fault, Moment now);
    void AwaitMessage(Transfer& transfer, Moment now);

    bool GivesQueuedAnswer(Transfer& transfer, Moment now);
    bool EndsAtOnce(Transfer& transfer, Fault fault, Moment now);
    void End(Transfer& transfer, Ending ending, std::size_t moved, Moment due) const;
    void EndOutward(Transfer& transfer, bool accepted, std::size_t arrived, Moment due) const;
    Bytes Arriving(const Transfer& transfer, Fault fault);
    void EndBulkReads(Moment now);
    void Scramble(std::span<std::uint8_t> bytes);
    void Forget(const Transfer& transfer);
    Holder WaitingForMessage() const;
    void TraceControl(const Transfer& transfer);
    bool Lives(const OpenPipe& pipe) const;
    bool IsOpen(PipeKind kind) const;

    Instrument& instrument;
    Firmware& firmware;
    std::vector<Holder> inFlight;
    std::vector<std::weak_ptr<OpenPipe>> openPipes;
    std::deque<Moment> messages; // when each is due
    std::mt19937_64 random;
    std::uint64_t lastNumber = 0;
};

}
