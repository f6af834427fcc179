#pragma once

#include "Vondrel/DeviceDriver/ox/USB/USBConnection.h"

#include <array>
#include <deque>
#include <memory>
#include <vector>

namespace Vondrel::DeviceDriver::ox {

/// The lines of a scan, oldest first.
using ScanQueue = std::deque<std::vector<std::uint8_t>>;

/// The continuous reader of a scan: three transfers that take turns. One is awaited while the next is already in flight
/// behind it, and the third is being emptied.
class ScanReader {
public:
    /// @param lineSize  bytes, 1 to 6553
    /// @param limitMs   milliseconds for each package, plus 5000
    /// @throws IOException "Max packages size is 65535"
    ScanReader(USBConnection& pipe, std::size_t lineSize, std::int64_t limitMs);
    ~ScanReader(); ///< gives up what is in flight

    /// Reads until a short package. Lines that arrived before a failure are in the list.
    /// @param toneWanted  sound a tone at the first data
    void ReadInto(ScanQueue& lines, bool toneWanted);

private:
    void Empty(ScanQueue& lines) const;
    void AwaitPackage() const;
    void Rotate();

    const std::size_t lineSize;
    const std::size_t packageSize;
    const std::int64_t waitLimitMs;

    std::array<std::unique_ptr<Platform::UsbTransfer>, 3> transfers; // [0] awaited, [1] behind it, [2] being emptied
    std::size_t received = 0;                                        // bytes in the third
};

}
