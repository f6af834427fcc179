#pragma once

#include "platform/automation/Description.h"
#include "platform/automation/Drawing.h"

#include <atomic>

namespace Platform::Automation {

/// The properties of a control on their way to or from a stream: here only their version.
class CPropExchange {
public:
    /// @param other  the stream's end of it
    CPropExchange(IStream& other, bool load) : stream(other), isLoading(load) { }

    /// Stores the version, or reads one and accepts it if it is not newer than this.
    /// @param version  major << 16 | minor, four bytes in the stream, the lowest first
    bool ExchangeVersion(DWORD version);

private:
    IStream& stream;
    bool isLoading;
};

/// A control: references, dispatch on the methods that its class describes, drawing, persistence. It adds no lock: it
/// lives in the thread of its host.
class COleControl : public IDispatch, public IPersistStreamInit, public IViewObject {
public:
    COleControl(const COleControl&) = delete;
    COleControl& operator=(const COleControl&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override;
    ULONG Release() override;

    HRESULT GetTypeInfoCount(UINT* count) override;
    HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    HRESULT GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    HRESULT Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                   EXCEPINFO* exception, UINT* argumentError) override;

    HRESULT GetClassID(CLSID* clsid) override;
    HRESULT IsDirty() override;
    HRESULT Load(IStream* stream) override;
    HRESULT Save(IStream* stream, BOOL clearDirty) override;
    HRESULT GetSizeMax(std::uint64_t* bytes) override;
    HRESULT InitNew() override;

    /// Draws the content; the other functions of this interface are not offered.
    HRESULT Draw(DWORD aspect, LONG index, void* aspectInfo, void* targetDevice, HDC target, HDC draw,
                 const RECT* bounds, const RECT* windowBounds, BOOL (*proceed)(std::size_t),
                 std::size_t proceedArgument) override;
    HRESULT GetColorSet(DWORD, LONG, void*, void*, HDC, void**) override { return E_NOTIMPL; }
    HRESULT Freeze(DWORD, LONG, void*, DWORD*) override { return E_NOTIMPL; }
    HRESULT Unfreeze(DWORD) override { return E_NOTIMPL; }
    HRESULT SetAdvise(DWORD, DWORD, IUnknown*) override { return E_NOTIMPL; }
    HRESULT GetAdvise(DWORD*, DWORD*, IUnknown**) override { return E_NOTIMPL; }

protected:
    /// @param own  lives as long as the program
    explicit COleControl(const ClassDescription& own);
    virtual ~COleControl();

    virtual void OnDraw(DrawingContext& context, const RECT& bounds) = 0;

    /// Passes every property and the version. False if that does not work.
    virtual bool DoPropExchange(CPropExchange& exchange) = 0;

private:
    HRESULT Exchange(IStream* stream, bool load);

    const ClassDescription& description;
    std::atomic<ULONG> references = 1;
};

}
