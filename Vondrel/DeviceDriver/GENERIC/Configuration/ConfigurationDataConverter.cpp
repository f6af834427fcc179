#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>
#include <iterator>

namespace Vondrel::DeviceDriver::Generic::Configuration::ConfigurationDataConverter {

namespace {

using Category = PropertyRow::Category;
using Shape = PropertyRow::Shape;
using Store = PropertyRow::Store;

constexpr bool NoIdTwice()
{
    for (const PropertyRow& row : propertyTable)
        if (std::count_if(std::begin(propertyTable), std::end(propertyTable),
                          [&row](const PropertyRow& other) { return other.id == row.id; })
            != 1)
            return false;
    return true;
}
static_assert(NoIdTwice());

const PropertyRow* FindRow(std::uint16_t id)
{
    const auto* const row = std::find_if(std::begin(propertyTable), std::end(propertyTable),
                                         [id](const PropertyRow& candidate) { return candidate.id == id; });
    return row == std::end(propertyTable) ? nullptr : row;
}

bool Is(std::uint16_t id, Category category)
{
    const PropertyRow* row = FindRow(id);
    return row != nullptr && row->category == category;
}

bool Has(std::uint16_t id, PropertyRow::Flags flag)
{
    const PropertyRow* row = FindRow(id);
    return row != nullptr && (row->flags & flag) != 0;
}

Property Filled(Shape shape, int value)
{
    const std::int32_t integer = value;
    const float real = static_cast<float>(value);
    switch (shape) {
    case Shape::Long:
        return integer;
    case Shape::Float:
        return real;
    case Shape::LongPair:
        return std::vector<std::int32_t>(2, integer);
    case Shape::FloatPair:
        return std::vector<float>(2, real);
    case Shape::Long128:
        return std::vector<std::int32_t>(128, integer);
    }
    return {};
}

}

bool IsCalibrationParameter(std::uint16_t id)
{
    return Is(id, Category::Calibration);
}

bool IsLogParameter(std::uint16_t id)
{
    return Is(id, Category::Log);
}

bool IsMiscParameter(std::uint16_t id)
{
    return Is(id, Category::Misc);
}

bool IsSpecialParameter(std::uint16_t id)
{
    return Has(id, PropertyRow::Special);
}

bool IsMeasureParameter(std::uint16_t id)
{
    return Is(id, Category::Measure);
}

bool IsResetParameter(std::uint16_t id)
{
    return Is(id, Category::Reset);
}

bool IsCPLDParameter(std::uint16_t id)
{
    return Is(id, Category::Cpld);
}

bool IsFirmwareDownloadParameter(std::uint16_t id)
{
    return Is(id, Category::Firmware);
}

bool IsModeDependent(std::uint16_t id)
{
    return Has(id, PropertyRow::ModeDependent) || IsMeasureParameter(id);
}

Property GetDataType(std::uint16_t id)
try {
    const PropertyRow* row = FindRow(id);
    if (row == nullptr || (row->flags & PropertyRow::Untyped) != 0)
        throw DataException("invalid property id " + Utilities::Tools::lexical_cast<std::string>(id),
                            THROW_LOCATION("ConfigurationDataConverter", "GetDataType"));
    return Filled(row->shape, 0);
}
TRACE_GUARD("ConfigurationDataConverter", "GetDataType")

void ByteArrayToConfigurationDataEntry(const std::vector<std::uint8_t>& bytes, Property& entry)
try {
    entry.Assign(bytes);
}
TRACE_GUARD("ConfigurationDataConverter", "ByteArrayToConfigurationDataEntry")

std::vector<std::uint8_t> ConfigurationDataEntryToByteArray(const Property& entry)
try {
    return entry.AsByteVector();
}
TRACE_GUARD("ConfigurationDataConverter", "ConfigurationDataEntryToByteArray")

Properties BuildDefaultContainer(const std::string& name, Store store)
try {
    Properties container(name);
    for (const PropertyRow& row : propertyTable)
        if (row.store == store && row.defaultValue)
            container.SetProperty(row.id, Filled(row.shape, *row.defaultValue));
    return container;
}
TRACE_GUARD("ConfigurationDataConverter", "BuildDefaultContainer")

// The containers are never destroyed: the instrument's log may still be written while statics go.

const Properties& GetDefaultCalibrationData()
try {
    static const Properties& container =
        *new Properties(BuildDefaultContainer("CalibrationData", Store::CalibrationSection));
    return container;
}
TRACE_GUARD("ConfigurationDataConverter", "GetDefaultCalibrationData")

const Properties& GetDefaultLogData()
try {
    static const Properties& container = *new Properties(BuildDefaultContainer("LogData", Store::LogSection));
    return container;
}
TRACE_GUARD("ConfigurationDataConverter", "GetDefaultLogData")

}
