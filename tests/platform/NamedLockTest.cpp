#include "platform/NamedLock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

using Platform::NamedLock;
using Outcome = Platform::Waitable::Outcome;

namespace {

bool endsInChmod = false; ///< a process that is killed between the making of a file and the setting of its mode

/// Where lock files lie: the first of the two that everybody may write to.
std::string FirstDirectory()
{
    struct stat status { };
    const bool isForEverybody = ::stat("/run/lock", &status) == 0 && (status.st_mode & S_IWOTH) != 0;
    return isForEverybody ? "/run/lock/" : "/dev/shm/";
}

}

int fchmod(int descriptor, mode_t mode) noexcept
{
    if (endsInChmod)
        ::_exit(0);
    return ::fchmodat(AT_FDCWD, ("/proc/self/fd/" + std::to_string(descriptor)).c_str(), mode, 0);
}

namespace {

/// A name of this run, whose file goes with it.
class LockName {
public:
    LockName() = default;
    ~LockName()
    {
        for (const auto& entry : std::filesystem::directory_iterator(FirstDirectory()))
            if (entry.path().filename().string().starts_with(File()))
                ::unlink(entry.path().c_str());
    }
    std::string Name() const { return "lock test: " + number; }
    std::string SameFile() const { return "lock/test/" + number; }
    std::string File() const { return "orvex-locktest" + number; }

private:
    std::string number = std::to_string(::getpid());
};

/// A second process that holds the lock; see lock_holder.cpp.
class Holder {
public:
    explicit Holder(const std::string& name, const char* option = nullptr)
    {
        int input[2];
        int output[2];
        EXPECT_EQ(0, ::pipe2(input, O_CLOEXEC));
        EXPECT_EQ(0, ::pipe2(output, O_CLOEXEC));
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        std::string program = ORVEX_LOCK_HOLDER;
        std::string argument = name;
        std::string last = option != nullptr ? option : "";
        char* arguments[] = {program.data(), argument.data(), option != nullptr ? last.data() : nullptr, nullptr};
        EXPECT_EQ(0, ::posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ));
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        inputEnd = input[1];
        char word[5] = {};
        EXPECT_EQ(5, ::read(output[0], word, 5)) << "the other process does not hold the lock";
        ::close(output[0]);
    }
    ~Holder() { End(); }

    void Kill()
    {
        ::kill(process, SIGKILL);
        Reap();
    }

    /// Lets it give back and end.
    int End()
    {
        if (inputEnd >= 0)
            ::close(inputEnd);
        inputEnd = -1;
        return Reap();
    }

    int Reap()
    {
        int status = 0;
        if (process > 0)
            ::waitpid(process, &status, 0);
        process = 0;
        return status;
    }

private:
    pid_t process = 0;
    int inputEnd = -1;
};

}

TEST(NamedLock, KeepsAnotherProcessOutUntilItIsGivenBack)
{
    const LockName name;
    const auto lock = NamedLock::Make(name.Name(), true);
    Holder holder(name.Name());
    EXPECT_EQ(Outcome::timedOut, lock->Acquire(0));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Outcome::timedOut, lock->Acquire(60));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
    EXPECT_FALSE(lock->Release());

    std::thread waiting([&] {
        EXPECT_EQ(Outcome::acquired, lock->Acquire(std::nullopt));
        EXPECT_TRUE(lock->Release());
    });
    EXPECT_EQ(0, holder.End());
    waiting.join();
    EXPECT_EQ(Outcome::acquired, lock->Acquire(0));
    EXPECT_TRUE(lock->Release());
}

TEST(NamedLock, IsFreeAgainWhenItsOwnerIsKilled)
{
    const LockName name;
    const auto lock = NamedLock::Make(name.Name(), true);
    Holder holder(name.Name());
    EXPECT_EQ(Outcome::timedOut, lock->Acquire(0));
    holder.Kill();
    EXPECT_EQ(Outcome::acquired, lock->Acquire(5000));
    EXPECT_TRUE(lock->Release());
}

TEST(NamedLock, IsNotKeptByAForkedChildOfItsOwner)
{
    const LockName name;
    const auto lock = NamedLock::Make(name.Name(), true);
    Holder holder(name.Name(), "fork");
    holder.Reap(); // the owner is gone; its child lives until End
    EXPECT_EQ(Outcome::acquired, lock->Acquire(5000));
    EXPECT_TRUE(lock->Release());
}

TEST(NamedLock, IsNotOwnedByAForkedChildButServesItToo)
{
    const LockName name;
    const auto wide = NamedLock::Make(name.Name(), true);
    const auto local = NamedLock::Make(name.Name(), false);
    const auto child = [&](const std::function<bool()>& isRight) {
        const pid_t process = ::fork();
        if (process == 0)
            ::_exit(isRight() ? 0 : 1);
        int status = -1;
        ::waitpid(process, &status, 0);
        return status;
    };
    for (const auto& lock : {wide.get(), local.get()}) {
        ASSERT_EQ(Outcome::acquired, lock->Acquire(0));
        EXPECT_EQ(0, child([&] { return !lock->Release(); }));
    }
    EXPECT_EQ(0, child([&] { return wide->Acquire(0) == Outcome::timedOut; })) << "the parent holds it";
    EXPECT_EQ(0, child([&] { return local->Acquire(0) == Outcome::acquired; })) << "the child's own";
    EXPECT_TRUE(wide->Release());
    EXPECT_TRUE(local->Release());
    EXPECT_EQ(0, child([&] { return wide->Acquire(0) == Outcome::acquired && wide->Release(); }));
}

