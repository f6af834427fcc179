#pragma once

#include "Vondrel/Utilities/Multithreading/SynchronizationObject.h"
#include "Vondrel/Utilities/Multithreading/Win32Lockable.h"

#include <string>

namespace Vondrel::Utilities::Multithreading {

/// A counting semaphore: locking takes a unit, unlocking gives one back.
class SemaphoreImpl : public Win32Lockable<SynchronizationObject::Impl> {
public:
    SemaphoreImpl(const std::string& name, std::int32_t maximumCount);
};

}
