#include "platform/posix/SerialPort.h"

#include "platform/posix/Deadline.h"
#include "platform/posix/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace Platform::Posix {

namespace {

constexpr std::int32_t portCount = 8;

/// What this side remembers of ports: names by number, limits by descriptor.
struct Memory {
    std::mutex mutex;
    std::string names[portCount];
    std::map<int, SerialLimits> limits;

    static Memory& Instance()
    {
        static Memory& memory = *new Memory; // never destroyed: ports may be used until the end of the process
        return memory;
    }

private:
    Memory()
    {
        for (int i = 0; i < portCount; ++i)
            names[i] = "/dev/ttyS" + std::to_string(i);
    }
};

bool IsOpen(int descriptor)
{
    return descriptor >= 0 && ::fcntl(descriptor, F_GETFD) >= 0;
}

/// The error number of a failed call, 0 for a good one.
int Status(int result)
{
    return result < 0 ? errno : 0;
}

/// Raises or drops a control line. A pseudo-terminal has none.
int SetLine(int descriptor, int line, bool on)
{
    const int status = Status(::ioctl(descriptor, on ? TIOCMBIS : TIOCMBIC, &line));
    const bool isMissing = status == ENOTTY || status == EINVAL;
    return isMissing && ::isatty(descriptor) == 1 ? 0 : status;
}

/// The time limit of moving `size` bytes, milliseconds; none if both numbers are 0.
std::optional<std::int64_t> TotalLimit(std::uint32_t multiplier, std::uint32_t constant, std::size_t size)
{
    if (multiplier == 0 && constant == 0)
        return std::nullopt;
    constexpr std::int64_t longest = INT64_MAX / 2;
    if (multiplier != 0 && size > static_cast<std::size_t>(longest / multiplier))
        return longest;
    return std::int64_t(multiplier) * static_cast<std::int64_t>(size) + constant;
}

enum class Ready { yes, timedOut, failed };

/// Waits until the port can move a byte; `interval` is a second limit, none for 0.
Ready WaitReady(int descriptor, short events, const Deadline& total, std::uint32_t interval)
{
    const Deadline next(interval != 0 ? std::optional<std::int64_t>(interval) : std::nullopt);
    for (;;) {
        const auto left = total.Left(next.Left(std::chrono::seconds(10)));
        const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
        pollfd entry{descriptor, events, 0};
        const int count = ::poll(&entry, 1, static_cast<int>(milliseconds));
        if (count > 0) {
            if ((entry.revents & POLLNVAL) != 0) {
                errno = EBADF;
                return Ready::failed;
            }
            return Ready::yes; // a hang-up too: the transfer then tells
        }
        if (count < 0 && errno != EINTR)
            return Ready::failed;
        if (total.HasPassed() || next.HasPassed())
            return Ready::timedOut;
    }
}

SerialLimits LimitsOf(int descriptor)
{
    Memory& memory = Memory::Instance();
    const std::lock_guard lock(memory.mutex);
    const auto found = memory.limits.find(descriptor);
    return found != memory.limits.end() ? found->second : SerialLimits{};
}

/// Moves bytes in either direction. `move` is one read or write from a place on.
template<typename Move>
int Transfer(int descriptor, short events, const Deadline& total, std::uint32_t interval, std::size_t size,
             std::size_t* moved, Move move)
{
    while (*moved < size) {
        switch (WaitReady(descriptor, events, total, *moved > 0 ? interval : 0)) {
        case Ready::timedOut:
            return 0;
        case Ready::failed:
            return errno;
        case Ready::yes:
            break;
        }
        const ssize_t count = move(*moved, size - *moved);
        if (count > 0)
            *moved += static_cast<std::size_t>(count);
        else if (count == 0)
            return *moved > 0 ? 0 : EIO; // the far end is closed
        else if (errno == EIO && *moved > 0)
            return 0; // likewise; the next transfer reports it
        else if (errno != EINTR && errno != EAGAIN)
            return errno;
    }
    return 0;
}

bool IsPort(std::int32_t port)
{
    return port >= 1 && port <= portCount;
}

/// A second opener is refused: TIOCEXCL holds off everybody but root, the file lock also root.
int MakeExclusive(int descriptor)
{
    if (::isatty(descriptor) != 1)
        return errno;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? EBUSY : errno;
    return Status(::ioctl(descriptor, TIOCEXCL));
}

/// 9600 8N1, raw, without flow control; modem lines are ignored and not dropped at the close.
void SetRaw(termios& line)
{
    ::cfmakeraw(&line);
    ::cfsetspeed(&line, B9600);
    line.c_iflag &= ~static_cast<tcflag_t>(INPCK | IXOFF | IXANY);
    line.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | CSTOPB | CRTSCTS | HUPCL);
    line.c_cflag |= CS8 | CREAD | CLOCAL;
    line.c_cc[VMIN] = 1;
    line.c_cc[VTIME] = 0;
}

