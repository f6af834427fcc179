#include "platform/automation/Control.h"

#include "platform/automation/Dispatch.h"
#include "platform/automation/Module.h"
#include "platform/automation/TypeLibrary.h"

namespace Platform::Automation {

bool CPropExchange::ExchangeVersion(DWORD version)
{
    std::uint8_t bytes[4];
    ULONG done = 0;
    if (!isLoading) {
        for (int i = 0; i < 4; ++i)
            bytes[i] = static_cast<std::uint8_t>(version >> (8 * i));
        return SUCCEEDED(stream.Write(bytes, sizeof bytes, &done)) && done == sizeof bytes;
    }
    if (FAILED(stream.Read(bytes, sizeof bytes, &done)) || done != sizeof bytes)
        return false;
    DWORD stored = 0;
    for (int i = 0; i < 4; ++i)
        stored |= DWORD{bytes[i]} << (8 * i);
    return stored <= version;
}

COleControl::COleControl(const ClassDescription& own) : description(own)
{
    LockModule();
}

COleControl::~COleControl()
{
    UnlockModule();
}

HRESULT COleControl::QueryInterface(REFIID iid, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == description.dispatchInterface->id)
        *object = static_cast<IDispatch*>(this);
    else if (iid == IID_IPersist || iid == IID_IPersistStreamInit)
        *object = static_cast<IPersistStreamInit*>(this);
    else if (iid == IID_IViewObject)
        *object = static_cast<IViewObject*>(this);
    if (*object == nullptr)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG COleControl::AddRef()
{
    return ++references;
}

ULONG COleControl::Release()
{
    const ULONG left = --references;
    if (left == 0)
        delete this;
    return left;
}

HRESULT COleControl::GetTypeInfoCount(UINT* count)
{
    if (count == nullptr)
        return E_POINTER;
    *count = 1;
    return S_OK;
}

HRESULT COleControl::GetTypeInfo(UINT index, LCID, ITypeInfo** info)
{
    if (info == nullptr)
        return E_POINTER;
    *info = nullptr;
    return index == 0 ? MakeTypeInfo(*description.library, *description.dispatchInterface, info) : DISP_E_BADINDEX;
}

HRESULT COleControl::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids)
{
    if (reserved != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    return FindIds(description.dispatchInterface->methods, names, count, ids);
}

HRESULT COleControl::Invoke(DISPID member, REFIID reserved, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                            EXCEPINFO* exception, UINT* argumentError)
{
    if (reserved != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    return Automation::Invoke(*this, description, member, flags, parameters, result, exception, argumentError);
}

HRESULT COleControl::GetClassID(CLSID* clsid)
{
    if (clsid == nullptr)
        return E_POINTER;
    *clsid = description.id;
    return S_OK;
}

HRESULT COleControl::IsDirty()
{
    return S_FALSE;
}

HRESULT COleControl::Load(IStream* stream)
{
    return Exchange(stream, true);
}

HRESULT COleControl::Save(IStream* stream, BOOL)
{
    return Exchange(stream, false);
}

HRESULT COleControl::Exchange(IStream* stream, bool load)
{
    if (stream == nullptr)
        return E_POINTER;
    CPropExchange exchange(*stream, load);
    return DoPropExchange(exchange) ? S_OK : E_FAIL;
}

HRESULT COleControl::GetSizeMax(std::uint64_t* bytes)
{
    if (bytes == nullptr)
        return E_POINTER;
    *bytes = sizeof(DWORD);
    return S_OK;
}

HRESULT COleControl::InitNew()
{
    return S_OK;
}

HRESULT COleControl::Draw(DWORD aspect, LONG, void*, void*, HDC, HDC draw, const RECT* bounds, const RECT*,
                          BOOL (*)(std::size_t), std::size_t)
{
    if (aspect != DVASPECT_CONTENT)
        return DV_E_DVASPECT;
    if (draw == nullptr || bounds == nullptr)
        return E_POINTER;
    OnDraw(*draw, *bounds);
    return S_OK;
}

}
