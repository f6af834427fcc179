#include "toolkit/Layout.h"
#include "toolkit/Types.h"

#include <cstring>

namespace Toolkit {

namespace {

enum class Memory { any, readOnly, writable };
enum class Page { none, second, extended };

/// What an instrument is: by revision, by whether its memory can be written, and by the model letter.
struct RecognitionRow {
    std::int16_t first; ///< revisions
    std::int16_t last;
    char letter; ///< 0: any
    std::int32_t type;
    Page page = Page::none; ///< to be read before the main layout
    Memory memory = Memory::any;
};

/// The first row that fits counts.
constexpr RecognitionRow recognition[] = {
    {400, 509, 'L', 9},
    {400, 509, 0, 4},
    {510, 520, 'W', 7},
    {510, 520, 'l', 8},
    {510, 520, 'L', 9},
    {510, 520, 0, 4},
    {142, 159, 'D', 16},
    {142, 159, 0, 4},
    {100, 141, 0, 5, Page::none, Memory::readOnly},
    {100, 141, 'F', 13, Page::none, Memory::writable},
    {100, 141, 'D', 14, Page::none, Memory::writable},
    {100, 141, 0, 6, Page::none, Memory::writable},
    {300, 303, 0, 10},
    {304, 329, 0, 11, Page::extended},
    {350, 369, 0, 2},
    {600, 629, 'L', 20, Page::second},
    {600, 629, 'U', 21, Page::second},
    {600, 629, 'T', 22, Page::second},
    {600, 629, 0, 19, Page::second},
};

constexpr std::int16_t firstBassixRevision = 100;
constexpr std::int16_t lastBassixRevision = 141;
constexpr std::int16_t oldSerialRevision = 199;
constexpr std::int32_t oldSerialType = 2;

/// The three digits of "5.12" are 512. 0 for a text that has none at their places.
std::int16_t Revision(const char* version)
{
    if (std::strlen(version) < 4)
        return 0;
    constexpr int places[] = {0, 2, 3};
    int revision = 0;
    for (const int place : places) {
        if (version[place] < '0' || version[place] > '9')
            return 0;
        revision = revision * 10 + (version[place] - '0');
    }
    return static_cast<std::int16_t>(revision);
}

/// Tries to write a cell, and puts its value back.
std::int32_t ProbeMemory(CalDataBlock* device, Memory* memory)
{
    constexpr std::uint8_t pattern = 0xA5;
    std::uint8_t before = 0;
    std::uint8_t after = 0;
    if (const std::int32_t failure = AltrixReadEEPROMByte_M(device, writabilityCell, &before))
        return failure;
    if (const std::int32_t failure = AltrixForceWriteEEPROMByte_M(device, writabilityCell, pattern))
        return failure;
    if (const std::int32_t failure = AltrixReadEEPROMByte_M(device, writabilityCell, &after))
        return failure;
    *memory = after == pattern ? Memory::writable : Memory::readOnly;
    return *memory == Memory::writable ? AltrixForceWriteEEPROMByte_M(device, writabilityCell, before) : ZEL_OK;
}

bool Fits(const RecognitionRow& row, std::int16_t revision, char letter, Memory memory)
{
    return revision >= row.first && revision <= row.last && (row.letter == 0 || row.letter == letter)
        && (row.memory == Memory::any || row.memory == memory);
}

/// The row of the instrument; null if none fits.
std::int32_t FindRow(CalDataBlock* device, std::int16_t revision, std::uint8_t letter, const RecognitionRow** found)
{
    Memory memory = Memory::any;
    if (revision >= firstBassixRevision && revision <= lastBassixRevision) {
        if (const std::int32_t failure = ProbeMemory(device, &memory))
            return failure;
        if (memory == Memory::writable)
            if (const std::int32_t failure = AltrixReadEEPROMByte_M(device, modelLetterCell, &letter))
                return failure;
    }
    *found = nullptr;
    for (const RecognitionRow& row : recognition) {
        if (Fits(row, revision, static_cast<char>(letter), memory)) {
            *found = &row;
            break;
        }
    }
    return ZEL_OK;
}

std::int32_t ReadPage(CalDataBlock* device, Page page)
{
    if (page == Page::extended)
        return ZKParseExtendedEEPROM_M(device);
    return page == Page::second ? ZKParseEEPROMpage2_M(device) : ZEL_OK;
}

std::int32_t ParseMemory(CalDataBlock* device)
{
    if (IsType(device, Family::readOnlyBassix))
        return ZEL_OK; // keeps nothing in its memory
    return IsType(device, Family::plover) ? BassixParsePloverEEPROM_M(device) : ZKParseAltrixEEPROM_M(device);
}

std::int32_t Recognise(CalDataBlock* device, std::int16_t revision, std::uint8_t letter)
{
    const RecognitionRow* row = nullptr;
    if (const std::int32_t failure = FindRow(device, revision, letter, &row))
        return failure;
    device->header.calibratorType = row == nullptr ? 0 : row->type;
    if (const std::int32_t failure = ReadPage(device, row == nullptr ? Page::none : row->page))
        return failure;
    return ParseMemory(device);
}

std::int32_t EnterRecognition(CalDataBlock* device, const char* version)
{
    if (const std::int32_t refusal = Enter(device, allTypes, version))
        return refusal;
    return version[0] == '\0' ? ZEL_NO_REPLY : ZEL_OK;
}

}

}

using namespace Toolkit;

extern "C" {

int32_t ZELCAL_CALL AltrixDetermineCalibratorType_M(CalDataBlock* device, const char* version)
{
    if (const int32_t refusal = EnterRecognition(device, version))
        return refusal;
    device->header.calibratorType = 0;
    uint8_t letter = 0;
    if (const int32_t failure = AltrixReadEEPROMByte_M(device, modelLetterCell, &letter))
        return failure;
    if (std::strlen(version) > 6 && version[0] == '1') {
        device->header.calibratorType = oldSerialType;
        device->header.firmwareRevision = oldSerialRevision;
        return ParseMemory(device);
    }
    device->header.firmwareRevision = Revision(version);
    return Recognise(device, device->header.firmwareRevision, letter);
}

int32_t ZELCAL_CALL BassixDetermineCalibratorType_M(CalDataBlock* device, const char* version)
{
    if (const int32_t refusal = EnterRecognition(device, version))
        return refusal;
    device->header.calibratorType = 0;
    device->header.bassixRevision = Revision(version);
    if (device->header.bassixRevision > lastBassixRevision)
        return ZEL_WRONG_INSTRUMENT;
    uint8_t letter = 0;
    if (const int32_t failure = AltrixReadEEPROMByte_M(device, modelLetterCell, &letter))
        return failure;
    return Recognise(device, device->header.bassixRevision, letter);
}
}
