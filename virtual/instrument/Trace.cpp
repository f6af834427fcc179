#include "virtual/instrument/Trace.h"

#include <utility>

namespace Virtual {

std::string HexBytes(std::span<const std::uint8_t> bytes)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 3);
    for (const std::uint8_t byte : bytes)
        text.append({' ', digits[byte >> 4], digits[byte & 15]});
    return text;
}

void Trace::Add(Channel channel, std::string line)
{
    auto& kept = lines[static_cast<std::size_t>(channel)];
    if (kept.size() == mostLines)
        kept.pop_front();
    kept.push_back(std::move(line));
}

std::string Trace::Text(Channel channel) const
{
    std::string text;
    for (const auto& line : lines[static_cast<std::size_t>(channel)])
        text.append(line).push_back('\n');
    return text;
}

void Trace::Clear()
{
    for (auto& kept : lines)
        kept.clear();
}

}
