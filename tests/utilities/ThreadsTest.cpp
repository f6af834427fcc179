#include "Vondrel/Utilities/Concurrent/Thread.h"
#include "Vondrel/Utilities/Multithreading/BlockingQueue.h"
#include "Vondrel/Utilities/Multithreading/ConditionImpl.h"
#include "Vondrel/Utilities/Multithreading/Semaphore.h"
#include "Vondrel/Utilities/Multithreading/Win32Lockable.h"
#include "tests/support/LockName.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <pthread.h>
#include <thread>

using namespace Vondrel::Utilities::Multithreading;
using Vondrel::Utilities::Concurrent::Thread;
using Outcome = Platform::Waitable::Outcome;

namespace {

// A name of this process: other runs of this test are not to wait.
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

bool IsFree(Mutex& mutex)
{
    bool isFree = false;
    Elsewhere([&] {
        isFree = mutex.TryLock(0);
        mutex.Unlock();
    });
    return isFree;
}

/// Threads that run the same task.
class Crowd {
public:
    Crowd(int count, Task task_) : task(std::move(task_))
    {
        for (int i = 0; i < count; ++i)
            threads.push_back(std::make_unique<Thread>(RunTask, &task));
    }
    ~Crowd()
    {
        for (const auto& thread : threads)
            thread->Join();
    }

private:
    Task task;
    std::vector<std::unique_ptr<Thread>> threads;
};

/// A queue that does something while a thread waits at it, and then says how the wait ended.
struct BrokenQueue : Platform::Semaphore {
    BrokenQueue(Task meanwhile_, Outcome outcome_, bool isReleasable_ = false)
        : meanwhile(std::move(meanwhile_)), outcome(outcome_), isReleasable(isReleasable_)
    {
    }
    Outcome Acquire(std::optional<std::int64_t>) override { return meanwhile(), outcome; }
    bool Release() override { return isReleasable; }

    Task meanwhile;
    Outcome outcome;
    bool isReleasable;
};

/// An event that counts how often it is set, and is out of order on demand.
struct CountedEvent : Platform::Event {
    explicit CountedEvent(std::atomic<int>& sets_, bool works_ = true) : sets(sets_), works(works_) { }
    void Set() override
    {
        ++sets;
        event->Set();
    }
    bool Wait(std::optional<std::int64_t> limitMs) override { return works && event->Wait(limitMs); }

    std::atomic<int>& sets;
    bool works;
    const std::unique_ptr<Platform::Event> event = Platform::Event::Make();
};

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
        throw 42; // ends silently
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
    static std::atomic<int> step = 0;
    {
        const Thread thread(
            [](void*) {
                while (step != 1)
                    std::this_thread::yield();
                step = 2;
            },
            nullptr);
    }
    EXPECT_EQ(step, 0);
    step = 1;
    while (step != 2)
        std::this_thread::yield();
}

TEST(Thread, IsARefusedResourceWhenThereIsNone)
{
    pthread_attr_t before, huge;
    ASSERT_EQ(::pthread_getattr_default_np(&before), 0);
    ASSERT_EQ(::pthread_attr_init(&huge), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&huge, std::size_t(1) << 46), 0);
    ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);
    const std::string failure = Thrown([] { Elsewhere([] {}); });
    ::pthread_setattr_default_np(&before);
    EXPECT_EQ(failure, "ResourceException: Can't create thread.");
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
    EXPECT_FALSE(IsFree(same));
    std::atomic<bool> isWaiting = false;
    Task wait = [&] {
        isWaiting = true;
        EXPECT_TRUE(same.TryLock(-1)) << "without a limit";
        same.Unlock();
    };
    Thread waiting(RunTask, &wait);
    while (!isWaiting)
        std::this_thread::yield();
    EXPECT_FALSE(waiting.JoinWithin(20));
    mutex.Unlock();
    waiting.Join();
    mutex.Unlock(); // nothing left to give back
    EXPECT_TRUE(IsFree(same));
}

TEST(Mutex, ReachesOtherProcessesButForTheOneOfQueues)
{
    const LockName name;
    Mutex wide(name.Name());
    Mutex local(localName);
    const ScopedLock holdsWide(wide);
    const ScopedLock holdsLocal(local);
    EXPECT_TRUE(InChild([&] { return !Mutex(name.Name()).TryLock(0) && Mutex(localName).TryLock(0); }));
}

TEST(Mutex, GuardsDataOfManyThreads)
{
    for (const char* name : {"", localName}) {
        Mutex shared(name);
        int counter = 0;
        {
            const Crowd crowd(4, [&] {
                Mutex own(localName);
                for (int i = 0; i < 1000; ++i) {
                    const ScopedLock lock(*name == '\0' ? shared : own);
                    ++counter;
                }
            });
        }
        EXPECT_EQ(counter, 4000);
    }
}

