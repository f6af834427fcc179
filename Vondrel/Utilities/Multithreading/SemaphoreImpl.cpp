#include "Vondrel/Utilities/Multithreading/SemaphoreImpl.h"

#include "platform/Semaphore.h"

namespace Vondrel::Utilities::Multithreading {

SemaphoreImpl::SemaphoreImpl(const std::string& name_, std::int32_t maximumCount)
    : Win32Lockable(Platform::Semaphore::Make(name_, 1, maximumCount), name_)
{
}

}
