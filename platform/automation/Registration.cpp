#include "platform/automation/Registration.h"

#include "platform/automation/Dispatch.h"
#include "platform/automation/TypeLibrary.h"

#include <mutex>
#include <new>
#include <vector>

namespace Platform::Automation {

namespace {

template<class Description>
class Entries {
public:
    bool Add(const Description& entry)
    try {
        if (Find([&](const Description& each) { return each.id == entry.id; }) == nullptr)
            entries.push_back(&entry);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }

    void Remove(const GUID& id)
    {
        std::erase_if(entries, [&](const Description* each) { return each->id == id; });
    }

    template<class Matches>
    const Description* Find(Matches matches) const
    {
        for (const Description* each : entries) {
            if (matches(*each))
                return each;
        }
        return nullptr;
    }

private:
    std::vector<const Description*> entries;
};

class ProcessRegistry : public ClassRegistry {
public:
    bool AddTypeLibrary(const TypeLibraryDescription& library) override
    {
        const std::lock_guard lock(mutex);
        return libraries.Add(library);
    }

    bool RemoveTypeLibrary(const GUID& id) override
    {
        const std::lock_guard lock(mutex);
        libraries.Remove(id);
        return true;
    }

    bool AddClass(const ClassDescription& description) override
    {
        const std::lock_guard lock(mutex);
        return classes.Add(description);
    }

    bool RemoveClass(const GUID& id) override
    {
        const std::lock_guard lock(mutex);
        classes.Remove(id);
        return true;
    }

    const ClassDescription* FindClass(LPCOLESTR name) const override
    {
        const std::lock_guard lock(mutex);
        return classes.Find([name](const auto& each) { return SameName(name, each.programmaticName); });
    }

    const TypeLibraryDescription* FindTypeLibrary(const GUID& id) const override
    {
        const std::lock_guard lock(mutex);
        return libraries.Find([&id](const auto& each) { return each.id == id; });
    }

private:
    mutable std::mutex mutex;
    Entries<TypeLibraryDescription> libraries;
    Entries<ClassDescription> classes;
};

ClassRegistry* otherRegistry = nullptr;

}

ClassRegistry& CurrentRegistry()
{
    // Never destroyed: an entry point may still be called at the end of the process.
    static ProcessRegistry& own = *new ProcessRegistry;
    return otherRegistry != nullptr ? *otherRegistry : own;
}

ClassRegistry* SetRegistry(ClassRegistry* registry) noexcept
{
    ClassRegistry* const before = otherRegistry;
    otherRegistry = registry;
    return before;
}

HRESULT CLSIDFromProgID(LPCOLESTR programmaticName, CLSID* clsid)
{
    if (programmaticName == nullptr || clsid == nullptr)
        return E_POINTER;
    const ClassDescription* const found = CurrentRegistry().FindClass(programmaticName);
    *clsid = found == nullptr ? GUID_NULL : found->id;
    return found == nullptr ? CO_E_CLASSSTRING : S_OK;
}

HRESULT LoadRegTypeLib(REFGUID id, WORD major, WORD minor, LCID, ITypeLib** library)
{
    if (library == nullptr)
        return E_POINTER;
    *library = nullptr;
    const TypeLibraryDescription* const found = CurrentRegistry().FindTypeLibrary(id);
    if (found == nullptr || found->major != major || found->minor < minor)
        return TYPE_E_LIBNOTREGISTERED;
    return MakeTypeLibrary(*found, library);
}

}
