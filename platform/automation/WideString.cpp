#include "platform/automation/WideString.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace Platform::Automation {

namespace {

struct Prefix {
    std::uint32_t unused;
    std::uint32_t bytes;
};

const Prefix* PrefixOf(const OLECHAR* text)
{
    return reinterpret_cast<const Prefix*>(text) - 1;
}

bool IsHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendUtf8(std::string& out, char32_t point)
{
    const auto tail = [&out, point](int shift) { out += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
        out += static_cast<char>(point);
    } else if (point < 0x800) {
        out += static_cast<char>(0xC0 | (point >> 6));
        tail(0);
    } else if (point < 0x10000) {
        out += static_cast<char>(0xE0 | (point >> 12));
        tail(6);
        tail(0);
    } else {
        out += static_cast<char>(0xF0 | (point >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

/// What a first byte of UTF-8 says about its sequence (RFC 3629, section 4).
struct Sequence {
    std::size_t length; ///< bytes; 0 if no sequence begins so
    char32_t bits;      ///< what the first byte carries
    char32_t smallest;  ///< below it the sequence would be longer than it need be
};

Sequence SequenceOf(unsigned char first)
{
    if (first < 0x80)
        return {1, first, 0};
    if (first >= 0xC2 && first < 0xE0)
        return {2, first & 0x1FU, 0x80};
    if (first >= 0xE0 && first < 0xF0)
        return {3, first & 0x0FU, 0x800};
    if (first >= 0xF0 && first < 0xF5)
        return {4, first & 0x07U, 0x10000};
    return {0, 0, 0};
}

/// Takes one character off the front; '?' for one byte that begins none.
char32_t TakeUtf8(std::string_view& text)
{
    const auto [length, bits, smallest] = SequenceOf(static_cast<unsigned char>(text.front()));
    char32_t point = bits;
    bool valid = length > 0 && length <= text.size();
    for (std::size_t i = 1; valid && i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        valid = (byte & 0xC0) == 0x80;
        point = (point << 6) | (byte & 0x3FU);
    }
    valid = valid && point >= smallest && point <= 0x10FFFF && !IsHighSurrogate(point) && !IsLowSurrogate(point);
    text.remove_prefix(valid ? length : 1);
    return valid ? point : U'?';
}

}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept
{
    constexpr std::size_t longest = (std::numeric_limits<std::int32_t>::max() - sizeof(Prefix)) / sizeof(OLECHAR) - 1;
    if (length > longest)
        return nullptr;
    const std::size_t bytes = length * sizeof(OLECHAR);
    void* const block = std::calloc(1, sizeof(Prefix) + bytes + sizeof(OLECHAR));
    if (block == nullptr)
        return nullptr;
    auto* const prefix = new (block) Prefix{0, static_cast<std::uint32_t>(bytes)};
    auto* const units = reinterpret_cast<OLECHAR*>(prefix + 1);
    if (text != nullptr)
        std::memcpy(units, text, bytes);
    return units;
}

BSTR SysAllocString(const OLECHAR* text) noexcept
{
    if (text == nullptr)
        return nullptr;
    const std::size_t length = std::char_traits<OLECHAR>::length(text);
    return length > std::numeric_limits<UINT>::max() ? nullptr : SysAllocStringLen(text, static_cast<UINT>(length));
}

void SysFreeString(BSTR text) noexcept
{
    if (text != nullptr)
        std::free(reinterpret_cast<Prefix*>(text) - 1);
}

UINT SysStringByteLen(const OLECHAR* text) noexcept
{
    return text == nullptr ? 0 : PrefixOf(text)->bytes;
}

UINT SysStringLen(const OLECHAR* text) noexcept
{
    return SysStringByteLen(text) / static_cast<UINT>(sizeof(OLECHAR));
}

std::string ToAnsi(const OLECHAR* text)
{
    const std::u16string_view units(text, SysStringLen(text));
    std::string out;
    out.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t point = units[i];
        if (IsHighSurrogate(point) && i + 1 < units.size() && IsLowSurrogate(units[i + 1]))
            point = 0x10000 + ((point - 0xD800) << 10) + (units[++i] - 0xDC00U);
        else if (point == 0 || IsHighSurrogate(point) || IsLowSurrogate(point))
            point = U'?';
        AppendUtf8(out, point);
    }
    return out;
}

BSTR FromAnsi(std::string_view text)
{
    std::u16string units;
    units.reserve(text.size());
    while (!text.empty()) {
        const char32_t point = TakeUtf8(text);
        if (point >= 0x10000) {
            units += static_cast<OLECHAR>(0xD800 + ((point - 0x10000) >> 10));
            units += static_cast<OLECHAR>(0xDC00 + ((point - 0x10000) & 0x3FF));
        } else {
            units += static_cast<OLECHAR>(point);
        }
    }
    const BSTR made = units.size() > std::numeric_limits<UINT>::max()
        ? nullptr
        : SysAllocStringLen(units.data(), static_cast<UINT>(units.size()));
    if (made == nullptr)
        throw std::bad_alloc();
    return made;
}

}
