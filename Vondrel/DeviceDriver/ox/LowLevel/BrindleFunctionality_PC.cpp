#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionality_PC.h"

#include "Vondrel/DeviceDriver/ox/USB/RequestBlock.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <vector>

namespace Vondrel::DeviceDriver::ox {

using Utilities::Tools::SmartPointer;

enum class BrindleFunctionality_PC::Command : std::uint8_t {
    downloadRAMFirmware = 0xA0,
    measure = 0xC0,
    setMeasureParameters = 0xC1,
    getMeasureParameters = 0xC2,
    writeEEPROM = 0xC3,
    readEEPROM = 0xC4,
    writeCPLD = 0xC7,
    readCPLD = 0xC8,
    getMISC = 0xC9,
    reset = 0xCA,
    downloadEEPROMFirmware = 0xCB,
    setMeasureMode = 0xCF,
    getMeasureMode = 0xD1
};

namespace {

constexpr std::int64_t eepromMsPerByte = 10;

std::string GetDeviceAddress(std::int32_t deviceIndex)
try {
    const auto addresses = BrindleUSBDevice::GetAllDevices();
    if (addresses.empty())
        throw IOException("No devices connected", THROW_LOCATION("BrindleFunctionality_PC", "GetDeviceAddress"));
    if (deviceIndex < 0 || static_cast<std::size_t>(deviceIndex) >= addresses.size())
        throw IOException("No such device connected", THROW_LOCATION("BrindleFunctionality_PC", "GetDeviceAddress"));
    return addresses[static_cast<std::size_t>(deviceIndex)];
}
TRACE_GUARD("BrindleFunctionality_PC", "GetDeviceAddress")

std::int64_t EEPROMLimitMs(std::size_t size)
{
    return static_cast<std::int64_t>(size) * eepromMsPerByte;
}

}

SmartPointer<BrindleFunctionalityByte> BrindleFunctionalityByte::Instance(Generic::EventListener* listener,
                                                                          std::int32_t deviceIndex)
try {
    return SmartPointer<BrindleFunctionalityByte>(new BrindleFunctionality_PC(listener, deviceIndex));
}
TRACE_GUARD("BrindleFunctionalityByte", "Instance")

BrindleFunctionality_PC::BrindleFunctionality_PC(Generic::EventListener* listener, std::int32_t deviceIndex)
try : device(new BrindleUSBDevice(listener, GetDeviceAddress(deviceIndex))) {
}
TRACE_GUARD("BrindleFunctionality_PC", "BrindleFunctionality_PC")

void BrindleFunctionality_PC::RemoveListener(Generic::EventListener* listener)
try {
    device->RemoveListener(listener);
}
TRACE_GUARD("BrindleFunctionality_PC", "RemoveListener")

/// @param value  for the firmware's load address, 0 in all other commands
void BrindleFunctionality_PC::Send(Command command, std::span<const std::uint8_t> payload, std::uint16_t value)
{
    std::vector<std::uint8_t> data(payload.begin(), payload.end());
    const auto request =
        MakeRequest(Direction::toDevice, RequestType::vendor, static_cast<std::uint8_t>(command), value);
    device->PerformDeviceIOControl(request, data);
}

void BrindleFunctionality_PC::Fetch(Command command, std::span<std::uint8_t> payload)
{
    const auto request = MakeRequest(Direction::fromDevice, RequestType::vendor, static_cast<std::uint8_t>(command));
    device->PerformDeviceIOControl(request, payload);
}

void BrindleFunctionality_PC::StartScan(std::size_t lineSize, std::int64_t limitSeconds)
try {
    scanQueue.Clear();
    try {
        Send(Command::measure, {});
        device->ReadDataStrip(scanQueue, lineSize, limitSeconds * 1000);
    } catch (...) {
        scanQueue.Clear();
        throw;
    }
}
TRACE_GUARD("BrindleFunctionality_PC", "StartScan")

std::size_t BrindleFunctionality_PC::GetScanData(std::span<std::uint8_t> line)
try {
    const auto oldest = scanQueue.Front();
    if (oldest.size() > line.size())
        throw DataException("Scan line does not fit", THROW_LOCATION("BrindleFunctionality_PC", "GetScanData"));
    std::ranges::copy(oldest, line.begin());
    scanQueue.DropFront();
    return oldest.size();
}
TRACE_GUARD("BrindleFunctionality_PC", "GetScanData")

void BrindleFunctionality_PC::MeasureRequest(std::span<std::uint8_t> data, std::int64_t limitSeconds)
try {
    Send(Command::measure, {});
    device->ReadData(data, limitSeconds * 1000);
}
TRACE_GUARD("BrindleFunctionality_PC", "MeasureRequest")

void BrindleFunctionality_PC::SetMeasureParameters(const Payload<8>& parameters)
try {
    Send(Command::setMeasureParameters, parameters);
}
TRACE_GUARD("BrindleFunctionality_PC", "SetMeasureParameters")

void BrindleFunctionality_PC::GetMeasureParameters(Payload<8>& parameters)
try {
    Fetch(Command::getMeasureParameters, parameters);
}
TRACE_GUARD("BrindleFunctionality_PC", "GetMeasureParameters")

void BrindleFunctionality_PC::SetMeasureMode(const Payload<1>& mode)
try {
    Send(Command::setMeasureMode, mode);
}
TRACE_GUARD("BrindleFunctionality_PC", "SetMeasureMode")

void BrindleFunctionality_PC::GetMeasureMode(Payload<6>& mode)
try {
    Fetch(Command::getMeasureMode, mode);
}
TRACE_GUARD("BrindleFunctionality_PC", "GetMeasureMode")

/// The firmware takes the data, and then two single zero bytes.
void BrindleFunctionality_PC::WriteEEPROM(Command command, const Payload<8>& place, std::span<const std::uint8_t> data)
{
    const Payload<1> zero{};
    Send(command, place);
    device->WriteData(data, EEPROMLimitMs(data.size()));
    device->WriteData(zero, 0);
    device->WriteData(zero, 0);
}

void BrindleFunctionality_PC::WriteEEPROM(const Payload<8>& place, std::span<const std::uint8_t> data)
try {
    WriteEEPROM(Command::writeEEPROM, place, data);
}
TRACE_GUARD("BrindleFunctionality_PC", "WriteEEPROM")

void BrindleFunctionality_PC::ReadEEPROM(const Payload<8>& place, std::span<std::uint8_t> data)
try {
    Send(Command::readEEPROM, place);
    device->ReadData(data, EEPROMLimitMs(data.size()));
}
TRACE_GUARD("BrindleFunctionality_PC", "ReadEEPROM")

void BrindleFunctionality_PC::WriteCPLD(const Payload<6>& words)
try {
    Send(Command::writeCPLD, words);
}
TRACE_GUARD("BrindleFunctionality_PC", "WriteCPLD")

void BrindleFunctionality_PC::ReadCPLD(Payload<2>& word)
try {
    Fetch(Command::readCPLD, word);
}
TRACE_GUARD("BrindleFunctionality_PC", "ReadCPLD")

void BrindleFunctionality_PC::DownloadRAMFirmware(std::uint16_t address, std::span<const std::uint8_t> data)
try {
    Send(Command::downloadRAMFirmware, data, address);
}
TRACE_GUARD("BrindleFunctionality_PC", "DownloadRAMFirmware")

void BrindleFunctionality_PC::DownloadEEPROMFirmware(const Payload<8>& place, std::span<const std::uint8_t> data)
try {
    WriteEEPROM(Command::downloadEEPROMFirmware, place, data);
}
TRACE_GUARD("BrindleFunctionality_PC", "DownloadEEPROMFirmware")

void BrindleFunctionality_PC::GetMISC(Payload<8>& misc)
try {
    Fetch(Command::getMISC, misc);
}
TRACE_GUARD("BrindleFunctionality_PC", "GetMISC")

void BrindleFunctionality_PC::Reset(const Payload<1>& mask)
try {
    Send(Command::reset, mask);
}
TRACE_GUARD("BrindleFunctionality_PC", "Reset")

}
