// What a host of scripts finds the control by.

#include "orvex/control.h"

#include "control/OrvexCtrl.h"
#include "control/OrvexCtrlDescription.h"
#include "platform/automation/Module.h"
#include "platform/automation/Registration.h"

#include <bit>

using namespace Control;

namespace {

HRESULT UpdateRegistration(bool enter)
{
    ClassRegistry& registry = CurrentRegistry();
    const TypeLibraryDescription& library = *OrvexCtrlClass().library;
    if (!(enter ? registry.AddTypeLibrary(library) : registry.RemoveTypeLibrary(library.id)))
        return SELFREG_E_TYPELIB;
    return COrvexCtrl::COrvexCtrlFactory::Instance().UpdateRegistry(enter) ? S_OK : SELFREG_E_CLASS;
}

}

int32_t DllRegisterServer(void)
{
    return UpdateRegistration(true);
}

int32_t DllUnregisterServer(void)
{
    return UpdateRegistration(false);
}

int32_t DllCanUnloadNow(void)
{
    return CanUnloadModule() ? S_OK : S_FALSE;
}

int32_t DllGetClassObject(const OX_ControlId* class_id, const OX_ControlId* interface_id, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (class_id == nullptr || interface_id == nullptr)
        return E_POINTER;
    if (std::bit_cast<GUID>(*class_id) != OrvexCtrlClass().id)
        return CLASS_E_CLASSNOTAVAILABLE;
    return COrvexCtrl::COrvexCtrlFactory::Instance().QueryInterface(std::bit_cast<GUID>(*interface_id), object);
}
