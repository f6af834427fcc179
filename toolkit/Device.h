#pragma once

#include "orvex/zelcal.h"
#include "toolkit/Types.h"

#include <cstdint>

namespace Toolkit {

/// What zelGetToolkitRev tells.
inline constexpr char toolkitRevision[] = "Zelkova Imaging ZelCal Library Ver. 6.4.1";

/// The record of every call without _M.
CalDataBlock* DefaultDevice();

/// A date of the memory as the C library's ctime writes it, with its newline. Empty for a blank date, and for one that
/// the platform cannot express.
/// @param seconds  since 1970-01-01 UTC
/// @param text     receives at most 32 bytes with the final zero
void FormatDate(std::uint32_t seconds, char text[32]);

}
