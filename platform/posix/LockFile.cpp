#include "platform/posix/LockFile.h"

#include "platform/posix/Descriptor.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <pthread.h>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>

namespace Platform::Posix {

namespace {

constexpr const char* directories[] = {"/run/lock", "/dev/shm"};
constexpr mode_t everybody = 0666;
constexpr int attempts = 10; // while another process creates the file

/// Which directory is taken must not depend on who asks, else two users would have two locks.
bool IsForEverybody(const char* directory)
{
    struct stat status { };
    return ::stat(directory, &status) == 0 && S_ISDIR(status.st_mode) && (status.st_mode & S_IWOTH) != 0;
}

bool IsPlainFile(int descriptor)
{
    struct stat status { };
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Opens without O_CREAT first: where fs.protected_regular is on, O_CREAT of another user's file in a sticky directory
/// is refused even to root.
int OpenOrCreate(const std::string& path)
{
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        int descriptor = OpenDescriptor(path.c_str(), flags);
        if (descriptor >= 0) {
            if (IsPlainFile(descriptor))
                return descriptor;
            CloseDescriptor(descriptor);
            return -1;
        }
        if (errno != ENOENT && errno != EACCES) // EACCES: created a moment ago, its mode not yet set
            return -1;
        descriptor = OpenDescriptor(path.c_str(), flags | O_CREAT | O_EXCL, everybody);
        if (descriptor >= 0) {
            ::fchmod(descriptor, everybody); // whatever the umask
            return descriptor;
        }
        if (errno != EEXIST)
            return -1;
        const timespec nap{0, 500'000};
        ::nanosleep(&nap, nullptr);
    }
    return -1;
}

}

/// The descriptors of all lock files. A forked child that kept one would hold its parent's lock beyond the parent's
/// death.
class LockFile::Open {
public:
    static Open& Instance()
    {
        static Open& open = *new Open; // never destroyed: the fork handlers stay
        return open;
    }

    void Add(int descriptor)
    {
        const std::lock_guard lock(mutex);
        descriptors.insert(descriptor);
    }

    void Close(int descriptor)
    {
        const std::lock_guard lock(mutex);
        descriptors.erase(descriptor);
        CloseDescriptor(descriptor);
    }

private:
    Open()
    {
        ::pthread_atfork([] { Instance().mutex.lock(); }, [] { Instance().mutex.unlock(); },
                         [] {
                             for (const int descriptor : Instance().descriptors)
                                 CloseDescriptor(descriptor);
                             Instance().mutex.unlock();
                         });
    }

    std::mutex mutex;
    std::set<int> descriptors;
};

LockFile::LockFile(const std::string& name) : descriptor(-1)
{
    Open::Instance();
    for (const char* directory : directories) {
        if (!IsForEverybody(directory))
            continue;
        descriptor = OpenOrCreate(std::string(directory) + "/" + name);
        if (descriptor >= 0) {
            Open::Instance().Add(descriptor);
            return;
        }
    }
}

LockFile::~LockFile()
{
    if (descriptor >= 0)
        Open::Instance().Close(descriptor);
}

LockFile::Outcome LockFile::TryLock()
{
    int result = 0;
    do
        result = ::flock(descriptor, LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    if (result == 0)
        return Outcome::locked;
    return errno == EWOULDBLOCK ? Outcome::busy : Outcome::failed;
}

void LockFile::Unlock()
{
    ::flock(descriptor, LOCK_UN);
}

}
