#pragma once

#include "platform/automation/Interfaces.h"

namespace Platform::Automation {

struct ClassDescription;
struct TypeLibraryDescription;

/// The platform's list of classes and type libraries. What is entered lives as long as the program. What is entered
/// twice is there once; what is not there is removed without complaint. The functions give false when the platform
/// refuses.
class ClassRegistry {
public:
    virtual bool AddTypeLibrary(const TypeLibraryDescription& library) = 0;
    virtual bool RemoveTypeLibrary(const GUID& id) = 0;
    virtual bool AddClass(const ClassDescription& description) = 0;
    virtual bool RemoveClass(const GUID& id) = 0;

    /// @return null if there is none; any case of letters is the same
    virtual const ClassDescription* FindClass(LPCOLESTR programmaticName) const = 0;
    virtual const TypeLibraryDescription* FindTypeLibrary(const GUID& id) const = 0;

protected:
    ~ClassRegistry() = default;
};

/// The list in use: as long as no other is set, one of this process, which begins empty.
ClassRegistry& CurrentRegistry();

/// Sets another list, null for the process's own. Not to be called while another thread registers.
/// @return the one before, null for the process's own
ClassRegistry* SetRegistry(ClassRegistry* registry) noexcept;

/// @return S_OK; CO_E_CLASSSTRING if no class has the name; E_POINTER
HRESULT CLSIDFromProgID(LPCOLESTR programmaticName, CLSID* clsid);

/// @return S_OK; TYPE_E_LIBNOTREGISTERED: unknown, or of another version; E_POINTER; E_OUTOFMEMORY
HRESULT LoadRegTypeLib(REFGUID id, WORD major, WORD minor, LCID locale, ITypeLib** library);

}