/// All terminals of the machine. Limits are real monotonic time.
class Terminals final : public SerialPorts {
public:
    int Open(std::int32_t port, SerialHandle* handle) noexcept override;
    int Configure(SerialHandle handle) noexcept override;
    int SetLines(SerialHandle handle, bool on) noexcept override;
    int GetLimits(SerialHandle handle, SerialLimits* limits) noexcept override;
    int SetLimits(SerialHandle handle, const SerialLimits* limits) noexcept override;
    int Read(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept override;
    int Write(SerialHandle handle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept override;
    int Purge(SerialHandle handle, bool received) noexcept override;
    int Close(SerialHandle handle) noexcept override;
    void Forget(SerialHandle handle) noexcept override;
    int SetName(std::int32_t port, const char* name) noexcept override;
};

constinit Terminals terminals;

}

int OpenTerminal(const char* name, SerialHandle* handle) noexcept
{
    if (name == nullptr || handle == nullptr)
        return EINVAL;
    *handle = nullptr;
    const int descriptor = OpenDescriptor(name, O_RDWR | O_NOCTTY | O_NONBLOCK); // no waiting for a carrier
    if (descriptor < 0)
        return errno;
    if (const int status = MakeExclusive(descriptor); status != 0) {
        CloseDescriptor(descriptor);
        return status;
    }
    *handle = ToHandle(descriptor);
    return 0;
}

int Terminals::Open(std::int32_t port, SerialHandle* handle) noexcept
try {
    if (!IsPort(port))
        return EINVAL;
    Memory& memory = Memory::Instance();
    std::unique_lock lock(memory.mutex);
    const std::string name = memory.names[port - 1];
    lock.unlock();
    return OpenTerminal(name.c_str(), handle);
} catch (const std::exception&) {
    return ENOMEM;
}

int Terminals::Configure(SerialHandle handle) noexcept
{
    const int descriptor = ToDescriptor(handle);
    termios line{};
    if (::tcgetattr(descriptor, &line) != 0)
        return errno;
    SetRaw(line);
    if (::tcsetattr(descriptor, TCSANOW, &line) != 0)
        return errno;
    termios now{}; // tcsetattr is content when it could set anything at all
    if (::tcgetattr(descriptor, &now) != 0)
        return errno;
    const tcflag_t format = CSIZE | PARENB | CSTOPB;
    const bool isSet = (now.c_cflag & format) == CS8 && ::cfgetospeed(&now) == B9600;
    return isSet ? 0 : EINVAL;
}

int Terminals::SetLines(SerialHandle handle, bool on) noexcept
{
    const int descriptor = ToDescriptor(handle);
    const int dtr = SetLine(descriptor, TIOCM_DTR, on);
    const int rts = SetLine(descriptor, TIOCM_RTS, on);
    return dtr != 0 ? dtr : rts;
}

int Terminals::GetLimits(SerialHandle handle, SerialLimits* limits) noexcept
{
    const int descriptor = ToDescriptor(handle);
    if (limits == nullptr)
        return EINVAL;
    if (!IsOpen(descriptor))
        return EBADF;
    *limits = LimitsOf(descriptor);
    return 0;
}

int Terminals::SetLimits(SerialHandle handle, const SerialLimits* limits) noexcept
try {
    const int descriptor = ToDescriptor(handle);
    if (limits == nullptr)
        return EINVAL;
    if (!IsOpen(descriptor))
        return EBADF;
    Memory& memory = Memory::Instance();
    const std::lock_guard lock(memory.mutex);
    memory.limits[descriptor] = *limits;
    return 0;
} catch (const std::exception&) {
    return ENOMEM;
}

int Terminals::Read(SerialHandle handle, std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    const int descriptor = ToDescriptor(handle);
    if (bytes == nullptr || moved == nullptr)
        return EINVAL;
    *moved = 0;
    if (!IsOpen(descriptor))
        return EBADF;
    const SerialLimits limits = LimitsOf(descriptor);
    const Deadline total(TotalLimit(limits.readMultiplier, limits.readConstant, size));
    return Transfer(descriptor, POLLIN, total, limits.readInterval, size, moved,
                    [&](std::size_t from, std::size_t count) { return ::read(descriptor, bytes + from, count); });
}

int Terminals::Write(SerialHandle handle, const std::uint8_t* bytes, std::size_t size, std::size_t* moved) noexcept
{
    const int descriptor = ToDescriptor(handle);
    if (bytes == nullptr || moved == nullptr)
        return EINVAL;
    *moved = 0;
    if (!IsOpen(descriptor))
        return EBADF;
    const SerialLimits limits = LimitsOf(descriptor);
    const Deadline total(TotalLimit(limits.writeMultiplier, limits.writeConstant, size));
    return Transfer(descriptor, POLLOUT, total, 0, size, moved,
                    [&](std::size_t from, std::size_t count) { return ::write(descriptor, bytes + from, count); });
}

int Terminals::Purge(SerialHandle handle, bool received) noexcept
{
    return Status(::tcflush(ToDescriptor(handle), received ? TCIOFLUSH : TCOFLUSH));
}

int Terminals::Close(SerialHandle handle) noexcept
{
    const int descriptor = ToDescriptor(handle);
    if (!IsOpen(descriptor))
        return EBADF;
    Forget(handle);
    ::ioctl(descriptor, TIOCNXCL); // the mark outlives the descriptor while the far end of a pseudo-terminal is open
    CloseDescriptor(descriptor);
    return 0;
}

void Terminals::Forget(SerialHandle handle) noexcept
{
    Memory& memory = Memory::Instance();
    const std::lock_guard lock(memory.mutex);
    memory.limits.erase(ToDescriptor(handle));
}

int Terminals::SetName(std::int32_t port, const char* name) noexcept
try {
    if (!IsPort(port) || name == nullptr || *name == '\0')
        return EINVAL;
    Memory& memory = Memory::Instance();
    const std::lock_guard lock(memory.mutex);
    memory.names[port - 1] = name;
    return 0;
} catch (const std::exception&) {
    return ENOMEM;
}

}

namespace Platform {

SerialPorts& MachinePorts() noexcept
{
    return Posix::terminals;
}

}
