#pragma once

#include "orvex/zelcal.h"

#include <cstdint>

/// Which calibrator types a call accepts. Every gate of the toolkit stands here, once.
namespace Toolkit {

/// A set of calibrator types, one bit for each number.
using TypeSet = std::uint32_t;

template<typename... Number>
constexpr TypeSet Types(Number... numbers)
{
    return ((TypeSet{1} << numbers) | ...);
}

constexpr TypeSet allTypes = ~TypeSet{0};

constexpr bool Contains(TypeSet set, std::int32_t type)
{
    return type >= 0 && type < 32 && ((set >> type) & 1U) != 0;
}

inline bool IsType(const CalDataBlock* device, TypeSet set)
{
    return Contains(set, device->header.calibratorType);
}

/// Families of types that share one way of working.
namespace Family {
inline constexpr TypeSet tenrix = Types(10, 11, 12);
inline constexpr TypeSet pllRegisters = Types(11, 12);
inline constexpr TypeSet lcd = Types(4, 9, 19, 20, 22); ///< three channels by edges, dark values in the memory
inline constexpr TypeSet wide = Types(19, 20, 22);      ///< with multipliers of 16 bits
inline constexpr TypeSet bassix = Types(5, 6, 13, 14);  ///< one channel, in hertz
inline constexpr TypeSet bassixPlus = Types(13, 14);    ///< the light falls on the red channel
inline constexpr TypeSet greenBassix = Types(5, 6);     ///< the light falls on the green channel
inline constexpr TypeSet plover = Types(14, 16);        ///< memory in the Plover layout
inline constexpr TypeSet secondPage = Types(19, 20, 21, 22);
}

/// What a call accepts; named after the call, or the first of the calls that share it.
namespace Gate {
inline constexpr TypeSet autoMeasureYxy = Types(2, 3, 4, 9, 10, 11, 12, 19, 20, 22);
inline constexpr TypeSet measureYxy = Types(2, 3, 4, 9, 10, 11, 12, 19, 20, 22);
inline constexpr TypeSet monitorFrequency = Types(3, 4, 7, 9, 10, 11, 16, 17, 19, 20);
inline constexpr TypeSet integrationTime = Types(2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 16, 19, 20, 21, 22);
inline constexpr TypeSet numPeriods = Types(4, 6, 9, 13, 14, 19, 20, 22);
inline constexpr TypeSet measureLCDYxySim = Family::lcd;
inline constexpr TypeSet measureLCDYxy = Family::lcd | Family::tenrix;
inline constexpr TypeSet measureLuminance = Types(2, 3, 4, 6, 7, 9, 10, 11, 12, 13, 14, 16, 19, 20, 21, 22);
inline constexpr TypeSet heronLuminance = Types(7, 16);
inline constexpr TypeSet rawDataScaled = Types(2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 16, 18, 19, 20, 22);
inline constexpr TypeSet lcdRawDataScaled = Types(5, 6, 8, 13, 14);
inline constexpr TypeSet lcdLum = Types(8);
inline constexpr TypeSet rawData = Types(2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 16, 18, 19, 20, 21, 22);
inline constexpr TypeSet rgbValuesEx = Types(2, 3, 4, 9, 10, 11, 12, 18, 19, 20, 22);
inline constexpr TypeSet getDarkCurrent = Types(4, 5, 6, 9, 10, 11, 12, 13, 14, 18, 19, 20, 21, 22);
inline constexpr TypeSet averages = Family::tenrix;
inline constexpr TypeSet autoMeasureLuminance = Types(6, 13, 14, 21);
inline constexpr TypeSet pelicanMeasure = Types(9, 20, 22);
inline constexpr TypeSet ospreyMeasure = Family::wide;
inline constexpr TypeSet ambient = Types(20);
inline constexpr TypeSet userCalibration = Types(2, 3, 4, 9, 11, 12, 19, 20, 22);
inline constexpr TypeSet lcdLuminancePeriod = Types(6, 13, 14);
inline constexpr TypeSet lcdLuminanceEdge = Types(6, 13, 14, 21);
inline constexpr TypeSet lcdBassixDark = Types(5);
inline constexpr TypeSet progressive = Types(4, 9);
inline constexpr TypeSet channel1 = Types(21);
inline constexpr TypeSet syncMode = Types(19, 20, 21, 22);
inline constexpr TypeSet closeSerialAltrix = Types(2, 3, 4, 9, 10, 11, 12);
inline constexpr TypeSet storeDarkCurrent = Family::lcd | Family::bassix;
inline constexpr TypeSet resetDarkCurrent = Family::lcd | Family::tenrix | Types(6, 13, 14, 21);
inline constexpr TypeSet extendedCells = Family::tenrix;
inline constexpr TypeSet pllPeriod = Types(10);
inline constexpr TypeSet pllPeriodEx = Family::tenrix;
inline constexpr TypeSet pllRegisters = Family::pllRegisters;
inline constexpr TypeSet triggerMode = Types(11);
inline constexpr TypeSet dataFormat = Family::tenrix;
inline constexpr TypeSet tenrixDark = Family::tenrix;
}

/// What the open calls accept once the type is known.
namespace Opens {
inline constexpr TypeSet serialAltrix = Types(2, 3, 4, 9, 10, 11, 12);
inline constexpr TypeSet usbAltrix = Types(2, 3, 4, 9, 10, 11, 12, 18, 19, 20, 22);
inline constexpr TypeSet serialHeron = Types(7);
inline constexpr TypeSet usbHeron = Types(7, 16);
inline constexpr TypeSet lcdAltrixLum = Types(8);
inline constexpr TypeSet lcdAltrix = Types(9);
}

/// The functions 1 to 5 of zelSupportsFunction. Types that have one only from a firmware revision on stand apart.
struct FunctionRow {
    TypeSet types;
    TypeSet fromRevision601 = 0;
};

inline constexpr FunctionRow supportedFunctions[] = {
    {Types(8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18)},
    {Types(3, 4, 8, 9, 10, 11, 12, 15, 16, 17, 19, 20)},
    {Types(2, 3, 4, 5, 6, 13, 14, 15, 16, 17, 19, 20, 21, 22)},
    {Types(20)},
    {Types(21, 22), Types(19, 20)},
};

/// The two tests at the head of a call.
inline std::int32_t Enter(const CalDataBlock* device, TypeSet accepted)
{
    if (device == nullptr)
        return ZEL_BAD_ARGUMENT;
    if (device->header.isOpen == 0)
        return ZEL_NOT_OPEN;
    return IsType(device, accepted) ? ZEL_OK : ZEL_NOT_AVAILABLE;
}

/// The same for a call with pointers, none of which may be null.
template<typename... Pointer>
std::int32_t Enter(const CalDataBlock* device, TypeSet accepted, const Pointer*... pointers)
{
    if (const std::int32_t refusal = Enter(device, accepted))
        return refusal;
    return ((pointers != nullptr) && ...) ? ZEL_OK : ZEL_BAD_ARGUMENT;
}

}
