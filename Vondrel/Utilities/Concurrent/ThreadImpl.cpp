#include "Vondrel/Utilities/Concurrent/ThreadImpl.h"

#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "platform/RunTime.h"

namespace Vondrel::Utilities::Concurrent {

namespace {

void RunThread(void* argument)
{
    const std::unique_ptr<ThreadAdapterBase> adapter(static_cast<ThreadAdapterBase*>(argument));
    try {
        adapter->Run();
    } catch (...) {
        Platform::PassForcedUnwind();
        // Nobody is left to hear of it.
    }
}

}

ThreadImpl::ThreadImpl(std::unique_ptr<ThreadAdapterBase> adapter)
try {
    SetupThread(std::move(adapter));
}
TRACE_GUARD("ThreadImpl", "ThreadImpl")

void ThreadImpl::SetupThread(std::unique_ptr<ThreadAdapterBase> adapter)
{
    thread = Platform::RunningThread::Start(RunThread, adapter.get());
    if (!thread)
        throw Exceptions::ResourceException("Can't create thread.", THROW_LOCATION("ThreadImpl", "SetupThread"));
    adapter.release(); // the thread's own now
}

void ThreadImpl::Join()
{
    YieldCurrentThread();
    thread->Join(std::nullopt);
}

void ThreadImpl::YieldCurrentThread()
{
    Platform::YieldThread();
}

bool ThreadImpl::JoinWithin(std::int32_t milliseconds)
{
    return thread->Join(milliseconds);
}

bool ThreadImpl::IsCurrentThread() const
{
    return thread->IsCurrent();
}

}
