#include "Vondrel/Utilities/Multithreading/ConditionImpl.h"

#include "Vondrel/Utilities/Exceptions/Location.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Multithreading/ScopedLock.h"

namespace Vondrel::Utilities::Multithreading {

using Acquired = Platform::Waitable::Outcome;

ConditionImpl::ConditionImpl(Mutex& mutex_, std::unique_ptr<Platform::Semaphore> queue_,
                             std::unique_ptr<Platform::Event> waitersDone_)
    : mutex(mutex_), queue(std::move(queue_)), waitersDone(std::move(waitersDone_))
{
    if (!queue || !waitersDone)
        throw Exceptions::ResourceException("ConditionImpl::ConditionImpl() can't create!",
                                            THROW_LOCATION("ConditionImpl", "ConditionImpl"));
}

void ConditionImpl::Fail(const char* text, std::string location)
{
    mutex.Unlock();
    throw Exceptions::ResourceException(text, std::move(location));
}

/// One waiter less. True if it was the last one that a broadcast has woken.
bool ConditionImpl::LeaveQueue()
{
    const ScopedLock lock(counting);
    --waiters;
    return wasBroadcast && waiters == 0;
}

/// A thread in the queue. It leaves the queue also when it is cancelled there.
class ConditionImpl::Waiter {
public:
    explicit Waiter(ConditionImpl& condition_) : condition(condition_)
    {
        const ScopedLock lock(condition.counting);
        ++condition.waiters;
    }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;
    ~Waiter()
    {
        if (condition.LeaveQueue())
            condition.waitersDone->Set();
    }

private:
    ConditionImpl& condition;
};

bool ConditionImpl::IsWoken(Platform::Waitable& held)
{
    const Waiter waiter(*this);
    // Not one step, but nothing is lost between the two: the semaphore keeps the unit of a signal that comes early.
    return held.Release() && queue->Acquire(std::nullopt) == Acquired::acquired;
}

void ConditionImpl::Wait()
{
    Platform::Waitable* const held = mutex.impl->Handle();
    if (held == nullptr || !IsWoken(*held))
        Fail("Condition::Wait() invalid Mutex! (must be a real mutex)", THROW_LOCATION("ConditionImpl", "Wait"));
    if (held->Acquire(std::nullopt) != Acquired::acquired)
        Fail("Condition::Wait() invalid mutex! (must be a real mutex)", THROW_LOCATION("ConditionImpl", "Wait"));
}

void ConditionImpl::Signal()
{
    bool isWaitedFor = false;
    {
        const ScopedLock lock(counting);
        isWaitedFor = waiters > 0;
    }
    if (isWaitedFor && !queue->Release())
        Fail("Condition::signal() invalid condition!", THROW_LOCATION("ConditionImpl", "Signal"));
}

void ConditionImpl::Broadcast()
{
    {
        const ScopedLock lock(counting);
        if (waiters == 0)
            return;
        wasBroadcast = true;
        for (std::int32_t i = 0; i < waiters; ++i)
            if (!queue->Release())
                Fail("Condition::broadcast() unable to release semaphore!",
                     THROW_LOCATION("ConditionImpl", "Broadcast"));
    }
    if (!waitersDone->Wait(std::nullopt))
        Fail("Condition::broadcast() invalid event!", THROW_LOCATION("ConditionImpl", "Broadcast"));
    const ScopedLock lock(counting);
    wasBroadcast = false;
}

}
