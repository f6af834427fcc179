#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Property.h"

#include <list>
#include <string>
#include <utility>

namespace Vondrel::DeviceDriver::Generic::Configuration {

/// A named set of values by id, in the order of their insertion. No id occurs twice. Not locked.
class Properties {
public:
    using ByteIterator = std::vector<std::uint8_t>::iterator;

    Properties() = default;
    explicit Properties(const std::string& name_);

    const std::string& GetName() const { return name; }
    void SetName(const std::string& newName) { name = newName; }

    std::int16_t GetItemCount() const { return static_cast<std::int16_t>(items.size()); }

    /// A text for messages. It is not the text that GetProperty throws.
    std::string GetExceptionText(std::uint16_t id) const;

    /// Valid as long as the set; SetProperty changes it in place.
    /// @throws ResourceException "id ... doesn't exist"
    const Property& GetProperty(std::uint16_t id) const;

    /// Replaces value and type of an id where it stands, or appends a new one at the end.
    void SetProperty(std::uint16_t id, const Property& property);

    /// All ids, in the order of the set.
    std::vector<std::uint16_t> GetPropertyKeys() const;
    bool Contains(std::uint16_t id) const;

    /// Bytes of a dump: the values, and two for each id.
    std::size_t GetDumpSize(bool withoutId) const;

    /// Writes every item in the order of the set: its id in two bytes, most significant first, and its dump form. There
    /// are no counts, types or header. What lies behind the dump stays.
    /// @throws ResourceException "Configuration data dump target too small"
    /// @throws DataException  a value without a type; nothing has been written in either case
    void DumpWithId(ByteIterator first, ByteIterator last, bool withoutId) const;

private:
    const Property* Find(std::uint16_t id) const;

    std::list<std::pair<std::uint16_t, Property>> items;
    std::string name;
};

}
