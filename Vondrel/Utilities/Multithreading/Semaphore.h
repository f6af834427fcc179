#pragma once

#include "Vondrel/Utilities/Multithreading/SynchronizationObject.h"

#include <string>

namespace Vondrel::Utilities::Multithreading {

/// A counting semaphore with one unit at first. Holders of the same name in this process share it; without a name it
/// belongs to this object.
class Semaphore : public SynchronizationObject {
public:
    /// @throws InvalidArgumentException "handle is NULL": maximumCount is below 1
    static std::unique_ptr<Semaphore> NewInstance(const std::string& name, std::int32_t maximumCount);

private:
    using SynchronizationObject::SynchronizationObject;
};

}