TEST(Mutex, WithoutANameIsRecursiveAndHasNoTimeLimit)
{
    Mutex mutex("");
    Mutex other("");
    mutex.Lock();
    mutex.Lock();
    Elsewhere([&] { other.Lock(); }); // its own
    EXPECT_EQ(Thrown([&] { mutex.TryLock(0); }),
              "RuntimeException: CriticalSection::TryLock: not yet implemented (TryEnterCriitcalSection not exists on  "
              "Win9X)");
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
    EXPECT_EQ(Thrown([] { Semaphore::NewInstance("", 0); }), "InvalidArgumentException: handle is NULL");
    Win32Lockable<SynchronizationObject::Impl> broken(std::make_unique<BrokenQueue>([] {}, Outcome::failed), "");
    EXPECT_EQ(Thrown([&] { broken.TryLock(0); }), "InvalidArgumentException: invalid mutex");
    EXPECT_EQ(Thrown([&] { broken.Lock(); }), "InvalidArgumentException: invalid mutex");
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
        EXPECT_FALSE(IsFree(mutex)) << "held again";
    };
    Thread thread(RunTask, &task);
    while (!isWaiting || !IsFree(mutex)) // the thread waits then
        std::this_thread::yield();
    EXPECT_FALSE(thread.JoinWithin(50));
    condition.Signal();
    thread.Join();
}

TEST(Condition, WakesAllWaitersByABroadcastAndOneByASignal)
{
    Mutex mutex(localName);
    std::atomic<int> sets = 0;
    ConditionImpl condition(mutex, Platform::Semaphore::Make("", 0, 100), std::make_unique<CountedEvent>(sets));
    int waiting = 0;
    int woken = 0;
    const auto until = [&](const int& value, int wanted) {
        for (;;) {
            const ScopedLock lock(mutex);
            if (value == wanted)
                return;
        }
    };
    const auto locked = [&](void (ConditionImpl::*operation)()) {
        const ScopedLock lock(mutex);
        (condition.*operation)();
    };
    const Crowd crowd(3, [&] {
        const ScopedLock lock(mutex);
        for (int round = 0; round < 2; ++round) {
            ++waiting;
            condition.Wait();
            ++woken;
        }
    });
    until(waiting, 3);
    locked(&ConditionImpl::Broadcast);
    until(waiting, 6);
    EXPECT_EQ(woken, 3);
    EXPECT_EQ(sets, 1) << "the last one alone tells that all are awake";
    for (int i = 1; i <= 3; ++i) {
        locked(&ConditionImpl::Signal);
        until(woken, 3 + i);
    }
    EXPECT_EQ(sets, 1) << "a signal is no broadcast, after one either";
}

TEST(Condition, ForgetsAWaiterThatIsCancelled)
{
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
    GTEST_SKIP() << "ThreadSanitizer's own wait is not ended by a cancellation";
#endif
#endif
    Mutex mutex(localName);
    Condition condition(mutex);
    const auto semaphore = Semaphore::NewInstance("", 1);
    semaphore->Lock();
    std::atomic<int> waiting = 0;
    const auto cancel = [&](const Task& wait) {
        waiting = 0;
        std::thread thread([&] {
            const ScopedLock lock(mutex);
            waiting = 1;
            wait();
        });
        while (waiting == 0)
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

TEST(BlockingQueue, PassesItemsInOrderAndHoldsNoMoreThanItsCapacity)
{
    BlockingQueue<int> queue(1);
    std::atomic<int> put = 0;
    const Crowd crowd(1, [&] {
        for (int i = 0; i < 1000; ++i) {
            queue.Put(i);
            put = i + 1;
        }
    });
    for (int i = 0; i < 1000; ++i) {
        ASSERT_LE(put, i + 1);
        ASSERT_EQ(i, queue.Get());
    }
}

TEST(Condition, TellsEachFailureOfThePlatformAndGivesTheMutexBack)
{
    constexpr const char* noRealMutex = "ResourceException: Condition::Wait() invalid Mutex! (must be a real mutex)";
    constexpr const char* noObject = "ResourceException: ConditionImpl::ConditionImpl() can't create!";
    Mutex nameless("");
    Mutex mutex(localName);
    EXPECT_EQ(noRealMutex, Thrown([&] { Condition(nameless).Wait(); }));
    EXPECT_EQ(noRealMutex, Thrown([&] { Condition(mutex).Wait(); })) << "not held";
    EXPECT_EQ(noObject, Thrown([&] { ConditionImpl(mutex, nullptr, Platform::Event::Make()); }));
    EXPECT_EQ(noObject, Thrown([&] { ConditionImpl(mutex, Platform::Semaphore::Make("", 0, 1), nullptr); }));

    ConditionImpl* condition = nullptr;
    std::atomic<int> sets = 0;
    const struct {
        const char* text;
        Task meanwhile;
        bool isReleasable;
    } cases[] = {
        {"signal() invalid condition!", [&] { condition->Signal(); }, false},
        {"broadcast() unable to release semaphore!", [&] { condition->Broadcast(); }, false},
        {"broadcast() invalid event!", [&] { condition->Broadcast(); }, true},
    };
    for (const auto& c : cases) {
        std::string failure;
        const auto meanwhile = [&] {
            mutex.Lock();
            failure = Thrown(c.meanwhile);
            EXPECT_TRUE(IsFree(mutex));
        };
        ConditionImpl broken(mutex, std::make_unique<BrokenQueue>(meanwhile, Outcome::acquired, c.isReleasable),
                             std::make_unique<CountedEvent>(sets, false));
        condition = &broken;
        mutex.Lock();
        broken.Wait();
        EXPECT_EQ(std::string("ResourceException: Condition::") + c.text, failure);
        mutex.Unlock();
    }
    ConditionImpl broken(mutex, std::make_unique<BrokenQueue>([] {}, Outcome::failed),
                         std::make_unique<CountedEvent>(sets));
    mutex.Lock();
    EXPECT_EQ(noRealMutex, Thrown([&] { broken.Wait(); }));
    EXPECT_TRUE(IsFree(mutex));
}
