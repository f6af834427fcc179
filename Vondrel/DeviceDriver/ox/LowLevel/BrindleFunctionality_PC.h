#pragma once

#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionalityByte.h"
#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"

namespace Vondrel::DeviceDriver::ox {

/// The commands over USB: a control request each, for some followed by a bulk phase.
class BrindleFunctionality_PC : public BrindleFunctionalityByte {
public:
    BrindleFunctionality_PC(Generic::EventListener* listener, std::int32_t deviceIndex);

    void RemoveListener(Generic::EventListener* listener) override;
    void StartScan(std::size_t lineSize, std::int64_t limitSeconds) override;
    std::size_t GetScanData(std::span<std::uint8_t> line) override;
    void MeasureRequest(std::span<std::uint8_t> data, std::int64_t limitSeconds) override;
    void SetMeasureParameters(const Payload<8>& parameters) override;
    void GetMeasureParameters(Payload<8>& parameters) override;
    void SetMeasureMode(const Payload<1>& mode) override;
    void GetMeasureMode(Payload<6>& mode) override;
    void WriteEEPROM(const Payload<8>& place, std::span<const std::uint8_t> data) override;
    void ReadEEPROM(const Payload<8>& place, std::span<std::uint8_t> data) override;
    void WriteCPLD(const Payload<6>& words) override;
    void ReadCPLD(Payload<2>& word) override;
    void DownloadRAMFirmware(std::uint16_t address, std::span<const std::uint8_t> data) override;
    void DownloadEEPROMFirmware(const Payload<8>& place, std::span<const std::uint8_t> data) override;
    void GetMISC(Payload<8>& misc) override;
    void Reset(const Payload<1>& mask) override;

private:
    enum class Command : std::uint8_t;

    void Send(Command command, std::span<const std::uint8_t> payload, std::uint16_t value = 0);
    void Fetch(Command command, std::span<std::uint8_t> payload);
    void WriteEEPROM(Command command, const Payload<8>& place, std::span<const std::uint8_t> data);

    ScanQueue scanQueue;
    Utilities::Tools::SmartPointer<BrindleUSBDevice> device;
};

}
