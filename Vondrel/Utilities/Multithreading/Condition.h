#pragma once

#include "Vondrel/Utilities/Multithreading/Mutex.h"

#include <memory>

namespace Vondrel::Utilities::Multithreading {

/// A condition that threads wait for under a Mutex with a name. All three operations are called with the mutex held; a
/// failure gives it back.
class Condition {
public:
    class Impl {
    public:
        virtual ~Impl() = default;
        virtual void Signal() = 0;
        virtual void Broadcast() = 0;
        virtual void Wait() = 0;
    };

    /// @param mutex  outlives the condition
    /// @throws ResourceException  the platform has no object or no memory left
    explicit Condition(Mutex& mutex);

    /// Wakes one waiting thread, if there is one; otherwise nothing is remembered.
    void Signal();

    /// Wakes all waiting threads, and returns when all are awake.
    void Broadcast();

    /// Gives the mutex back, waits without a limit, and returns with the mutex held.
    /// @throws ResourceException  the mutex has no name, or the caller does not hold it
    void Wait();

private:
    const std::unique_ptr<Impl> impl;
};

}
