#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// What the library asks of the USB stack: a list of instruments, and four pipes to each with transfers in flight.
namespace Platform {

/// How a transfer or an opening ended. Logic reads the kind; only error texts read the number.
enum class TransferKind {
    done,      ///< ended in order, perhaps with fewer bytes than asked
    pending,   ///< not ended yet
    gone,      ///< the instrument is not there any more
    cancelled, ///< given up by this side
    stalled,   ///< refused by the instrument
    denied,    ///< no permission, or in use by another process
    failed     ///< any other error
};

struct TransferResult {
    TransferKind kind = TransferKind::pending;
    std::size_t moved = 0; ///< bytes moved so far
    int number = 0;        ///< error number of the platform, 0 without a failure; ErrorText has its words
};

/// One transfer that can be submitted again and again, with a buffer of its own. It completes by itself: two transfers
/// of one pipe never share a completion. Its destructor cancels and reaps what is in flight; the buffer outlives the
/// transfer if the platform still holds it. A transfer may outlive its pipe. One thread uses it, but for Wake.
class UsbTransfer {
public:
    enum class WaitEnd {
        completed, ///< Result says how
        timedOut,  ///< still in flight; Result is `pending` with the platform's number for a time-out
        woken,     ///< by Wake; still in flight
        failed     ///< the platform cannot wait; Result has its number
    };

    virtual ~UsbTransfer() = default;

    /// The buffer, of the capacity that the transfer was made with. Not to be touched while in flight.
    virtual std::span<std::uint8_t> Buffer() = 0;

    /// Starts moving `size` bytes from the start of the buffer on, in the pipe's direction; at most the capacity.
    /// Returns `done` if submitted (the outcome comes with Result), else why not, which Result then repeats. A transfer
    /// in flight is not submitted again.
    virtual TransferResult Submit(std::size_t size) = 0;

    /// Waits for the completion on the platform's clock. A completion that is due before the limit wins over the
    /// limit, and one that is there wins over a wake. Returns at once when nothing is in flight.
    /// @param limitMs  milliseconds; none waits for ever
    /// Returns `woken` when Wake was called before or meanwhile; that consumes the wake.
    virtual WaitEnd Wait(std::optional<std::int64_t> limitMs) = 0;

    /// Never blocks. `pending` while in flight.
    virtual TransferResult Result() = 0;

    /// Gives the transfer up and waits until the platform has let go of the buffer (bounded, real time). Does nothing
    /// when nothing is in flight.
    virtual void Cancel() = 0;

    /// Ends the present or the next Wait. From any thread.
    virtual void Wake() = 0;
};

/// A control request in the instrument's own form. Byte 0: direction (0 to the instrument, 1 from it); 1: type (0
/// standard, 2 vendor); 2: recipient (0 the device); 4: request code; 6, 7: value; 8, 9: index, both little-endian.
/// Bytes 3 and 5 are reserved. The length of the data stage is the size that is submitted.
using ControlRequest = std::array<std::uint8_t, 10>;

/// One open pipe of an instrument: 0 control, 1 bulk in, 2 bulk out, 3 interrupt in. Its destructor closes it. The
/// pipes of one instrument may be used from different threads.
class UsbPipe {
public:
    virtual ~UsbPipe() = default;

    /// A transfer of pipe 1, 2 or 3 with a buffer of `capacity` bytes.
    virtual std::unique_ptr<UsbTransfer> MakeTransfer(std::size_t capacity) = 0;

    /// A control transfer of pipe 0: the request says the direction, the buffer is its data stage.
    virtual std::unique_ptr<UsbTransfer> MakeControl(const ControlRequest& request, std::size_t capacity) = 0;

    /// Gives up all transfers in flight and lets go of the instrument. Submitting to a closed pipe fails as `gone`.
    virtual void Close() = 0;
};

/// Addresses of the instruments that are attached now, in a stable order, at most `most`. The address names the same
/// instrument at the same place as long as it stays plugged. Empty when the platform cannot say.
std::vector<std::string> UsbAddresses(std::size_t most);

/// Opens a pipe. Null on failure, with the reason in `result`.
std::unique_ptr<UsbPipe> OpenUsbPipe(const std::string& address, unsigned pipe, TransferResult& result);

}
