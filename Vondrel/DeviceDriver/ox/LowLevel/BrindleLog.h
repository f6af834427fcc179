#pragma once

#include "Vondrel/DeviceDriver/GENERIC/UsageLog.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleEAT.h"

#include <vector>

namespace Vondrel::DeviceDriver::ox {

/// The instrument's counters of its own use, and its last calibration. The EEPROM holds two copies; this is the good
/// one of them. It counts the changes and says when the log should go back to the instrument. Not locked.
class BrindleLog : public Generic::UsageLog {
public:
    /// Reads the first copy or, when its checksum is wrong, the second; when that is wrong too, all items are 0.
    BrindleLog(std::span<const std::uint8_t> image, const BrindleEAT& eat);

    /// Brings the checksum up to date, writes the values of all items, and begins to count the changes anew.
    /// @throws ResourceException "Configuration data dump target too small"
    void Store(Generic::Configuration::Properties::ByteIterator first,
               Generic::Configuration::Properties::ByteIterator last);

    /// True after 20 changes, or once all items of the last calibration have been set.
    bool IsDumpRecommended() const;

    /// Bytes that Store writes.
    std::size_t GetDumpSize() const { return container.GetDumpSize(true); }

    /// @throws ResourceException "id ... doesn't exist"
    void Increment(std::uint16_t id, std::int32_t amount);
    void Increment(std::uint16_t id, float amount);
    void SetItem(std::uint16_t id, const Generic::Configuration::Property& value) override;
    const Generic::Configuration::Property& GetItem(std::uint16_t id) const override;

    const Generic::Configuration::Properties& GetContainer() const { return container; }

private:
    void ParseBuffer(const BrindleEAT& eat, std::span<const std::uint8_t> image, std::uint16_t idOffset);
    void RestoreLogData(const BrindleEAT& eat, std::span<const std::uint8_t> image);
    bool HasValidChecksum() const;
    void UpdateChecksum();
    std::int32_t CalculateChecksum() const;
    void RefillPendingIds();

    Generic::Configuration::Properties container;
    std::int32_t changeCount = 0;          ///< since the last Store
    std::vector<std::uint16_t> pendingIds; ///< items of the last calibration that have not been set since the refill
};

}
