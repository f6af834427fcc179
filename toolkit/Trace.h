#pragma once

#include "orvex/zelcal.h"

#include <cstdint>
#include <cstdio>

/// The communication trace: a file "zelio.txt" in the current directory, opened for every step and closed after it, so
/// that it is whole after a crash. A directory that cannot be written is no failure.
namespace Toolkit {

/// Opens the trace for one step: null while tracing is off, or if the file cannot be written.
std::FILE* BeginTrace(CalDataBlock* device);

void EndTrace(CalDataBlock* device);

/// Prints `shown` bytes; those from `length` on are printed as 0.
void TraceBytes(std::FILE* trace, const std::uint8_t* bytes, std::uint32_t length, std::uint32_t shown);

}
