#pragma once

#include <cstdint>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// A number rounded toward zero.
/// @throws DataException "Number out of range": not a number, or beyond 32 bits
std::int32_t Truncate(double number);

}
