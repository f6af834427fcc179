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

int OpenAnywhere(const std::string& name)
{
    for (const char* directory : directories) {
        const int descriptor = IsForEverybody(directory) ? OpenOrCreate(std::string(directory) + "/" + name) : -1;
        if (descriptor >= 0)
            return descriptor;
    }
    return -1;
}

}

/// All lock files. A forked child that kept their descriptors would hold its parent's locks beyond the parent's death.
class LockFile::All {
public:
    static All& Instance()
    {
        static All& all = *new All; // never destroyed: the fork handlers stay
        return all;
    }

    // Both under the mutex, which no fork comes between.

    void Open(LockFile* file, const std::string& name)
    {
        const std::lock_guard lock(mutex);
        const auto place = files.insert(file).first;
        try {
            file->descriptor = OpenAnywhere(name);
        } catch (...) {
            files.erase(place); // out of memory: the object will not come to be
            throw;
        }
    }

    void Close(LockFile* file)
    {
        const std::lock_guard lock(mutex);
        files.erase(file);
        file->Close();
    }

private:
    All()
    {
        ::pthread_atfork([] { Instance().mutex.lock(); }, [] { Instance().mutex.unlock(); },
                         [] {
                             for (LockFile* const file : Instance().files)
                                 file->Close();
                             Instance().mutex.unlock();
                         });
    }

    std::mutex mutex;
    std::set<LockFile*> files;
};

LockFile::LockFile(const std::string& name)
{
    All::Instance().Open(this, name);
}

LockFile::~LockFile()
{
    All::Instance().Close(this);
}

void LockFile::Close()
{
    if (IsOpen())
        CloseDescriptor(descriptor);
    descriptor = -1;
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
