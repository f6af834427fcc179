#include "platform/NamedLock.h"

#include "platform/posix/ByName.h"
#include "platform/posix/Deadline.h"
#include "platform/posix/LockFile.h"

#include <atomic>
#include <new>
#include <thread>

namespace Platform {

namespace {

/// A number of the calling thread that is never used again; pthread's own are.
std::uint64_t CurrentThread()
{
    static std::atomic<std::uint64_t> last = 0;
    thread_local std::uint64_t number = 0;
    if (number == 0)
        number = ++last;
    return number;
}

/// Whose turn it is among the threads of this process.
struct Turn {
    std::mutex mutex;
    std::condition_variable changed;
    std::uint64_t owner = 0; ///< CurrentThread of the holder, 0 for none
    std::uint32_t depth = 0;

    void Vacate()
    {
        const std::lock_guard lock(mutex);
        owner = 0;
        depth = 0;
        changed.notify_one();
    }
};

/// Gives a turn back unless it is kept: also when the thread is cancelled on its way.
class TurnTaken {
public:
    explicit TurnTaken(Turn& turn_) : turn(&turn_) { }
    TurnTaken(const TurnTaken&) = delete;
    TurnTaken& operator=(const TurnTaken&) = delete;
    ~TurnTaken()
    {
        if (turn != nullptr)
            turn->Vacate();
    }
    void Keep() { turn = nullptr; }

private:
    Turn* turn;
};

/// What all holders of a name in this process share. Threads first wait for each other here; the one that is through
/// takes the file against other processes.
class SharedLock : public Posix::ForkWatch {
public:
    SharedLock() = default;

    /// @param fileName  of the lock file
    explicit SharedLock(const std::string& fileName) : file(std::in_place, fileName) { }

    bool IsUsable() const { return !file || file->IsOpen(); }

    Waitable::Outcome Acquire(std::optional<std::int64_t> limitMs)
    {
        const Posix::Deadline deadline(limitMs);
        const std::uint64_t self = CurrentThread();
        {
            std::unique_lock lock(turn.mutex);
            if (turn.owner == self) {
                ++turn.depth;
                return Waitable::Outcome::acquired;
            }
            if (!deadline.Wait(lock, turn.changed, [this] { return turn.owner == 0; }))
                return Waitable::Outcome::timedOut;
            turn.owner = self;
            turn.depth = 1;
        }
        TurnTaken taken(turn);
        const Waitable::Outcome outcome = AcquireFile(deadline);
        if (outcome == Waitable::Outcome::acquired)
            taken.Keep();
        return outcome;
    }

    bool Release()
    {
        {
            const std::lock_guard lock(turn.mutex);
            if (turn.owner != CurrentThread())
                return false;
            if (--turn.depth != 0)
                return true;
        }
        if (file)
            file->Unlock();
        turn.Vacate();
        return true;
    }

private:
    /// What the parent holds, the child does not.
    void AfterFork() noexcept override { new (&turn) Turn; }

    Waitable::Outcome AcquireFile(const Posix::Deadline& deadline)
    {
        if (!file)
            return Waitable::Outcome::acquired;
        constexpr Posix::Deadline::Clock::duration longest = std::chrono::milliseconds(16);
        for (Posix::Deadline::Clock::duration nap = std::chrono::microseconds(500);; nap = std::min(2 * nap, longest)) {
            const Posix::LockFile::Outcome outcome = file->TryLock();
            if (outcome == Posix::LockFile::Outcome::locked)
                return Waitable::Outcome::acquired;
            if (outcome == Posix::LockFile::Outcome::failed)
                return Waitable::Outcome::failed;
            if (deadline.HasPassed())
                return Waitable::Outcome::timedOut;
            std::this_thread::sleep_for(deadline.Left(nap));
        }
    }

    Turn turn;
    std::optional<Posix::LockFile> file; ///< none: private to this process
};

class PosixNamedLock : public NamedLock {
public:
    explicit PosixNamedLock(std::shared_ptr<SharedLock> shared_) : shared(std::move(shared_)) { }

    Outcome Acquire(std::optional<std::int64_t> limitMs) override { return shared->Acquire(limitMs); }
    bool Release() override { return shared->Release(); }

private:
    std::shared_ptr<SharedLock> shared;
};

/// Names that differ in punctuation only share a file, so they share the lock.
std::string FileName(const std::string& name)
{
    std::string fileName = "orvex-";
    for (const char c : name)
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))
            fileName += c;
    return fileName;
}

std::shared_ptr<SharedLock> Share(const std::string& name, bool systemWide)
{
    // Never destroyed: threads may outlive static objects.
    static auto& local = *new Posix::ByName<SharedLock>;
    static auto& wide = *new Posix::ByName<SharedLock>;
    if (systemWide) {
        const std::string fileName = FileName(name);
        return wide.Get(fileName, [&] {
            auto shared = std::make_shared<SharedLock>(fileName);
            return shared->IsUsable() ? shared : nullptr;
        });
    }
    const auto make = [] { return std::make_shared<SharedLock>(); };
    return name.empty() ? make() : local.Get(name, make);
}

}

std::unique_ptr<NamedLock> NamedLock::Make(const std::string& name, bool systemWide)
try {
    auto shared = Share(name, systemWide);
    return shared ? std::make_unique<PosixNamedLock>(std::move(shared)) : nullptr;
} catch (const std::exception&) {
    return nullptr;
}

}
