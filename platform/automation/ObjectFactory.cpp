#include "platform/automation/ObjectFactory.h"

#include "platform/automation/Module.h"
#include "platform/automation/Registration.h"

#include <new>

namespace Platform::Automation {

namespace {

/// Takes one off a count that is not at zero.
bool TakeOne(std::atomic<ULONG>& count, ULONG& left)
{
    ULONG before = count;
    do {
        if (before == 0)
            return false;
        left = before - 1;
    } while (!count.compare_exchange_weak(before, left));
    return true;
}

}

HRESULT COleObjectFactory::QueryInterface(REFIID iid, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IClassFactory)
        return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

ULONG COleObjectFactory::AddRef()
{
    LockModule();
    return ++references;
}

ULONG COleObjectFactory::Release()
{
    ULONG left = 0;
    if (TakeOne(references, left))
        UnlockModule();
    return left;
}

HRESULT COleObjectFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (outer != nullptr)
        return CLASS_E_NOAGGREGATION;
    try {
        COleControl* const control = OnCreateObject();
        const HRESULT result = control->QueryInterface(iid, object);
        control->Release();
        return result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT COleObjectFactory::LockServer(BOOL lock)
{
    ULONG left = 0;
    if (lock != 0) {
        ++locks;
        LockModule();
        return S_OK;
    }
    if (!TakeOne(locks, left))
        return E_UNEXPECTED;
    UnlockModule();
    return S_OK;
}

bool COleObjectFactory::UpdateRegistry(bool enter) const
{
    ClassRegistry& registry = CurrentRegistry();
    return enter ? registry.AddClass(description) : registry.RemoveClass(description.id);
}

}
