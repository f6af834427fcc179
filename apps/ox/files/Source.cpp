#include "apps/ox/files/Source.h"

#include "apps/ox/base/Failure.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Ox {

namespace {

constexpr std::size_t blockSize = 1 << 16;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

}

Source::Source(const std::string& path) : name(path == "-" ? "standard input" : path), descriptor(STDIN_FILENO)
{
    if (path != "-")
        descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        throw Failure(Status::Refused, path + ": " + std::strerror(errno));
    if (Peek().starts_with(byteOrderMark))
        gbump(static_cast<int>(byteOrderMark.size()));
}

Source::~Source()
{
    if (descriptor != STDIN_FILENO)
        close(descriptor);
}

bool Source::Fill()
{
    if (ended)
        return false;
    const auto kept = static_cast<std::size_t>(egptr() - gptr());
    if (kept > 0 && gptr() != buffer.data())
        std::memmove(buffer.data(), gptr(), kept);
    if (buffer.size() < kept + blockSize)
        buffer.resize(2 * kept + blockSize);
    ssize_t size = -1;
    while (size < 0) {
        size = read(descriptor, buffer.data() + kept, buffer.size() - kept);
        if (size < 0 && errno != EINTR)
            throw Failure(Status::Refused, name + ": " + std::strerror(errno));
    }
    ended = size == 0;
    setg(buffer.data(), buffer.data(), buffer.data() + kept + size);
    return !ended;
}

Source::int_type Source::underflow()
{
    return gptr() < egptr() || Fill() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

std::string_view Source::Peek()
{
    while (egptr() - gptr() < static_cast<std::ptrdiff_t>(blockSize) && Fill()) { }
    return {gptr(), std::min(blockSize, static_cast<std::size_t>(egptr() - gptr()))};
}

bool Source::NextLine(std::string_view& text)
{
    std::size_t searched = 0;
    for (;;) {
        const auto size = static_cast<std::size_t>(egptr() - gptr());
        const void* const end = size > searched ? std::memchr(gptr() + searched, '\n', size - searched) : nullptr;
        if (end == nullptr && size > longestLine)
            throw Failure(Status::Refused, name + ":" + std::to_string(line + 1) + ": the line is too long");
        searched = size;
        if (end == nullptr && Fill())
            continue;
        if (end == nullptr && size == 0)
            return false;
        const std::size_t length =
            end == nullptr ? size : static_cast<std::size_t>(static_cast<const char*>(end) - gptr());
        text = {gptr(), length};
        setg(eback(), gptr() + length + (end == nullptr ? 0 : 1), egptr());
        if (text.ends_with('\r'))
            text.remove_suffix(1);
        ++line;
        return true;
    }
}

void Source::Refuse(const std::string& what) const
{
    throw Failure(Status::Refused, name + (line > 0 ? ":" + std::to_string(line) : "") + ": " + what);
}

}
