#pragma once

#include "Vondrel/Utilities/Concurrent/Thread.h"
#include "platform/Threading.h"

namespace Vondrel::Utilities::Concurrent {

/// A thread of the platform.
class ThreadImpl : public Thread::Impl {
public:
    /// @param adapter  handed over to the new thread, which deletes it
    explicit ThreadImpl(std::unique_ptr<ThreadAdapterBase> adapter);

    void Join() override;
    void YieldCurrentThread() override;
    bool JoinWithin(std::int32_t milliseconds) override;
    bool IsCurrentThread() const override;

private:
    void SetupThread(std::unique_ptr<ThreadAdapterBase> adapter);

    std::unique_ptr<Platform::RunningThread> thread;
};

}
