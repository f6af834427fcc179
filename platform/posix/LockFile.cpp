#include "platform/posix/LockFile.h"

#include "platform/posix/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Posix {

namespace {

constexpr const char* directories[] = {"/run/lock", "/dev/shm"};
constexpr mode_t everybody = 0666;
constexpr int openFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

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

/// Makes the file under a name of its own and links it when everybody may open it: a creator that is killed on the way
/// leaves nothing that others could not open. A file that is there already stays.
bool Create(const std::string& path)
{
    std::string own = path + ".XXXXXX";
    const int descriptor = ::mkostemp(own.data(), O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool isThere = ::fchmod(descriptor, everybody) == 0 // whatever the umask
        && (::link(own.c_str(), path.c_str()) == 0 || errno == EEXIST);
    ::unlink(own.c_str());
    CloseDescriptor(descriptor);
    return isThere;
}

/// Opens without O_CREAT: where fs.protected_regular is on, O_CREAT of another user's file in a sticky directory is
/// refused even to root.
int OpenOrCreate(const std::string& path)
{
    int descriptor = OpenDescriptor(path.c_str(), openFlags);
    if (descriptor < 0 && errno == ENOENT && Create(path))
        descriptor = OpenDescriptor(path.c_str(), openFlags);
    if (descriptor >= 0 && !IsPlainFile(descriptor)) {
        CloseDescriptor(descriptor);
        return -1;
    }
    return descriptor;
}

/// In the first directory that is for everybody, and nowhere else: which one is taken must not depend on who asks or on
/// how the opening ends, else two users would have two locks.
int OpenAnywhere(const std::string& name)
{
    const auto directory = std::find_if(std::begin(directories), std::end(directories), IsForEverybody);
    return directory == std::end(directories) ? -1 : OpenOrCreate(std::string(*directory) + "/" + name);
}

}

LockFile::LockFile(const std::string& name_) : name(name_)
{
    Open();
}

LockFile::~LockFile()
{
    const std::lock_guard lock(Guard());
    Close();
}

/// Under the guard: a child forked meanwhile would keep the descriptor, and with it its parent's lock.
void LockFile::Open()
{
    const std::lock_guard lock(Guard());
    descriptor = OpenAnywhere(name);
}

void LockFile::Close() noexcept
{
    if (IsOpen())
        CloseDescriptor(descriptor);
    descriptor = -1;
}

LockFile::Outcome LockFile::TryLock()
{
    if (!IsOpen())
        Open(); // in a forked child
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
