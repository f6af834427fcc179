#include "platform/pseudoterminal/PseudoTerminal.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/SerialPort.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h> // NOLINT: grantpt and its like
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace Platform {

std::unique_ptr<PseudoTerminal> PseudoTerminal::Open()
{
    const int master = Posix::OpenDescriptor("/dev/ptmx", O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (master < 0)
        return nullptr;
    std::array<char, 128> name{};
    if (::grantpt(master) != 0 || ::unlockpt(master) != 0 || ::ptsname_r(master, name.data(), name.size()) != 0) {
        Posix::CloseDescriptor(master);
        return nullptr;
    }
    // Only a port that was open once tells that it is closed.
    Posix::CloseDescriptor(Posix::OpenDescriptor(name.data(), O_RDWR | O_NOCTTY));
    return std::unique_ptr<PseudoTerminal>(new PseudoTerminal(master, name.data()));
}

PseudoTerminal::PseudoTerminal(int masterDescriptor, std::string portName)
    : descriptor(masterDescriptor), name(std::move(portName))
{
}

PseudoTerminal::~PseudoTerminal()
{
    Posix::CloseDescriptor(descriptor);
}

PseudoTerminal::Line PseudoTerminal::Read(std::uint8_t* bytes, std::size_t size, std::size_t* moved, int limitMs)
{
    *moved = 0;
    pollfd entry{descriptor, POLLIN, 0};
    if (::poll(&entry, 1, limitMs) < 0)
        return errno == EINTR ? Line::quiet : Line::failed;
    if ((entry.revents & POLLIN) != 0) {
        const ssize_t count = ::read(descriptor, bytes, size);
        if (count > 0) {
            *moved = static_cast<std::size_t>(count);
            return Line::bytes;
        }
    }
    if ((entry.revents & POLLHUP) == 0)
        return Line::quiet;
    ::poll(nullptr, 0, limitMs); // a closed port wakes every poll at once
    return Line::unopened;
}

bool PseudoTerminal::Write(const std::uint8_t* bytes, std::size_t size)
{
    std::size_t written = 0;
    while (written < size) {
        pollfd entry{descriptor, POLLOUT, 0};
        if (::poll(&entry, 1, 1000) == 0 || (entry.revents & (POLLERR | POLLHUP)) != 0)
            return false;
        const ssize_t count = ::write(descriptor, bytes + written, size - written);
        if (count > 0)
            written += static_cast<std::size_t>(count);
        else if (errno != EINTR && errno != EAGAIN)
            return false;
    }
    return true;
}

std::int32_t PseudoTerminal::BaudRate() const
{
    constexpr std::pair<speed_t, std::int32_t> speeds[] = {
        {B300, 300},     {B600, 600},     {B1200, 1200},   {B2400, 2400},     {B4800, 4800},
        {B19200, 19200}, {B38400, 38400}, {B57600, 57600}, {B115200, 115200},
    };
    termios line{};
    if (::tcgetattr(descriptor, &line) == 0)
        for (const auto& [speed, baud] : speeds)
            if (::cfgetospeed(&line) == speed)
                return baud;
    return 9600;
}

void PseudoTerminal::Linger() const
{
    ::poll(nullptr, 0, 200);
}

SerialHandle OpenNearEnd(const std::string& name) noexcept
{
    SerialHandle handle = nullptr;
    if (Posix::OpenTerminal(name.c_str(), &handle) == 0 && MachinePorts().Configure(handle) != 0) {
        MachinePorts().Close(handle);
        handle = nullptr;
    }
    return handle;
}

SerialHandle ReserveHandle() noexcept
{
    const int descriptor = Posix::OpenDescriptor("/dev/null", O_RDWR);
    return descriptor < 0 ? nullptr : Posix::ToHandle(descriptor);
}

void ReleaseHandle(SerialHandle handle) noexcept
{
    Posix::CloseDescriptor(Posix::ToDescriptor(handle));
}

int DescriptorOf(SerialHandle handle) noexcept
{
    return Posix::ToDescriptor(handle);
}

}
