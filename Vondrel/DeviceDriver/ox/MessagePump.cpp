#include "Vondrel/DeviceDriver/ox/MessagePump.h"

#include "Vondrel/Utilities/Multithreading/BlockingQueue.h"

#include <atomic>
#include <utility>

namespace Vondrel::DeviceDriver::ox {

namespace {

constexpr std::int32_t endMessage = 20019;
constexpr std::int32_t joinLimitMs = 10000;

}

struct MessagePump::State {
    Utilities::Multithreading::BlockingQueue<std::pair<std::int32_t, std::int32_t>> messages;
    std::atomic<EventListener*> listener = nullptr;
};

MessagePump::MessagePump() : state(std::make_shared<State>()) { }

MessagePump::~MessagePump()
{
    Stop();
}

void MessagePump::Start(EventListener* listener)
{
    if (listener == nullptr)
        return;
    state->listener = listener;
    auto share = std::make_unique<std::shared_ptr<State>>(state);
    thread = std::make_unique<Utilities::Concurrent::Thread>(&MessagePump::Run, share.get());
    share.release(); // the thread's
}

void MessagePump::Stop() noexcept
{
    try {
        state->listener = nullptr;
        if (thread == nullptr)
            return;
        state->messages.Put({endMessage, 0});
        thread->JoinWithin(joinLimitMs);
        thread.reset();
    } catch (...) {
        // A thread that cannot be told to end waits for ever and calls nobody.
    }
}

void MessagePump::Post(unsigned short id, std::int32_t argument)
{
    state->messages.Put({id, argument});
}

void MessagePump::Run(void* argument)
{
    const std::unique_ptr<std::shared_ptr<State>> share(static_cast<std::shared_ptr<State>*>(argument));
    const std::shared_ptr<State> state = *share;
    for (;;) {
        const auto [id, source] = state->messages.Get();
        if (id == endMessage)
            return;
        if (EventListener* const listener = state->listener)
            listener->MessageFromDevice(static_cast<std::uint16_t>(id), source);
    }
}

}
