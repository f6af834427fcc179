#pragma once

#include "platform/SerialPort.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Platform {

/// The far end of a serial line that is a pseudo-terminal: whoever opens the port by its name talks to the owner of
/// this object. One thread at a time; the destructor hangs the line up.
class PseudoTerminal {
public:
    /// Null if the system has none left.
    static std::unique_ptr<PseudoTerminal> Open();

    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;
    ~PseudoTerminal();

    const std::string& PortName() const { return name; }

    enum class Line { quiet, bytes, unopened, failed };

    /// Waits for bytes, at most so many milliseconds of real time.
    /// @return unopened, after the full wait, while nobody has the port open
    Line Read(std::uint8_t* bytes, std::size_t size, std::size_t* moved, int limitMs);

    /// Waits while the line's buffer is full. False if the bytes did not go out within a second.
    bool Write(const std::uint8_t* bytes, std::size_t size);

    /// What the port is set to; 9600 for a speed that has no name of its own.
    std::int32_t BaudRate() const;

    /// Gives the other side a moment of real time to read what was written: a line that hangs up drops the rest.
    void Linger() const;

private:
    PseudoTerminal(int masterDescriptor, std::string portName);

    int descriptor;
    std::string name;
};

/// Opens the near end by its name, with its line set. Null on failure.
SerialHandle OpenNearEnd(const std::string& name) noexcept;

/// A handle that stands for a port without being one: its descriptor can be duplicated and closed, and holds its
/// number. Null if there is none left.
SerialHandle ReserveHandle() noexcept;
void ReleaseHandle(SerialHandle handle) noexcept;

/// The descriptor of a handle, which an application may close.
int DescriptorOf(SerialHandle handle) noexcept;

}
