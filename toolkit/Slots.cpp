#include "toolkit/Slots.h"

#include "toolkit/Layout.h"

#include <cmath>
#include <cstring>

namespace Toolkit {

namespace {

constexpr std::uint16_t firstFormatWithSlot2 = 7;

bool IsSlot2Blank(const CalDataBlock* device)
{
    return device->eeprom.formatWord < firstFormatWithSlot2 || device->eeprom.date2 == blankLong;
}

std::int32_t ReadSlot(CalDataBlock* device, const Slot& slot)
{
    if (const std::int32_t failure = ReadIntoRecord(device, slot.matrix))
        return failure;
    return ReadIntoRecord(device, slot.date);
}

std::int32_t WriteSlot(CalDataBlock* device, const Slot& slot, const ZelEEPROM& from)
{
    if (const std::int32_t failure = WriteField(device, slot.matrix, from))
        return failure;
    return WriteField(device, slot.date, from);
}

std::int32_t CopyField(CalDataBlock* device, const Field& from, const Field& to)
{
    for (unsigned i = 0; i < static_cast<unsigned>(from.width) * from.count; ++i) {
        std::uint8_t value = 0;
        if (const std::int32_t failure =
                AltrixReadEEPROMByte_M(device, static_cast<std::uint8_t>(from.address + i), &value))
            return failure;
        if (const std::int32_t failure =
                AltrixWriteEEPROMByte_M(device, static_cast<std::uint8_t>(to.address + i), value))
            return failure;
    }
    return ZEL_OK;
}

std::int32_t CopySlot(CalDataBlock* device, const Slot& from, const Slot& to)
{
    if (const std::int32_t failure = CopyField(device, from.matrix, to.matrix))
        return failure;
    if (const std::int32_t failure = CopyField(device, from.date, to.date))
        return failure;
    return ReadSlot(device, to);
}

/// Puts an application's record into the fields of a slot; the matrix becomes single precision.
void Fill(ZelEEPROM& eeprom, const Slot& slot, const CalibrationRecord& record)
{
    std::uint8_t* structure = reinterpret_cast<std::uint8_t*>(&eeprom);
    float matrix[9];
    for (int i = 0; i < 9; ++i)
        matrix[i] = static_cast<float>(record.matrix[i]);
    std::memcpy(structure + slot.matrix.offset, matrix, sizeof matrix);
    std::memcpy(structure + slot.date.offset, &record.date, sizeof record.date);
}

std::int32_t StoreSlot(CalDataBlock* device, const Slot& slot, const CalibrationRecord* record)
{
    if (const std::int32_t refusal = Enter(device, allTypes, record))
        return refusal;
    ZelEEPROM wanted{};
    Fill(wanted, slot, *record);
    if (const std::int32_t failure = WriteSlot(device, slot, wanted))
        return failure;
    return ReadSlot(device, slot);
}

void CopyMatrix(const float from[9], double to[9])
{
    for (int i = 0; i < 9; ++i)
        to[i] = from[i];
}

std::int32_t RetrieveSlot(CalDataBlock* device, const Slot& slot, CalibrationRecord* record)
{
    if (const std::int32_t refusal = EnterSlots(device, record))
        return refusal;
    if (const std::int32_t failure = ReadSlot(device, slot))
        return failure;
    const std::uint8_t* structure = reinterpret_cast<const std::uint8_t*>(&device->eeprom);
    float matrix[9];
    std::memcpy(matrix, structure + slot.matrix.offset, sizeof matrix);
    CopyMatrix(matrix, record->matrix);
    std::memcpy(&record->date, structure + slot.date.offset, sizeof record->date);
    return ZEL_OK;
}

/// The tests before slot 2 is used.
std::int32_t EnterSlot2(const CalDataBlock* device)
{
    if (const std::int32_t refusal = EnterSlots(device))
        return refusal;
    return IsSlot2Blank(device) ? ZEL_SLOT_BLANK : ZEL_OK;
}

}

std::int32_t EnterSlots(const CalDataBlock* device)
{
    if (const std::int32_t refusal = Enter(device, Gate::userCalibration))
        return refusal;
    const std::uint16_t format = device->eeprom.formatWord;
    return format == 3 || format == 6 ? ZEL_NO_SECOND_SLOT : ZEL_OK;
}

std::int32_t EnsureSlot2(CalDataBlock* device)
{
    if (!IsSlot2Blank(device))
        return ZEL_OK;
    if (const std::int32_t failure = AltrixCopyCalData_1_To_2_M(device))
        return failure;
    ZelEEPROM wanted{};
    wanted.formatWord = firstFormatWithSlot2;
    if (const std::int32_t failure = WriteField(device, Fields::formatWord, wanted))
        return failure;
    return ReadIntoRecord(device, Fields::formatWord);
}

std::int32_t StoreActiveSlot1(CalDataBlock* device, const CalibrationRecord* record)
{
    if (const std::int32_t failure = StoreSlot(device, slot1, record))
        return failure;
    CopyMatrix(device->eeprom.eepromMatrix1, device->header.calMatrix);
    device->header.activeCalibration = 1;
    return ZEL_OK;
}

std::int32_t StoreActiveSlot2(CalDataBlock* device, const CalibrationRecord* record, std::int32_t active)
{
    if (const std::int32_t failure = StoreSlot(device, slot2, record))
        return failure;
    CopyMatrix(device->eeprom.eepromMatrix2, device->header.slot2Matrix);
    device->header.activeCalibration = active;
    return ZEL_OK;
}

}

