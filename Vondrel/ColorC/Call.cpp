#include "Vondrel/ColorC/Call.h"

#include <algorithm>
#include <bit>
#include <cstdio>

namespace Vondrel::ColorC {

namespace {

thread_local char errorText[256]; // trivial: nothing to destroy when a thread ends

constexpr std::size_t elementSize = 4;

bool Overlap(std::size_t count, const Array& a, const Array& b)
{
    const auto first = [](const Array& array) { return reinterpret_cast<std::uintptr_t>(array.data); };
    const auto size = [count](const Array& array) { return count * array.rowSize * elementSize; };
    return first(a) < first(b) ? first(b) - first(a) < size(a) : first(a) - first(b) < size(b);
}

}

void ClearError() noexcept
{
    errorText[0] = '\0';
}

std::int32_t KeepError(std::int32_t code, const char* text) noexcept
{
    std::snprintf(errorText, sizeof errorText, "%s", text);
    return code;
}

std::int32_t KeepError(std::int32_t code, const char* text, std::size_t row) noexcept
{
    std::snprintf(errorText, sizeof errorText, "row %zu: %s", row, text);
    return code;
}

void CheckArrays(std::size_t count, std::initializer_list<Array> inputs, std::initializer_list<Array> outputs)
{
    const auto check = [count](const Array& array) {
        if (count == 0)
            return;
        RequireNonNull(array.data);
        if (count > std::numeric_limits<std::size_t>::max() / elementSize / array.rowSize)
            throw Refusal{OX_InvalidParameter, "more rows than memory can hold"};
    };
    for (const auto& input : inputs)
        check(input);
    for (const auto* output = outputs.begin(); output != outputs.end(); ++output) {
        check(*output);
        for (const auto& input : inputs)
            if (Overlap(count, input, *output) && (input.data != output->data || input.rowSize != output->rowSize))
                throw Refusal{OX_InvalidParameter, "arrays overlap"};
        for (const auto* other = outputs.begin(); other != output; ++other)
            if (Overlap(count, *other, *output))
                throw Refusal{OX_InvalidParameter, "arrays overlap"};
    }
}

bool AllFinite(const float* values, std::size_t count) noexcept
{
    constexpr std::int32_t exponent = 0x7f800000;
    std::int32_t greatest = 0; // of the bits without their sign: the order of integers is that of floats
    for (std::size_t i = 0; i < count; ++i)
        greatest = std::max(greatest, std::bit_cast<std::int32_t>(values[i]) & 0x7fffffff);
    return greatest < exponent;
}

}

extern "C" const char* oxc_error(void)
{
    return Vondrel::ColorC::errorText;
}
