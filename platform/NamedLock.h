#pragma once

#include "platform/Waitable.h"

#include <memory>
#include <string>

namespace Platform {

/// One lock for every holder of its name, in this and in every other process (on the virtual bench in this process,
/// unless the bench says otherwise). Recursive for its owner thread. When the process that owns it dies, the next one
/// acquires it. Release gives back one level; on a thread that does not hold the lock it does no harm and returns
/// false.
class NamedLock : public Waitable {
public:
    /// Null if the lock cannot be had (no place to keep it, for example). With an empty name and not system-wide the
    /// lock is the caller's alone.
    static std::unique_ptr<NamedLock> Make(const std::string& name, bool systemWide);
};

/// Whether locks that are meant for the whole system reach beyond this process here: true on real hardware.
bool LocksAreSystemWide();

}
