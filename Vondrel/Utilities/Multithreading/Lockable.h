#pragma once

#include <cstdint>

namespace Vondrel::Utilities::Multithreading {

class Lockable {
public:
    virtual ~Lockable() = default;
    virtual void Lock() = 0;

    /// Does no harm on a thread that does not hold the lock.
    virtual void Unlock() = 0;
};

class TryLockable : public Lockable {
public:
    /// @param timeoutMilliseconds  negative: no limit; 0: looks once
    /// @return true if acquired, false if the time ran out
    virtual bool TryLock(std::int32_t timeoutMilliseconds) = 0;
};

}
