#include "Vondrel/Utilities/Multithreading/SynchronizationObject.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace Vondrel::Utilities::Multithreading {

SynchronizationObject::SynchronizationObject(std::unique_ptr<Impl> impl_) : impl(std::move(impl_)) { }

void SynchronizationObject::Lock()
try {
    impl->Lock();
}
TRACE_GUARD("SynchronizationObject", "Lock")

bool SynchronizationObject::TryLock(std::int32_t timeoutMilliseconds)
try {
    return impl->TryLock(timeoutMilliseconds);
}
TRACE_GUARD("SynchronizationObject", "TryLock")

void SynchronizationObject::Unlock()
try {
    impl->Unlock();
}
TRACE_GUARD("SynchronizationObject", "Unlock")

}
