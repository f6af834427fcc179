#include "Vondrel/DeviceDriver/ox/LowLevel/SectionParser.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::DeviceDriver::ox {

using namespace Generic::Configuration;

namespace {

std::vector<std::uint8_t> BytesOf(std::span<const std::uint8_t> image, const BrindleEAT& eat, std::uint16_t id)
{
    const std::int64_t address = eat.AddressOf(id);
    const auto size = eat.SizeOf(id);
    if (address < 0 || size < 0 || address + size > static_cast<std::int64_t>(image.size()))
        throw DataException("Property outside the EEPROM", THROW_LOCATION("SectionParser", "BytesOf"));
    const auto bytes = image.subspan(static_cast<std::size_t>(address), static_cast<std::size_t>(size));
    return {bytes.begin(), bytes.end()};
}

}

Properties ParseSection(std::span<const std::uint8_t> image, std::uint16_t idOffset, const BrindleEAT& eat,
                        bool (*predicate)(std::uint16_t), const char* name)
try {
    Properties section(name);
    for (const auto key : eat.GetDatastore().GetPropertyKeys()) {
        if (!predicate(key))
            continue;
        try {
            auto property = ConfigurationDataConverter::GetDataType(key);
            property.Assign(BytesOf(image, eat, static_cast<std::uint16_t>(key + idOffset)));
            section.SetProperty(key, property);
        } catch (const std::exception&) {
            // Whoever needs this key gets the failure of a missing one.
        }
    }
    return section;
}
TRACE_GUARD("", "ParseSection")

}
