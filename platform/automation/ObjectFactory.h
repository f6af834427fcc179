#pragma once

#include "platform/automation/Control.h"

#include <atomic>

namespace Platform::Automation {

/// The class object of a control. One for the whole program, so a reference that a host holds keeps the library loaded
/// but nothing alive.
class COleObjectFactory : public IClassFactory {
public:
    COleObjectFactory(const COleObjectFactory&) = delete;
    COleObjectFactory& operator=(const COleObjectFactory&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override;
    ULONG Release() override;

    /// @param outer  has to be null: the control is no part of another object
    HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override;

    /// @return E_UNEXPECTED for an unlock without its lock
    HRESULT LockServer(BOOL lock) override;

    /// Enters the class into the platform's list of classes, or takes it out.
    bool UpdateRegistry(bool enter) const;

    const ClassDescription& Description() const { return description; }

protected:
    /// @param own  lives as long as the program
    explicit COleObjectFactory(const ClassDescription& own) : description(own) { }
    ~COleObjectFactory() = default;

    /// @return a control with one reference
    /// @throws std::bad_alloc
    virtual COleControl* OnCreateObject() = 0;

private:
    const ClassDescription& description;
    std::atomic<ULONG> references = 0;
    std::atomic<ULONG> locks = 0;
};

}
