#pragma once

#include <cstdint>

/// Numbers to and from bytes, most significant byte first. Each function writes or reads exactly the number's size at
/// the pointer, which need not be aligned.
namespace Vondrel::DeviceDriver::Generic::Configuration::EndianConversion {

void ShortToByteArray(std::int16_t value, std::uint8_t* bytes);
void ShortToByteArray(std::uint16_t value, std::uint8_t* bytes);
void LongToByteArray(std::int32_t value, std::uint8_t* bytes);
void LongToByteArray(std::uint32_t value, std::uint8_t* bytes);
/// Moves the bits of an IEEE 754 single, those of a NaN included.
void FloatToByteArray(float value, std::uint8_t* bytes);

std::int16_t ByteArrayToShort(const std::uint8_t* bytes);
std::int32_t ByteArrayToLong(const std::uint8_t* bytes);
float ByteArrayToFloat(const std::uint8_t* bytes);

}
