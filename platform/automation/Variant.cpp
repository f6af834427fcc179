#include "platform/automation/Variant.h"

#include "platform/automation/Interfaces.h"
#include "platform/automation/WideString.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace Platform::Automation {

namespace {

/// Calls `use` with the number that a variant holds or refers to, in its own type. False if it is none.
template<class Use>
bool WithNumber(const VARIANT& value, const Use& use)
{
    const void* const place = (value.vt & VT_BYREF) != 0 ? value.byref : &value.llVal;
    if (place == nullptr)
        return false;
    const auto pass = [&]<class Number>(Number number) {
        std::memcpy(&number, place, sizeof number);
        use(number);
        return true;
    };
    switch (value.vt & ~VT_BYREF) {
    case VT_I1:
        return pass(std::int8_t{});
    case VT_UI1:
        return pass(std::uint8_t{});
    case VT_I2:
    case VT_BOOL:
        return pass(std::int16_t{});
    case VT_UI2:
        return pass(std::uint16_t{});
    case VT_I4:
    case VT_INT:
        return pass(std::int32_t{});
    case VT_UI4:
    case VT_UINT:
        return pass(std::uint32_t{});
    case VT_I8:
        return pass(std::int64_t{});
    case VT_UI8:
        return pass(std::uint64_t{});
    case VT_R4:
        return pass(float{});
    case VT_R8:
        return pass(double{});
    default:
        return false;
    }
}

/// The text that a variant holds or refers to. False if it is none.
bool TextOf(const VARIANT& value, std::u16string_view& text)
{
    BSTR units = nullptr;
    if (value.vt == VT_BSTR)
        units = value.bstrVal;
    else if (value.vt == (VT_BYREF | VT_BSTR) && value.pbstrVal != nullptr)
        units = *value.pbstrVal;
    else
        return false;
    text = {units, SysStringLen(units)};
    return true;
}

HRESULT RoundToLong(double number, LONG& out)
{
    // Halves go to the even neighbour, whatever rounding mode the application has set.
    double rounded = std::round(number);
    if (std::abs(number - std::trunc(number)) == 0.5)
        rounded = 2 * std::round(number / 2);
    const bool fits = rounded >= std::numeric_limits<LONG>::min() && rounded <= std::numeric_limits<LONG>::max();
    if (!fits)
        return DISP_E_OVERFLOW;
    out = static_cast<LONG>(rounded);
    return S_OK;
}

HRESULT TextToLong(std::u16string_view text, LONG& out)
{
    char digits[64];
    std::size_t length = 0;
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == text.npos)
        return DISP_E_TYPEMISMATCH;
    text = text.substr(first, text.find_last_not_of(u' ') - first + 1);
    if (text.front() == u'+' && text.size() > 1 && text[1] != u'-')
        text.remove_prefix(1);
    for (const OLECHAR unit : text) {
        // Only what a decimal number is made of: the conversion below also knows "inf" and "nan".
        const bool belongs = unit < 0x80 && std::strchr("0123456789.+-eE", static_cast<char>(unit)) != nullptr;
        if (!belongs || unit == 0 || length == sizeof digits)
            return DISP_E_TYPEMISMATCH;
        digits[length++] = static_cast<char>(unit);
    }
    double number = 0.0;
    const auto [end, error] = std::from_chars(digits, digits + length, number);
    if (error == std::errc::result_out_of_range)
        return DISP_E_OVERFLOW;
    if (error != std::errc() || end != digits + length)
        return DISP_E_TYPEMISMATCH;
    return RoundToLong(number, out);
}

HRESULT ToLong(const VARIANT& from, LONG& out)
{
    std::u16string_view text;
    if (from.vt == VT_EMPTY) {
        out = 0;
        return S_OK;
    }
    if (TextOf(from, text))
        return TextToLong(text, out);
    HRESULT result = DISP_E_TYPEMISMATCH;
    WithNumber(from, [&](auto number) { result = RoundToLong(static_cast<double>(number), out); });
    return result;
}

