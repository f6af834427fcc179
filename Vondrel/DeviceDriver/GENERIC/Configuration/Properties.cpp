#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::Generic::Configuration {

using Utilities::Exceptions::ResourceException;
using Utilities::Tools::lexical_cast;

namespace {

constexpr std::size_t idSize = 2;

}

Properties::Properties(const std::string& name_) : name(name_) { }

std::string Properties::GetExceptionText(std::uint16_t id) const
try {
    return "Requested data is not available (ID " + lexical_cast<std::string>(id) + ")";
}
TRACE_GUARD("Properties", "GetExceptionText")

const Property& Properties::GetProperty(std::uint16_t id) const
try {
    if (const Property* property = Find(id))
        return *property;
    throw ResourceException("id " + lexical_cast<std::string>(id) + " doesn't exist",
                            THROW_LOCATION("Properties", "GetProperty"));
}
TRACE_GUARD("Properties", "GetProperty")

void Properties::SetProperty(std::uint16_t id, const Property& property)
try {
    Property copy(property); // it may be one of this set's own, and a failed copy must leave the old value whole
    for (auto& [key, value] : items) {
        if (key == id) {
            value = std::move(copy);
            return;
        }
    }
    items.emplace_back(id, std::move(copy));
}
TRACE_GUARD("Properties", "SetProperty")

std::vector<std::uint16_t> Properties::GetPropertyKeys() const
try {
    std::vector<std::uint16_t> keys;
    keys.reserve(items.size());
    for (const auto& item : items)
        keys.push_back(item.first);
    return keys;
}
TRACE_GUARD("Properties", "GetPropertyKeys")

bool Properties::Contains(std::uint16_t id) const
{
    return Find(id) != nullptr;
}

std::size_t Properties::GetDumpSize(bool withoutId) const
{
    std::size_t size = withoutId ? 0 : idSize * items.size();
    for (const auto& item : items)
        size += item.second.GetSize();
    return size;
}

void Properties::DumpWithId(ByteIterator first, ByteIterator last, bool withoutId) const
try {
    const std::size_t size = GetDumpSize(withoutId);
    if (last - first < static_cast<std::ptrdiff_t>(size))
        throw ResourceException("Configuration data dump target too small", THROW_LOCATION("Properties", "DumpWithId"));

    std::vector<std::uint8_t> dump;
    dump.reserve(size);
    for (const auto& [id, property] : items) {
        if (!withoutId) {
            dump.resize(dump.size() + idSize);
            EndianConversion::ShortToByteArray(id, &dump[dump.size() - idSize]);
        }
        const std::vector<std::uint8_t> bytes = property.AsByteVector();
        dump.insert(dump.end(), bytes.begin(), bytes.end());
    }
    std::copy(dump.begin(), dump.end(), first);
}
TRACE_GUARD("Properties", "DumpWithId")

const Property* Properties::Find(std::uint16_t id) const
{
    const auto found = std::find_if(items.begin(), items.end(), [id](const auto& item) { return item.first == id; });
    return found == items.end() ? nullptr : &found->second;
}

}
