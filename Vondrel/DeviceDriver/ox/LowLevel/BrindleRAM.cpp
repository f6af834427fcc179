#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleRAM.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::ox {

using namespace Generic::Configuration;
using namespace Generic::Configuration::ConfigurationDataConverter;
using Generic::Calculation::Truncate;
using Utilities::Exceptions::ResourceException;

namespace {

constexpr const char* conditionsName = "PhysicalConditions";

// What holds before any measure mode is chosen, and always for firmware that knows none.
constexpr float defaultTickLength = 6.8e-5F;
constexpr std::uint16_t defaultMultiplier = 130;

constexpr float beyondAnyMode = 2.0e9F; // microseconds
constexpr std::int32_t maxTicks = 65535;
constexpr std::int32_t maxSpectra = 256; // of a measurement that is no counted scan
constexpr std::int32_t maxScanCount = 65535;

bool HasAny(const Properties& container, bool (*predicate)(std::uint16_t))
{
    return std::ranges::any_of(container.GetPropertyKeys(), predicate);
}

std::int32_t Bit(std::uint8_t flags, MeasureFlag flag)
{
    return (flags & flag) != 0 ? 1 : 0;
}

std::uint16_t LowWord(std::int32_t value)
{
    return static_cast<std::uint16_t>(value & 0xFFFF);
}

std::int32_t SpectraToSend(const Properties& container)
{
    const auto count = std::min(container.GetProperty(SpectrumCount).AsLong(), maxSpectra);
    if (container.GetProperty(ScanMode).AsLong() == 0 || !container.Contains(ScanCountOverride))
        return count;
    const auto counted = container.GetProperty(ScanCountOverride).AsLong();
    if (counted > maxScanCount)
        throw DataException("Number of spectra too high", THROW_LOCATION("BrindleRAM", "StoreMeasureParameters"));
    return counted > 0 ? counted : count;
}

std::uint8_t FlagsToSend(const Properties& container)
{
    constexpr struct {
        PropertyId id;
        MeasureFlag flag;
    } table[] = {
        {ScanMode, scanFlag}, {DarkMeasurement, darkFlag}, {Gain, gainFlag}, {SkipDarkCycle, skipDarkCycleFlag}};

    std::uint8_t flags = 0;
    for (const auto& row : table)
        if (container.GetProperty(row.id).AsLong() != 0)
            flags = static_cast<std::uint8_t>(flags | row.flag);
    return flags;
}

}

BrindleRAM::BrindleRAM(const Utilities::Tools::SmartPointer<BrindleFunctionality>& functionality_)
    : functionality(functionality_), tickLength(defaultTickLength), multiplier(defaultMultiplier)
{
}

void BrindleRAM::Load(Properties& container)
try {
    if (container.GetItemCount() == 0 && container.GetName() == conditionsName)
        container = GetDefaultPhysicalConditons();
    if (HasAny(container, IsMiscParameter))
        LoadMiscParameters(container);
    if (HasAny(container, IsMeasureParameter))
        LoadMeasureParameters(container);
}
TRACE_GUARD("BrindleRAM", "Load")

Property BrindleRAM::Load(std::uint16_t id)
try {
    Properties container("tmp container");
    container.SetProperty(id, GetDataType(id));
    Load(container);
    return container.GetProperty(id);
}
TRACE_GUARD("BrindleRAM", "Load")

void BrindleRAM::Store(const Properties& container)
try {
    if (HasAny(container, IsMeasureParameter))
        StoreMeasureParameters(container);
}
TRACE_GUARD("BrindleRAM", "Store")

void BrindleRAM::Store(std::uint16_t id, const Property& value)
try {
    Properties container("tmp container");
    container.SetProperty(id, value);
    Store(container);
}
TRACE_GUARD("BrindleRAM", "Store")

