#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLog.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/EEPROMLayout.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/SectionParser.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <bit>

namespace Vondrel::DeviceDriver::ox {

using namespace Generic::Configuration;

namespace {

constexpr std::int32_t changesUntilDump = 20;

}

BrindleLog::BrindleLog(std::span<const std::uint8_t> image, const BrindleEAT& eat)
try {
    ParseBuffer(eat, image, 0);
    if (!HasValidChecksum())
        RestoreLogData(eat, image);
    RefillPendingIds();
}
TRACE_GUARD("BrindleLog", "BrindleLog")

void BrindleLog::ParseBuffer(const BrindleEAT& eat, std::span<const std::uint8_t> image, std::uint16_t idOffset)
try {
    container = ParseSection(image, idOffset, eat, ConfigurationDataConverter::IsLogParameter, "MainLogData");
}
TRACE_GUARD("BrindleLog", "ParseBuffer")

void BrindleLog::RestoreLogData(const BrindleEAT& eat, std::span<const std::uint8_t> image)
try {
    ParseBuffer(eat, image, secondLogOffset);
    if (HasValidChecksum())
        return;
    for (const auto key : container.GetPropertyKeys())
        container.SetProperty(key, ConfigurationDataConverter::GetDataType(key));
}
TRACE_GUARD("BrindleLog", "RestoreLogData")

bool BrindleLog::HasValidChecksum() const
{
    try {
        return container.GetProperty(LogChecksum).AsLong() == CalculateChecksum();
    } catch (...) {
        return false;
    }
}

void BrindleLog::UpdateChecksum()
try {
    container.SetProperty(LogChecksum, CalculateChecksum());
}
TRACE_GUARD("BrindleLog", "UpdateChecksum")

/// The wrapping sum of the elements of all other items, a float by its bits.
std::int32_t BrindleLog::CalculateChecksum() const
try {
    std::uint32_t sum = 0;
    for (const auto key : container.GetPropertyKeys()) {
        if (key == LogChecksum)
            continue;
        const auto& item = container.GetProperty(key);
        for (const auto element : item.AsLongVector())
            sum += static_cast<std::uint32_t>(element);
        for (const auto element : item.AsFloatVector())
            sum += std::bit_cast<std::uint32_t>(element);
    }
    return static_cast<std::int32_t>(sum);
}
TRACE_GUARD("BrindleLog", "CalculateChecksum")

void BrindleLog::RefillPendingIds()
{
    pendingIds = {LastCalibrationDark, LastCalibrationWhite,  LastCalibrationGain, LastCalibrationIntegrationTime,
                  LastCalibrationTime, LastCalibrationCounter};
}

void BrindleLog::Store(Properties::ByteIterator first, Properties::ByteIterator last)
try {
    changeCount = 0;
    UpdateChecksum();
    container.DumpWithId(first, last, true);
}
TRACE_GUARD("BrindleLog", "Store")

bool BrindleLog::IsDumpRecommended() const
{
    return changeCount >= changesUntilDump;
}

void BrindleLog::SetItem(std::uint16_t id, const Property& value)
try {
    std::erase(pendingIds, id);
    container.SetProperty(id, value);
    if (pendingIds.empty()) {
        changeCount = changesUntilDump;
        RefillPendingIds();
    }
    ++changeCount;
}
TRACE_GUARD("BrindleLog", "SetItem")

void BrindleLog::Increment(std::uint16_t id, std::int32_t amount)
try {
    // The instrument's own counter may stand at its end: it wraps.
    const auto sum = static_cast<std::uint32_t>(GetItem(id).AsLong()) + static_cast<std::uint32_t>(amount);
    SetItem(id, static_cast<std::int32_t>(sum));
}
TRACE_GUARD("BrindleLog", "Increment")

void BrindleLog::Increment(std::uint16_t id, float amount)
try {
    SetItem(id, GetItem(id).AsFloat() + amount);
}
TRACE_GUARD("BrindleLog", "Increment")

const Property& BrindleLog::GetItem(std::uint16_t id) const
try {
    return container.GetProperty(id);
}
TRACE_GUARD("BrindleLog", "GetItem")

}
