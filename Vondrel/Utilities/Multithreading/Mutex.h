#pragma once

#include "Vondrel/Utilities/Multithreading/SynchronizationObject.h"

#include <string>

namespace Vondrel::Utilities::Multithreading {

/// A lock, recursive for its owner thread. With a name it is one lock for all its holders, in other processes too; when
/// the process that holds it dies, the next one acquires it. Without a name it belongs to this object and has neither a
/// time limit nor a Condition.
class Mutex : public SynchronizationObject {
public:
    /// @throws InvalidArgumentException "handle is NULL": the lock cannot be had
    explicit Mutex(const std::string& name);

private:
    friend class ConditionImpl; // waits for the platform's object
};

}
