#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Property.h"

#include <string>

/// Device properties as option texts.
namespace OrvexSDK {

/// A property from a text; its spelling decides the type: with a point floats, without one longs, with a blank a list.
/// Empty tokens of a list are skipped, so that a list that was read can be written again.
/// @throws std::invalid_argument  no number there
Vondrel::DeviceDriver::Generic::Configuration::Property PropertyFromText(const std::string& text);

/// A scalar in decimal; each element of a list with a blank behind it; empty for a property without a type.
std::string TextFromProperty(const Vondrel::DeviceDriver::Generic::Configuration::Property& property);

}
