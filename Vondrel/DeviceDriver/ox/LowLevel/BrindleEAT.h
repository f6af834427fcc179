#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"

#include <span>

namespace Vondrel::DeviceDriver::ox {

class BrindleLog;

/// The allocation table of the instrument's EEPROM: at which address of the image each property lies.
///
/// Its order is its meaning: a property ends where the next entry begins, so each section ends with a marker entry.
/// What the instrument tells here is not checked: addresses may lie anywhere and sizes may be negative.
class BrindleEAT {
public:
    /// A table without entries.
    BrindleEAT() = default;

    /// @param table  the image from the table on
    /// @throws DataException "corrupt EAT detected!!": version or size out of range, or cut off
    explicit BrindleEAT(std::span<const std::uint8_t> table);

    /// @throws ResourceException "id ... doesn't exist"
    std::int32_t AddressOf(std::uint16_t id) const;

    /// Bytes up to the next entry.
    /// @throws ResourceException "id ... doesn't exist": also for the last entry, which has no size
    std::int64_t SizeOf(std::uint16_t id) const;

    /// Whether the property at so many bytes behind the id's address lies in a log section.
    bool IsLogEntry(std::uint16_t id, std::uint16_t offset) const;

    /// Moves the addresses of what follows a property in the container by what its size differs from the table's.
    void EnsureConsistency(const Generic::Configuration::Properties& container);
    void EnsureConsistency(const BrindleLog& log);

    /// Writes the table.
    /// @throws ResourceException "Configuration data dump target too small"
    void Dump(Generic::Configuration::Properties::ByteIterator first,
              Generic::Configuration::Properties::ByteIterator last) const;

    /// Becomes the table of an image that holds the default containers.
    void InitializeEmtpyEAT();

    Generic::Configuration::Properties& GetDatastore() { return entries; }
    const Generic::Configuration::Properties& GetDatastore() const { return entries; }

private:
    void ParseBuffer(std::span<const std::uint8_t> table);
    void CreateSection(const Generic::Configuration::Properties& container, std::uint32_t start, std::uint16_t marker,
                       std::uint16_t idOffset);

    std::uint16_t version = 0;
    std::uint16_t size = 0; ///< bytes, with the header
    Generic::Configuration::Properties entries;
};

}
