#include "Vondrel/DeviceDriver/ox/USB/USBConnection.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"
#include "platform/ErrorText.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::ox {

using Platform::TransferKind;
using Platform::UsbTransfer;

namespace {

constexpr std::int64_t controlLimitMs = 2000;

std::unique_ptr<Platform::UsbPipe> OpenConnection(const std::string& deviceAddress, PipeType type)
try {
    Platform::TransferResult result;
    auto pipe = Platform::OpenUsbPipe(deviceAddress, static_cast<unsigned>(type), result);
    if (!pipe)
        throw IOException("could not open pipe:" + USBConnection::GetErrorText(result),
                          THROW_LOCATION("USBConnection", "OpenConnection"));
    return pipe;
}
TRACE_GUARD("USBConnection", "OpenConnection")

/// Finishes a submitted bulk transfer. A submission that failed ends here too, at once.
/// @param word  "read" or "write"
void CompleteOverlappedIO(UsbTransfer& transfer, std::size_t size, std::int64_t limitMs, const std::string& word)
try {
    const auto end = transfer.Wait(limitMs + bulkGraceMs);
    const auto result = transfer.Result();
    if (end != UsbTransfer::WaitEnd::completed)
        throw TimeoutException(word + " data failed (timeout)" + USBConnection::GetErrorText(result),
                               THROW_LOCATION("USBConnection", "CompleteOverlappedIO"));
    if (result.kind != TransferKind::done)
        throw IOException(word + " data failed" + USBConnection::GetErrorText(result),
                          THROW_LOCATION("USBConnection", "CompleteOverlappedIO"));
    if (result.moved != size)
        throw IOException(word + " data failed (Not enough data)",
                          THROW_LOCATION("USBConnection", "CompleteOverlappedIO"));
}
TRACE_GUARD("USBConnection", "CompleteOverlappedIO")

void CheckControl(UsbTransfer& transfer, UsbTransfer::WaitEnd end, std::size_t size)
{
    const auto result = transfer.Result();
    if (end != UsbTransfer::WaitEnd::completed)
        throw TimeoutException("Device IO control failed " + USBConnection::GetErrorText(result),
                               THROW_LOCATION("USBConnection", "PerformDeviceIOControl"));
    if (result.kind != TransferKind::done)
        throw IOException("Device IO control failed: " + USBConnection::GetErrorText(result),
                          THROW_LOCATION("USBConnection", "PerformDeviceIOControl"));
    if (result.moved != size)
        throw DataException("Device IO control failed (Not enough data)",
                            THROW_LOCATION("USBConnection", "PerformDeviceIOControl"));
}

}

USBConnection::USBConnection(const std::string& deviceAddress, PipeType type)
try : pipe(OpenConnection(deviceAddress, type)) {
}
TRACE_GUARD("USBConnection", "USBConnection")

void USBConnection::PerformDeviceIOControl(const Platform::ControlRequest& request, std::span<std::uint8_t> data,
                                           bool check)
try {
    const auto transfer = pipe->MakeControl(request, data.size());
    std::ranges::copy(data, transfer->Buffer().begin());
    transfer->Submit(data.size());
    const auto end = transfer->Wait(controlLimitMs);
    if (!check)
        return;
    CheckControl(*transfer, end, data.size());
    std::ranges::copy(transfer->Buffer().first(data.size()), data.begin());
}
TRACE_GUARD("USBConnection", "PerformDeviceIOControl")

void USBConnection::Read(std::span<std::uint8_t> buffer, std::int64_t limitMs)
try {
    const auto transfer = MakeTransfer(buffer.size());
    transfer->Submit(buffer.size());
    CompleteOverlappedIO(*transfer, buffer.size(), limitMs, "read");
    std::ranges::copy(transfer->Buffer().first(buffer.size()), buffer.begin());
}
TRACE_GUARD("USBConnection", "Read")

void USBConnection::Write(std::span<const std::uint8_t> buffer, std::int64_t limitMs)
try {
    const auto transfer = MakeTransfer(buffer.size());
    std::ranges::copy(buffer, transfer->Buffer().begin());
    transfer->Submit(buffer.size());
    CompleteOverlappedIO(*transfer, buffer.size(), limitMs, "write");
}
TRACE_GUARD("USBConnection", "Write")

std::unique_ptr<UsbTransfer> USBConnection::MakeTransfer(std::size_t capacity)
{
    return pipe->MakeTransfer(capacity);
}

void USBConnection::Close()
{
    pipe->Close();
}

std::string USBConnection::GetErrorText(const Platform::TransferResult& result)
{
    return " (Win32 Error (" + Utilities::Tools::lexical_cast<std::string>(result.number)
        + ") : " + Platform::ErrorText(result.number) + ")";
}

}
