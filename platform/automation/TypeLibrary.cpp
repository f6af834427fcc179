#include "platform/automation/TypeLibrary.h"

#include "platform/automation/Dispatch.h"
#include "platform/automation/Module.h"
#include "platform/automation/TypeData.h"
#include "platform/automation/WideString.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace Platform::Automation {

namespace {

/// References of an object with one interface besides the common one. While it stands the module stays loaded.
template<class Interface, const IID& own>
class Counted : public Interface {
public:
    Counted() { LockModule(); }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        const bool known = iid == IID_IUnknown || iid == own;
        *object = known ? this : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }

    ULONG AddRef() override { return ++references; }

    ULONG Release() override
    {
        const ULONG left = --references;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    virtual ~Counted() { UnlockModule(); }

private:
    std::atomic<ULONG> references = 1;
};

constexpr TYPEDESC Plain(VARTYPE type)
{
    return {{nullptr}, type};
}

constexpr TYPEDESC Pointing(VARTYPE type, const TYPEDESC& to)
{
    return {{&to}, type};
}

constexpr TYPEDESC longType = Plain(VT_I4);
constexpr TYPEDESC floatType = Plain(VT_R4);
constexpr TYPEDESC floatArrayType = Pointing(VT_SAFEARRAY, floatType);

TYPEDESC TypeOf(ParameterType type)
{
    switch (type) {
    case ParameterType::Text:
        return Plain(VT_BSTR);
    case ParameterType::Long:
        return longType;
    case ParameterType::LongReference:
        return Pointing(VT_PTR, longType);
    case ParameterType::FloatReference:
        return Pointing(VT_PTR, floatType);
    case ParameterType::FloatArrayReference:
        return Pointing(VT_PTR, floatArrayType);
    }
    return Plain(VT_EMPTY);
}

USHORT FlagsOf(ParameterType type)
{
    const bool isPlain = type == ParameterType::Text || type == ParameterType::Long;
    return isPlain ? PARAMFLAG_FIN : PARAMFLAG_FIN | PARAMFLAG_FOUT;
}

struct FunctionData {
    FUNCDESC function{};
    ELEMDESC parameters[longestParameterList]{};
};

FUNCDESC* MakeFunction(const MethodDescription& method)
{
    auto* const made = new (std::nothrow) FunctionData;
    if (made == nullptr)
        return nullptr;
    made->function.memid = method.id;
    made->function.lprgelemdescParam = made->parameters;
    made->function.funckind = FUNC_DISPATCH;
    made->function.invkind = INVOKE_FUNC;
    made->function.callconv = CC_STDCALL;
    made->function.cParams = static_cast<SHORT>(method.parameters.size());
    made->function.elemdescFunc.tdesc = Plain(method.result);
    for (std::size_t i = 0; i < method.parameters.size(); ++i)
        made->parameters[i] = {TypeOf(method.parameters[i]), {nullptr, FlagsOf(method.parameters[i])}};
    return &made->function;
}

TYPEKIND KindOf(const TypeDescription& type)
{
    return type.role == TypeRole::Class ? TKIND_COCLASS : TKIND_DISPATCH;
}

TYPEATTR* MakeAttributes(const TypeLibraryDescription& library, const TypeDescription& type)
{
    const bool isClass = type.role == TypeRole::Class;
    auto* const made = new (std::nothrow) TYPEATTR{};
    if (made == nullptr)
        return nullptr;
    made->guid = type.id;
    made->memidConstructor = MEMBERID_NIL;
    made->memidDestructor = MEMBERID_NIL;
    made->cbSizeInstance = sizeof(void*);
    made->typekind = KindOf(type);
    made->cFuncs = static_cast<WORD>(type.methods.size());
    made->cImplTypes = isClass ? 2 : 0;
    made->cbSizeVft = isClass ? 0 : 7 * sizeof(void*);
    made->cbAlignment = alignof(void*);
    made->wTypeFlags = isClass ? TYPEFLAG_FCANCREATE | TYPEFLAG_FCONTROL : TYPEFLAG_FDISPATCHABLE;
    made->wMajorVerNum = library.major;
    made->wMinorVerNum = library.minor;
    return made;
}

/// Hands over texts; a place of null is not asked for.
class Documentation {
public:
    Documentation(BSTR* name, BSTR* text, DWORD* helpContext, BSTR* helpFile) : places{name, text, helpFile}
    {
        for (BSTR* const place : places) {
            if (place != nullptr)
                *place = nullptr;
        }
        if (helpContext != nullptr)
            *helpContext = 0;
    }

    HRESULT Give(const char* name, const char* text, const char* helpFile)
    try {
        const char* const texts[] = {name, text, helpFile};
        for (int i = 0; i < 3; ++i) {
            if (places[i] != nullptr && texts[i] != nullptr)
                *places[i] = FromAnsi(texts[i]);
        }
        return S_OK;
    } catch (const std::bad_alloc&) {
        for (BSTR* const place : places) {
            if (place != nullptr) {
                SysFreeString(*place);
                *place = nullptr;
            }
        }
        return E_OUTOFMEMORY;
    }

private:
    BSTR* places[3];
};

/// Variables, bindings, entries of a library and marshalling belong to other kinds of types: not offered.
class TypeInfo final : public Counted<ITypeInfo, IID_ITypeInfo> {
public:
    TypeInfo(const TypeLibraryDescription& own, const TypeDescription& described) : library(own), type(described) { }

