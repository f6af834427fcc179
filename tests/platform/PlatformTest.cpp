#include "platform/Clock.h"
#include "platform/ErrorText.h"
#include "platform/Event.h"
#include "platform/Threading.h"
#include "tests/support/LockName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

TEST(Event, LetsOneWaitThrough)
{
    const auto event = Platform::Event::Make();
    EXPECT_FALSE(event->Wait(0));
    event->Set();
    event->Set(); // not counted
    EXPECT_TRUE(event->Wait(std::nullopt));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(event->Wait(20));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST(Event, WakesAWaitingThread)
{
    const auto ping = Platform::Event::Make();
    const auto pong = Platform::Event::Make();
    int ball = 0; // guarded by whose turn it is
    std::thread other([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_TRUE(ping->Wait(std::nullopt));
            ++ball;
            pong->Set();
        }
    });
    for (int i = 0; i < 200; ++i) {
        ++ball;
        ping->Set();
        EXPECT_TRUE(pong->Wait(60000));
    }
    other.join();
    EXPECT_EQ(ball, 400);
}

TEST(RunningThread, LeavesTheApplicationsSignalsAlone)
{
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    sigset_t there;
    const auto thread = Platform::RunningThread::Start(
        [](void* set) { pthread_sigmask(SIG_SETMASK, nullptr, static_cast<sigset_t*>(set)); }, &there);
    ASSERT_TRUE(thread);
    EXPECT_TRUE(thread->Join(std::nullopt));
    EXPECT_EQ(sigismember(&there, SIGINT), 1);
    EXPECT_EQ(sigismember(&there, SIGTERM), 1);
    EXPECT_EQ(sigismember(&there, SIGSEGV), 0);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(sigismember(&before, SIGINT), sigismember(&after, SIGINT));
}

TEST(RunningThread, IsNotWaitedForInAForkedChild)
{
    static Platform::Event& mayEnd = *Platform::Event::Make().release();
    auto thread = Platform::RunningThread::Start([](void*) { mayEnd.Wait(std::nullopt); }, nullptr);
    EXPECT_FALSE(thread->Join(0));
    EXPECT_TRUE(InChild([&] {
        const bool isEnded = thread->Join(600'000);
        thread.reset();
        return isEnded;
    }));
    mayEnd.Set();
    EXPECT_TRUE(thread->Join(std::nullopt));
}

TEST(RunningThread, GetsItsPriorityBack)
{
    const int first = ::getpriority(PRIO_PROCESS, 0);
    const std::int32_t told = Platform::RaisePriority();
    const int raised = ::getpriority(PRIO_PROCESS, 0);
    Platform::RestorePriority(told);
    EXPECT_EQ(first, told);
    EXPECT_EQ(first, ::getpriority(PRIO_PROCESS, 0));
    EXPECT_EQ(::geteuid() == 0 ? std::min(first, -5) : raised, raised) << "root may";
}

TEST(Clock, RunsForwardWhileItSleeps)
{
    const std::int64_t wall = Platform::NowMicroseconds();
    const std::int64_t start = Platform::MonotonicMicroseconds();
    const std::int64_t real = Platform::RealMicroseconds();
    Platform::SleepMicroseconds(-1);
    Platform::SleepMicroseconds(5000);
    EXPECT_GE(Platform::MonotonicMicroseconds() - start, 5000);
    EXPECT_GE(Platform::RealMicroseconds() - real, 5000);
    EXPECT_LT(Platform::RealMicroseconds() - real, 600'000'000);
    EXPECT_NEAR(static_cast<double>(wall), 1e6 * static_cast<double>(std::time(nullptr)), 60e6);
}

TEST(Clock, RefusesMomentsBeyondTheCalendar)
{
    Platform::CalendarTime local{};
    EXPECT_FALSE(Platform::ToLocalTime(INT64_MAX, local));
    char text[8];
    EXPECT_EQ(Platform::FormatLocalTime(INT64_MAX, "%Y", text, sizeof text), 0U);
    EXPECT_EQ(Platform::FormatLocalTime(0, "%Y-%m-%d", text, sizeof text), 0U); // does not fit
    EXPECT_EQ(Platform::FromLocalTime({INT32_MIN, 1, 1, 0, 0, 0}), -1);
    EXPECT_EQ(Platform::FromLocalTime({2000, INT32_MIN, 1, 0, 0, 0}), -1);
}

TEST(ErrorText, HasWordsForNumbers)
{
    EXPECT_STREQ(Platform::ErrorText(EACCES), "permission denied");
    EXPECT_STREQ(Platform::ErrorText(-7), "unknown error");
}
