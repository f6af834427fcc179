#pragma once

#include "virtual/orvex-virtual.h"

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

/// What a step gives: in words, and the bytes that came.
struct Outcome {
    std::string words, bytes;
};

/// Whether there is an oxv_ call of that name, told without "oxv_".
bool IsBenchCall(const std::string& name);

/// Makes the call with arguments word by word. An attached instrument becomes the device.
Outcome MakeBenchCall(const std::string& name, oxv_device& device, std::istream& words);

std::string Hex(const std::uint8_t* bytes, std::size_t size);
std::vector<std::uint8_t> HexBytes(std::istream& words);
