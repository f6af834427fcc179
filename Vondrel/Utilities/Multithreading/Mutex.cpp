#include "Vondrel/Utilities/Multithreading/Mutex.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Multithreading/CriticalSection.h"
#include "Vondrel/Utilities/Multithreading/MutexImpl.h"

namespace Vondrel::Utilities::Multithreading {

namespace {

std::unique_ptr<SynchronizationObject::Impl> MakeImpl(const std::string& name)
{
    if (name.empty())
        return std::make_unique<CriticalSection>();
    return std::make_unique<MutexImpl>(name);
}

}

Mutex::Mutex(const std::string& name)
try : SynchronizationObject(MakeImpl(name)) {
}
TRACE_GUARD("Mutex", "Mutex")

}
