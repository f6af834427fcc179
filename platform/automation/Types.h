#pragma once

#include <cstddef>
#include <cstdint>

/// The component-object services as far as the automation control needs them: what such a platform brings along, made
/// here for a platform that has none. Names, numbers and layouts are the services' own ("MS-OAUT: OLE Automation
/// Protocol" and the services' published reference), so that a host brings its own declarations, and a build against
/// the real services replaces this folder and nothing else. Text is UTF-16.
namespace Platform::Automation {

// ---- plain types

using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
/// Text with its length in bytes in the four bytes before the first unit, and a zero unit behind the last, which the
/// length does not count. The null pointer is the empty text. See WideString.h.
using BSTR = OLECHAR*;

using HRESULT = std::int32_t; ///< negative is a failure
using SCODE = std::int32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT = std::uint32_t;
using DWORD = std::uint32_t;
using WORD = std::uint16_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using BOOL = std::int32_t;
using LCID = std::uint32_t;
using DISPID = std::int32_t;
using MEMBERID = DISPID;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t; ///< -1 is true

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const GUID&;
using REFCLSID = const GUID&;
using REFGUID = const GUID&;

inline constexpr GUID GUID_NULL{};
inline constexpr GUID IID_NULL{};

// ---- results

constexpr HRESULT Result(std::uint32_t bits)
{
    return static_cast<HRESULT>(bits);
}

constexpr bool SUCCEEDED(HRESULT result)
{
    return result >= 0;
}
constexpr bool FAILED(HRESULT result)
{
    return result < 0;
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = Result(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = Result(0x80004002);
inline constexpr HRESULT E_POINTER = Result(0x80004003);
inline constexpr HRESULT E_FAIL = Result(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = Result(0x8000FFFF);
inline constexpr HRESULT E_OUTOFMEMORY = Result(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = Result(0x80070057);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = Result(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = Result(0x80040111);
inline constexpr HRESULT CO_E_CLASSSTRING = Result(0x800401F3);
inline constexpr HRESULT SELFREG_E_TYPELIB = Result(0x80040200);
inline constexpr HRESULT SELFREG_E_CLASS = Result(0x80040201);
inline constexpr HRESULT DV_E_DVASPECT = Result(0x8004006B);
inline constexpr HRESULT DISP_E_UNKNOWNINTERFACE = Result(0x80020001);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = Result(0x80020003);
inline constexpr HRESULT DISP_E_PARAMNOTFOUND = Result(0x80020004);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = Result(0x80020005);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = Result(0x80020006);
inline constexpr HRESULT DISP_E_EXCEPTION = Result(0x80020009);
inline constexpr HRESULT DISP_E_OVERFLOW = Result(0x8002000A);
inline constexpr HRESULT DISP_E_BADINDEX = Result(0x8002000B);
inline constexpr HRESULT DISP_E_ARRAYISLOCKED = Result(0x8002000D);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = Result(0x8002000E);
inline constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = Result(0x8002000F);
inline constexpr HRESULT TYPE_E_ELEMENTNOTFOUND = Result(0x8002802B);
inline constexpr HRESULT TYPE_E_LIBNOTREGISTERED = Result(0x8002801D);

// ---- variants and arrays

enum : VARTYPE {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
};

struct SAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
};

/// Array descriptor. One bound follows another behind `rgsabound`, the rightmost dimension first.
struct SAFEARRAY {
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    void* pvData;
    SAFEARRAYBOUND rgsabound[1];
};

struct IUnknown;
struct IDispatch;

/// One value with its type. VT_BYREF: the member is a pointer to the value.
struct VARIANT {
    struct Record {
        void* pvRecord;
        void* pRecInfo;
    };

    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        std::int64_t llVal;
        std::uint64_t ullVal;
        LONG lVal;
        ULONG ulVal;
        SHORT iVal;
        USHORT uiVal;
        std::int8_t cVal;
        std::uint8_t bVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        LONG* plVal;
        float* pfltVal;
        double* pdblVal;
        BSTR* pbstrVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        void* byref;
        Record record;
    };
};
using VARIANTARG = VARIANT;

/// The arguments of a dispatched call, the last one first; the named ones stand before the others.
struct DISPPARAMS {
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

/// What went wrong inside a dispatched call, with DISP_E_EXCEPTION. The host frees the texts.
struct EXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    void* pvReserved;
    HRESULT (*pfnDeferredFillIn)(EXCEPINFO*);
    SCODE scode;
};

inline constexpr WORD DISPATCH_METHOD = 1;
inline constexpr DISPID DISPID_UNKNOWN = -1;

static_assert(sizeof(GUID) == 16 && sizeof(OLECHAR) == 2 && sizeof(SAFEARRAYBOUND) == 8);
static_assert(offsetof(VARIANT, llVal) == 8 && sizeof(VARIANT) == 8 + 2 * sizeof(void*));
static_assert(sizeof(void*) != 8 || (offsetof(SAFEARRAY, pvData) == 16 && sizeof(SAFEARRAY) == 32));
static_assert(sizeof(void*) != 8 || (sizeof(DISPPARAMS) == 24 && sizeof(EXCEPINFO) == 64));

}
