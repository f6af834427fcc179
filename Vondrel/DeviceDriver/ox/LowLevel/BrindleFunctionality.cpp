#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionality.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "Vondrel/DeviceDriver/GENERIC/LowLevelDriver.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>

namespace Vondrel::DeviceDriver::ox {

namespace EndianConversion = Generic::Configuration::EndianConversion;

namespace {

constexpr std::size_t maxWriteBlock = 256;
constexpr std::size_t maxBulkSize = 65535; // of a size field with two bytes

/// The address payload of the commands that a bulk phase follows.
Payload<8> MakePlace(std::uint32_t address, std::size_t size)
{
    Payload<8> place{};
    EndianConversion::LongToByteArray(address, place.data());
    EndianConversion::ShortToByteArray(static_cast<std::uint16_t>(size), place.data() + 4);
    return place;
}

std::uint16_t WordAt(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(EndianConversion::ByteArrayToShort(bytes));
}

}

BrindleFunctionality::BrindleFunctionality(Generic::EventListener* listener, std::int32_t deviceIndex)
try : functionality(BrindleFunctionalityByte::Instance(listener, deviceIndex)) {
    Reset(Generic::resetAll);
}
TRACE_GUARD("BrindleFunctionality", "BrindleFunctionality")

void BrindleFunctionality::removeListener(Generic::EventListener* listener)
try {
    functionality->RemoveListener(listener);
}
TRACE_GUARD("BrindleFunctionality", "removeListener")

void BrindleFunctionality::MeasureRequest(std::span<std::uint8_t> data, std::int64_t limitSeconds)
try {
    functionality->MeasureRequest(data, limitSeconds);
}
TRACE_GUARD("BrindleFunctionality", "MeasureRequest")

void BrindleFunctionality::StartScan(std::size_t lineSize, std::int64_t limitSeconds)
try {
    functionality->StartScan(lineSize, limitSeconds);
}
TRACE_GUARD("BrindleFunctionality", "StartScan")

std::size_t BrindleFunctionality::GetScanData(std::span<std::uint8_t> line)
try {
    return functionality->GetScanData(line);
}
TRACE_GUARD("BrindleFunctionality", "GetScanData")

void BrindleFunctionality::SetMeasureParameters(const MeasureParameters& parameters)
try {
    Payload<8> payload{};
    EndianConversion::ShortToByteArray(parameters.ticks, payload.data());
    EndianConversion::ShortToByteArray(parameters.delay, payload.data() + 2);
    EndianConversion::ShortToByteArray(parameters.count, payload.data() + 4);
    payload[6] = parameters.flags;
    functionality->SetMeasureParameters(payload);
}
TRACE_GUARD("BrindleFunctionality", "SetMeasureParameters")

std::uint8_t BrindleFunctionality::GetMeasureParameters(MeasureParameters& parameters)
try {
    Payload<8> reply{};
    functionality->GetMeasureParameters(reply);
    parameters = {WordAt(reply.data()), WordAt(reply.data() + 2), WordAt(reply.data() + 4), reply[6]};
    return reply[7];
}
TRACE_GUARD("BrindleFunctionality", "GetMeasureParameters")

void BrindleFunctionality::SetMeasureMode(std::uint8_t mode)
try {
    functionality->SetMeasureMode({mode});
}
TRACE_GUARD("BrindleFunctionality", "SetMeasureMode")

MeasureMode BrindleFunctionality::GetMeasureMode()
try {
    Payload<6> reply{};
    functionality->GetMeasureMode(reply);
    return {reply[0], reply[1], reply[2], reply[3], reply[4], reply[5]};
}
TRACE_GUARD("BrindleFunctionality", "GetMeasureMode")

Identification BrindleFunctionality::GetMISC()
try {
    Payload<8> reply{};
    functionality->GetMISC(reply);
    return {WordAt(reply.data()), WordAt(reply.data() + 2), WordAt(reply.data() + 4), reply[6], reply[7]};
}
TRACE_GUARD("BrindleFunctionality", "GetMISC")

void BrindleFunctionality::WriteEEPROM(std::uint32_t address, std::span<const std::uint8_t> data)
try {
    for (std::size_t offset = 0; offset < data.size(); offset += maxWriteBlock) {
        const auto block = data.subspan(offset, std::min(maxWriteBlock, data.size() - offset));
        functionality->WriteEEPROM(MakePlace(address + static_cast<std::uint32_t>(offset), block.size()), block);
    }
}
TRACE_GUARD("BrindleFunctionality", "WriteEEPROM")

void BrindleFunctionality::ReadEEPROM(std::uint32_t address, std::span<std::uint8_t> data)
try {
    functionality->ReadEEPROM(MakePlace(address, data.size()), data);
}
TRACE_GUARD("BrindleFunctionality", "ReadEEPROM")

void BrindleFunctionality::WriteCPLD(std::uint16_t word1, std::uint16_t word2, std::uint16_t word3)
try {
    Payload<6> words{};
    EndianConversion::ShortToByteArray(word1, words.data());
    EndianConversion::ShortToByteArray(word2, words.data() + 2);
    EndianConversion::ShortToByteArray(word3, words.data() + 4);
    functionality->WriteCPLD(words);
}
TRACE_GUARD("BrindleFunctionality", "WriteCPLD")

std::uint16_t BrindleFunctionality::ReadCPLD()
try {
    Payload<2> word{};
    functionality->ReadCPLD(word);
    return WordAt(word.data());
}
TRACE_GUARD("BrindleFunctionality", "ReadCPLD")

void BrindleFunctionality::DownloadFirmware(std::uint16_t address, std::span<const std::uint8_t> data, bool toEEPROM)
try {
    if (data.size() > maxBulkSize)
        throw DataException("Firmware block is too large", THROW_LOCATION("BrindleFunctionality", "DownloadFirmware"));
    if (toEEPROM)
        functionality->DownloadEEPROMFirmware(MakePlace(address, data.size()), data);
    else
        functionality->DownloadRAMFirmware(address, data);
}
TRACE_GUARD("BrindleFunctionality", "DownloadFirmware")

void BrindleFunctionality::Reset(std::uint16_t mask)
try {
    functionality->Reset({static_cast<std::uint8_t>(mask & 0xFF)});
}
TRACE_GUARD("BrindleFunctionality", "Reset")

}
