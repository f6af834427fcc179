#pragma once

#include "orvex/zelcal.h"

#include <cstdint>

/// The refresh rate of the screen, and the integration time that fits it.
namespace Toolkit {

/// Bits of `timingFlags`, the only state that joins measurements.
inline constexpr std::uint16_t timeIsSet = 1;      ///< the integration time is set for the current refresh rate
inline constexpr std::uint16_t rateIsMeasured = 2; ///< the refresh rate has been measured

/// Measures the refresh rate and sets the integration time where that was not done, or only sets the time. An
/// instrument that cannot measure the rate integrates for one second.
std::int32_t AdaptIntegrationTime(CalDataBlock* device);

/// How many counts a frequency reading must exceed to be believed.
inline double BelievableCount(const CalDataBlock* device)
{
    return 0.75 * device->header.numPeriods;
}

}
