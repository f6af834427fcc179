#pragma once

#include "platform/posix/ForkWatch.h"

#include <string>

namespace Platform::Posix {

/// A file that all users of this machine can lock with flock. The kernel frees the lock with its last descriptor, so a
/// process that is killed leaves nothing behind. A child that the process forks closes its copy, and opens its own when
/// it wants the lock. Never unlinked: a second file of the same name would be a second lock.
class LockFile : public ForkWatch {
public:
    enum class Outcome { locked, busy, failed };

    /// @param name  file name without a directory
    explicit LockFile(const std::string& name);
    ~LockFile() override;

    bool IsOpen() const { return descriptor >= 0; }
    Outcome TryLock();
    void Unlock();

private:
    void AfterFork() noexcept override { Close(); }
    void Open();
    void Close() noexcept;

    const std::string name;
    int descriptor = -1;
};

}
