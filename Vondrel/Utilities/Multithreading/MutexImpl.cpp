#include "Vondrel/Utilities/Multithreading/MutexImpl.h"

#include "platform/NamedLock.h"

namespace Vondrel::Utilities::Multithreading {

namespace {

/// Guards data of one process only: another process that is stopped while it holds the name must not stop this one.
constexpr const char* processLocalName = "BlockingQueueMutex";

}

MutexImpl::MutexImpl(const std::string& name_)
    : Win32Lockable(Platform::NamedLock::Make(name_, name_ != processLocalName && Platform::LocksAreSystemWide()),
                    name_)
{
}

}
