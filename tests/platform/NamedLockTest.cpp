#include "platform/NamedLock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
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

/// A name of this run, whose file goes with it.
class LockName {
public:
    LockName() = default;
    ~LockName()
    {
        for (const char* directory : {"/run/lock/", "/dev/shm/"})
            ::unlink((directory + File()).c_str());
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
    for (const Case& c : cases) {
        for (const char* directory : {"/run/lock/", "/dev/shm/"})
            c.make(directory + name.File());
        EXPECT_EQ(nullptr, NamedLock::Make(name.Name(), true)) << c.what;
        for (const char* directory : {"/run/lock/", "/dev/shm/"})
            ::remove((directory + name.File()).c_str());
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
    const bool isFound = ::stat(("/run/lock/" + name.File()).c_str(), &status) == 0
        || ::stat(("/dev/shm/" + name.File()).c_str(), &status) == 0;
    ASSERT_TRUE(isFound);
    EXPECT_EQ(0666U, status.st_mode & 0777U);
}
