#include "apps/ox/base/Output.h"

#include "apps/ox/base/Failure.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Ox {

namespace {

constexpr std::size_t largeText = 1 << 16;

}

Output::Output(const std::string& path) : name(path.empty() || path == "-" ? "standard output" : path), descriptor(1)
{
    if (name != path)
        return;
    descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0)
        throw Failure(Status::Refused, path + ": " + std::strerror(errno));
}

Output::~Output()
{
    try {
        Flush();
    } catch (const Failure&) {
        // Whoever wants to know has called Flush() before.
    }
    if (descriptor != 1)
        close(descriptor);
}

void Output::Pass()
{
    if (text.size() >= largeText)
        Flush();
}

void Output::Flush()
{
    std::string_view rest = text;
    while (!rest.empty() && !closed) {
        const ssize_t written = write(descriptor, rest.data(), rest.size());
        if (written > 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
        else if (errno == EPIPE)
            closed = true;
        else if (errno != EINTR) {
            text.clear();
            throw Failure(Status::Refused, name + ": " + std::strerror(errno));
        }
    }
    text.clear();
}

bool Output::IsTerminal() const
{
    return isatty(descriptor) == 1;
}

}
