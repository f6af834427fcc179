#include "platform/Threading.h"

#include "platform/posix/Deadline.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace Platform {

namespace {

/// What the thread and its owner share; it lives as long as either.
struct Life {
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;
};

/// Tells the end of a thread however it comes, pthread_exit included.
class EndNotice {
public:
    explicit EndNotice(std::shared_ptr<Life> life_) : life(std::move(life_)) { }
    EndNotice(EndNotice&&) = default;
    ~EndNotice()
    {
        if (!life)
            return;
        const std::lock_guard lock(life->mutex);
        life->ended = true;
        life->changed.notify_all();
    }

private:
    std::shared_ptr<Life> life;
};

/// Keeps the application's signals on the application's threads: a new thread inherits the mask.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT})
            sigdelset(&all, fault);
        pthread_sigmask(SIG_BLOCK, &all, &before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

private:
    sigset_t before;
};

class PosixThread : public RunningThread {
public:
    PosixThread(Entry entry, void* argument) : life(std::make_shared<Life>())
    {
        const SignalsBlocked blocked;
        thread = std::thread([notice = EndNotice(life), entry, argument] { entry(argument); });
    }

    ~PosixThread() override
    {
        if (!IsOfThisProcess())
            new (&thread) std::thread; // there is nothing to detach from
        else if (thread.joinable())
            thread.detach();
    }

    bool Join(std::optional<std::int64_t> limitMs) override
    {
        if (!IsOfThisProcess())
            return true;
        if (IsCurrent())
            return false; // it would wait for itself
        {
            std::unique_lock lock(life->mutex);
            if (!Posix::Deadline(limitMs).Wait(lock, life->changed, [this] { return life->ended; }))
                return false;
        }
        if (thread.joinable())
            thread.join();
        return true;
    }

    bool IsCurrent() const override { return thread.get_id() == std::this_thread::get_id(); }

private:
    bool IsOfThisProcess() const { return process == ProcessNumber(); }

    const std::uint32_t process = ProcessNumber();
    std::shared_ptr<Life> life;
    std::thread thread;
};

constexpr int raised = -5; // nice value: above an ordinary thread, below what audio servers take

}

std::unique_ptr<RunningThread> RunningThread::Start(Entry entry, void* argument)
try {
    return std::make_unique<PosixThread>(entry, argument);
} catch (const std::exception&) {
    return nullptr;
}

void YieldThread() noexcept
{
    ::sched_yield();
}

// On Linux a nice value belongs to one thread, whose number 0 means the caller. Without the permission nothing changes.

std::int32_t RaisePriority() noexcept
{
    errno = 0;
    const int previous = ::getpriority(PRIO_PROCESS, 0);
    if (previous == -1 && errno != 0)
        return 0;
    ::setpriority(PRIO_PROCESS, 0, std::min(previous, raised));
    return previous;
}

void RestorePriority(std::int32_t previous) noexcept
{
    ::setpriority(PRIO_PROCESS, 0, previous);
}

}
