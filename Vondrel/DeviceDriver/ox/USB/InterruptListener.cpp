#include "Vondrel/DeviceDriver/ox/USB/InterruptListener.h"

#include "Vondrel/DeviceDriver/ox/USB/USBConnection.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Multithreading/Mutex.h"
#include "Vondrel/Utilities/Multithreading/ScopedLock.h"
#include "platform/Event.h"

namespace Vondrel::DeviceDriver::ox {

using Platform::TransferKind;
using Platform::UsbTransfer;
using Utilities::Multithreading::Mutex;
using Utilities::Multithreading::ScopedLock;

namespace {

enum class State { running, stopRequested, finished };

constexpr std::size_t interruptSize = 8;
constexpr std::int64_t startLimitMs = 2000;
constexpr std::int64_t stopLimitMs = 1000;
constexpr int stopAttempts = 10;

/// @return bytes that came; 0 if the instrument has gone, or if the wait was ended
std::size_t ReadInterrupt(UsbTransfer& transfer)
{
    if (transfer.Submit(interruptSize).kind == TransferKind::gone)
        return 0;
    if (transfer.Wait(std::nullopt) == UsbTransfer::WaitEnd::failed)
        throw IOException("wait failed", THROW_LOCATION("InterruptListener", "ReadInterruptPipe"));
    const auto result = transfer.Result();
    if (result.kind == TransferKind::pending)
        transfer.Cancel();
    return result.kind == TransferKind::done ? result.moved : 0;
}

}

/// What the thread and its owner share. The lock guards everything but the address and the event.
struct InterruptListener::Watch {
    const std::string deviceAddress;
    const std::unique_ptr<Platform::Event> started = Platform::Event::Make();
    Mutex lock{""};
    State state = State::finished;
    bool isOpen = false;
    bool buttonTouched = false;
    Generic::EventListener* listener = nullptr;
    UsbTransfer* transfer = nullptr; ///< what the thread waits on, while it does

    explicit Watch(const std::string& address) : deviceAddress(address) { }

    void Run();
    bool Publish(UsbTransfer* waitedOn);
    bool Dispatch(std::size_t received);
    void DispatchEvent(std::size_t received);
};

/// Makes the transfer known to Stop. False if the thread was told to stop before.
bool InterruptListener::Watch::Publish(UsbTransfer* waitedOn)
{
    ScopedLock guard(lock);
    transfer = waitedOn;
    isOpen = isOpen || waitedOn != nullptr;
    return state == State::running;
}

void InterruptListener::Watch::DispatchEvent(std::size_t received)
try {
    if (received > 0)
        buttonTouched = true;
    else if (state != State::running)
        return; // told to stop: the empty read is no removal
    if (listener)
        listener->MessageFromDevice(received > 0 ? Generic::buttonPressedMessage : Generic::deviceGoneMessage, 0);
} catch (...) {
    // What a listener throws must not end the watch.
}

/// @return true to go on listening
bool InterruptListener::Watch::Dispatch(std::size_t received)
{
    ScopedLock guard(lock);
    DispatchEvent(received);
    return state == State::running && received > 0;
}

void InterruptListener::Watch::Run()
try {
    USBConnection connection(deviceAddress, PipeType::interruptIn);
    const auto pending = connection.MakeTransfer(interruptSize);

    struct Publication {
        Watch& watch;
        ~Publication() { watch.Publish(nullptr); }
    } publication{*this};
    bool goOn = Publish(pending.get());

    started->Set();
    Platform::YieldThread();
    while (goOn)
        goOn = Dispatch(ReadInterrupt(*pending));
} catch (...) {
    // Nobody above could take it: the thread ends, and its owner sees that in the state.
}

InterruptListener::InterruptListener(const std::string& deviceAddress)
try : watch(std::make_shared<Watch>(deviceAddress)) {
    if (!watch->started)
        throw IOException("could not create pipe-event-handle",
                          THROW_LOCATION("InterruptListener", "InterruptListener"));
}
TRACE_GUARD("InterruptListener", "InterruptListener")

InterruptListener::~InterruptListener()
{
    try {
        Stop();
    } catch (...) {
        // A destructor has nobody to tell.
    }
}

void InterruptListener::Listen(void* argument)
{
    const std::unique_ptr<std::shared_ptr<Watch>> mine(static_cast<std::shared_ptr<Watch>*>(argument));
    Watch& shared = **mine;
    shared.Run();
    {
        ScopedLock guard(shared.lock);
        shared.state = State::finished;
    }
    shared.started->Set(); // a start that still waits need not run out of time
}

void InterruptListener::SetListener(Generic::EventListener* listener)
{
    ScopedLock guard(watch->lock);
    watch->listener = listener;
}

void InterruptListener::ClearListener()
{
    SetListener(nullptr);
}

bool InterruptListener::IsButtonTouched() const
{
    ScopedLock guard(watch->lock);
    return watch->buttonTouched;
}

void InterruptListener::Start()
try {
    {
        ScopedLock guard(watch->lock);
        auto argument = std::make_unique<std::shared_ptr<Watch>>(watch);
        watch->state = State::running;
        thread = Platform::RunningThread::Start(Listen, argument.get());
        if (!thread) {
            watch->state = State::finished;
            throw IOException("could not create interrupt listener thread",
                              THROW_LOCATION("InterruptListener", "Start"));
        }
        argument.release(); // the thread's now
    }
    const bool signalled = watch->started->Wait(startLimitMs);
    ScopedLock guard(watch->lock);
    if (!signalled || !watch->isOpen)
        throw IOException("interrupt listener thread had timeout", THROW_LOCATION("InterruptListener", "Start"));
}
TRACE_GUARD("InterruptListener", "Start")

/// @return true once the thread has ended or is about to
bool InterruptListener::StopOnce()
{
    {
        ScopedLock guard(watch->lock);
        if (watch->state == State::finished)
            return true;
        watch->state = State::stopRequested;
        if (watch->transfer)
            watch->transfer->Wake();
    }
    Platform::YieldThread();
    return thread->Join(stopLimitMs);
}

void InterruptListener::Stop()
try {
    if (!thread)
        return;
    for (int attempt = 0; attempt < stopAttempts && !StopOnce(); ++attempt) { }
    thread->Join(stopLimitMs);
    ClearListener(); // a thread that still runs is left alone
    thread.reset();
}
TRACE_GUARD("InterruptListener", "Stop")

}
