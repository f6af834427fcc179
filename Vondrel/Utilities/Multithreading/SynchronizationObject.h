#pragma once

#include "Vondrel/Utilities/Multithreading/Lockable.h"

#include <memory>

namespace Platform {
class Waitable;
}

namespace Vondrel::Utilities::Multithreading {

/// A lock whose kind its implementation decides.
class SynchronizationObject : public TryLockable {
public:
    class Impl {
    public:
        virtual ~Impl() = default;
        virtual void Lock() = 0;
        virtual bool TryLock(std::int32_t timeoutMilliseconds) = 0;
        virtual void Unlock() = 0;

        /// The platform's object, for Condition; null if there is none to wait for.
        virtual Platform::Waitable* Handle() = 0;
    };

    void Lock() override;

    /// @throws InvalidArgumentException "invalid mutex": the platform's object is out of order
    bool TryLock(std::int32_t timeoutMilliseconds) override;
    void Unlock() override;

protected:
    explicit SynchronizationObject(std::unique_ptr<Impl> impl);

    const std::unique_ptr<Impl> impl;
};

}
