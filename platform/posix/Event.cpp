#include "platform/Event.h"

#include "platform/posix/Deadline.h"

#include <new>

namespace Platform {

namespace {

class PosixEvent : public Event {
public:
    void Set() override
    {
        const std::lock_guard lock(mutex);
        isSet = true;
        changed.notify_one(); // under the lock: the waiter may destroy the event as soon as it is out
    }

    bool Wait(std::optional<std::int64_t> limitMs) override
    {
        std::unique_lock lock(mutex);
        if (!Posix::Deadline(limitMs).Wait(lock, changed, [this] { return isSet; }))
            return false;
        isSet = false;
        return true;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    bool isSet = false;
};

}

std::unique_ptr<Event> Event::Make()
{
    return std::unique_ptr<Event>(new (std::nothrow) PosixEvent);
}

}
