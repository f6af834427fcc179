#include "Vondrel/Utilities/Multithreading/Semaphore.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Multithreading/SemaphoreImpl.h"

namespace Vondrel::Utilities::Multithreading {

std::unique_ptr<Semaphore> Semaphore::NewInstance(const std::string& name, std::int32_t maximumCount)
try {
    return std::unique_ptr<Semaphore>(new Semaphore(std::make_unique<SemaphoreImpl>(name, maximumCount)));
}
TRACE_GUARD("Semaphore", "NewInstance")

}
