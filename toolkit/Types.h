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

/// Families of types that share one way of working. The numbers 3, 12, 15, 17 and 18 are reserved: no instrument has
/// them.
namespace Family {
inline constexpr TypeSet pulsesOnly = Types(2, 3); ///< three channels by pulses in the integration time
inline constexpr TypeSet altrix = Types(4);
inline constexpr TypeSet lcdAltrix = Types(9);
inline constexpr TypeSet pllRegisters = Types(11, 12);
inline constexpr TypeSet tenrix = Types(10) | pllRegisters; ///< subtracts the dark by itself
inline constexpr TypeSet osprey = Types(19);
inline constexpr TypeSet ambientOsprey = Types(20);
inline constexpr TypeSet laterOsprey = ambientOsprey | Types(22);
inline constexpr TypeSet wide = osprey | laterOsprey;        ///< with multipliers of 16 bits
inline constexpr TypeSet lcd = altrix | lcdAltrix | wide;    ///< three channels by edges, dark values in the memory
inline constexpr TypeSet colour = pulsesOnly | tenrix | lcd; ///< XYZ through a matrix, calibrated by counts
inline constexpr TypeSet heron = Types(7, 16);
inline constexpr TypeSet lcdLum = Types(8);
inline constexpr TypeSet readOnlyBassix = Types(5);               ///< keeps nothing in its memory
inline constexpr TypeSet greenBassix = readOnlyBassix | Types(6); ///< the light falls on the green channel
inline constexpr TypeSet bassixPlus = Types(13, 14);              ///< the light falls on the red channel
inline constexpr TypeSet bassix = greenBassix | bassixPlus;       ///< one channel, in hertz
inline constexpr TypeSet calibratedBassix = bassix & ~readOnlyBassix;
inline constexpr TypeSet channel1 = Types(21);
inline constexpr TypeSet plover = Types(14, 16); ///< memory in the Plover layout
inline constexpr TypeSet reserved18 = Types(18);
}

/// What a call accepts; named after the call, or the first of the calls that share it.
namespace Gate {
inline constexpr TypeSet measureYxy = Family::colour;
inline constexpr TypeSet monitorFrequency =
    Types(3, 17) | Family::altrix | Family::lcdAltrix | Family::heron | Types(10, 11) | Types(19, 20);
inline constexpr TypeSet integrationTime = Family::colour | Family::heron | Family::bassix | Family::channel1;
inline constexpr TypeSet numPeriods = Family::lcd | Family::calibratedBassix;
inline constexpr TypeSet measureLCDYxySim = Family::lcd;
inline constexpr TypeSet measureLCDYxy = Family::lcd | Family::tenrix;
inline constexpr TypeSet measureLuminance =
    Family::colour | Family::heron | Family::calibratedBassix | Family::channel1;
inline constexpr TypeSet heronLuminance = Family::heron;
inline constexpr TypeSet lcdRawDataScaled = Family::bassix | Family::lcdLum;
inline constexpr TypeSet rawDataScaled = Family::colour | Family::heron | lcdRawDataScaled | Family::reserved18;
inline constexpr TypeSet lcdLum = Family::lcdLum;
inline constexpr TypeSet rawData =
    Family::colour | Family::heron | Family::greenBassix | Family::channel1 | Family::reserved18;
inline constexpr TypeSet rgbValuesEx = Family::colour | Family::reserved18;
inline constexpr TypeSet getDarkCurrent = measureLCDYxy | Family::bassix | Family::channel1 | Family::reserved18;
inline constexpr TypeSet averages = Family::tenrix;
inline constexpr TypeSet pelicanMeasure = Family::lcdAltrix | Family::laterOsprey;
inline constexpr TypeSet ospreyMeasure = Family::wide;
inline constexpr TypeSet ambient = Family::ambientOsprey;
inline constexpr TypeSet userCalibration = Family::colour & ~Types(10);
inline constexpr TypeSet lcdLuminancePeriod = Family::calibratedBassix;
inline constexpr TypeSet lcdLuminanceEdge = Family::calibratedBassix | Family::channel1;
inline constexpr TypeSet lcdBassixDark = Family::readOnlyBassix;
inline constexpr TypeSet progressive = Family::altrix | Family::lcdAltrix;
inline constexpr TypeSet channel1 = Family::channel1;
inline constexpr TypeSet syncMode = Family::wide | Family::channel1;
inline constexpr TypeSet storeDarkCurrent = Family::lcd | Family::bassix;
inline constexpr TypeSet resetDarkCurrent = measureLCDYxy | lcdLuminanceEdge;
inline constexpr TypeSet pllPeriod = Types(10);
inline constexpr TypeSet triggerMode = Types(11);
}

/// What the open calls accept once the type is known.
namespace Opens {
inline constexpr TypeSet serialAltrix = Family::colour & ~Family::wide;
inline constexpr TypeSet usbAltrix = Family::colour | Family::reserved18;
inline constexpr TypeSet serialHeron = Types(7);
inline constexpr TypeSet usbHeron = Family::heron;
inline constexpr TypeSet lcdAltrixLum = Family::lcdLum;
inline constexpr TypeSet lcdAltrix = Family::lcdAltrix;
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
