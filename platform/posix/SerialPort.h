#pragma once

#include "platform/SerialPort.h"

/// Serial ports on POSIX terminals; each function is what platform/SerialPort.h says of its namesake. Limits are real
/// monotonic time. The virtual library uses these on pseudo-terminals.
namespace Platform::Posix {

int SerialOpen(std::int32_t port, SerialHandle* handle) noexcept;

/// Opens a terminal by its device name.
int SerialOpenDevice(const char* name, SerialHandle* handle) noexcept;

int SerialConfigure(SerialHandle handle) noexcept;
int SerialSetDtr(SerialHandle handle, bool on) noexcept;
int SerialSetRts(SerialHandle handle, bool on) noexcept;
int SerialGetLimits(SerialHandle handle, SerialLimits* limits) noexcept;
int SerialSetLimits(SerialHandle handle, const SerialLimits* limits) noexcept;
int SerialRead(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept;
int SerialWrite(SerialHandle handle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept;
int SerialPurgeTransmit(SerialHandle handle) noexcept;
int SerialPurgeReceive(SerialHandle handle) noexcept;
int SerialClearError(SerialHandle handle) noexcept;
int SerialClose(SerialHandle handle) noexcept;
void SerialForget(SerialHandle handle) noexcept;
int SetSerialPortName(std::int32_t port, const char* name) noexcept;

}
