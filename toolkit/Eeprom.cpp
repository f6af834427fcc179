#include "toolkit/Commands.h"
#include "toolkit/Device.h"
#include "toolkit/Layout.h"

#include <cstring>

namespace Toolkit {

std::uint32_t BitsOf(float value)
{
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

namespace {

/// Big-endian bytes into a number of the structure.
void Store(const std::uint8_t* bytes, std::uint8_t width, void* number)
{
    if (width == 4) {
        std::uint32_t value = 0;
        ZKConvertToLong(bytes, &value);
        std::memcpy(number, &value, sizeof value);
    } else if (width == 2) {
        std::uint16_t value = 0;
        ZKConvertToWord(bytes, &value);
        std::memcpy(number, &value, sizeof value);
    } else {
        std::memcpy(number, bytes, 1);
    }
}

/// A number of the structure as big-endian bytes.
LongBytes Load(const void* number, std::uint8_t width)
{
    std::uint32_t value = 0;
    if (width == 4) {
        std::memcpy(&value, number, sizeof value);
    } else if (width == 2) {
        std::uint16_t word = 0;
        std::memcpy(&word, number, sizeof word);
        value = static_cast<std::uint32_t>(word) << 16;
    } else {
        std::uint8_t byte = 0;
        std::memcpy(&byte, number, sizeof byte);
        value = static_cast<std::uint32_t>(byte) << 24;
    }
    return ToBytes(value);
}

}

std::int32_t ReadFields(CellReader read, void* source, const Field* fields, std::size_t count, ZelEEPROM* into)
{
    std::uint8_t* structure = reinterpret_cast<std::uint8_t*>(into);
    for (const Field* field = fields; field != fields + count; ++field) {
        for (unsigned number = 0; number < field->count; ++number) {
            std::uint8_t bytes[4] = {};
            for (unsigned i = 0; i < field->width; ++i) {
                const unsigned address = field->address + number * field->width + i;
                if (const std::int32_t failure = read(source, static_cast<std::uint16_t>(address), bytes + i))
                    return failure;
            }
            Store(bytes, field->width, structure + field->offset + number * field->width);
        }
    }
    return ZEL_OK;
}

std::int32_t ReadCell(void* source, std::uint16_t address, std::uint8_t* value)
{
    return AltrixReadEEPROMByte_M(static_cast<CalDataBlock*>(source), static_cast<std::uint8_t>(address), value);
}

std::int32_t ReadExtendedCell(void* source, std::uint16_t address, std::uint8_t* value)
{
    return TenrixReadExtendedEEPROMByte_M(static_cast<CalDataBlock*>(source), address, value);
}

std::int32_t ReadIntoRecord(CalDataBlock* device, const Field& field)
{
    if (device == nullptr)
        return ZEL_BAD_ARGUMENT;
    return ReadFields(ReadCell, device, &field, 1, &device->eeprom);
}

std::int32_t WriteField(CalDataBlock* device, const Field& field, const ZelEEPROM& from)
{
    const std::uint8_t* structure = reinterpret_cast<const std::uint8_t*>(&from);
    for (unsigned number = 0; number < field.count; ++number) {
        const unsigned place = number * field.width;
        const LongBytes number4 = Load(structure + field.offset + place, field.width);
        for (unsigned i = 0; i < field.width; ++i) {
            const auto address = static_cast<std::uint8_t>(field.address + place + i);
            if (const std::int32_t failure = AltrixWriteEEPROMByte_M(device, address, number4.bytes[i]))
                return failure;
        }
    }
    return ZEL_OK;
}

namespace {

/// A cell of a copy of the memory that the caller holds.
std::int32_t ReadBuffer(void* source, std::uint16_t address, std::uint8_t* value)
{
    *value = static_cast<const std::uint8_t*>(source)[address];
    return ZEL_OK;
}

/// The text of a date without the newline; empty if there is no such date.
void DateText(std::uint32_t date, char text[32])
{
    FormatDate(date, text);
    text[std::strcspn(text, "\n")] = '\0';
}

void Present(const ZelEEPROM& eeprom, bool darkIsInteger, ParsedEEPROM* out)
{
    out->serialNumber = eeprom.serialNumber;
    for (int i = 0; i < 9; ++i) {
        out->matrix1[i] = eeprom.eepromMatrix1[i];
        out->matrix2[i] = eeprom.eepromMatrix2[i];
    }
    out->tick = eeprom.tickWord * 1e-9;
    out->refreshRate = eeprom.calRateWord * 0.01;
    std::memcpy(out->calPeriods, eeprom.calPeriods, sizeof out->calPeriods);
    DateText(eeprom.date1, out->date1Text);
    DateText(eeprom.date2, out->date2Text);
    DateText(eeprom.date3, out->date3Text);
    out->clock = eeprom.clockFloat;
    out->extraByte102 = eeprom.extraByte102;
    for (int i = 0; i < 3; ++i) {
        if (darkIsInteger)
            out->darkInteger[i] = BitsOf(eeprom.darkFloats[i]);
        else
            out->dark[i] = eeprom.darkFloats[i];
    }
    out->extraByte115 = eeprom.extraByte115;
    out->modelLetter = eeprom.modelLetter;
    std::memset(out->reserved, 0, sizeof out->reserved);
    out->formatWord = eeprom.formatWord;
}

std::int32_t ReadParsed(CalDataBlock* device, CellReader read, void* source, ParsedEEPROM* out)
{
    ZelEEPROM eeprom{};
    if (const std::int32_t failure = ReadFields(read, source, mainLayout, &eeprom))
        return failure;
    Present(eeprom, IsType(device, Family::pllRegisters), out);
    return ZEL_OK;
}

std::int32_t ReadParsedEx(CalDataBlock* device, CellReader read, CellReader readBeyond, void* source,
                          ParsedEEPROMEx* out)
{
    ZelEEPROM eeprom{};
    if (const std::int32_t failure = ReadParsed(device, read, source, &out->base))
        return failure;
    if (const std::int32_t failure = ReadFields(readBeyond, source, &Fields::page2, 1, &eeprom))
        return failure;
    for (int i = 0; i < 3; ++i)
        out->page2[i] = eeprom.page2Floats[i];
    return ZEL_OK;
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL ZKConvertToWord(const uint8_t* bytes, uint16_t* value)
{
    if (bytes == nullptr || value == nullptr)
        return ZEL_BAD_ARGUMENT;
    *value = static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
    return ZEL_OK;
}

int32_t ZELCAL_CALL ZKConvertToLong(const uint8_t* bytes, uint32_t* value)
{
    if (bytes == nullptr || value == nullptr)
        return ZEL_BAD_ARGUMENT;
    *value = uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
    return ZEL_OK;
}

int32_t ZELCAL_CALL ZKConvertToFloat(const uint8_t* bytes, float* value)
{
    uint32_t bits = 0;
    if (value == nullptr || ZKConvertToLong(bytes, &bits) != ZEL_OK)
        return ZEL_BAD_ARGUMENT;
    std::memcpy(value, &bits, sizeof bits);
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixReadEEPROMByte_M(CalDataBlock* device, uint8_t address, uint8_t* value)
{
    if (value == nullptr)
        return ZEL_BAD_ARGUMENT;
    Reply reply;
    if (const int32_t failure = Exchange(device, Commands::readCell, &address, &reply))
        return failure;
    *value = reply.bytes[2];
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixForceWriteEEPROMByte_M(CalDataBlock* device, uint8_t address, uint8_t value)
{
    const uint8_t parameters[] = {address, value};
    return Send(device, Commands::writeCell, parameters);
}

int32_t ZELCAL_CALL AltrixWriteEEPROMByte_M(CalDataBlock* device, uint8_t address, uint8_t value)
{
    uint8_t present = 0;
    if (const int32_t failure = AltrixReadEEPROMByte_M(device, address, &present))
        return failure;
    return present == value ? ZEL_OK : AltrixForceWriteEEPROMByte_M(device, address, value);
}

int32_t ZELCAL_CALL TenrixReadExtendedEEPROMByte_M(CalDataBlock* device, uint16_t address, uint8_t* value)
{
    if (const int32_t refusal = Enter(device, Family::tenrix, value))
        return refusal;
    const uint8_t parameters[] = {HighByte(address), LowByte(address)};
    Reply reply;
    if (const int32_t failure = Exchange(device, Commands::readExtendedCell, parameters, &reply))
        return failure;
    *value = reply.bytes[3];
    return ZEL_OK;
}

int32_t ZELCAL_CALL TenrixWriteExtendedEEPROMByte_M(CalDataBlock* device, uint16_t address, uint8_t value)
{
    uint8_t present = 0;
    if (const int32_t failure = TenrixReadExtendedEEPROMByte_M(device, address, &present))
        return failure;
    if (present == value)
        return ZEL_OK;
    const uint8_t parameters[] = {HighByte(address), LowByte(address), value};
    return Send(device, Commands::writeExtendedCell, parameters);
}

int32_t ZELCAL_CALL AltrixReadExtendedEEPROMByte_M(CalDataBlock* device, uint16_t address, uint8_t* value)
{
    return TenrixReadExtendedEEPROMByte_M(device, address, value);
}

int32_t ZELCAL_CALL AltrixWriteExtendedEEPROMByte_M(CalDataBlock* device, uint16_t address, uint8_t value)
{
    return TenrixWriteExtendedEEPROMByte_M(device, address, value);
}

int32_t ZELCAL_CALL AltrixGetPodID_M(CalDataBlock* device, uint8_t* letter)
{
    return AltrixReadEEPROMByte_M(device, modelLetterCell, letter);
}

int32_t ZELCAL_CALL AltrixSetPodID_M(CalDataBlock* device, uint8_t letter)
{
    return AltrixWriteEEPROMByte_M(device, modelLetterCell, letter);
}

int32_t ZELCAL_CALL AltrixReadEntireEEPROM_M(CalDataBlock* device, uint8_t* buffer)
{
    if (const int32_t refusal = Enter(device, allTypes, buffer))
        return refusal;
    for (uint8_t address = 0; address < memorySize; ++address)
        if (const int32_t failure = AltrixReadEEPROMByte_M(device, address, buffer + address))
            return failure;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixWriteEntireEEPROM_M(CalDataBlock* device, const uint8_t* buffer)
{
    if (const int32_t refusal = Enter(device, allTypes, buffer))
        return refusal;
    for (uint8_t address = 0; address < memorySize; ++address)
        if (const int32_t failure = AltrixWriteEEPROMByte_M(device, address, buffer[address]))
            return failure;
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixReadEEPROM_M(CalDataBlock* device, uint16_t first, uint16_t end, uint8_t* buffer)
{
    if (const int32_t refusal = Enter(device, Family::tenrix, buffer))
        return refusal;
    for (unsigned address = first; address < end; ++address)
        if (const int32_t failure =
                TenrixReadExtendedEEPROMByte_M(device, static_cast<uint16_t>(address), buffer + (address - first)))
            return failure;
    return ZEL_OK;
}

int32_t ZELCAL_CALL ZKParseAltrixEEPROM_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    return ReadFields(ReadCell, device, mainLayout, &device->eeprom);
}

int32_t ZELCAL_CALL BassixParsePloverEEPROM_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    return ReadFields(ReadCell, device, ploverLayout, &device->eeprom);
}

int32_t ZELCAL_CALL ZKParseEEPROMpage2_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, allTypes))
        return refusal;
    if (const int32_t failure = ReadFields(ReadCell, device, secondPage, &device->eeprom))
        return failure;
    for (float& scale : device->eeprom.ambientScale)
        if (BitsOf(scale) == blankLong)
            scale = 1.0F;
    return ZEL_OK;
}

int32_t ZELCAL_CALL ZKParseExtendedEEPROM_M(CalDataBlock* device)
{
    if (const int32_t refusal = Enter(device, Family::tenrix))
        return refusal;
    return ReadFields(ReadExtendedCell, device, secondPage, &device->eeprom);
}

int32_t ZELCAL_CALL AltrixReadEEPROMStruct_M(CalDataBlock* device, ParsedEEPROM* out)
{
    if (const int32_t refusal = Enter(device, allTypes, out))
        return refusal;
    return ReadParsed(device, ReadCell, device, out);
}

int32_t ZELCAL_CALL AltrixReadExtendedEEPROMStruct_M(CalDataBlock* device, ParsedEEPROMEx* out)
{
    if (const int32_t refusal = Enter(device, allTypes, out))
        return refusal;
    return ReadParsedEx(device, ReadCell, IsType(device, Family::tenrix) ? ReadExtendedCell : ReadCell, device, out);
}

int32_t ZELCAL_CALL AltrixParseEEPROMStruct_M(CalDataBlock* device, ParsedEEPROM* out, const uint8_t* bytes)
{
    if (device == nullptr || out == nullptr || bytes == nullptr)
        return ZEL_BAD_ARGUMENT;
    return ReadParsed(device, ReadBuffer, const_cast<uint8_t*>(bytes), out);
}

int32_t ZELCAL_CALL AltrixParseExtendedEEPROMStruct_M(CalDataBlock* device, ParsedEEPROMEx* out, const uint8_t* bytes)
{
    if (device == nullptr || out == nullptr || bytes == nullptr)
        return ZEL_BAD_ARGUMENT;
    return ReadParsedEx(device, ReadBuffer, ReadBuffer, const_cast<uint8_t*>(bytes), out);
}
}
