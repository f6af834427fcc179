#include "tests/wire/Samples.h"

#include <cstdio>

std::string Hex(std::span<const std::uint8_t> bytes)
{
    std::string text;
    for (const auto byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, text.empty() ? "%02X" : " %02X", byte);
        text += digits;
    }
    return text;
}

std::vector<std::uint8_t> Blocks(std::size_t count, std::uint16_t first, std::uint16_t offset)
{
    std::vector<std::uint8_t> blocks;
    for (std::size_t block = 0; block < count; ++block)
        for (int word = 0; word < 128; ++word) {
            const auto value = static_cast<std::uint16_t>(word < 127 ? first + block : offset);
            blocks.push_back(static_cast<std::uint8_t>(value >> 8));
            blocks.push_back(static_cast<std::uint8_t>(value));
        }
    return blocks;
}
