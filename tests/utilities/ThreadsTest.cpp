#include "Vondrel/Utilities/Concurrent/Thread.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Multithreading/Condition.h"
#include "Vondrel/Utilities/Multithreading/ConditionImpl.h"
#include "Vondrel/Utilities/Multithreading/ScopedLock.h"
#include "Vondrel/Utilities/Multithreading/Semaphore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <pthread.h>
#include <thread>

using namespace Vondrel::Utilities::Multithreading;
using Vondrel::Utilities::Concurrent::Thread;
using Vondrel::Utilities::Exceptions::InvalidArgumentException;
using Vondrel::Utilities::Exceptions::ResourceException;

namespace {

// A name of this process: on this platform the condition under test is one, and other runs of this test are not to
// wait.
constexpr const char* localName = "BlockingQueueMutex";

using Task = std::function<void()>;

void RunTask(void* task)
{
    (*static_cast<Task*>(task))();
}

/// Runs a task on a thread of its own and waits for its end.
void Elsewhere(Task task)
{
    Thread thread(RunTask, &task);
    thread.Join();
}

/// The text of the ResourceException that a task ends with.
std::string Failure(const Task& task)
{
    try {
        task();
    } catch (const ResourceException& e) {
        return e.what();
    }
    return "no failure";
}

/// A queue on which the platform fails, and which does something while a thread waits at it.
struct BrokenQueue : Platform::Semaphore {
    explicit BrokenQueue(Task meanwhile_, Outcome outcome_ = Outcome::acquired, bool isReleasable_ = false)
        : meanwhile(std::move(meanwhile_)), outcome(outcome_), isReleasable(isReleasable_)
    {
    }
    Outcome Acquire(std::optional<std::int64_t>) override
    {
        meanwhile();
        return outcome;
    }
    bool Release() override { return isReleasable; }

    Task meanwhile;
    Outcome outcome;
    bool isReleasable;
};

/// An event that counts how often it is set.
struct CountedEvent : Platform::Event {
    explicit CountedEvent(std::atomic<int>& sets_) : sets(sets_) { }
    void Set() override
    {
        ++sets;
        event->Set();
    }
    bool Wait(std::optional<std::int64_t> limitMs) override { return event->Wait(limitMs); }

    std::atomic<int>& sets;
    const std::unique_ptr<Platform::Event> event = Platform::Event::Make();
};

struct BrokenEvent : Platform::Event {
    void Set() override { }
    bool Wait(std::optional<std::int64_t>) override { return false; }
};

}

TEST(Thread, EndsSilentlyWhenItsFunctionThrows)
{
    bool ran = false;
    Elsewhere([&] {
        ran = true;
        throw 42;
    });
    EXPECT_TRUE(ran);
}

TEST(Thread, JoinsWithinALimitAndNeverItself)
{
    Mutex gate("");
    gate.Lock();
    Thread* self = nullptr;
    std::atomic<bool> knowsItself = false;
    Task task = [&] {
        const ScopedLock lock(gate);
        knowsItself = self->IsCurrentThread() && !self->JoinWithin(-1);
        self->Join();
    };
    Thread thread(RunTask, &task);
    self = &thread;
    EXPECT_FALSE(thread.JoinWithin(0));
    EXPECT_FALSE(thread.JoinWithin(20));
    EXPECT_FALSE(thread.IsCurrentThread());
    gate.Unlock();
    thread.Join();
    EXPECT_TRUE(thread.JoinWithin(0));
    EXPECT_TRUE(knowsItself);
}

TEST(Thread, IsLeftAloneByItsDestructor)
{
    struct Block {
        std::atomic<bool> mayEnd = false;
        std::atomic<bool> hasEnded = false;
    };
    static Block block;
    {
        const Thread thread(
            [](void*) {
                while (!block.mayEnd)
                    std::this_thread::yield();
                block.hasEnded = true;
            },
            nullptr);
    }
    EXPECT_FALSE(block.hasEnded);
    block.mayEnd = true;
    while (!block.hasEnded)
        std::this_thread::yield();
}

TEST(Mutex, IsOneLockForAllHoldersOfItsName)
{
    Mutex mutex(localName);
    Mutex same(localName);
    EXPECT_TRUE(mutex.TryLock(-1));
    same.Lock(); // recursive
    Elsewhere([&] {
        EXPECT_FALSE(same.TryLock(0));
        EXPECT_FALSE(same.TryLock(10));
        same.Unlock(); // not the holder: no harm
    });
    mutex.Unlock();
    Elsewhere([&] { EXPECT_FALSE(same.TryLock(0)); });
    mutex.Unlock();
    mutex.Unlock(); // nothing left to give back
    Elsewhere([&] {
        EXPECT_TRUE(same.TryLock(0));
        same.Unlock();
    });
}

