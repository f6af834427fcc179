#pragma once

#include "Vondrel/Utilities/Concurrent/ThreadAdapter.h"

#include <cstdint>
#include <memory>

namespace Vondrel::Utilities::Concurrent {

/// A thread that starts with its construction. What its function throws ends it silently.
///
/// There is no end by force. The destructor leaves a thread that was not joined alone: whatever it still uses, it must
/// own together with the others.
class Thread {
public:
    class Impl {
    public:
        virtual ~Impl() = default;
        virtual void Join() = 0;
        virtual void YieldCurrentThread() = 0;
        virtual bool JoinWithin(std::int32_t milliseconds) = 0;
        virtual bool IsCurrentThread() const = 0;

        static std::unique_ptr<Impl> NewInstance(std::unique_ptr<ThreadAdapterBase> adapter);
    };

    /// @throws ResourceException "Can't create thread."
    Thread(SimpleThreadAdapter::Function function, void* argument);
    virtual ~Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Waits for the end of the thread; returns at once on the thread itself.
    virtual void Join();

    /// Gives up the rest of the caller's time slice.
    virtual void YieldCurrentThread();

    /// @return true once the thread has ended; false when the time ran out, and always on the thread itself
    bool JoinWithin(std::int32_t milliseconds);

    /// Whether the caller is this thread.
    bool IsCurrentThread() const;

private:
    const std::unique_ptr<Impl> impl;
};

}
