#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Utilities/Timing.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::Generic {

Vondrel::Utilities::Tools::SmartPointer<LowLevelDriver> LowLevelDriver::Instance(EventListener* listener,
                                                                                 std::int32_t deviceIndex)
try {
    return Vondrel::Utilities::Tools::SmartPointer<LowLevelDriver>(
        new ox::BrindleLowLevelDriver(listener, deviceIndex));
}
TRACE_GUARD("LowLevelDriver", "Instance")

}

namespace Vondrel::DeviceDriver::ox {

using namespace Generic::Configuration;
using Generic::CPLDStep;
using Generic::FirmwareBlocks;
using Generic::Calculation::SensorData;
using Generic::Calculation::Truncate;
using Generic::Utilities::Timing;
using Utilities::Exceptions::ResourceException;
using Utilities::Tools::SmartPointer;

namespace {

constexpr std::int32_t statusNotEnoughPower = 8;
constexpr int powerRetries = 20;
constexpr std::int32_t powerRetryMs = 100;

constexpr float minTimeWithoutModes = 0.00884F; // seconds
constexpr float minTimeWithModes = 0.004716F;

constexpr std::int32_t maxSpectra = 65535; // as many as the instrument's counter holds

constexpr std::int32_t standardType = 1;
constexpr std::int32_t standardTypeWithFilter = 11;

/// An image of this one byte at address 0 announces a download to the EEPROM.
bool IsRAMFrimware(const FirmwareBlocks& image)
{
    return !image.empty() && *image.begin() == FirmwareBlocks::value_type(0, {0xB2});
}

}

/// The conditions as far as this level looks at them.
struct BrindleLowLevelDriver::Request {
    std::int32_t count;
    std::int32_t gain;
    float time;  ///< seconds
    float delay; ///< seconds
    bool dark;
    bool scan;
    bool simulate;
    bool mayDump;

    explicit Request(const Properties& conditions)
        : count(conditions.GetProperty(SpectrumCount).AsLong()),
          gain(conditions.GetProperty(Gain).AsLong()),
          time(conditions.GetProperty(IntegrationTime).AsFloat()),
          delay(conditions.GetProperty(TriggerDelay).AsFloat()),
          dark(conditions.GetProperty(DarkMeasurement).AsLong() == 1),
          scan(conditions.GetProperty(ScanMode).AsLong() == 1),
          simulate(conditions.GetProperty(SimulateDark).AsLong() == 1),
          mayDump(conditions.GetProperty(LogMeasurement).AsLong() == 1)
    {
        if (count < 1 || count > maxSpectra)
            throw DataException("Number of spectra out of range",
                                THROW_LOCATION("BrindleLowLevelDriver", "ExecuteMeasurement"));
    }

