#include "Vondrel/Utilities/Multithreading/Condition.h"

#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Multithreading/ConditionImpl.h"

#include <exception>
#include <limits>

namespace Vondrel::Utilities::Multithreading {

namespace {

std::unique_ptr<Condition::Impl> MakeImpl(Mutex& mutex)
{
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    try {
        return std::make_unique<ConditionImpl>(mutex, Platform::Semaphore::Make("", 0, most), Platform::Event::Make());
    } catch (const Exceptions::ResourceException&) {
        throw;
    } catch (const std::exception&) { // from the lock of its own, too
        throw Exceptions::ResourceException("ConditionImpl::ConditionImpl() can't allocate!",
                                            THROW_LOCATION("Condition", "Condition"));
    }
}

}

Condition::Condition(Mutex& mutex)
try : impl(MakeImpl(mutex)) {
}
TRACE_GUARD("Condition", "Condition")

void Condition::Signal()
try {
    impl->Signal();
}
TRACE_GUARD("Condition", "Signal")

void Condition::Broadcast()
try {
    impl->Broadcast();
}
TRACE_GUARD("Condition", "Broadcast")

void Condition::Wait()
try {
    impl->Wait();
}
TRACE_GUARD("Condition", "Wait")

}
