#include "platform/libusb/Failure.h"

#include <libusb.h>

#include <cerrno>

namespace Platform::Libusb {

namespace {

struct Meaning {
    int code;
    TransferKind kind;
    int number;
};

constexpr Meaning meaningsOfErrors[] = {
    {LIBUSB_SUCCESS, TransferKind::done, 0},
    {LIBUSB_ERROR_NO_DEVICE, TransferKind::gone, ENODEV},
    {LIBUSB_ERROR_NOT_FOUND, TransferKind::gone, ENODEV},
    {LIBUSB_ERROR_ACCESS, TransferKind::denied, EACCES},
    {LIBUSB_ERROR_BUSY, TransferKind::denied, EBUSY},
    {LIBUSB_ERROR_PIPE, TransferKind::stalled, EPIPE},
    {LIBUSB_ERROR_TIMEOUT, TransferKind::failed, ETIMEDOUT},
    {LIBUSB_ERROR_NO_MEM, TransferKind::failed, ENOMEM},
    {LIBUSB_ERROR_OVERFLOW, TransferKind::failed, EOVERFLOW},
    {LIBUSB_ERROR_INTERRUPTED, TransferKind::failed, EINTR},
    {LIBUSB_ERROR_INVALID_PARAM, TransferKind::failed, EINVAL},
    {LIBUSB_ERROR_NOT_SUPPORTED, TransferKind::failed, ENOSYS},
};

constexpr Meaning meaningsOfStatus[] = {
    {LIBUSB_TRANSFER_COMPLETED, TransferKind::done, 0},
    {LIBUSB_TRANSFER_NO_DEVICE, TransferKind::gone, ENODEV},
    {LIBUSB_TRANSFER_CANCELLED, TransferKind::cancelled, ECANCELED},
    {LIBUSB_TRANSFER_STALL, TransferKind::stalled, EPIPE},
    {LIBUSB_TRANSFER_TIMED_OUT, TransferKind::failed, ETIMEDOUT},
    {LIBUSB_TRANSFER_OVERFLOW, TransferKind::failed, EOVERFLOW},
};

template<std::size_t Size>
TransferResult LookUp(const Meaning (&meanings)[Size], int code, std::size_t moved)
{
    for (const auto& meaning : meanings)
        if (meaning.code == code)
            return {meaning.kind, moved, meaning.number};
    return {TransferKind::failed, moved, EIO};
}

}

TransferResult FailureOf(int error)
{
    return LookUp(meaningsOfErrors, error, 0);
}

TransferResult OutcomeOf(int status, int moved)
{
    return LookUp(meaningsOfStatus, status, static_cast<std::size_t>(moved));
}

}
