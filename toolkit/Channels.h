#pragma once

#include "orvex/zelcal.h"
#include "toolkit/Types.h"

#include <algorithm>
#include <cstdint>

/// Channel values from counts, and colours from channel values.
///
/// A channel value is pulses during the channel's calibration time. What stands in `scaledRGB` comes from pulses that
/// were counted during the integration time; `periodRGB` and `edgeRGB` come from the clock counts that a number of
/// pulses took, and have the dark value subtracted.
namespace Toolkit {

inline constexpr double footLambert = 3.425014379251237;         ///< cd/m2
inline constexpr double inverseFootLambert = 0.2919695771375465; ///< foot-lamberts in one cd/m2
inline constexpr double footCandle = 10.76;                      ///< lux
inline constexpr std::uint16_t metricUnit = 1;                   ///< the value of the unit flag that asks for cd/m2

/// What a channel is worth that shows less than its dark.
inline constexpr double darkestValue = 0.0001;

/// The head of a measurement: the gate, and zeros in place of what the measurement before has left in the record and
/// in `out`. They stay where this one fails.
template<typename Out>
std::int32_t Begin(CalDataBlock* device, TypeSet accepted, Out* out, int count = 1)
{
    if (const std::int32_t refusal = Enter(device, accepted, out))
        return refusal;
    AltrixResetCalHeaderMeasData_M(device);
    std::fill_n(out, count, Out{});
    return ZEL_OK;
}

/// Whether the record tells how long a clock count is. Some types keep their clock in the memory alone, which may be
/// blank or nonsense: every reading counts as one of 0 then.
bool HasClock(const ZelCalHeader& header);

/// Seconds that one pulse took; 0 without a count or a clock.
/// @param clocks  clock counts that all pulses took together
double SecondsPerPulse(const ZelCalHeader& header, double clocks, double pulses);

/// How the multiplier of a second reading is limited: 0 and everything above the limit become `fallback`.
struct MultiplierLimit {
    std::uint32_t limit;
    std::uint32_t fallback;
};
inline constexpr MultiplierLimit byteMultiplier{255, 255};
inline constexpr MultiplierLimit wideMultiplier{65535, 2000};
inline constexpr MultiplierLimit channel1Multiplier{2000, 2000};

/// How many pulses a second reading must take so that it reaches the target; 1 if the first one has reached it.
std::uint32_t Multiplier(double target, std::uint32_t count, const MultiplierLimit& limit);

/// Sets the multipliers of the channels of `mask` (bit 0 red) after a first reading. True if one of them changed.
template<typename N>
bool SetMultipliers(const CalDataBlock* device, const std::uint32_t counts[3], unsigned mask,
                    const MultiplierLimit& limit, N multipliers[3])
{
    bool changed = false;
    for (int i = 0; i < 3; ++i) {
        if ((mask >> i & 1U) == 0)
            continue;
        multipliers[i] = static_cast<N>(Multiplier(device->header.targetCount, counts[i], limit));
        changed = changed || multipliers[i] != 1;
    }
    return changed;
}

/// `edgeRGB` of a channel from an edge count: pulses in the calibration time less the dark value. `darkestValue` if
/// that is not above 0, or if there was no count or no clock.
double EdgeValue(const ZelCalHeader& header, int channel, double count, double multiplier);

/// `periodRGB` of a channel from a period count, likewise.
double PeriodValue(const ZelCalHeader& header, int channel, double count, double multiplier);

/// Whether the instrument counts both edges of a pulse in its frequency channels.
bool CountsBothEdges(const CalDataBlock* device);

/// `scaledRGB` of a channel from its `channelCount`.
double ScaledValue(const ZelCalHeader& header, int channel, bool halve);

/// XYZ from a channel vector.
std::int32_t ApplyMatrix(const double matrix[9], const double vector[3], double XYZ[3]);

/// Multiplies a luminance in foot-lamberts if the flag asks for it.
inline double InUnit(double luminance, std::uint16_t unit, double factor = footLambert)
{
    return unit == metricUnit ? luminance * factor : luminance;
}

/// The result record of XYZ, in the unit of the flag. ZEL_NO_COLOUR if X + Y + Z is 0; x, y, z are 0 then, and Y stays.
std::int32_t Conclude(const double XYZ[3], std::uint16_t unit, ZelYxyz* out, double factor = footLambert);

/// The result record of a channel vector through the active matrix.
std::int32_t Conclude(const CalDataBlock* device, const double vector[3], std::uint16_t unit, ZelYxyz* out);

// ---- sweeps: short readings that are summed until there is enough

/// So many readings in a row without a pulse end a sweep: the light is gone. They add nothing.
inline constexpr int mostDarkReadings = 3;

/// The clock counts that a sweep must reach: at most what a field of the record holds; none without a clock.
double SweepTarget(const ZelCalHeader& header);

// ---- readings: they fill the counts of the record, with the multipliers that stand in it

/// Command 13 with `edgesRGB`; green and blue are fetched.
std::int32_t ReadEdges(CalDataBlock* device);

/// Command 22 after command 20 for all channels with `wideEdges`; green and blue are fetched into `wideCount` too.
std::int32_t ReadWideEdges(CalDataBlock* device);

/// A period command of one channel with `periodsRGB`.
std::int32_t ReadPeriods(CalDataBlock* device, int channel);

/// Command 19 with the channel argument, then 2 and 3, into `channelCount`.
std::int32_t ReadWideChannels(CalDataBlock* device, std::uint8_t channelArgument);

// ---- measurements: they fill `edgeRGB`. Of the three channels, those of `mask` (bit 0 red) get a second reading with
// more pulses if the first one shows too few clock counts.

std::int32_t MeasureSimultaneously(CalDataBlock* device, unsigned mask);
std::int32_t MeasureSimultaneouslyWide(CalDataBlock* device, unsigned mask);

}
