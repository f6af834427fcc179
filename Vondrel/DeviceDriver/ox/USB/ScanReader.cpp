#include "Vondrel/DeviceDriver/ox/USB/ScanReader.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "platform/Tone.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::ox {

namespace {

constexpr std::size_t linesOfFirstRead = 2; // short, to have the first data as early as possible
constexpr std::size_t linesOfPackage = 10;
constexpr std::size_t maxPackageSize = 65535;

constexpr std::int32_t toneHertz = 400;
constexpr std::int32_t toneMs = 75;

}

void ScanQueue::Restart(std::size_t newLineSize)
{
    bytes.clear();
    taken = 0;
    lineSize = newLineSize;
}

std::span<const std::uint8_t> ScanQueue::Front() const
{
    return std::span(bytes).subspan(taken, Count() == 0 ? 0 : lineSize);
}

void ScanQueue::DropFront()
{
    taken += Front().size();
}

ScanReader::ScanReader(USBConnection& pipe, std::size_t lineSize_, std::int64_t limitMs)
try : lineSize(lineSize_), packageSize(lineSize* linesOfPackage), waitLimitMs(limitMs + bulkGraceMs) {
    if (lineSize > maxPackageSize / linesOfPackage)
        throw IOException("Max packages size is 65535", THROW_LOCATION("ScanReader", "ScanReader"));
    if (lineSize == 0)
        throw DataException("A scan line holds no data", THROW_LOCATION("ScanReader", "ScanReader"));
    for (auto& transfer : transfers)
        transfer = pipe.MakeTransfer(packageSize);
}
TRACE_GUARD("ScanReader", "ScanReader")

ScanReader::~ScanReader()
{
    try {
        for (const auto& transfer : transfers)
            transfer->Cancel();
    } catch (...) {
        // What the platform cannot cancel it keeps; there is nobody to tell.
    }
}

void ScanReader::ReadInto(ScanQueue& lines, bool toneWanted)
try {
    lines.Restart(lineSize);
    // A submission that fails shows when the transfer is awaited.
    std::size_t expected = lineSize * linesOfFirstRead;
    transfers[0]->Submit(expected);
    transfers[1]->Submit(packageSize);
    AwaitPackage();
    if (toneWanted)
        Platform::Beep(toneHertz, toneMs);
    Rotate();
    for (;;) {
        transfers[1]->Submit(packageSize);
        lines.Append(transfers[2]->Buffer().first(received));
        if (received != expected)
            return;
        expected = packageSize;
        AwaitPackage();
        Rotate();
    }
}
TRACE_GUARD("ScanReader", "ReadInto")

void ScanReader::AwaitPackage() const
{
    if (transfers[0]->Wait(waitLimitMs) != Platform::UsbTransfer::WaitEnd::completed)
        throw TimeoutException("Read data failed (Timeout)", THROW_LOCATION("ScanReader", "AwaitPackage"));
}

void ScanReader::Rotate()
{
    const auto result = transfers[0]->Result();
    if (result.kind != Platform::TransferKind::done)
        throw IOException("Read data failed (OverlappedRead)", THROW_LOCATION("ScanReader", "Rotate"));
    if (result.moved % lineSize != 0)
        throw IOException("Read data failed (wrong data size)", THROW_LOCATION("ScanReader", "Rotate"));
    received = result.moved;
    std::rotate(transfers.begin(), transfers.begin() + 1, transfers.end());
}

}
