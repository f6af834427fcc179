#pragma once

#include "Vondrel/DeviceDriver/ox/USB/USBConnection.h"

#include <array>
#include <memory>
#include <span>
#include <vector>

namespace Vondrel::DeviceDriver::ox {

/// The lines of a scan, oldest first, all of one size. It keeps its memory from scan to scan.
class ScanQueue {
public:
    /// Drops all lines.
    /// @param newLineSize  bytes of each line to come
    void Restart(std::size_t newLineSize);
    void Clear() { Restart(lineSize); }

    /// @param lines  a whole number of them
    void Append(std::span<const std::uint8_t> lines) { bytes.insert(bytes.end(), lines.begin(), lines.end()); }

    std::size_t Count() const { return (bytes.size() - taken) / lineSize; }

    /// The oldest line, valid until the next change; empty when there is none.
    std::span<const std::uint8_t> Front() const;
    void DropFront();

private:
    std::vector<std::uint8_t> bytes;
    std::size_t lineSize = 1;
    std::size_t taken = 0; ///< bytes
};

/// The continuous reader of a scan: three transfers that take turns. One is awaited while the next is already in flight
/// behind it, and the third is being emptied.
class ScanReader {
public:
    /// @param lineSize  bytes, 1 to 6553
    /// @param limitMs   milliseconds for each package, plus 5000
    /// @throws IOException "Max packages size is 65535"
    ScanReader(USBConnection& pipe, std::size_t lineSize, std::int64_t limitMs);
    ~ScanReader(); ///< gives up what is in flight

    /// Reads until a short package. The queue then holds the lines of this scan; after a failure those that arrived.
    /// @param toneWanted  sound a tone at the first data
    void ReadInto(ScanQueue& lines, bool toneWanted);

private:
    void AwaitPackage() const;
    void Rotate();

    const std::size_t lineSize;
    const std::size_t packageSize;
    const std::int64_t waitLimitMs;

    std::array<std::unique_ptr<Platform::UsbTransfer>, 3> transfers; // [0] awaited, [1] behind it, [2] being emptied
    std::size_t received = 0;                                        // bytes in the third
};

}
