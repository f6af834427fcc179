#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"

/// What the table of properties says about an id.
namespace Vondrel::DeviceDriver::Generic::Configuration::ConfigurationDataConverter {

// Predicates over ids. They never fail; an id that the table does not know is in no category.

bool IsCalibrationParameter(std::uint16_t id);
bool IsLogParameter(std::uint16_t id);
bool IsMiscParameter(std::uint16_t id);
bool IsSpecialParameter(std::uint16_t id);
bool IsMeasureParameter(std::uint16_t id);
bool IsResetParameter(std::uint16_t id);
bool IsCPLDParameter(std::uint16_t id);
bool IsFirmwareDownloadParameter(std::uint16_t id);
/// True if every measure mode has a value of its own for this id.
bool IsModeDependent(std::uint16_t id);

/// A value of the id's type and default length, 0 in every element.
/// @throws DataException "invalid property id ...": unknown, or without a type
Property GetDataType(std::uint16_t id);

/// Fills a property, whose type must be set, from bytes: see Property::Assign.
void ByteArrayToConfigurationDataEntry(const std::vector<std::uint8_t>& bytes, Property& entry);
/// The dump form of a property: see Property::AsByteVector.
std::vector<std::uint8_t> ConfigurationDataEntryToByteArray(const Property& entry);

/// Every id of a store that has a default, with it, in the order of the table.
Properties BuildDefaultContainer(const std::string& name, PropertyRow::Store store);

/// "CalibrationData". Built at first use.
const Properties& GetDefaultCalibrationData();
/// "LogData". Built at first use.
const Properties& GetDefaultLogData();

}
