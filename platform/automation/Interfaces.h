#pragma once

#include "platform/automation/Types.h"

/// The interfaces of the component-object services that the control offers or is handed. The functions stand in the
/// order of the services' tables, and no interface has a destructor: an object goes with its last Release.
namespace Platform::Automation {

class DrawingContext;
struct ITypeInfo;
struct ITypeLib;
struct FUNCDESC;
struct TYPEATTR;
struct TLIBATTR;
enum TYPEKIND : std::int32_t;

using HDC = DrawingContext*;

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

constexpr GUID WellKnown(std::uint32_t first)
{
    return {first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

inline constexpr IID IID_IUnknown = WellKnown(0x00000000);
inline constexpr IID IID_IClassFactory = WellKnown(0x00000001);
inline constexpr IID IID_IPersist = WellKnown(0x0000010C);
inline constexpr IID IID_IViewObject = WellKnown(0x0000010D);
inline constexpr IID IID_IDispatch = WellKnown(0x00020400);
inline constexpr IID IID_ITypeInfo = WellKnown(0x00020401);
inline constexpr IID IID_ITypeLib = WellKnown(0x00020402);
inline constexpr IID IID_IPersistStreamInit = {
    0x7FD52380, 0x4E07, 0x101B, {0xAE, 0x2D, 0x08, 0x00, 0x2B, 0x2E, 0xC7, 0x13}};

struct IUnknown {
    /// @param object  receives the interface with a reference of its own, null on failure
    /// @return S_OK; E_NOINTERFACE; E_POINTER
    virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;
};

struct IClassFactory : IUnknown {
    virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
    virtual HRESULT LockServer(BOOL lock) = 0;
};

struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
    virtual HRESULT GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) = 0;
    virtual HRESULT Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* parameters,
                           VARIANT* result, EXCEPINFO* exception, UINT* argumentError) = 0;
};

/// The head of the services' stream interface: the two functions that persistence uses.
struct ISequentialStream : IUnknown {
    virtual HRESULT Read(void* buffer, ULONG bytes, ULONG* done) = 0;
    virtual HRESULT Write(const void* buffer, ULONG bytes, ULONG* done) = 0;
};
using IStream = ISequentialStream;

struct IPersistStreamInit : IUnknown {
    virtual HRESULT GetClassID(CLSID* clsid) = 0;
    virtual HRESULT IsDirty() = 0;
    virtual HRESULT Load(IStream* stream) = 0;
    virtual HRESULT Save(IStream* stream, BOOL clearDirty) = 0;
    virtual HRESULT GetSizeMax(std::uint64_t* bytes) = 0;
    virtual HRESULT InitNew() = 0;
};

inline constexpr DWORD DVASPECT_CONTENT = 1;

struct IViewObject : IUnknown {
    virtual HRESULT Draw(DWORD aspect, LONG index, void* aspectInfo, void* targetDevice, HDC target, HDC draw,
                         const RECT* bounds, const RECT* windowBounds, BOOL (*proceed)(std::size_t),
                         std::size_t proceedArgument) = 0;
    virtual HRESULT GetColorSet(DWORD aspect, LONG index, void* aspectInfo, void* targetDevice, HDC target,
                                void** colors) = 0;
    virtual HRESULT Freeze(DWORD aspect, LONG index, void* aspectInfo, DWORD* freeze) = 0;
    virtual HRESULT Unfreeze(DWORD freeze) = 0;
    virtual HRESULT SetAdvise(DWORD aspects, DWORD flags, IUnknown* sink) = 0;
    virtual HRESULT GetAdvise(DWORD* aspects, DWORD* flags, IUnknown** sink) = 0;
};

struct ITypeInfo : IUnknown {
    virtual HRESULT GetTypeAttr(TYPEATTR** attributes) = 0;
    virtual HRESULT GetTypeComp(void** binding) = 0;
    virtual HRESULT GetFuncDesc(UINT index, FUNCDESC** function) = 0;
    virtual HRESULT GetVarDesc(UINT index, void** variable) = 0;
    virtual HRESULT GetNames(MEMBERID member, BSTR* names, UINT room, UINT* count) = 0;
    virtual HRESULT GetRefTypeOfImplType(UINT index, DWORD* reference) = 0;
    virtual HRESULT GetImplTypeFlags(UINT index, std::int32_t* flags) = 0;
    virtual HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) = 0;
    virtual HRESULT Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                           EXCEPINFO* exception, UINT* argumentError) = 0;
    virtual HRESULT GetDocumentation(MEMBERID member, BSTR* name, BSTR* text, DWORD* helpContext, BSTR* helpFile) = 0;
    virtual HRESULT GetDllEntry(MEMBERID member, std::int32_t kind, BSTR* library, BSTR* name, WORD* ordinal) = 0;
    virtual HRESULT GetRefTypeInfo(DWORD reference, ITypeInfo** info) = 0;
    virtual HRESULT AddressOfMember(MEMBERID member, std::int32_t kind, void** address) = 0;
    virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
    virtual HRESULT GetMops(MEMBERID member, BSTR* mops) = 0;
    virtual HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) = 0;
    virtual void ReleaseTypeAttr(TYPEATTR* attributes) = 0;
    virtual void ReleaseFuncDesc(FUNCDESC* function) = 0;
    virtual void ReleaseVarDesc(void* variable) = 0;
};

struct ITypeLib : IUnknown {
    virtual UINT GetTypeInfoCount() = 0;
    virtual HRESULT GetTypeInfo(UINT index, ITypeInfo** info) = 0;
    virtual HRESULT GetTypeInfoType(UINT index, TYPEKIND* kind) = 0;
    virtual HRESULT GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) = 0;
    virtual HRESULT GetLibAttr(TLIBATTR** attributes) = 0;
    virtual HRESULT GetTypeComp(void** binding) = 0;
    virtual HRESULT GetDocumentation(std::int32_t index, BSTR* name, BSTR* text, DWORD* helpContext,
                                     BSTR* helpFile) = 0;
    virtual HRESULT IsName(LPOLESTR name, ULONG hash, BOOL* is) = 0;
    virtual HRESULT FindName(LPOLESTR name, ULONG hash, ITypeInfo** infos, MEMBERID* members, USHORT* found) = 0;
    virtual void ReleaseTLibAttr(TLIBATTR* attributes) = 0;
};

}
