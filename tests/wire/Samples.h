#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Bytes as the trace writes them: "01 02 FF".
std::string Hex(std::span<const std::uint8_t> bytes);

/// `count` measurement blocks; every word of block i is first + i, the offset word is `offset`.
std::vector<std::uint8_t> Blocks(std::size_t count, std::uint16_t first, std::uint16_t offset = 0);
