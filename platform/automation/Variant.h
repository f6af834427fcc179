#pragma once

#include "platform/automation/Types.h"

/// Values and arrays that change hands at the automation boundary.
namespace Platform::Automation {

void VariantInit(VARIANT* value) noexcept;

/// Releases what the value owns and leaves it empty. What it holds by reference belongs to somebody else.
/// @return E_POINTER for null; S_OK
HRESULT VariantClear(VARIANT* value) noexcept;

/// Converts a value to text (VT_BSTR) or to a 32-bit integer (VT_I4), the two types that arguments are passed in.
///
/// Sources: nothing (0, ""), all integers, floats, booleans (-1 and 0), texts, each by reference too, and a reference
/// to a variant. A number is rounded to the nearest integer, halves to the even one. Texts are in the classic form
/// whatever the locale is: 7 significant digits from a float, 15 from a double.
/// @param to    overwritten when it works; clear it afterwards
/// @return S_OK; DISP_E_TYPEMISMATCH for another source or target, or a text that is no number; DISP_E_OVERFLOW;
///         E_OUTOFMEMORY
HRESULT VariantChangeType(VARIANT* to, const VARIANT* from, USHORT flags, VARTYPE type) noexcept;

/// A value that is cleared with its owner.
class OwnedVariant : public VARIANT {
public:
    OwnedVariant() noexcept { VariantInit(this); }
    ~OwnedVariant() { VariantClear(this); }
    OwnedVariant(OwnedVariant&& other) noexcept : VARIANT(other.Detach()) { }
    OwnedVariant(const OwnedVariant&) = delete;
    OwnedVariant& operator=(const OwnedVariant&) = delete;

    /// Hands the value over and is empty.
    VARIANT Detach() noexcept
    {
        const VARIANT value = *this;
        VariantInit(this);
        return value;
    }
};

/// Makes an array of numbers, all zero.
/// @param type    VT_I1 to VT_UI8, VT_R4, VT_R8 or VT_BOOL
/// @param bounds  `dimensions` of them, the leftmost first
/// @return null for another type, for no dimension, or without memory
SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) noexcept;

/// @return DISP_E_ARRAYISLOCKED while it is locked; S_OK, also for null
HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept;

/// @return number of dimensions, 0 for null
UINT SafeArrayGetDim(const SAFEARRAY* array) noexcept;

}
