#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

/// A name for locks of this run, whose files go with it.
class LockName {
public:
    LockName() = default;
    ~LockName()
    {
        for (const auto& entry : std::filesystem::directory_iterator(Directory()))
            if (entry.path().filename().string().starts_with(File()))
                ::unlink(entry.path().c_str());
    }
    std::string Name() const { return "lock test: " + number; }
    std::string SameFile() const { return "lock/test/" + number; }
    std::string File() const { return "orvex-locktest" + number; }
    std::string Path() const { return Directory() + File(); }

private:
    /// Where lock files lie: the first of the two that everybody may write to.
    static std::string Directory()
    {
        struct stat status { };
        const bool isForEverybody = ::stat("/run/lock", &status) == 0 && (status.st_mode & S_IWOTH) != 0;
        return isForEverybody ? "/run/lock/" : "/dev/shm/";
    }

    std::string number = std::to_string(::getpid());
};

/// Whether something holds in a forked child.
inline bool InChild(const std::function<bool()>& holds)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(holds() ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    return status == 0;
}