void BrindleRAM::LoadMiscParameters(Properties& container)
try {
    const auto misc = functionality->GetMISC();
    const bool hasModes = misc.firmwareVersion >= firstVersionWithModes;
    container.SetProperty(DeviceType, std::int32_t{misc.deviceType});
    container.SetProperty(FirmwareVersion, std::int32_t{misc.firmwareVersion});
    container.SetProperty(DeviceStatus, std::int32_t{misc.deviceStatus});
    container.SetProperty(MiscWord2006, std::int32_t{misc.word2006});
    container.SetProperty(OverflowThreshold, std::int32_t{misc.overflowThreshold});
    container.SetProperty(ScanLevelFactor, hasModes ? 0.25F : 0.5F);
    container.SetProperty(ScanMinIntegrationTime, hasModes ? 0.005F : 0.012F);
}
TRACE_GUARD("BrindleRAM", "LoadMiscParameters")

void BrindleRAM::LoadMeasureParameters(Properties& container)
try {
    MeasureParameters parameters;
    const std::int32_t status = functionality->GetMeasureParameters(parameters);
    container.SetProperty(IntegrationTime, static_cast<float>(parameters.ticks) * tickLength);
    container.SetProperty(TriggerDelay, static_cast<float>(parameters.delay * multiplier) * tickLength);
    container.SetProperty(SpectrumCount, std::int32_t{parameters.count});
    container.SetProperty(DeviceReply2021, status);
    container.SetProperty(ScanMode, Bit(parameters.flags, scanFlag));
    container.SetProperty(DarkMeasurement, Bit(parameters.flags, darkFlag));
    container.SetProperty(Gain, Bit(parameters.flags, gainFlag));
    container.SetProperty(SkipDarkCycle, Bit(parameters.flags, skipDarkCycleFlag));
}
TRACE_GUARD("BrindleRAM", "LoadMeasureParameters")

/// Takes the first measure mode, in the firmware's order, that can hold the integration time.
void BrindleRAM::SwitchToPerfectMode(const Properties& container)
try {
    tickLength = defaultTickLength;
    multiplier = defaultMultiplier;
    if (container.GetProperty(FirmwareVersion).AsLong() < firstVersionWithModes) {
        perfect = false;
        return;
    }
    // The product is single precision, as its operands: 0.02 s are 20000 microseconds then.
    const float product = container.GetProperty(IntegrationTime).AsFloat() * 1000000.0F;
    const auto microseconds = Truncate(std::clamp(product, -beyondAnyMode, beyondAnyMode));
    for (unsigned number = 1;; ++number) {
        functionality->SetMeasureMode(static_cast<std::uint8_t>(number));
        const auto mode = functionality->GetMeasureMode();
        if (mode.tickLength * maxTicks <= microseconds)
            throw ResourceException("Integration time too high", THROW_LOCATION("BrindleRAM", "SwitchToPerfectMode"));
        if (mode.tickMultiplier * mode.tickLength <= microseconds) {
            if (mode.tickMultiplier == 0)
                throw DataException("Measure mode without a delay unit",
                                    THROW_LOCATION("BrindleRAM", "SwitchToPerfectMode"));
            perfect = (mode.flags & 1) != 0;
            tickLength = static_cast<float>(mode.tickLength) / 1000000.0F;
            multiplier = mode.tickMultiplier;
            return;
        }
        if (number >= mode.modeCount)
            break;
    }
    perfect = false;
    throw ResourceException("Integration time too low", THROW_LOCATION("BrindleRAM", "SwitchToPerfectMode"));
}
TRACE_GUARD("BrindleRAM", "SwitchToPerfectMode")

void BrindleRAM::StoreMeasureParameters(const Properties& container)
try {
    SwitchToPerfectMode(container);
    const float ticks = container.GetProperty(IntegrationTime).AsFloat() / tickLength;
    const float delay = container.GetProperty(TriggerDelay).AsFloat() / tickLength / static_cast<float>(multiplier);
    MeasureParameters parameters;
    parameters.ticks = LowWord(Truncate(ticks + 0.5F));
    parameters.delay = LowWord(Truncate(delay + 0.5F));
    parameters.count = LowWord(SpectraToSend(container));
    parameters.flags = FlagsToSend(container);
    functionality->SetMeasureParameters(parameters);
}
TRACE_GUARD("BrindleRAM", "StoreMeasureParameters")

const Properties& BrindleRAM::GetDefaultPhysicalConditons()
{
    // Never destroyed: a call may come while the process ends.
    static const Properties& conditions =
        *new Properties(BuildDefaultContainer(conditionsName, PropertyRow::Store::Conditions));
    return conditions;
}

}