    HRESULT GetTypeAttr(TYPEATTR** attributes) override;
    HRESULT GetTypeComp(void**) override { return E_NOTIMPL; }
    HRESULT GetFuncDesc(UINT index, FUNCDESC** function) override;
    HRESULT GetVarDesc(UINT, void**) override { return TYPE_E_ELEMENTNOTFOUND; }
    HRESULT GetNames(MEMBERID member, BSTR* names, UINT room, UINT* count) override;
    HRESULT GetRefTypeOfImplType(UINT index, DWORD* reference) override;
    HRESULT GetImplTypeFlags(UINT index, std::int32_t* flags) override;

    HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) override
    {
        return FindIds(type.methods, names, count, ids);
    }

    HRESULT Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                   EXCEPINFO* exception, UINT* argumentError) override
    {
        if (instance == nullptr)
            return E_POINTER;
        return static_cast<IDispatch*>(instance)->Invoke(member, IID_NULL, 0, flags, parameters, result, exception,
                                                         argumentError);
    }

    HRESULT GetDocumentation(MEMBERID member, BSTR* name, BSTR* text, DWORD* helpContext, BSTR* helpFile) override;
    HRESULT GetDllEntry(MEMBERID, std::int32_t, BSTR*, BSTR*, WORD*) override { return E_NOTIMPL; }
    HRESULT GetRefTypeInfo(DWORD reference, ITypeInfo** info) override;
    HRESULT AddressOfMember(MEMBERID, std::int32_t, void**) override { return E_NOTIMPL; }
    HRESULT CreateInstance(IUnknown*, REFIID, void**) override { return E_NOTIMPL; }
    HRESULT GetMops(MEMBERID, BSTR*) override { return E_NOTIMPL; }
    HRESULT GetContainingTypeLib(ITypeLib** containing, UINT* index) override;
    void ReleaseTypeAttr(TYPEATTR* attributes) override { delete attributes; }

    void ReleaseFuncDesc(FUNCDESC* function) override
    {
        delete reinterpret_cast<FunctionData*>(function); // its first member
    }

    void ReleaseVarDesc(void*) override { }

private:
    const MethodDescription* Find(MEMBERID member) const
    {
        const auto found = std::find_if(type.methods.begin(), type.methods.end(),
                                        [member](const auto& method) { return method.id == member; });
        return found == type.methods.end() ? nullptr : &*found;
    }

    const TypeLibraryDescription& library;
    const TypeDescription& type;
};

