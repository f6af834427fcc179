#pragma once

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "platform/Threading.h"

#include <memory>
#include <string>

namespace Vondrel::DeviceDriver::ox {

/// Watches the interrupt pipe of one instrument on a thread of its own, and tells a listener of the button and of the
/// loss of the instrument.
///
/// The listener is called with this object's lock held. Whoever needs this lock and the device lock takes this one
/// first.
class InterruptListener {
public:
    explicit InterruptListener(const std::string& deviceAddress);
    ~InterruptListener(); ///< stops the thread
    InterruptListener(const InterruptListener&) = delete;
    InterruptListener& operator=(const InterruptListener&) = delete;

    void SetListener(Generic::EventListener* listener);
    void ClearListener();

    /// Starts the thread and waits until it has opened its pipe.
    /// @throws IOException  no thread, or the pipe did not open within 2000 ms
    void Start();

    /// Ends the thread. One that hangs is left alone after about 11 s, and calls nobody any more.
    void Stop();

    /// True from the first press of the button on.
    bool IsButtonTouched() const;

private:
    struct Watch;

    static void Listen(void* argument);
    bool StopOnce();

    std::shared_ptr<Watch> watch; ///< shared with the thread, which may outlive this object
    std::unique_ptr<Platform::RunningThread> thread;
};

}