using namespace Toolkit;

extern "C" {

// ---- instrument level

int32_t ZELCAL_CALL AltrixStoreCalData_1_ToEEPROM_M(CalDataBlock* device, const CalibrationRecord* record)
{
    return StoreSlot(device, slot1, record);
}

int32_t ZELCAL_CALL AltrixStoreCalData_2_ToEEPROM_M(CalDataBlock* device, const CalibrationRecord* record)
{
    return StoreSlot(device, slot2, record);
}

int32_t ZELCAL_CALL AltrixCopyCalData_1_To_2_M(CalDataBlock* device)
{
    return CopySlot(device, slot1, slot2);
}

int32_t ZELCAL_CALL AltrixRestoreCalData_2_To_1_M(CalDataBlock* device)
{
    return CopySlot(device, slot2, slot1);
}

int32_t ZELCAL_CALL AltrixResetCalData_2_M(CalDataBlock* device)
{
    ZelEEPROM blank;
    std::memset(&blank, blankByte, sizeof blank);
    if (const int32_t failure = WriteSlot(device, slot2, blank))
        return failure;
    AltrixInitCalData_2_M(device); // says that the slot is blank
    return ZEL_OK;
}

int32_t ZELCAL_CALL AltrixInitCalData_2_M(CalDataBlock* device)
{
    if (const int32_t failure = ReadSlot(device, slot2))
        return failure;
    bool blank = device->eeprom.date2 == blankLong;
    for (const float value : device->eeprom.eepromMatrix2)
        blank = blank || std::isnan(value);
    return blank ? ZEL_SLOT_BLANK : ZEL_OK;
}

// ---- application level

int32_t ZELCAL_CALL zelStoreUserCalibrationDataToPod_M(CalDataBlock* device, CalibrationRecord record)
{
    return zelStoreUserCalibrationDataToPodEx_M(device, &record);
}

int32_t ZELCAL_CALL zelStoreUserCalibrationDataToPodEx_M(CalDataBlock* device, const CalibrationRecord* record)
{
    if (const int32_t refusal = EnterSlots(device, record))
        return refusal;
    if (const int32_t failure = EnsureSlot2(device))
        return failure;
    return StoreActiveSlot1(device, record);
}

int32_t ZELCAL_CALL zelStoreLCDCalibrationDataToPod_M(CalDataBlock* device, const CalibrationRecord* record)
{
    if (const int32_t refusal = EnterSlots(device, record))
        return refusal;
    return StoreActiveSlot1(device, record);
}

int32_t ZELCAL_CALL zelStoreCRTCalibrationDataToPod_M(CalDataBlock* device, const CalibrationRecord* record)
{
    if (const int32_t refusal = EnterSlots(device, record))
        return refusal;
    return StoreActiveSlot2(device, record, 1);
}

int32_t ZELCAL_CALL zelRetrieveUserCalibrationDataFromPod_M(CalDataBlock* device, CalibrationRecord* record)
{
    return RetrieveSlot(device, slot1, record);
}

int32_t ZELCAL_CALL zelRetrieveLCDCalibrationDataFromPod_M(CalDataBlock* device, CalibrationRecord* record)
{
    return RetrieveSlot(device, slot1, record);
}

int32_t ZELCAL_CALL zelRetrieveCRTCalibrationDataFromPod_M(CalDataBlock* device, CalibrationRecord* record)
{
    return RetrieveSlot(device, slot2, record);
}

int32_t ZELCAL_CALL zelSelectCalibration_M(CalDataBlock* device, int32_t slot)
{
    if (const int32_t refusal = EnterSlot2(device))
        return refusal;
    ZelCalHeader& header = device->header;
    if (slot == 1)
        CopyMatrix(device->eeprom.eepromMatrix1, header.calMatrix);
    else if (slot == 0)
        CopyMatrix(device->eeprom.eepromMatrix2, header.calMatrix);
    else if (slot == 100)
        std::memcpy(header.calMatrix, header.slot2Matrix, sizeof header.calMatrix);
    else
        return ZEL_OK;
    header.activeCalibration = slot;
    return ZEL_OK;
}

int32_t ZELCAL_CALL zelRestoreFactoryCalibration_M(CalDataBlock* device)
{
    if (const int32_t refusal = EnterSlot2(device))
        return refusal;
    if (const int32_t failure = AltrixRestoreCalData_2_To_1_M(device))
        return failure;
    CopyMatrix(device->eeprom.eepromMatrix2, device->header.calMatrix);
    device->header.activeCalibration = 0;
    return ZEL_OK;
}
}