BSTR NumberToText(auto number)
{
    char text[40];
    std::to_chars_result end{};
    if constexpr (std::is_floating_point_v<decltype(number)>)
        end = std::to_chars(text, text + sizeof text, number, std::chars_format::general,
                            std::numeric_limits<decltype(number)>::digits10 + (sizeof number == sizeof(float) ? 1 : 0));
    else
        end = std::to_chars(text, text + sizeof text, number);
    OLECHAR units[sizeof text];
    UINT length = 0;
    for (const char* c = text; c != end.ptr; ++c)
        units[length++] = static_cast<OLECHAR>(*c == 'e' ? 'E' : *c);
    return SysAllocStringLen(units, length);
}

HRESULT ToText(const VARIANT& from, BSTR& out)
{
    std::u16string_view text;
    bool known = from.vt == VT_EMPTY || TextOf(from, text);
    if (known)
        out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    else
        known = WithNumber(from, [&](auto number) { out = NumberToText(number); });
    if (!known)
        return DISP_E_TYPEMISMATCH;
    return out == nullptr ? E_OUTOFMEMORY : S_OK;
}

std::size_t ElementSize(VARTYPE type)
{
    const VARIANT sample{.vt = type, .wReserved1 = 0, .wReserved2 = 0, .wReserved3 = 0, .llVal = 0};
    std::size_t size = 0;
    WithNumber(sample, [&](auto number) { size = sizeof number; });
    return size;
}

}

void VariantInit(VARIANT* value) noexcept
{
    *value = VARIANT{};
}

HRESULT VariantClear(VARIANT* value) noexcept
{
    if (value == nullptr)
        return E_POINTER;
    HRESULT result = S_OK;
    if (value->vt == VT_BSTR)
        SysFreeString(value->bstrVal);
    else if ((value->vt == VT_UNKNOWN || value->vt == VT_DISPATCH) && value->punkVal != nullptr)
        value->punkVal->Release();
    else if ((value->vt & VT_ARRAY) != 0 && (value->vt & VT_BYREF) == 0)
        result = SafeArrayDestroy(value->parray);
    if (SUCCEEDED(result))
        VariantInit(value);
    return result;
}

HRESULT VariantChangeType(VARIANT* to, const VARIANT* from, USHORT, VARTYPE type) noexcept
{
    if (to == nullptr || from == nullptr)
        return E_POINTER;
    if (from->vt == (VT_BYREF | VT_VARIANT)) {
        from = from->pvarVal;
        if (from == nullptr || from->vt == (VT_BYREF | VT_VARIANT))
            return DISP_E_TYPEMISMATCH;
    }
    VARIANT made{};
    made.vt = type;
    HRESULT result = DISP_E_TYPEMISMATCH;
    if (type == VT_I4)
        result = ToLong(*from, made.lVal);
    else if (type == VT_BSTR)
        result = ToText(*from, made.bstrVal);
    if (SUCCEEDED(result))
        *to = made;
    return result;
}

SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) noexcept
{
    const std::size_t size = ElementSize(type);
    if (size == 0 || dimensions == 0 || dimensions > std::numeric_limits<USHORT>::max() || bounds == nullptr)
        return nullptr;
    std::size_t count = 1;
    for (UINT i = 0; i < dimensions; ++i) {
        if (bounds[i].cElements > std::numeric_limits<ULONG>::max() / size / (count == 0 ? 1 : count))
            return nullptr;
        count *= bounds[i].cElements;
    }
    void* const block = std::calloc(1, sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND));
    void* const data = std::calloc(count + 1, size);
    if (block == nullptr || data == nullptr) {
        std::free(block);
        std::free(data);
        return nullptr;
    }
    auto* const array = new (block) SAFEARRAY{};
    array->cDims = static_cast<USHORT>(dimensions);
    array->cbElements = static_cast<ULONG>(size);
    array->pvData = data;
    for (UINT i = 0; i < dimensions; ++i)
        std::memcpy(&array->rgsabound[0] + i, &bounds[dimensions - 1 - i], sizeof(SAFEARRAYBOUND));
    return array;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept
{
    if (array == nullptr)
        return S_OK;
    if (array->cLocks != 0)
        return DISP_E_ARRAYISLOCKED;
    std::free(array->pvData);
    std::free(array);
    return S_OK;
}

}