HRESULT TypeInfo::GetTypeAttr(TYPEATTR** attributes)
{
    if (attributes == nullptr)
        return E_POINTER;
    *attributes = MakeAttributes(library, type);
    return *attributes == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT TypeInfo::GetFuncDesc(UINT index, FUNCDESC** function)
{
    if (function == nullptr)
        return E_POINTER;
    *function = nullptr;
    if (index >= type.methods.size())
        return TYPE_E_ELEMENTNOTFOUND;
    *function = MakeFunction(type.methods[index]);
    return *function == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT TypeInfo::GetNames(MEMBERID member, BSTR* names, UINT room, UINT* count)
{
    if (names == nullptr || count == nullptr)
        return E_POINTER;
    *count = 0;
    const MethodDescription* const method = Find(member);
    if (method == nullptr)
        return TYPE_E_ELEMENTNOTFOUND;
    const UINT all = std::min(room, static_cast<UINT>(1 + method->parameters.size()));
    for (UINT i = 0; i < all; ++i) {
        Documentation name(&names[i], nullptr, nullptr, nullptr);
        if (FAILED(name.Give(i == 0 ? method->name : method->parameterNames[i - 1], nullptr, nullptr))) {
            std::for_each(names, names + i, SysFreeString);
            return E_OUTOFMEMORY;
        }
    }
    *count = all;
    return S_OK;
}

/// A class has two implemented types, the interface for calls and the one for events. A reference is a place in the
/// library.
HRESULT TypeInfo::GetRefTypeOfImplType(UINT index, DWORD* reference)
{
    if (reference == nullptr)
        return E_POINTER;
    const TypeRole wanted = index == 0 ? TypeRole::DispatchInterface : TypeRole::EventInterface;
    const auto found = std::find_if(library.types.begin(), library.types.end(),
                                    [wanted](const auto& each) { return each.role == wanted; });
    if (type.role != TypeRole::Class || index > 1 || found == library.types.end())
        return TYPE_E_ELEMENTNOTFOUND;
    *reference = static_cast<DWORD>(found - library.types.begin());
    return S_OK;
}

HRESULT TypeInfo::GetImplTypeFlags(UINT index, std::int32_t* flags)
{
    if (flags == nullptr)
        return E_POINTER;
    if (type.role != TypeRole::Class || index > 1)
        return TYPE_E_ELEMENTNOTFOUND;
    *flags = index == 0 ? IMPLTYPEFLAG_FDEFAULT : IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE;
    return S_OK;
}

HRESULT TypeInfo::GetDocumentation(MEMBERID member, BSTR* name, BSTR* text, DWORD* helpContext, BSTR* helpFile)
{
    Documentation documentation(name, text, helpContext, helpFile);
    if (member == MEMBERID_NIL)
        return documentation.Give(type.name, type.text, library.helpFile);
    const MethodDescription* const method = Find(member);
    return method == nullptr ? TYPE_E_ELEMENTNOTFOUND : documentation.Give(method->name, nullptr, library.helpFile);
}

HRESULT TypeInfo::GetRefTypeInfo(DWORD reference, ITypeInfo** info)
{
    if (info == nullptr)
        return E_POINTER;
    *info = nullptr;
    return reference < library.types.size() ? MakeTypeInfo(library, library.types[reference], info)
                                            : TYPE_E_ELEMENTNOTFOUND;
}

HRESULT TypeInfo::GetContainingTypeLib(ITypeLib** containing, UINT* index)
{
    if (containing == nullptr)
        return E_POINTER;
    if (index != nullptr)
        *index = static_cast<UINT>(&type - library.types.data());
    return MakeTypeLibrary(library, containing);
}

/// Bindings and the search for names are not offered: the types are three.
class TypeLibrary final : public Counted<ITypeLib, IID_ITypeLib> {
public:
    explicit TypeLibrary(const TypeLibraryDescription& described) : library(described) { }

    UINT GetTypeInfoCount() override { return static_cast<UINT>(library.types.size()); }
    HRESULT GetTypeInfo(UINT index, ITypeInfo** info) override;
    HRESULT GetTypeInfoType(UINT index, TYPEKIND* kind) override;
    HRESULT GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) override;
    HRESULT GetLibAttr(TLIBATTR** attributes) override;
    HRESULT GetTypeComp(void**) override { return E_NOTIMPL; }
    HRESULT GetDocumentation(std::int32_t index, BSTR* name, BSTR* text, DWORD* helpContext, BSTR* helpFile) override;
    HRESULT IsName(LPOLESTR, ULONG, BOOL*) override { return E_NOTIMPL; }
    HRESULT FindName(LPOLESTR, ULONG, ITypeInfo**, MEMBERID*, USHORT*) override { return E_NOTIMPL; }
    void ReleaseTLibAttr(TLIBATTR* attributes) override { delete attributes; }

private:
    const TypeLibraryDescription& library;
};

HRESULT TypeLibrary::GetTypeInfo(UINT index, ITypeInfo** info)
{
    if (info == nullptr)
        return E_POINTER;
    *info = nullptr;
    return index < library.types.size() ? MakeTypeInfo(library, library.types[index], info) : TYPE_E_ELEMENTNOTFOUND;
}

HRESULT TypeLibrary::GetTypeInfoType(UINT index, TYPEKIND* kind)
{
    if (kind == nullptr)
        return E_POINTER;
    if (index >= library.types.size())
        return TYPE_E_ELEMENTNOTFOUND;
    *kind = KindOf(library.types[index]);
    return S_OK;
}

HRESULT TypeLibrary::GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info)
{
    const auto found =
        std::find_if(library.types.begin(), library.types.end(), [&](const auto& each) { return each.id == guid; });
    return GetTypeInfo(static_cast<UINT>(found - library.types.begin()), info);
}

HRESULT TypeLibrary::GetLibAttr(TLIBATTR** attributes)
{
    if (attributes == nullptr)
        return E_POINTER;
    *attributes = new (std::nothrow)
        TLIBATTR{library.id, 0, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32, library.major, library.minor, 0};
    return *attributes == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT TypeLibrary::GetDocumentation(std::int32_t index, BSTR* name, BSTR* text, DWORD* helpContext, BSTR* helpFile)
{
    Documentation documentation(name, text, helpContext, helpFile);
    if (index == -1)
        return documentation.Give(library.name, library.text, library.helpFile);
    if (index < 0 || static_cast<std::size_t>(index) >= library.types.size())
        return TYPE_E_ELEMENTNOTFOUND;
    const TypeDescription& type = library.types[static_cast<std::size_t>(index)];
    return documentation.Give(type.name, type.text, library.helpFile);
}

}

HRESULT MakeTypeLibrary(const TypeLibraryDescription& description, ITypeLib** library)
{
    *library = new (std::nothrow) TypeLibrary(description);
    return *library == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT MakeTypeInfo(const TypeLibraryDescription& description, const TypeDescription& type, ITypeInfo** info)
{
    *info = new (std::nothrow) TypeInfo(description, type);
    return *info == nullptr ? E_OUTOFMEMORY : S_OK;
}

}
