#pragma once

#include "orvex/zelcal.h"

#include <cstddef>
#include <cstdint>

/// Where the fields of the instrument's memory lie. Cells are bytes; numbers are big-endian; a blank cell holds 0xFF.
namespace Toolkit {

inline constexpr std::uint16_t memorySize = 128; ///< cells of the first page
inline constexpr std::uint16_t writabilityCell = 0;
inline constexpr std::uint16_t modelLetterCell = 121;
inline constexpr std::uint32_t blankLong = 0xFFFFFFFF;
inline constexpr std::uint16_t blankWord = 0xFFFF;
inline constexpr std::uint8_t blankByte = 0xFF;

/// `count` numbers of `width` bytes from the cell `address` on, and their place in the EEPROM structure.
struct Field {
    std::uint16_t address;
    std::uint8_t width;
    std::uint8_t count;
    std::size_t offset;
};

namespace Fields {
inline constexpr Field serialNumber{0, 4, 1, offsetof(ZelEEPROM, serialNumber)};
inline constexpr Field matrix1{4, 4, 9, offsetof(ZelEEPROM, eepromMatrix1)};
inline constexpr Field date1{50, 4, 1, offsetof(ZelEEPROM, date1)};
inline constexpr Field matrix2{54, 4, 9, offsetof(ZelEEPROM, eepromMatrix2)};
inline constexpr Field date2{90, 4, 1, offsetof(ZelEEPROM, date2)};
inline constexpr Field dark{103, 4, 3, offsetof(ZelEEPROM, darkFloats)};
inline constexpr Field firstDark{103, 4, 1, offsetof(ZelEEPROM, darkFloats)};
inline constexpr Field ploverFirstDark{44, 4, 1, offsetof(ZelEEPROM, darkFloats)};
inline constexpr Field modelLetter{modelLetterCell, 1, 1, offsetof(ZelEEPROM, modelLetter)};
inline constexpr Field formatWord{126, 2, 1, offsetof(ZelEEPROM, formatWord)};
inline constexpr Field page2{128, 4, 3, offsetof(ZelEEPROM, page2Floats)};
inline constexpr Field ambientScale{144, 4, 3, offsetof(ZelEEPROM, ambientScale)};
}

inline constexpr Field mainLayout[] = {
    Fields::serialNumber,
    Fields::matrix1,
    {40, 2, 1, offsetof(ZelEEPROM, tickWord)},
    {42, 2, 1, offsetof(ZelEEPROM, calRateWord)},
    {44, 2, 3, offsetof(ZelEEPROM, calPeriods)},
    Fields::date1,
    Fields::matrix2,
    Fields::date2,
    {94, 4, 1, offsetof(ZelEEPROM, clockFloat)},
    {98, 4, 1, offsetof(ZelEEPROM, date3)},
    {102, 1, 1, offsetof(ZelEEPROM, extraByte102)},
    Fields::dark,
    {115, 1, 1, offsetof(ZelEEPROM, extraByte115)},
    Fields::modelLetter,
    Fields::formatWord,
};

/// Types 14 and 16.
inline constexpr Field ploverLayout[] = {
    {0, 4, 1, offsetof(ZelEEPROM, eepromMatrix1)},
    {6, 2, 1, offsetof(ZelEEPROM, calRateWord)},
    {8, 4, 1, offsetof(ZelEEPROM, serialNumber)},
    {12, 4, 1, offsetof(ZelEEPROM, date1)},
    {16, 4, 1, offsetof(ZelEEPROM, eepromMatrix2)},
    {24, 4, 1, offsetof(ZelEEPROM, date2)},
    {28, 4, 2, offsetof(ZelEEPROM, eepromMatrix1[1])},
    {36, 4, 2, offsetof(ZelEEPROM, eepromMatrix2[1])},
    {44, 4, 3, offsetof(ZelEEPROM, darkFloats)},
    Fields::modelLetter,
    Fields::formatWord,
};

inline constexpr Field secondPage[] = {Fields::page2, Fields::ambientScale};

/// Gives one cell of whatever `source` is.
using CellReader = std::int32_t (*)(void* source, std::uint16_t address, std::uint8_t* value);

/// Reads fields in their order into the structure. A cell that cannot be read ends it with that cell's status; the
/// fields before it stay.
std::int32_t ReadFields(CellReader read, void* source, const Field* fields, std::size_t count, ZelEEPROM* into);

template<std::size_t Count>
std::int32_t ReadFields(CellReader read, void* source, const Field (&fields)[Count], ZelEEPROM* into)
{
    return ReadFields(read, source, fields, Count, into);
}

/// Cells of the device record `source` by the commands for 256 cells and for extended cells.
std::int32_t ReadCell(void* source, std::uint16_t address, std::uint8_t* value);
std::int32_t ReadExtendedCell(void* source, std::uint16_t address, std::uint8_t* value);

/// Reads a field of the open instrument into its record.
std::int32_t ReadIntoRecord(CalDataBlock* device, const Field& field);

/// Writes a field of `from` into the open instrument, cell by cell, where the value differs.
std::int32_t WriteField(CalDataBlock* device, const Field& field, const ZelEEPROM& from);

/// The bits of a stored float or long.
std::uint32_t BitsOf(float value);

}
