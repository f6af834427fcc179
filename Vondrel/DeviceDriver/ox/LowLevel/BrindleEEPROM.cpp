#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleEEPROM.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/EEPROMLayout.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/SectionParser.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Tools/LexicalCast.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::ox {

using namespace Generic::Configuration;
using ConfigurationDataConverter::IsCalibrationParameter;
using ConfigurationDataConverter::IsLogParameter;
using Utilities::Exceptions::ResourceException;
using Utilities::Tools::SmartPointer;

namespace {

/// The keys that Load and Store look at.
bool IsOfTheEEPROM(std::uint16_t id)
{
    return IsLogParameter(id) || IsCalibrationParameter(id) || id == EEPROMWriteThrough || id == LogDumpRequest;
}

bool IsRequested(const Properties& container, std::uint16_t id)
{
    return container.Contains(id) && container.GetProperty(id).AsLong() == 1;
}

std::vector<std::uint8_t> ReadImage(BrindleFunctionality& functionality)
try {
    std::vector<std::uint8_t> image(eepromSize, eepromFill);
    functionality.ReadEEPROM(0, image);
    return image;
}
TRACE_GUARD("BrindleEEPROM", "ReadImage")

}

BrindleEEPROM::BrindleEEPROM(const SmartPointer<BrindleFunctionality>& functionality_)
try : BrindleEEPROM(functionality_, ReadImage(*functionality_)) {
}
TRACE_GUARD("BrindleEEPROM", "BrindleEEPROM")

BrindleEEPROM::BrindleEEPROM(const SmartPointer<BrindleFunctionality>& functionality_,
                             const std::vector<std::uint8_t>& image)
    : functionality(functionality_),
      eat(std::span(image).subspan(allocationTableSection.address)),
      log(image, eat),
      calibration(ParseSection(image, 0, eat, IsCalibrationParameter, "CalibrationData"))
{
}

BrindleEEPROM::~BrindleEEPROM()
{
    try {
        DumpLog();
    } catch (...) {
        // The instrument may be gone: its log then stays as it was.
    }
}

BrindleLog& BrindleEEPROM::GetLog(bool dumpAllowed)
try {
    if (dumpAllowed && log.IsDumpRecommended())
        DumpLog();
    return log;
}
TRACE_GUARD("BrindleEEPROM", "GetLog")

Property BrindleEEPROM::Load(std::uint16_t id) const
try {
    return GetProperty(id);
}
TRACE_GUARD("BrindleEEPROM", "Load(Single)")

void BrindleEEPROM::Load(Properties& container) const
try {
    const bool empty = container.GetItemCount() == 0;
    if (empty && container.GetName() == "CalibrationData")
        container = calibration;
    else if (empty && container.GetName() == "LogData")
        container = log.GetContainer();
    else if (empty && container.GetName() == "EATData")
        container = eat.GetDatastore();
    else
        for (const auto key : container.GetPropertyKeys())
            if (IsOfTheEEPROM(key))
                container.SetProperty(key, GetProperty(key));
}
TRACE_GUARD("BrindleEEPROM", "Load")

void BrindleEEPROM::Store(Properties& container)
try {
    const auto keys = container.GetPropertyKeys();
    if (std::ranges::none_of(keys, IsOfTheEEPROM))
        return;
    for (const auto key : keys)
        SetProperty(key, container.GetProperty(key));

    if (IsRequested(container, LogDumpRequest)) {
        DumpLog();
    } else if (IsRequested(container, EEPROMWriteThrough)) {
        container.SetProperty(EEPROMWriteThrough, std::int32_t{0});
        struct UnlockScope {
            BrindleEEPROM& eeprom;
            explicit UnlockScope(BrindleEEPROM& eeprom_) : eeprom(eeprom_) { eeprom.Unlock(); }
            ~UnlockScope() { eeprom.locked = true; }
        } unlocked(*this);
        WriteThrough();
    }
}
TRACE_GUARD("BrindleEEPROM", "Store")

Property BrindleEEPROM::GetProperty(std::uint16_t id) const
try {
    if (IsLogParameter(id))
        return log.GetItem(id);
    if (IsCalibrationParameter(id))
        return calibration.GetProperty(id);
    throw ResourceException("unknown property id = " + Utilities::Tools::lexical_cast<std::string>(id),
                            THROW_LOCATION("BrindleEEPROM", "GetProperty"));
}
TRACE_GUARD("BrindleEEPROM", "GetProperty")

void BrindleEEPROM::SetProperty(std::uint16_t id, const Property& value)
try {
    if (IsLogParameter(id))
        GetLog(true).SetItem(id, value);
    else if (IsCalibrationParameter(id))
        calibration.SetProperty(id, value);
}
TRACE_GUARD("BrindleEEPROM", "SetProperty")

void BrindleEEPROM::Unlock()
try {
    if (!locked)
        throw ResourceException("EEPROM already unlocked", THROW_LOCATION("BrindleEEPROM", "Unlock"));
    locked = false;
}
TRACE_GUARD("BrindleEEPROM", "Unlock")

void BrindleEEPROM::Lock()
try {
    if (locked)
        throw ResourceException("EEPROM already locked", THROW_LOCATION("BrindleEEPROM", "Lock"));
    locked = true;
}
TRACE_GUARD("BrindleEEPROM", "Lock")

void BrindleEEPROM::ThrowIfLocked() const
{
    if (locked)
        throw ResourceException("EEPROM access denied", THROW_LOCATION("BrindleEEPROM", "ThrowIfLocked"));
}

void BrindleEEPROM::WriteThrough()
try {
    ThrowIfLocked();
    DumpLog();
}
TRACE_GUARD("BrindleEEPROM", "WriteThrough")

void BrindleEEPROM::DumpLog()
try {
    std::vector<std::uint8_t> dump(log.GetDumpSize());
    log.Store(dump.begin(), dump.end());
    // The allocation table decides how long the items are, and may be wrong: what does not fit would destroy the
    // section behind. The change count is 0 by now, as after any other failure: the next measurements go on.
    if (dump.size() > firstLogSection.size)
        throw DataException("Log is larger than its section", THROW_LOCATION("BrindleEEPROM", "DumpLog"));
    functionality->WriteEEPROM(firstLogSection.address, dump);
    functionality->WriteEEPROM(secondLogSection.address, dump);
}
TRACE_GUARD("BrindleEEPROM", "DumpLog")

std::vector<std::uint8_t> BrindleEEPROM::BuildImage()
try {
    eat.EnsureConsistency(calibration);
    eat.EnsureConsistency(GetLog(true));

    std::vector<std::uint8_t> image(eepromSize, eepromFill);
    const auto begin = [&](const EEPROMSection& section) { return image.begin() + section.address; };
    const auto end = [&](const EEPROMSection& section) {
        return begin(section) + static_cast<std::ptrdiff_t>(section.size);
    };
    log.Store(begin(firstLogSection), end(firstLogSection));
    log.Store(begin(secondLogSection), end(secondLogSection));
    eat.Dump(begin(allocationTableSection), end(allocationTableSection));
    calibration.DumpWithId(begin(calibrationSection), image.end(), true);
    return image;
}
TRACE_GUARD("BrindleEEPROM", "BuildImage")

}