TEST(Mutex, GuardsDataOfManyThreads)
{
    for (const char* name : {"", localName}) {
        Mutex shared(name);
        int counter = 0;
        Task task = [&] {
            Mutex own(localName);
            Mutex& mutex = *name == '\0' ? shared : own;
            for (int i = 0; i < 1000; ++i) {
                const ScopedLock lock(mutex);
                ++counter;
            }
        };
        std::vector<std::unique_ptr<Thread>> threads;
        for (int i = 0; i < 4; ++i)
            threads.push_back(std::make_unique<Thread>(RunTask, &task));
        for (const auto& thread : threads)
            thread->Join();
        EXPECT_EQ(4000, counter);
    }
}

TEST(Mutex, WithoutANameIsRecursiveAndHasNoTimeLimit)
{
    Mutex mutex("");
    Mutex other("");
    mutex.Lock();
    mutex.Lock();
    Elsewhere([&] {
        other.Lock(); // its own
        other.Unlock();
    });
    mutex.Unlock();
    mutex.Unlock();
    try {
        mutex.TryLock(0);
        FAIL();
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("CriticalSection::TryLock: not yet implemented (TryEnterCriitcalSection not exists on  Win9X)",
                     e.what());
    }
}

TEST(Semaphore, CountsItsUnits)
{
    const auto semaphore = Semaphore::NewInstance("units", 2);
    const auto same = Semaphore::NewInstance("units", 7);
    const auto alone = Semaphore::NewInstance("", 2);
    semaphore->Lock(); // the one unit that it has at first
    EXPECT_FALSE(same->TryLock(0));
    EXPECT_TRUE(alone->TryLock(0));
    for (int i = 0; i < 3; ++i)
        same->Unlock(); // the third goes beyond the maximum
    EXPECT_TRUE(semaphore->TryLock(0));
    EXPECT_TRUE(semaphore->TryLock(0));
    EXPECT_FALSE(semaphore->TryLock(0));
    EXPECT_THROW(Semaphore::NewInstance("", 0), InvalidArgumentException);
}

TEST(Condition, DoesNotRememberASignalWithoutAWaiter)
{
    Mutex mutex(localName);
    Condition condition(mutex);
    condition.Signal();
    condition.Broadcast();
    std::atomic<bool> isWaiting = false;
    Task task = [&] {
        const ScopedLock lock(mutex);
        isWaiting = true;
        condition.Wait();
        EXPECT_TRUE(mutex.TryLock(0)); // held again
        mutex.Unlock();
    };
    Thread thread(RunTask, &task);
    while (!isWaiting)
        std::this_thread::yield();
    mutex.Lock(); // the thread waits by now
    mutex.Unlock();
    EXPECT_FALSE(thread.JoinWithin(50));
    condition.Signal();
    thread.Join();
}

TEST(Condition, WakesAllWaitersByABroadcastAndOneByASignal)
{
    constexpr int count = 3;
    Mutex mutex(localName);
    Condition condition(mutex);
    int waiting = 0;
    int woken = 0;
    Task task = [&] {
        const ScopedLock lock(mutex);
        for (int round = 0; round < 2; ++round) {
            ++waiting;
            condition.Wait();
            ++woken;
        }
    };
    const auto until = [&](const int& value, int wanted) {
        for (;;) {
            const ScopedLock lock(mutex);
            if (value == wanted)
                return;
        }
    };
    std::vector<std::unique_ptr<Thread>> threads;
    for (int i = 0; i < count; ++i)
        threads.push_back(std::make_unique<Thread>(RunTask, &task));
    until(waiting, count);
    {
        const ScopedLock lock(mutex);
        condition.Broadcast();
    }
    until(waiting, 2 * count);
    EXPECT_EQ(count, woken);
    for (int i = 1; i <= count; ++i) {
        {
            const ScopedLock lock(mutex);
            condition.Signal();
        }
        until(woken, count + i);
    }
    for (const auto& thread : threads)
        thread->Join();
}

TEST(Condition, LetsTheLastWaiterOfABroadcastAloneTellThatAllAreAwake)
{
    Mutex mutex(localName);
    std::atomic<int> sets = 0;
    ConditionImpl condition(mutex, Platform::Semaphore::Make("", 0, 100), std::make_unique<CountedEvent>(sets));
    const auto wake = [&](int count, void (ConditionImpl::*operation)()) {
        int waiting = 0;
        Task task = [&] {
            const ScopedLock lock(mutex);
            ++waiting;
            condition.Wait();
        };
        std::vector<std::unique_ptr<Thread>> threads;
        for (int i = 0; i < count; ++i)
            threads.push_back(std::make_unique<Thread>(RunTask, &task));
        for (bool allWait = false; !allWait;) {
            const ScopedLock lock(mutex);
            allWait = waiting == count;
            if (allWait)
                (condition.*operation)();
        }
        for (const auto& thread : threads)
            thread->Join();
    };
    wake(3, &ConditionImpl::Broadcast);
    EXPECT_EQ(1, sets);
    wake(1, &ConditionImpl::Signal);
    EXPECT_EQ(1, sets) << "a signal is no broadcast, after one either";
    wake(2, &ConditionImpl::Broadcast);
    EXPECT_EQ(2, sets);
}

