#include "platform/DeviceChannel.h"

#include "platform/posix/Descriptor.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <unistd.h>

namespace Platform {

namespace {

constexpr std::uint32_t lastIndex = 127;
constexpr std::size_t exchangeSize = 8;

struct Names {
    std::mutex mutex;
    std::string pattern = "/dev/zelcal%u";

    static Names& Instance()
    {
        static Names& names = *new Names; // never destroyed: channels may be used until the end of the process
        return names;
    }

    std::string Name(std::uint32_t index)
    {
        const std::lock_guard lock(mutex);
        std::string name = pattern;
        return name.replace(name.find("%u"), 2, std::to_string(index));
    }
};

/// Moves eight bytes; a driver does it at once, a socket in its place perhaps not.
template<typename Move>
int MoveAll(Move move)
{
    for (std::size_t done = 0; done < exchangeSize;) {
        const ssize_t count = move(done, exchangeSize - done);
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (count == 0)
            return EIO;
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

}

int ChannelOpen(std::uint32_t index, ChannelHandle* handle) noexcept
try {
    if (handle == nullptr || index > lastIndex)
        return EINVAL;
    *handle = nullptr;
    const int descriptor = Posix::OpenDescriptor(Names::Instance().Name(index).c_str(), O_RDWR | O_NOCTTY);
    if (descriptor < 0)
        return errno;
    *handle = Posix::ToHandle(descriptor);
    return 0;
} catch (const std::exception&) {
    return ENOMEM;
}

int ChannelExchange(ChannelHandle handle, const std::uint8_t request[8], std::uint8_t answer[8]) noexcept
{
    const int descriptor = Posix::ToDescriptor(handle);
    if (request == nullptr || answer == nullptr)
        return EINVAL;
    const int status =
        MoveAll([&](std::size_t from, std::size_t count) { return ::write(descriptor, request + from, count); });
    if (status != 0)
        return status;
    return MoveAll([&](std::size_t from, std::size_t count) { return ::read(descriptor, answer + from, count); });
}

int ChannelClose(ChannelHandle handle) noexcept
{
    return ::close(Posix::ToDescriptor(handle)) < 0 ? errno : 0;
}

int SetChannelNamePattern(const char* pattern) noexcept
try {
    if (pattern == nullptr || !IsChannelPattern(pattern))
        return EINVAL;
    Names& names = Names::Instance();
    const std::lock_guard lock(names.mutex);
    names.pattern = pattern;
    return 0;
} catch (const std::exception&) {
    return ENOMEM;
}

}
