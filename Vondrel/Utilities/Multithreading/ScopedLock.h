#pragma once

#include "Vondrel/Utilities/Multithreading/Lockable.h"

namespace Vondrel::Utilities::Multithreading {

/// Holds a lock for a scope.
class ScopedLock {
public:
    explicit ScopedLock(Lockable& lockable_) : lockable(lockable_) { lockable.Lock(); }
    ~ScopedLock()
    {
        try {
            lockable.Unlock();
        } catch (...) {
            // An exception may be on its way through this scope.
        }
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Lockable& lockable;
};

}
