#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Platform {

/// One lock for every holder of its name, in this and in every other process (on the virtual bench in this process, unless
/// the bench says otherwise). Recursive for its owner thread. When the process that owns it dies, the next one acquires
/// it. Limits are real monotonic time.
class NamedLock {
public:
    enum class Outcome { acquired, timedOut, failed };

    virtual ~NamedLock() = default;

    /// @param limitMs  milliseconds; none waits for ever; 0 looks once
    virtual Outcome Acquire(std::optional<std::int64_t> limitMs) = 0;

    /// Gives back one level. Does no harm on a thread that does not hold the lock; false then.
    virtual bool Release() = 0;

    /// Null if the lock cannot be had (no place to keep it, for example).
    static std::unique_ptr<NamedLock> Make(const std::string& name, bool systemWide);
};

/// Whether locks that are meant for the whole system reach beyond this process here: true on real hardware.
bool LocksAreSystemWide();

}
