#pragma once

#include <cstdint>
#include <vector>

namespace Vondrel::DeviceDriver::Generic::Calculation {

/// True if a spectrum has the shape of the white reference, seen through the instrument's filter: relative to the
/// reference and to 550 nm, the mean levels at 380 and 390 nm and from 600 to 650 nm lie in the filter's range, ends
/// included. The shape only: a neutral grey passes. What is not a number is not in range, and neither is a spectrum or
/// a reference of fewer bands than that.
/// @param reference  what the white should show, at least as many bands as the spectrum
/// @param filter     code of the physical filter; 130 lets no ultraviolet through
/// @throws CalculationException "Devision by zero": a band of the reference, or the spectrum at 550 nm, is 0
bool HasShapeOfWhite(const std::vector<float>& spectrum, const std::vector<float>& reference, std::int32_t filter);

}
