#pragma once

#include "toolkit/Layout.h"
#include "toolkit/Types.h"

/// The two calibration slots of the memory. Slot 1 is in force after every opening; the first user calibration moves
/// the factory calibration from there into slot 2.
namespace Toolkit {

struct Slot {
    Field matrix;
    Field date;
};
inline constexpr Slot slot1{Fields::matrix1, Fields::date1};
inline constexpr Slot slot2{Fields::matrix2, Fields::date2};

/// The tests at the head of a call that uses the slots: formats 3 and 6 have no second one.
std::int32_t EnterSlots(const CalDataBlock* device);

template<typename... Pointer>
std::int32_t EnterSlots(const CalDataBlock* device, const Pointer*... pointers)
{
    if (const std::int32_t refusal = EnterSlots(device))
        return refusal;
    return ((pointers != nullptr) && ...) ? ZEL_OK : ZEL_BAD_ARGUMENT;
}

/// Saves slot 1 in slot 2 if that is not in use yet. This sets the format to 7, also where it was higher: clock and
/// dark values of the memory are not used from the next opening on.
std::int32_t EnsureSlot2(CalDataBlock* device);

/// Writes slot 1, reads it back and puts it in force.
std::int32_t StoreActiveSlot1(CalDataBlock* device, const CalibrationRecord* record);

/// Writes slot 2 and reads it back. The matrix in force stays; `active` says what `activeCalibration` becomes.
std::int32_t StoreActiveSlot2(CalDataBlock* device, const CalibrationRecord* record, std::int32_t active);

}
