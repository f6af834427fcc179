#include "platform/posix/Descriptor.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

namespace Platform::Posix {

namespace {

constexpr int lowest = 3;

}

int OpenDescriptor(const char* name, int flags, unsigned mode) noexcept
{
    int descriptor = -1;
    do
        descriptor = ::open(name, flags | O_CLOEXEC, static_cast<mode_t>(mode));
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0 || descriptor >= lowest)
        return descriptor;
    const int above = ::fcntl(descriptor, F_DUPFD_CLOEXEC, lowest);
    CloseDescriptor(descriptor);
    return above;
}

void CloseDescriptor(int descriptor) noexcept
{
    const int error = errno;
    ::close(descriptor); // also after EINTR: Linux has freed the number by then
    errno = error;
}

void* ToHandle(int descriptor) noexcept
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
}

int ToDescriptor(const void* handle) noexcept
{
    const auto number = reinterpret_cast<std::intptr_t>(handle);
    return number >= lowest && number <= INT_MAX ? static_cast<int>(number) : -1;
}

}