TEST(NamedLock, IsNotOwnedByAThreadThatWasCancelledOnItsWay)
{
    const LockName name;
    const auto wide = NamedLock::Make(name.Name(), true);
    const auto local = NamedLock::Make(name.Name(), false);
    Holder holder(name.Name());
    ASSERT_EQ(Outcome::acquired, local->Acquire(0));
    for (const auto& lock : {wide.get(), local.get()}) {
        std::thread waiting([&] { lock->Acquire(std::nullopt); });
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        ::pthread_cancel(waiting.native_handle());
        waiting.join();
    }
    EXPECT_EQ(0, holder.End());
    EXPECT_TRUE(local->Release());
    for (const auto& lock : {wide.get(), local.get()})
        EXPECT_EQ(Outcome::acquired, lock->Acquire(5000));
}

TEST(NamedLock, IsRecursiveOverAllObjectsOfTheSameFile)
{
    const LockName name;
    const auto lock = NamedLock::Make(name.Name(), true);
    const auto same = NamedLock::Make(name.SameFile(), true);
    EXPECT_EQ(Outcome::acquired, lock->Acquire(0));
    EXPECT_EQ(Outcome::acquired, same->Acquire(0));
    EXPECT_TRUE(lock->Release());
    std::thread([&] {
        EXPECT_EQ(Outcome::timedOut, lock->Acquire(20));
        EXPECT_FALSE(lock->Release());
    }).join();
    EXPECT_TRUE(same->Release());
    EXPECT_FALSE(same->Release());
    Holder holder(name.Name()); // so the file was given back
}

TEST(NamedLock, OfThisProcessDoesNotReachBeyond)
{
    const LockName name;
    const auto lock = NamedLock::Make(name.Name(), false);
    Holder holder(name.Name());
    EXPECT_EQ(Outcome::acquired, lock->Acquire(0));
    std::thread([&] {
        EXPECT_EQ(Outcome::timedOut, NamedLock::Make(name.Name(), false)->Acquire(0));
        EXPECT_EQ(Outcome::acquired, NamedLock::Make("", false)->Acquire(0));
    }).join();
    EXPECT_TRUE(lock->Release());
}

TEST(NamedLock, GuardsDataOfThreadsWhileAnotherProcessTakesItToo)
{
    const LockName name;
    int counter = 0;
    const auto count = [&] {
        const auto lock = NamedLock::Make(name.Name(), true);
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(Outcome::acquired, lock->Acquire(std::nullopt));
            ++counter;
            EXPECT_TRUE(lock->Release());
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(count);
    for (int i = 0; i < 3; ++i)
        Holder(name.Name()).End();
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(1200, counter);
}

TEST(LockFile, FollowsNoLinkAndTakesNothingButAPlainFile)
{
    const LockName name;
    struct Case {
        const char* what;
        std::function<int(const std::string&)> make;
    };
    const Case cases[] = {
        {"link", [](const std::string& path) { return ::symlink("/etc/hostname", path.c_str()); }},
        {"fifo", [](const std::string& path) { return ::mkfifo(path.c_str(), 0666); }},
        {"directory", [](const std::string& path) { return ::mkdir(path.c_str(), 0777); }},
    };
    // What stands in the first directory that is for everybody decides: a second lock elsewhere would be no lock.
    for (const Case& c : cases) {
        ASSERT_EQ(0, c.make(FirstDirectory() + name.File()));
        EXPECT_EQ(nullptr, NamedLock::Make(name.Name(), true)) << c.what;
        ::remove((FirstDirectory() + name.File()).c_str());
    }
    EXPECT_EQ(nullptr, NamedLock::Make(std::string(300, 'x'), true));
}

TEST(LockFile, CanBeLockedByEveryUserWhateverTheUmask)
{
    const LockName name;
    const mode_t before = ::umask(0077);
    const auto lock = NamedLock::Make(name.Name(), true);
    ::umask(before);
    ASSERT_TRUE(lock);
    struct stat status { };
    ASSERT_EQ(0, ::stat((FirstDirectory() + name.File()).c_str(), &status));
    EXPECT_EQ(0666U, status.st_mode & 0777U);
    EXPECT_EQ(1U, status.st_nlink) << "the name that it was made under is gone";
}

TEST(LockFile, IsThereOnlyOnceEverybodyCanOpenIt)
{
    const LockName name;
    const pid_t creator = ::fork();
    if (creator == 0) {
        endsInChmod = true;
        NamedLock::Make(name.Name(), true);
        ::_exit(1);
    }
    int status = -1;
    ::waitpid(creator, &status, 0);
    ASSERT_EQ(0, status) << "the creator did not end where it should";
    EXPECT_NE(0, ::access((FirstDirectory() + name.File()).c_str(), F_OK));
    EXPECT_TRUE(NamedLock::Make(name.Name(), true));
}
