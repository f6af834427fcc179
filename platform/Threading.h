#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace Platform {

/// A running thread. There is no forced end: its state lies in a block that the thread co-owns, so that it may be left
/// alone.
class RunningThread {
public:
    using Entry = void (*)(void* argument);

    virtual ~RunningThread() = default; ///< detaches a thread that was not joined

    /// Waits for the end, in real monotonic time; none waits for ever. True once the thread has ended, and at once in a
    /// forked child, where it never was.
    virtual bool Join(std::optional<std::int64_t> limitMs) = 0;

    virtual bool IsCurrent() const = 0;

    /// Null if the platform cannot create it. `entry` must not throw.
    static std::unique_ptr<RunningThread> Start(Entry entry, void* argument);
};

/// A number of this process: a forked child has another one than its parent.
std::uint32_t ProcessNumber() noexcept;

/// Gives up the rest of the time slice.
void YieldThread() noexcept;

/// Raises the calling thread above its normal priority, best effort.
/// @return what RestorePriority takes to undo it
std::int32_t RaisePriority() noexcept;
void RestorePriority(std::int32_t previous) noexcept;

}
