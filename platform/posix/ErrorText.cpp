#include "platform/ErrorText.h"

#include <cerrno>

namespace Platform {

namespace {

constexpr struct {
    int number;
    const char* text;
} words[] = {
    {0, "no error"},
    {EPERM, "operation not permitted"},
    {ENOENT, "no such file or directory"},
    {EINTR, "interrupted"},
    {EIO, "input/output error"},
    {ENXIO, "no such device or address"},
    {EBADF, "bad file descriptor"},
    {EAGAIN, "resource temporarily unavailable"},
    {ENOMEM, "not enough memory"},
    {EACCES, "permission denied"},
    {EFAULT, "bad address"},
    {EBUSY, "device or resource busy"},
    {EEXIST, "file exists"},
    {ENODEV, "no such device"},
    {ENOTDIR, "not a directory"},
    {EISDIR, "is a directory"},
    {EINVAL, "invalid argument"},
    {ENFILE, "too many open files in the system"},
    {EMFILE, "too many open files"},
    {ENOTTY, "not a terminal device"},
    {ENOSPC, "no space left on the device"},
    {EROFS, "read-only file system"},
    {EPIPE, "broken pipe"},
    {ERANGE, "result out of range"},
    {ENAMETOOLONG, "name too long"},
    {ENOSYS, "function not implemented"},
    {ELOOP, "too many symbolic links"},
    {EPROTO, "protocol error"},
    {EOVERFLOW, "value too large"},
    {EILSEQ, "invalid sequence"},
    {ENOTSUP, "operation not supported"},
    {ECONNRESET, "connection reset"},
    {ESHUTDOWN, "endpoint shut down"},
    {ETIMEDOUT, "timed out"},
    {ECANCELED, "cancelled"},
    {EREMOTEIO, "remote input/output error"},
};

}

const char* ErrorText(int number) noexcept
{
    for (const auto& word : words)
        if (word.number == number)
            return word.text;
    return "unknown error";
}

}
