#pragma once

#include "Vondrel/Utilities/Multithreading/SynchronizationObject.h"
#include "platform/NamedLock.h"

namespace Vondrel::Utilities::Multithreading {

/// A recursive lock of this process, without a name and so without a handle to wait for.
class CriticalSection : public SynchronizationObject::Impl {
public:
    /// @throws InvalidArgumentException "handle is NULL"
    CriticalSection();

    void Lock() override;

    /// Not offered. @throws std::runtime_error always
    bool TryLock(std::int32_t timeoutMilliseconds) override;
    void Unlock() override;
    Platform::Waitable* Handle() override { return nullptr; }

private:
    const std::unique_ptr<Platform::NamedLock> section;
};

}