TEST(Condition, ForgetsAWaiterThatIsCancelled)
{
    Mutex mutex(localName);
    Condition condition(mutex);
    const auto semaphore = Semaphore::NewInstance("", 1);
    semaphore->Lock();
    std::atomic<int> waiting = 0;
    const auto cancel = [&](const Task& wait) {
        std::thread thread([&] {
            const ScopedLock lock(mutex);
            ++waiting;
            wait();
        });
        for (const int before = waiting; waiting == before;)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ::pthread_cancel(thread.native_handle());
        thread.join();
    };
    cancel([&] { condition.Wait(); });
    cancel([&] { semaphore->Lock(); });
    ASSERT_TRUE(mutex.TryLock(10000)) << "nothing is left owned";
    condition.Broadcast(); // would wait for it
    mutex.Unlock();
    semaphore->Unlock();
    EXPECT_TRUE(semaphore->TryLock(0));
}

TEST(Condition, PassesItemsBetweenTwoThreads)
{
    Mutex mutex(localName);
    Condition notEmpty(mutex);
    Condition notFull(mutex);
    bool isFull = false;
    int sum = 0;
    Task take = [&] {
        for (int i = 0; i < 1000; ++i) {
            const ScopedLock lock(mutex);
            while (!isFull)
                notEmpty.Wait();
            isFull = false;
            ++sum;
            notFull.Signal();
        }
    };
    Thread thread(RunTask, &take);
    for (int i = 0; i < 1000; ++i) {
        const ScopedLock lock(mutex);
        while (isFull)
            notFull.Wait();
        isFull = true;
        notEmpty.Signal();
    }
    thread.Join();
    EXPECT_EQ(1000, sum);
}

TEST(Condition, RefusesAMutexThatItCannotWaitFor)
{
    constexpr const char* text = "Condition::Wait() invalid Mutex! (must be a real mutex)";
    Mutex nameless("");
    EXPECT_EQ(text, Failure([&] { Condition(nameless).Wait(); }));
    Mutex notHeld(localName);
    Condition condition(notHeld);
    EXPECT_EQ(text, Failure([&] { condition.Wait(); }));
    condition.Broadcast(); // no waiter was left behind, so it returns
}

TEST(Condition, TellsEachFailureOfThePlatformAndGivesTheMutexBack)
{
    Mutex mutex(localName);
    const auto isFree = [&] {
        bool free = false;
        Elsewhere([&] {
            free = mutex.TryLock(0);
            mutex.Unlock();
        });
        return free;
    };

    EXPECT_EQ("ConditionImpl::ConditionImpl() can't create!",
              Failure([&] { ConditionImpl(mutex, nullptr, Platform::Event::Make()); }));
    EXPECT_EQ("ConditionImpl::ConditionImpl() can't create!",
              Failure([&] { ConditionImpl(mutex, Platform::Semaphore::Make("", 0, 1), nullptr); }));

    ConditionImpl* condition = nullptr;
    const struct {
        const char* text;
        Task meanwhile;
        bool isReleasable;
    } cases[] = {
        {"Condition::signal() invalid condition!", [&] { condition->Signal(); }, false},
        {"Condition::broadcast() unable to release semaphore!", [&] { condition->Broadcast(); }, false},
        {"Condition::broadcast() invalid event!", [&] { condition->Broadcast(); }, true},
    };
    for (const auto& c : cases) {
        std::string failure;
        auto queue = std::make_unique<BrokenQueue>(
            [&] {
                mutex.Lock();
                failure = Failure(c.meanwhile);
                EXPECT_TRUE(isFree());
            },
            Platform::Waitable::Outcome::acquired, c.isReleasable);
        ConditionImpl broken(mutex, std::move(queue), std::make_unique<BrokenEvent>());
        condition = &broken;
        mutex.Lock();
        broken.Wait();
        EXPECT_EQ(c.text, failure);
        mutex.Unlock();
    }

    ConditionImpl broken(mutex, std::make_unique<BrokenQueue>([] {}, Platform::Waitable::Outcome::failed),
                         std::make_unique<BrokenEvent>());
    mutex.Lock();
    EXPECT_EQ("Condition::Wait() invalid Mutex! (must be a real mutex)", Failure([&] { broken.Wait(); }));
    EXPECT_TRUE(isFree());
}