    bool IsSimulated() const { return dark && simulate && !scan; }
    float Duration(std::size_t spectra) const { return static_cast<float>(spectra) * time + delay; }
    std::size_t Count() const { return static_cast<std::size_t>(count); }
    std::int64_t LimitSeconds() const { return std::max(1, Truncate(Duration(Count()) + 0.5F)); }
};

BrindleLowLevelDriver::BrindleLowLevelDriver(Generic::EventListener* listener, std::int32_t deviceIndex)
try : functionality(new BrindleFunctionality(listener, deviceIndex)) {
    eeprom = SmartPointer<BrindleEEPROM>(new BrindleEEPROM(functionality));
    ram = SmartPointer<BrindleRAM>(new BrindleRAM(functionality));

    // The EEPROM's shortest time is not used: it follows from the firmware. The instrument's memory stays as it is.
    Properties calibration("CalibrationData");
    eeprom->Load(calibration);
    const bool hasModes = ram->Load(FirmwareVersion).AsLong() >= firstVersionWithModes;
    calibration.SetProperty(MinIntegrationTime, hasModes ? minTimeWithModes : minTimeWithoutModes);
    eeprom->Store(calibration);

    EstablishHighPowerMode();
}
TRACE_GUARD("BrindleLowLevelDriver", "BrindleLowLevelDriver")

bool BrindleLowLevelDriver::LacksPower()
{
    return ram->Load(DeviceStatus).AsLong() == statusNotEnoughPower;
}

void BrindleLowLevelDriver::EstablishHighPowerMode()
try {
    try {
        if (LacksPower()) {
            ResetIO(Generic::resetPower);
            for (int i = 0; LacksPower(); ++i) {
                Timing::Instance()->DeviceDriverSleep(powerRetryMs);
                if (i > powerRetries)
                    throw ResourceException("Not enough power available",
                                            THROW_LOCATION("BrindleLowLevelDriver", "EstablishHighPowerMode"));
            }
        }
    } catch (...) {
        ResetIO(Generic::resetAll);
        throw;
    }
    ResetIO(Generic::resetAll);
}
TRACE_GUARD("BrindleLowLevelDriver", "EstablishHighPowerMode")

/// Resets as well as it goes: a failure is swallowed.
void BrindleLowLevelDriver::ResetIO(std::uint16_t mask)
{
    try {
        functionality->Reset(mask);
    } catch (...) {
        // Whoever resets is already dealing with a failure, or will meet this one at the next command.
    }
}

void BrindleLowLevelDriver::RemoveListener(Generic::EventListener* listener)
try {
    functionality->removeListener(listener);
}
TRACE_GUARD("BrindleLowLevelDriver", "RemoveListener")

std::vector<SensorData> BrindleLowLevelDriver::ExecuteMeasurement(Properties& conditions)
try {
    const Request request(conditions);
    if (!request.IsSimulated())
        StoreData(conditions);
    const auto spectra = GatherRawSpectra(request);

    SensorData record;
    record.SetGain(request.gain);
    record.SetIntegrationTime(request.time);
    std::vector<SensorData> result;
    if (request.scan) {
        result.assign(spectra.size(), record);
        for (std::size_t i = 0; i < spectra.size(); ++i)
            result[i].StoreRawData({spectra[i]});
    } else {
        record.StoreRawData(spectra);
        result.push_back(record);
    }
    UpdateLog(request, spectra.size());
    return result;
}
TRACE_GUARD("BrindleLowLevelDriver", "ExecuteMeasurement")

std::vector<RawSpectrum> BrindleLowLevelDriver::GatherRawSpectra(const Request& request)
{
    if (request.IsSimulated())
        return std::vector<RawSpectrum>(request.Count(), RawSpectrum(rawSpectrumSize));
    if (request.scan)
        return ExecuteScanMeasurement(request.Count(), request.LimitSeconds());
    return ExecuteSpotMeasurement(request.Count(), request.LimitSeconds());
}

/// The log is asked for before each change, since each may be the one after which it is written.
void BrindleLowLevelDriver::UpdateLog(const Request& request, std::size_t spectra)
try {
    if (request.dark) {
        GetLogData(request.mayDump).Increment(DarkMeasurementCount, 1);
        return;
    }
    GetLogData(request.mayDump).SetItem(LastIntegrationTime, request.time);
    GetLogData(request.mayDump).Increment(LampMeasurementCount, 1);
    GetLogData(request.mayDump).Increment(LampOnTime, request.Duration(spectra));
}
TRACE_GUARD("BrindleLowLevelDriver", "UpdateLog")

std::vector<RawSpectrum> BrindleLowLevelDriver::ExecuteSpotMeasurement(std::size_t count, std::int64_t limitSeconds)
try {
    std::vector<std::uint8_t> blocks(count * measurementBlockSize);
    const auto measure = [&] {
        try {
            functionality->MeasureRequest(blocks, limitSeconds);
        } catch (const IOException&) {
            ResetIO(Generic::resetMeasurement);
            throw;
        }
    };
    try {
        measure();
    } catch (const IOException&) {
        measure(); // once more
    }
    std::vector<RawSpectrum> spectra;
    AppendRawSpectra(blocks, spectra);
    return spectra;
}
TRACE_GUARD("BrindleLowLevelDriver", "ExecuteSpotMeasurement")

std::vector<RawSpectrum> BrindleLowLevelDriver::ExecuteScanMeasurement(std::size_t count, std::int64_t limitSeconds)
try {
    std::vector<std::uint8_t> line(count * measurementBlockSize);
    functionality->StartScan(line.size(), limitSeconds);
    std::vector<RawSpectrum> spectra;
    while (const auto size = functionality->GetScanData(line))
        AppendRawSpectra(std::span(line).first(size), spectra);
    return spectra;
}
TRACE_GUARD("BrindleLowLevelDriver", "ExecuteScanMeasurement")

void BrindleLowLevelDriver::AppendRawSpectra(std::span<const std::uint8_t> blocks, std::vector<RawSpectrum>& result)
try {
    const auto overflowThreshold = LoadData(OverflowThreshold).AsLong();
    TransformRawSpectra(blocks, ram->IsPerfectMode(), overflowThreshold, result);
}
TRACE_GUARD("BrindleLowLevelDriver", "TransformRawSpectra")

BrindleLog& BrindleLowLevelDriver::GetLogData(bool mayDump)
try {
    return eeprom->GetLog(mayDump);
}
TRACE_GUARD("BrindleLowLevelDriver", "GetLogData")

void BrindleLowLevelDriver::LoadData(Properties& container)
try {
    eeprom->Load(container);
    ram->Load(container);
    if (!container.Contains(DeviceType))
        return;
    const auto filter = eeprom->Load(PhysicalFilter).AsLong();
    if (filter == ultravioletFilter && container.GetProperty(DeviceType).AsLong() == standardType)
        container.SetProperty(DeviceType, standardTypeWithFilter);
}
TRACE_GUARD("BrindleLowLevelDriver", "LoadData")

Property BrindleLowLevelDriver::LoadData(std::uint16_t id)
try {
    Properties container;
    container.SetProperty(id, ConfigurationDataConverter::GetDataType(id));
    LoadData(container);
    return container.GetProperty(id);
}
TRACE_GUARD("BrindleLowLevelDriver", "LoadData(Single)")

void BrindleLowLevelDriver::StoreData(Properties& container)
try {
    eeprom->Store(container);
    ram->Store(container);

    const auto holds = [&](bool (*predicate)(std::uint16_t)) {
        return std::ranges::any_of(container.GetPropertyKeys(), predicate);
    };
    if (holds(ConfigurationDataConverter::IsResetParameter))
        ResetIO(static_cast<std::uint16_t>(container.GetProperty(ResetMask).AsLong() & 0xFFFF));
    else if (holds(ConfigurationDataConverter::IsCPLDParameter))
        throw DataException("CPLD program must be handed over as a value",
                            THROW_LOCATION("BrindleLowLevelDriver", "StoreData"));
    else if (holds(ConfigurationDataConverter::IsFirmwareDownloadParameter))
        throw DataException("Firmware image must be handed over as a value",
                            THROW_LOCATION("BrindleLowLevelDriver", "StoreData"));
}
TRACE_GUARD("BrindleLowLevelDriver", "StoreData")

void BrindleLowLevelDriver::ProgramCPLD(std::span<const CPLDStep> program)
try {
    for (const auto& step : program) {
        functionality->WriteCPLD(step.words[0], step.words[1], step.words[2]);
        if (step.check && (functionality->ReadCPLD() & step.mask) != (step.expected & step.mask))
            throw DataException("CPLD Error: Programming failed",
                                THROW_LOCATION("BrindleLowLevelDriver", "ProgramCPLD"));
        const auto milliseconds = std::max<std::uint32_t>(1, step.delayMicroseconds / 1000);
        Timing::Instance()->DeviceDriverSleep(static_cast<std::int32_t>(milliseconds));
    }
}
TRACE_GUARD("BrindleLowLevelDriver", "ProgramCPLD")

void BrindleLowLevelDriver::DownloadFirmware(const FirmwareBlocks& image)
try {
    const bool toEEPROM = IsRAMFrimware(image);
    for (const auto& [address, bytes] : image)
        functionality->DownloadFirmware(address, bytes, toEEPROM);
}
TRACE_GUARD("BrindleLowLevelDriver", "DownloadFirmware")

}
