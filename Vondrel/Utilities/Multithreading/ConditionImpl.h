#pragma once

#include "Vondrel/Utilities/Multithreading/Condition.h"
#include "platform/Event.h"
#include "platform/Semaphore.h"

#include <string>

namespace Vondrel::Utilities::Multithreading {

/// A condition made of a semaphore that the waiters queue at, and an event by which the last one woken by a broadcast
/// tells that all are awake.
class ConditionImpl : public Condition::Impl {
public:
    /// @param queue        holds no unit
    /// @throws ResourceException "ConditionImpl::ConditionImpl() can't create!": one of the two is null
    ConditionImpl(Mutex& mutex, std::unique_ptr<Platform::Semaphore> queue,
                  std::unique_ptr<Platform::Event> waitersDone);

    void Signal() override;
    void Broadcast() override;
    void Wait() override;

private:
    class Waiter;

    [[noreturn]] void Fail(const char* text, std::string location);
    bool LeaveQueue();
    bool IsWoken(Platform::Waitable& held);

    Mutex& mutex;
    Mutex counting{""}; ///< guards the two below
    std::int32_t waiters = 0;
    bool wasBroadcast = false;
    const std::unique_ptr<Platform::Semaphore> queue;
    const std::unique_ptr<Platform::Event> waitersDone;
};

}
