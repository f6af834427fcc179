#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleEAT.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLog.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/EEPROMLayout.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Vondrel::DeviceDriver::ox {

using namespace Generic::Configuration;
using Utilities::Exceptions::ResourceException;

namespace {

constexpr std::uint16_t knownVersion = 1;
constexpr std::uint16_t minTableSize = 300;
constexpr std::uint16_t maxTableSize = 512;
constexpr std::size_t headerSize = 4;
constexpr std::size_t entrySize = 6;

// Where each section ends.
constexpr std::uint16_t firstLogMarker = 1;
constexpr std::uint16_t calibrationMarker = 2;
constexpr std::uint16_t secondLogMarker = 3;

std::uint16_t WordAt(std::span<const std::uint8_t> bytes, std::size_t index)
{
    if (index + 2 > bytes.size())
        throw DataException("corrupt EAT detected!!", THROW_LOCATION("BrindleEAT", "ParseBuffer"));
    return static_cast<std::uint16_t>(EndianConversion::ByteArrayToShort(bytes.data() + index));
}

std::int32_t LongAt(std::span<const std::uint8_t> bytes, std::size_t index)
{
    if (index + 4 > bytes.size())
        throw DataException("corrupt EAT detected!!", THROW_LOCATION("BrindleEAT", "ParseBuffer"));
    return EndianConversion::ByteArrayToLong(bytes.data() + index);
}

}

BrindleEAT::BrindleEAT(std::span<const std::uint8_t> table)
try {
    ParseBuffer(table);
}
TRACE_GUARD("BrindleEAT", "BrindleEAT")

void BrindleEAT::ParseBuffer(std::span<const std::uint8_t> table)
try {
    version = WordAt(table, 0);
    size = WordAt(table, 2);
    if (version != knownVersion || size < minTableSize || size > maxTableSize)
        throw DataException("corrupt EAT detected!!", THROW_LOCATION("BrindleEAT", "ParseBuffer"));
    // An entry that begins inside the table is read whole.
    for (std::size_t index = headerSize; index < size; index += entrySize)
        entries.SetProperty(WordAt(table, index), LongAt(table, index + 2));
}
TRACE_GUARD("BrindleEAT", "ParseBuffer")

std::int32_t BrindleEAT::AddressOf(std::uint16_t id) const
try {
    return entries.GetProperty(id).AsLong();
}
TRACE_GUARD("BrindleEAT", "AddressOf")

std::int64_t BrindleEAT::SizeOf(std::uint16_t id) const
try {
    const auto keys = entries.GetPropertyKeys();
    const auto key = std::ranges::find(keys, id);
    if (key == keys.end() || std::next(key) == keys.end())
        throw ResourceException("id " + Utilities::Tools::lexical_cast<std::string>(id) + " doesn't exist",
                                THROW_LOCATION("BrindleEAT", "SizeOf"));
    return std::int64_t{AddressOf(*std::next(key))} - AddressOf(id);
}
TRACE_GUARD("BrindleEAT", "SizeOf")

bool BrindleEAT::IsLogEntry(std::uint16_t id, std::uint16_t offset) const
try {
    return std::int64_t{AddressOf(id)} + offset < std::int64_t{allocationTableSection.address};
}
TRACE_GUARD("BrindleEAT", "IsLogEntry")

void BrindleEAT::EnsureConsistency(const Properties& container)
try {
    const auto keys = container.GetPropertyKeys();
    for (auto key = keys.begin(); key != keys.end(); ++key) {
        const auto delta = static_cast<std::int64_t>(container.GetProperty(*key).GetSize()) - SizeOf(*key);
        if (delta == 0)
            continue;
        for (auto behind = std::next(key); behind != keys.end(); ++behind)
            entries.SetProperty(*behind, static_cast<std::int32_t>(AddressOf(*behind) + delta));
    }
}
TRACE_GUARD("BrindleEAT", "EnsureConsistency")

void BrindleEAT::EnsureConsistency(const BrindleLog& log)
try {
    EnsureConsistency(log.GetContainer());
}
TRACE_GUARD("BrindleEAT", "EnsureConsistency(Log)")

void BrindleEAT::Dump(Properties::ByteIterator first, Properties::ByteIterator last) const
try {
    std::array<std::uint8_t, headerSize> header{};
    EndianConversion::ShortToByteArray(version, header.data());
    EndianConversion::ShortToByteArray(size, header.data() + 2);
    if (static_cast<std::size_t>(last - first) < headerSize)
        throw ResourceException("Configuration data dump target too small", THROW_LOCATION("BrindleEAT", "Dump"));
    entries.DumpWithId(first + headerSize, last, false);
    std::ranges::copy(header, first);
}
TRACE_GUARD("BrindleEAT", "Dump")

void BrindleEAT::InitializeEmtpyEAT()
try {
    const auto& log = ConfigurationDataConverter::GetDefaultLogData();
    const auto& calibration = ConfigurationDataConverter::GetDefaultCalibrationData();
    entries = Properties();
    CreateSection(log, firstLogSection.address, firstLogMarker, 0);
    CreateSection(log, secondLogSection.address, secondLogMarker, secondLogOffset);
    CreateSection(calibration, calibrationSection.address, calibrationMarker, 0);
    version = knownVersion;
    size = static_cast<std::uint16_t>(entries.GetDumpSize(false) + headerSize);
}
TRACE_GUARD("BrindleEAT", "InitializeEmtpyEAT")

void BrindleEAT::CreateSection(const Properties& container, std::uint32_t start, std::uint16_t marker,
                               std::uint16_t idOffset)
try {
    auto address = static_cast<std::int32_t>(start);
    for (const auto key : container.GetPropertyKeys()) {
        entries.SetProperty(static_cast<std::uint16_t>(key + idOffset), address);
        address += static_cast<std::int32_t>(container.GetProperty(key).GetSize());
    }
    entries.SetProperty(marker, address);
}
TRACE_GUARD("BrindleEAT", "CreateSection")

}
