#pragma once

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "Vondrel/Utilities/Concurrent/Thread.h"

#include <cstdint>
#include <memory>

namespace Vondrel::DeviceDriver::ox {

/// Carries device messages from the thread that reads the instrument to a thread of their own, so that a slow handler
/// of the application holds up nothing but later messages.
class MessagePump {
public:
    using EventListener = Generic::EventListener;

    /// Messages wait until the thread runs.
    MessagePump();
    MessagePump(const MessagePump&) = delete;
    MessagePump& operator=(const MessagePump&) = delete;

    ~MessagePump(); ///< stops the thread

    /// Starts the thread, which passes the messages on. Without a listener there is none, and messages go nowhere.
    void Start(EventListener* listener);

    /// Ends the thread: posts the end message and waits for at most 10 s, not at all on the thread itself. A thread
    /// that is left behind in a handler calls nobody any more.
    void Stop() noexcept;

    /// From any thread; never waits for a handler.
    void Post(unsigned short id, std::int32_t argument);

private:
    struct State;

    static void Run(void* argument);

    std::shared_ptr<State> state; ///< the thread owns it too
    std::unique_ptr<Utilities::Concurrent::Thread> thread;
};

}
