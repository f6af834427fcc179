#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"

#include <bit>

namespace Vondrel::DeviceDriver::Generic::Configuration::EndianConversion {

void ShortToByteArray(std::int16_t value, std::uint8_t* bytes)
{
    ShortToByteArray(static_cast<std::uint16_t>(value), bytes);
}

void ShortToByteArray(std::uint16_t value, std::uint8_t* bytes)
{
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

void LongToByteArray(std::int32_t value, std::uint8_t* bytes)
{
    LongToByteArray(static_cast<std::uint32_t>(value), bytes);
}

void LongToByteArray(std::uint32_t value, std::uint8_t* bytes)
{
    bytes[0] = static_cast<std::uint8_t>(value >> 24);
    bytes[1] = static_cast<std::uint8_t>(value >> 16);
    bytes[2] = static_cast<std::uint8_t>(value >> 8);
    bytes[3] = static_cast<std::uint8_t>(value);
}

void FloatToByteArray(float value, std::uint8_t* bytes)
{
    LongToByteArray(std::bit_cast<std::uint32_t>(value), bytes);
}

std::int16_t ByteArrayToShort(const std::uint8_t* bytes)
{
    return static_cast<std::int16_t>(bytes[0] << 8 | bytes[1]);
}

std::int32_t ByteArrayToLong(const std::uint8_t* bytes)
{
    return static_cast<std::int32_t>(std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16
                                     | std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]});
}

float ByteArrayToFloat(const std::uint8_t* bytes)
{
    return std::bit_cast<float>(ByteArrayToLong(bytes));
}

}
