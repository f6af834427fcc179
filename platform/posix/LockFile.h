#pragma once

#include <string>

namespace Platform::Posix {

/// A file that all users of this machine can lock with flock. The kernel frees the lock with its last descriptor, so a
/// process that is killed leaves nothing behind. A child that the process forks closes its copy, and has no use of the
/// object. Never unlinked: a second file of the same name would be a second lock.
class LockFile {
public:
    enum class Outcome { locked, busy, failed };

    /// @param name  file name without a directory
    explicit LockFile(const std::string& name);
    ~LockFile();
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

    bool IsOpen() const { return descriptor >= 0; }
    Outcome TryLock();
    void Unlock();

private:
    class All; ///< for the fork

    void Close();

    int descriptor = -1;
};

}
