#include "platform/NamedLock.h"
#include "tests/support/LockName.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

using Platform::NamedLock;
using Outcome = Platform::Waitable::Outcome;

namespace {

bool endsInChmod = false; ///< a process that is killed between the making of a file and the setting of its mode

}

int fchmod(int descriptor, mode_t mode) noexcept
{
    if (endsInChmod)
        ::_exit(0);
    return ::fchmodat(AT_FDCWD, ("/proc/self/fd/" + std::to_string(descriptor)).c_str(), mode, 0);
}

namespace {

/// A second process that holds the lock; see lock_holder.cpp.
class Holder {
public:
    explicit Holder(const std::string& name, const char* option = nullptr)
    {
        int input[2];
        int output[2];
        EXPECT_EQ(::pipe2(input, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(output, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        std::string program = ORVEX_LOCK_HOLDER;
        std::string argument = name;
        std::string last = option != nullptr ? option : "";
        char* arguments[] = {program.data(), argument.data(), option != nullptr ? last.data() : nullptr, nullptr};
        EXPECT_EQ(::posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ), 0);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        inputEnd = input[1];
        char word[5] = {};
        EXPECT_EQ(::read(output[0], word, 5), 5) << "the other process does not hold the lock";
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
    EXPECT_EQ(holder.End(), 0);
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
    for (const auto& lock : {wide.get(), local.get()}) {
        ASSERT_EQ(Outcome::acquired, lock->Acquire(0));
        EXPECT_TRUE(InChild([&] { return !lock->Release(); }));
    }
    EXPECT_TRUE(InChild([&] { return wide->Acquire(0) == Outcome::timedOut; })) << "the parent holds it";
    EXPECT_TRUE(InChild([&] { return local->Acquire(0) == Outcome::acquired; })) << "the child's own";
    EXPECT_TRUE(wide->Release());
    EXPECT_TRUE(InChild([&] { return wide->Acquire(0) == Outcome::acquired && wide->Release(); }));
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
    EXPECT_EQ(holder.End(), 0);
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

TEST(NamedLock, GuardsWhatThreadsOfTwoProcessesShare)
{
    const LockName name;
    auto& counter = *static_cast<volatile int*>(
        ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const auto count = [&] {
        const auto lock = NamedLock::Make(name.Name(), true);
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(Outcome::acquired, lock->Acquire(std::nullopt));
            counter = counter + 1;
            EXPECT_TRUE(lock->Release());
        }
    };
    const auto countTwice = [&] {
        std::thread other(count);
        count();
        other.join();
        return true;
    };
    const pid_t child = ::fork(); // before there are threads: one of them might hold the heap's lock
    if (child == 0)
        ::_exit(countTwice() ? 0 : 1);
    countTwice();
    int status = -1;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(counter, 1200);
}

TEST(LockFile, FollowsNoLinkAndTakesNothingButAPlainFile)
{
    // What stands in the first directory that is for everybody decides: a second lock elsewhere would be no lock.
    const LockName name;
    const std::string path = name.Path();
    ASSERT_EQ(::symlink("/etc/hostname", path.c_str()), 0);
    EXPECT_EQ(NamedLock::Make(name.Name(), true), nullptr) << "a link";
    ::remove(path.c_str());
    ASSERT_EQ(::mkfifo(path.c_str(), 0666), 0);
    EXPECT_EQ(NamedLock::Make(name.Name(), true), nullptr) << "a fifo";
    ::remove(path.c_str());
    ASSERT_EQ(::mkdir(path.c_str(), 0777), 0);
    EXPECT_EQ(NamedLock::Make(name.Name(), true), nullptr) << "a directory";
    ::remove(path.c_str());
    EXPECT_EQ(NamedLock::Make(std::string(300, 'x'), true), nullptr);
}

TEST(LockFile, CanBeLockedByEveryUserAndByNoProgramThatIsStarted)
{
    const LockName name;
    const mode_t before = ::umask(0077);
    const auto lock = NamedLock::Make(name.Name(), true);
    ::umask(before);
    ASSERT_TRUE(lock);
    struct stat status { };
    ASSERT_EQ(::stat(name.Path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0666U);
    EXPECT_EQ(status.st_nlink, 1U) << "the name that it was made under is gone";
    int descriptors = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) != name.Path())
            continue;
        ++descriptors;
        EXPECT_EQ(FD_CLOEXEC, ::fcntl(std::stoi(entry.path().filename()), F_GETFD));
    }
    EXPECT_EQ(descriptors, 1);
}

TEST(LockFile, IsThereOnlyOnceEverybodyCanOpenIt)
{
    const LockName name;
    EXPECT_TRUE(InChild([&] {
        endsInChmod = true;
        NamedLock::Make(name.Name(), true);
        return false;
    })) << "the creator did not end where it should";
    EXPECT_NE(::access(name.Path().c_str(), F_OK), 0);
    EXPECT_TRUE(NamedLock::Make(name.Name(), true));
}
