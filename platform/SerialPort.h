#pragma once

#include <cstddef>
#include <cstdint>

/// Serial ports as the colorimeter toolkit uses them: 9600 baud, 8 data bits, no parity, one stop bit, raw. Plain
/// functions that return a status and never throw: 0 for success, otherwise the platform's error number (above 0).
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

/// Opens port 1 to 8 exclusively, without touching its line. The name behind each number is a table that
/// SetSerialPortName changes.
int SerialOpen(std::int32_t port, SerialHandle* handle) noexcept;

/// Sets the line as told above. What a pseudo-terminal lacks is no failure.
int SerialConfigure(SerialHandle handle) noexcept;

/// Control lines; what a pseudo-terminal lacks is no failure.
int SerialSetDtr(SerialHandle handle, bool on) noexcept;
int SerialSetRts(SerialHandle handle, bool on) noexcept;

int SerialGetLimits(SerialHandle handle, SerialLimits* limits) noexcept;
int SerialSetLimits(SerialHandle handle, const SerialLimits* limits) noexcept;

/// Reads or writes at most `size` bytes under the limits. Running out of time is a success with fewer bytes. A closed
/// far end ends a transfer likewise with the bytes moved before; without any it is a failure.
int SerialRead(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept;
int SerialWrite(SerialHandle handle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept;

/// Throws away what waits to be sent or read.
int SerialPurgeTransmit(SerialHandle handle) noexcept;
int SerialPurgeReceive(SerialHandle handle) noexcept;
int SerialClearError(SerialHandle handle) noexcept;

int SerialClose(SerialHandle handle) noexcept;

/// Stops using a port that the application opened and keeps.
void SerialForget(SerialHandle handle) noexcept;

/// Sets the device name of port 1 to 8, for example "/dev/ttyUSB0" (default: "/dev/ttyS" and the number less one).
int SetSerialPortName(std::int32_t port, const char* name) noexcept;

}
