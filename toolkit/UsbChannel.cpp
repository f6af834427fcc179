#include "toolkit/Trace.h"
#include "toolkit/Transport.h"

#include "platform/DeviceChannel.h"
#include "toolkit/Device.h"

#include <cstring>

namespace Toolkit {

namespace {

constexpr std::uint32_t channelSize = 8;
constexpr std::uint32_t payloadSize = 6; // behind a byte that nobody reads and the count

void TraceExchange(CalDataBlock* device, int attempt, const std::uint8_t* request, int error,
                   const std::uint8_t* answer)
{
    std::FILE* trace = BeginTrace(device);
    if (trace == nullptr)
        return;
    std::fprintf(trace, "OUT%d: ", attempt);
    TraceBytes(trace, request, channelSize, channelSize);
    std::fprintf(trace, "Pass=%d error=%ld ", error == 0 ? 1 : 0, static_cast<long>(error));
    std::fputs("IN: ", trace);
    TraceBytes(trace, answer, channelSize, channelSize);
    std::fputc('\n', trace);
    EndTrace(device);
}

/// The older electronics may still be busy with the command before, so that its echo comes late.
int Attempts(const CalDataBlock* device)
{
    return IsType(device, Family::bassixPlus) ? 10 : 1;
}

}

std::int32_t OpenUsb(CalDataBlock* device)
{
    ResetTimeOut(device);
    device->header.isOpen = 0;
    if (Platform::ChannelOpen(device->header.usbIndex, &device->comm.usbHandle) != 0) {
        device->comm.usbHandle = nullptr;
        return ZEL_BAD_ARGUMENT;
    }
    if (std::FILE* trace = BeginTrace(device)) {
        std::fprintf(trace, "USB_Open:\\\\.\\ZELCAL%u [%s]\n", device->header.usbIndex, toolkitRevision);
        EndTrace(device);
    }
    return ZEL_OK;
}

void CloseUsb(CalDataBlock* device)
{
    Platform::ChannelClose(device->comm.usbHandle);
    device->comm.usbHandle = nullptr;
    if (std::FILE* trace = BeginTrace(device)) {
        std::fputs("USB Close\n", trace);
        EndTrace(device);
    }
}

std::int32_t ExchangeUsb(CalDataBlock* device, const std::uint8_t* command, std::uint32_t length, std::uint8_t* reply,
                         std::uint32_t* replyLength)
{
    *replyLength = 0;
    std::memset(reply, 0xFF, sizeof(std::uint8_t[9]));
    std::uint8_t request[channelSize] = {};
    std::memcpy(request, command, length < channelSize ? length : channelSize);

    const int attempts = device->comm.usbHandle == nullptr ? 0 : Attempts(device);
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        std::uint8_t answer[channelSize];
        std::memset(answer, 0xFF, sizeof answer);
        const int error = Platform::ChannelExchange(device->comm.usbHandle, request, answer);
        TraceExchange(device, attempt, request, error, answer);
        if (error == 0 && answer[2] == request[1]) {
            *replyLength = answer[1] < payloadSize ? answer[1] : payloadSize;
            std::memcpy(reply, answer + 2, *replyLength);
            return ZEL_OK;
        }
    }
    device->header.isOpen = 0;
    return ZEL_USB_FAILED;
}

}
