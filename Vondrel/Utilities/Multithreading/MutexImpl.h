#pragma once

#include "Vondrel/Utilities/Multithreading/SynchronizationObject.h"
#include "Vondrel/Utilities/Multithreading/Win32Lockable.h"

#include <string>

namespace Vondrel::Utilities::Multithreading {

/// The lock of all holders of a name.
class MutexImpl : public Win32Lockable<SynchronizationObject::Impl> {
public:
    explicit MutexImpl(const std::string& name);
};

}
