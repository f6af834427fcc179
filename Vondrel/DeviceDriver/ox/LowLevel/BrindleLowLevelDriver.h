#pragma once

#include "Vondrel/DeviceDriver/GENERIC/LowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleEEPROM.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleRAM.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/RawTransform.h"

namespace Vondrel::DeviceDriver::ox {

/// The driver of the spectrophotometer. Its end writes the usage log back and closes the instrument.
class BrindleLowLevelDriver : public Generic::LowLevelDriver {
public:
    BrindleLowLevelDriver(Generic::EventListener* listener, std::int32_t deviceIndex);

    void RemoveListener(Generic::EventListener* listener) override;
    std::vector<Generic::Calculation::SensorData>
    ExecuteMeasurement(Generic::Configuration::Properties& conditions) override;
    BrindleLog& GetLogData(bool mayDump) override;
    void LoadData(Generic::Configuration::Properties& container) override;
    void StoreData(Generic::Configuration::Properties& container) override;
    void ProgramCPLD(std::span<const Generic::CPLDStep> program) override;
    void DownloadFirmware(const Generic::FirmwareBlocks& image) override;

    /// The value of one property.
    Generic::Configuration::Property LoadData(std::uint16_t id);

private:
    struct Request;

    void EstablishHighPowerMode();
    bool LacksPower();
    std::vector<RawSpectrum> GatherRawSpectra(const Request& request);
    std::vector<RawSpectrum> ExecuteSpotMeasurement(std::size_t count, std::int64_t limitSeconds);
    std::vector<RawSpectrum> ExecuteScanMeasurement(std::size_t count, std::int64_t limitSeconds);
    void UpdateLog(const Request& request, std::size_t spectra);
    void AppendRawSpectra(std::span<const std::uint8_t> blocks, std::vector<RawSpectrum>& result);
    void ResetIO(std::uint16_t mask);

    // The EEPROM goes first: it still has its log to write.
    Utilities::Tools::SmartPointer<BrindleFunctionality> functionality;
    Utilities::Tools::SmartPointer<BrindleRAM> ram;
    Utilities::Tools::SmartPointer<BrindleEEPROM> eeprom;
};

}
