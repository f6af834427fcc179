#pragma once

#include <cstddef>
#include <cstdint>

/// Serial ports as the colorimeter toolkit uses them: 9600 baud, 8 data bits, no parity, one stop bit, raw.
namespace Platform {

/// A port handle; null is "no port". On POSIX a descriptor above 2 in the pointer's value.
using SerialHandle = void*;

/// Time limits, milliseconds. A read of n bytes ends after readMultiplier * n + readConstant, or when readInterval
/// passes between two bytes; a write after writeMultiplier * n + writeConstant. Zero for both of a pair is no limit.
struct SerialLimits {
    std::uint32_t readInterval;
    std::uint32_t readMultiplier;
    std::uint32_t readConstant;
    std::uint32_t writeMultiplier;
    std::uint32_t writeConstant;
};

/// All ports of a side. Everything returns a status and never throws: 0 for success, otherwise the platform's error
/// number (above 0).
class SerialPorts {
public:
    /// Opens port 1 to 8 exclusively, without touching its line. The name behind each number is a table that SetName
    /// changes.
    virtual int Open(std::int32_t port, SerialHandle* handle) noexcept = 0;

    /// Sets the line as told above. What a pseudo-terminal lacks is no failure.
    virtual int Configure(SerialHandle handle) noexcept = 0;

    /// Raises or drops the control lines, DTR before RTS. What a pseudo-terminal lacks is no failure.
    virtual int SetLines(SerialHandle handle, bool on) noexcept = 0;

    virtual int GetLimits(SerialHandle handle, SerialLimits* limits) noexcept = 0;
    virtual int SetLimits(SerialHandle handle, const SerialLimits* limits) noexcept = 0;

    /// Reads or writes at most `size` bytes under the limits. Running out of time is a success with fewer bytes. A
    /// closed far end ends a transfer likewise with the bytes moved before; without any it is a failure.
    virtual int Read(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept = 0;
    virtual int Write(SerialHandle handle, const std::uint8_t* bytes, std::size_t size,
                      std::size_t* moved) noexcept = 0;

    /// Throws away what waits to be sent, and with `received` also what waits to be read. A failure leaves the port
    /// usable: the error state that a platform keeps is cleared.
    virtual int Purge(SerialHandle handle, bool received) noexcept = 0;

    virtual int Close(SerialHandle handle) noexcept = 0;

    /// Stops using a port that the application opened and keeps.
    virtual void Forget(SerialHandle handle) noexcept = 0;

    /// Sets the device name of port 1 to 8, for example "/dev/ttyUSB0" (default on POSIX: "/dev/ttyS" and the number
    /// less one).
    virtual int SetName(std::int32_t port, const char* name) noexcept = 0;

protected:
    ~SerialPorts() = default;
};

/// The machine's own ports.
SerialPorts& MachinePorts() noexcept;

/// The ports that the library uses: the machine's own, or those of the virtual bench, with the machine's behind them.
SerialPorts& Ports() noexcept;

}
