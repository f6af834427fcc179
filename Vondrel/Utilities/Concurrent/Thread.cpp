#include "Vondrel/Utilities/Concurrent/Thread.h"

#include "Vondrel/Utilities/Concurrent/ThreadImpl.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::Utilities::Concurrent {

std::unique_ptr<Thread::Impl> Thread::Impl::NewInstance(std::unique_ptr<ThreadAdapterBase> adapter)
try {
    return std::make_unique<ThreadImpl>(std::move(adapter));
}
TRACE_GUARD("Thread::Impl", "NewInstance")

Thread::Thread(SimpleThreadAdapter::Function function, void* argument)
try : impl(Impl::NewInstance(std::make_unique<SimpleThreadAdapter>(function, argument))) {
}
TRACE_GUARD("Thread", "Thread")

void Thread::Join()
try {
    impl->Join();
}
TRACE_GUARD("Thread", "Join")

void Thread::YieldCurrentThread()
{
    impl->YieldCurrentThread();
}

bool Thread::JoinWithin(std::int32_t milliseconds)
try {
    return impl->JoinWithin(milliseconds);
}
TRACE_GUARD("Thread", "JoinWithin")

bool Thread::IsCurrentThread() const
{
    return impl->IsCurrentThread();
}

}
