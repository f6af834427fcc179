#include "toolkit/Trace.h"
#include "toolkit/Transport.h"

#include "platform/Clock.h"
#include "platform/SerialPort.h"
#include "toolkit/Device.h"

#include <cstring>

namespace Toolkit {

namespace {

bool sendsHeader = false;

constexpr std::uint8_t header[3] = {0x41, 0xFF, 0x41};
constexpr std::uint32_t longestFrame = 256; // a length byte and what it can count
constexpr std::uint8_t longestReply = 9;

/// What stands in the record about the line: length of the block, baud rate and data bits where a serial control
/// block has them.
void NoteLine(CalDataBlock* device)
{
    const std::uint32_t blockLength = 28;
    const std::uint32_t baudRate = 9600;
    std::uint8_t* block = device->comm.deviceControlBlock;
    std::memset(block, 0, sizeof device->comm.deviceControlBlock);
    std::memcpy(block, &blockLength, sizeof blockLength);
    std::memcpy(block + 4, &baudRate, sizeof baudRate);
    block[18] = 8;
}

/// Gives the port its limits. A pair of zeros would be a wait without an end; a port that the application has opened
/// comes with such pairs.
int SetLimits(CalDataBlock* device, Platform::SerialLimits limits)
{
    constexpr std::uint32_t patience = 250;
    if (limits.readMultiplier == 0 && limits.readConstant == 0)
        limits.readMultiplier = patience;
    if (limits.writeMultiplier == 0 && limits.writeConstant == 0)
        limits.writeMultiplier = limits.writeConstant = patience;
    device->comm.commTimeouts[0] = limits.readInterval;
    device->comm.commTimeouts[1] = limits.readMultiplier;
    device->comm.commTimeouts[2] = limits.readConstant;
    device->comm.commTimeouts[3] = limits.writeMultiplier;
    device->comm.commTimeouts[4] = limits.writeConstant;
    return Platform::Ports().SetLimits(device->comm.portHandle, &limits);
}

std::uint32_t Milliseconds(std::uint32_t seconds)
{
    return seconds > UINT32_MAX / 1000 ? UINT32_MAX : seconds * 1000;
}

/// Line settings and control lines, with the pauses that the instrument needs to start on the port's power.
int SetUpLine(CalDataBlock* device)
{
    Platform::SerialPorts& ports = Platform::Ports();
    Platform::SerialHandle handle = device->comm.portHandle;
    if (const int error = ports.Configure(handle))
        return error;
    NoteLine(device);
    ports.SetLines(handle, false);
    Platform::SleepMicroseconds(500'000);
    if (const int error = SetLimits(device, {2500, 250, 1, 250, 250}))
        return error;
    ports.SetLines(handle, true);
    Platform::SleepMicroseconds(1'000'000);
    std::uint8_t discarded = 0;
    std::size_t moved = 0;
    ports.Read(handle, &discarded, 1, &moved);
    return SetReplyLimit(device, device->comm.timeOutSeconds);
}

std::int32_t WriteFrame(CalDataBlock* device, const std::uint8_t* command, std::uint32_t length)
{
    std::uint8_t frame[sizeof header + longestFrame];
    std::uint32_t size = 0;
    if (sendsHeader) {
        std::memcpy(frame, header, sizeof header);
        size = sizeof header;
    }
    std::memcpy(frame + size, command, length);
    size += length;
    if (std::FILE* trace = BeginTrace(device)) {
        std::fprintf(trace, "OUT[%u]: ", size);
        TraceBytes(trace, frame, size, 9);
        EndTrace(device);
    }
    std::size_t moved = 0;
    const int error = Platform::Ports().Write(device->comm.portHandle, frame, size, &moved);
    return error == 0 && moved == size ? ZEL_OK : ZEL_NO_REPLY;
}

std::int32_t ReadReply(CalDataBlock* device, std::uint8_t* reply, std::uint32_t* replyLength)
{
    std::uint8_t count = 0;
    std::size_t moved = 0;
    if (Platform::Ports().Read(device->comm.portHandle, &count, 1, &moved) != 0 || moved != 1)
        return ZEL_NO_REPLY;
    if (count == 0 || count > longestReply)
        return ZEL_OK;
    std::uint8_t bytes[longestReply];
    if (Platform::Ports().Read(device->comm.portHandle, bytes, count, &moved) != 0)
        return ZEL_READ_FAILED;
    if (moved != count)
        return ZEL_NO_REPLY;
    std::memcpy(reply, bytes, count);
    *replyLength = count;
    if (std::FILE* trace = BeginTrace(device)) {
        std::fprintf(trace, "IN[%u]: ", count);
        TraceBytes(trace, bytes, count, 8);
        std::fputc('\n', trace);
        EndTrace(device);
    }
    return ZEL_OK;
}

}

void ResetTimeOut(CalDataBlock* device)
{
    device->comm.timeOutActive = 1;
    device->comm.timeOutSeconds = defaultReplySeconds;
    device->comm.timeOutApplied = defaultReplySeconds;
}

int SetReplyLimit(CalDataBlock* device, std::uint32_t seconds)
{
    Platform::SerialLimits limits{};
    if (const int error = Platform::Ports().GetLimits(device->comm.portHandle, &limits))
        return error;
    device->comm.timeOutSeconds = seconds;
    limits.readConstant = Milliseconds(seconds);
    const int error = SetLimits(device, limits);
    if (error == 0)
        device->comm.timeOutApplied = seconds;
    return error;
}

std::int32_t OpenSerial(CalDataBlock* device, std::int32_t port)
{
    ResetTimeOut(device);
    if (port < 1 || port > 8)
        return ZEL_BAD_PORT;
    if (Platform::Ports().Open(port, &device->comm.portHandle) != 0) {
        device->comm.portHandle = nullptr;
        return ZEL_BAD_ARGUMENT;
    }
    const char name[8] = {'C', 'O', 'M', static_cast<char>('0' + port), 0, 0, 0, 0};
    std::memcpy(device->comm.portName, name, sizeof name);
    if (SetUpLine(device) != 0) {
        Platform::Ports().Close(device->comm.portHandle);
        device->comm.portHandle = nullptr;
        return ZEL_PORT_SETUP;
    }
    if (std::FILE* trace = BeginTrace(device)) {
        std::fprintf(trace, "Serial Open [%s]\n", toolkitRevision);
        EndTrace(device);
    }
    return ZEL_OK;
}

void CloseSerial(CalDataBlock* device)
{
    Platform::SerialHandle handle = device->comm.portHandle;
    Platform::SerialPorts& ports = Platform::Ports();
    ports.Purge(handle, false);
    ports.SetLines(handle, false);
    ports.Close(handle);
    device->comm.portHandle = nullptr;
    if (std::FILE* trace = BeginTrace(device)) {
        std::fputs("Serial Close\n", trace);
        EndTrace(device);
    }
}

std::int32_t ExchangeSerial(CalDataBlock* device, const std::uint8_t* command, std::uint32_t length,
                            std::uint8_t* reply, std::uint32_t* replyLength)
{
    *replyLength = 0;
    if (length > longestFrame)
        return ZEL_BAD_ARGUMENT;
    const ZelCommState& comm = device->comm;
    if (comm.timeOutActive == 1 && comm.timeOutSeconds != comm.timeOutApplied)
        if (SetReplyLimit(device, comm.timeOutSeconds) != 0)
            return ZEL_NO_REPLY; // the port would be waited on without a limit
    if (const std::int32_t failure = WriteFrame(device, command, length))
        return failure;
    return ReadReply(device, reply, replyLength);
}

namespace {

/// Reads byte after byte until nothing comes any more, at most what the receiver can hold.
std::int32_t Drain(Platform::SerialHandle handle, std::uint8_t* buffer, std::uint32_t* length)
{
    constexpr std::uint32_t receiverSize = 1024;
    std::size_t moved = 1;
    *length = 0;
    while (*length < receiverSize) {
        if (Platform::Ports().Read(handle, buffer + *length, 1, &moved) != 0)
            return ZEL_NO_REPLY;
        if (moved == 0)
            return ZEL_OK;
        ++*length;
    }
    return ZEL_OK;
}

}

}

extern "C" {

int32_t ZELCAL_CALL AltrixSendSerialHeader(int32_t on)
{
    Toolkit::sendsHeader = on != 0;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixSendDataOnly_M(CalDataBlock* device, int32_t /*reserved*/, const uint8_t* bytes,
                                         uint32_t length)
{
    if (const int32_t refusal = Toolkit::Enter(device, Toolkit::allTypes, bytes))
        return refusal;
    if (device->header.portType == Toolkit::usbPort)
        return ZEL_USB_FAILED;
    if (device->header.portType != Toolkit::serialPort)
        return ZEL_BAD_ARGUMENT;
    std::size_t moved = 0;
    const int error = Platform::Ports().Write(device->comm.portHandle, bytes, length, &moved);
    return error == 0 && moved == length ? ZEL_OK : ZEL_NO_REPLY;
}

int32_t ZELCAL_CALL AltrixClearBuffer_M(CalDataBlock* device, int32_t /*reserved*/, uint8_t* buffer, uint32_t* length)
{
    if (const int32_t refusal = Toolkit::Enter(device, Toolkit::allTypes, buffer, length))
        return refusal;
    if (device->header.portType != Toolkit::serialPort)
        return device->header.portType == Toolkit::usbPort ? ZEL_OK : ZEL_BAD_ARGUMENT;

    Platform::SerialHandle handle = device->comm.portHandle;
    Platform::SerialLimits limits{};
    if (Platform::Ports().GetLimits(handle, &limits) != 0)
        return ZEL_NO_REPLY;
    Platform::SerialLimits brief = limits;
    brief.readConstant = 100;
    if (Platform::Ports().SetLimits(handle, &brief) != 0)
        return ZEL_NO_REPLY;
    buffer[0] = 0;
    const int32_t status = Toolkit::Drain(handle, buffer, length);
    Platform::Ports().SetLimits(handle, &limits);
    Platform::Ports().Purge(handle, true);
    return status;
}

int32_t ZELCAL_CALL AltrixSetTimeOut_M(CalDataBlock* device, int32_t flag, uint32_t seconds)
{
    if (device == nullptr)
        return ZEL_BAD_ARGUMENT;
    if (device->header.portType != Toolkit::serialPort || device->comm.portHandle == nullptr)
        return ZEL_OK;
    if (Toolkit::SetReplyLimit(device, seconds) == 0)
        device->comm.timeOutActive = flag != 0;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixGetTimeOut_M(CalDataBlock* device, int32_t* active, uint32_t* seconds)
{
    if (device == nullptr || active == nullptr || seconds == nullptr)
        return ZEL_BAD_ARGUMENT;
    *active = device->comm.timeOutActive;
    *seconds = device->comm.timeOutSeconds;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixGetPortHandle_M(CalDataBlock* device, ZelHandle* handle)
{
    if (device == nullptr || handle == nullptr)
        return ZEL_BAD_ARGUMENT;
    *handle = device->comm.portHandle;
    return ZEL_OK;
}
}
