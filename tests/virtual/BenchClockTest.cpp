#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/Usb.h"
#include "tests/virtual/BenchScript.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace {

using Platform::MonotonicMicroseconds;
using Platform::TransferKind;
using Platform::UsbTransfer;
using WaitEnd = UsbTransfer::WaitEnd;

constexpr std::int64_t second = 1000000;

template<typename Work>
auto Start(Work work)
{
    return std::async(std::launch::async, work);
}

template<typename Future>
bool EndsWithin(Future& running, int milliseconds)
{
    return running.wait_for(std::chrono::milliseconds(milliseconds)) == std::future_status::ready;
}

class BenchClock : public testing::Test {
protected:
    BenchClock() { oxv_set_number(device, "strict", 0); } // what is held here is the bench

    std::int64_t Passed() const { return MonotonicMicroseconds() - start; }

    /// A bulk read whose data are there in a second and a fifth.
    std::unique_ptr<UsbTransfer> SubmitSlowRead()
    {
        bench.Run("out C1 39 72 00 17 00 01 06 00; out C0");
        auto transfer = bench.Pipe(1).MakeTransfer(256);
        EXPECT_EQ(transfer->Submit(256).kind, TransferKind::done);
        start = MonotonicMicroseconds();
        return transfer;
    }

    /// What the library's listening thread does: reads messages until the pipe is gone, with a nap after each.
    std::future<void> Listen()
    {
        auto listener = Start([this] {
            const auto pipe = bench.OpenPipe(3);
            const auto transfer = pipe->MakeTransfer(8);
            const auto nap = Platform::Event::Make();
            while (transfer->Submit(8).kind == TransferKind::done) {
                listening = true;
                if (transfer->Wait(std::nullopt) != WaitEnd::completed || transfer->Result().kind != TransferKind::done)
                    break;
                nap->Wait(20);
                timesOfMessages.push_back(Passed());
                ++messages;
            }
            nap->Wait(20);
            gone = true; // before the closing, which settles the bench
        });
        while (!listening)
            std::this_thread::yield();
        return listener;
    }

    BenchScript bench;
    const oxv_device device = bench.device;
    std::int64_t start = MonotonicMicroseconds();
    std::atomic<bool> listening{false}, gone{false};
    std::atomic<int> messages{0};
    std::vector<std::int64_t> timesOfMessages;
};

}

TEST_F(BenchClock, StandsStillUntilSomebodyWaits)
{
    oxv_reset();
    EXPECT_EQ(oxv_clock_now(), 1577836800 * second) << "2020-01-01 00:00:00 UTC";
    start = MonotonicMicroseconds();
    for (const std::int64_t time : {1500 * second, std::int64_t{0}, std::int64_t{-5}})
        Platform::SleepMicroseconds(time);
    EXPECT_EQ(Platform::NowMicroseconds(), (1577836800 + 1500) * second);
    EXPECT_EQ(oxv_clock_advance(7), OXV_OK);
    EXPECT_EQ(Passed(), 1500 * second + 7);
    oxv_reset();
    EXPECT_EQ(oxv_clock_now(), 1577836800 * second);
    EXPECT_GE(Passed(), 1500 * second) << "the monotonic clock never steps back";
}

TEST_F(BenchClock, AWaitMovesItToTheEarlierOfCompletionAndLimit)
{
    const auto transfer = SubmitSlowRead();
    EXPECT_EQ(transfer->Wait(500), WaitEnd::timedOut);
    EXPECT_EQ(Passed(), second / 2);
    EXPECT_EQ(transfer->Result().kind, TransferKind::pending);
    EXPECT_EQ(transfer->Result().number, 110);
    EXPECT_EQ(transfer->Wait(5000), WaitEnd::completed);
    EXPECT_NEAR(static_cast<double>(Passed()), 1.2e6, 0.01e6);
    EXPECT_EQ(transfer->Result().moved, 256U);

    const auto late = SubmitSlowRead();
    Platform::SleepMicroseconds(3600 * second);
    EXPECT_EQ(late->Wait(0), WaitEnd::completed) << "however far the clock has gone";
}

TEST_F(BenchClock, AWaitWithoutLimitNeverMovesIt)
{
    {
        const auto transfer = SubmitSlowRead();
        auto waiting = Start([&] { return transfer->Wait(std::nullopt); });
        EXPECT_FALSE(EndsWithin(waiting, 30));
        EXPECT_EQ(Passed(), 0);
        oxv_clock_advance(second);
        EXPECT_FALSE(EndsWithin(waiting, 30)) << "not due yet";
        oxv_clock_advance(second);
        EXPECT_EQ(waiting.get(), WaitEnd::completed);
    }
    const struct {
        const char* what;
        std::function<void(UsbTransfer&, Platform::UsbPipe&)> act;
        WaitEnd end;
        TransferKind kind;
    } endings[] = {
        {"key", [&](auto&, auto&) { oxv_press(device); }, WaitEnd::completed, TransferKind::done},
        {"stop", [](auto& transfer, auto&) { transfer.Wake(); }, WaitEnd::woken, TransferKind::pending},
        {"close", [](auto&, auto& pipe) { pipe.Close(); }, WaitEnd::completed, TransferKind::cancelled},
        {"unplug", [&](auto&, auto&) { oxv_unplug(device); }, WaitEnd::completed, TransferKind::gone},
    };
    start = MonotonicMicroseconds();
    for (const auto& ending : endings) {
        SCOPED_TRACE(ending.what);
        const auto pipe = bench.OpenPipe(3);
        const auto transfer = pipe->MakeTransfer(8);
        ASSERT_EQ(transfer->Submit(8).kind, TransferKind::done);
        auto waiting = Start([&] { return transfer->Wait(std::nullopt); });
        EXPECT_FALSE(EndsWithin(waiting, 20));
        ending.act(*transfer, *pipe);
        EXPECT_EQ(waiting.get(), ending.end);
        EXPECT_EQ(transfer->Result().kind, ending.kind);
    }
    EXPECT_EQ(Passed(), 0);
}

TEST_F(BenchClock, ACompletionWinsOverAWakeAndAWakeIsUsedOnce)
{
    const auto pipe = bench.OpenPipe(3);
    const auto transfer = pipe->MakeTransfer(8);
    transfer->Submit(8);
    transfer->Wake();
    EXPECT_EQ(transfer->Wait(0), WaitEnd::woken);
    EXPECT_EQ(transfer->Wait(0), WaitEnd::timedOut);
    transfer->Wake();
    oxv_press(device);
    EXPECT_EQ(SubmitSlowRead()->Wait(5000), WaitEnd::completed) << "a wait delivers nothing: nobody has to listen";
    EXPECT_EQ(transfer->Wait(0), WaitEnd::completed);
}

TEST_F(BenchClock, MessagesAreDeliveredBeforeASleepMovesIt)
{
    EXPECT_EQ(oxv_settle(0), OXV_OK) << "nobody listens";
    const auto listener = Listen();
    EXPECT_EQ(oxv_settle(0), OXV_OK) << "nothing to fetch";
    start = MonotonicMicroseconds();
    for (const double delay : {0.0, 0.25, 5.0}) {
        oxv_set_number(device, "button-delay", delay);
        oxv_press(device);
    }
    EXPECT_EQ(oxv_settle(0), OXV_NOT_POSSIBLE);
    EXPECT_EQ(oxv_settle(10000), OXV_OK);
    EXPECT_EQ(messages, 1);
    Platform::SleepMicroseconds(second);
    EXPECT_EQ(messages, 2) << "taken up, nap included, before the sleep ended";
    Platform::SleepMicroseconds(10 * second);
    ASSERT_EQ(messages, 3);
    EXPECT_EQ(timesOfMessages, (std::vector<std::int64_t>{0, second / 4, 5 * second}));
    oxv_unplug(device);
    Platform::SleepMicroseconds(1000);
    EXPECT_TRUE(gone) << "the removal too";
}

TEST_F(BenchClock, CanBeReal)
{
    ASSERT_EQ(oxv_clock_mode(OXV_CLOCK_REAL), OXV_OK);
    EXPECT_EQ(oxv_clock_advance(1), OXV_NOT_POSSIBLE);
    start = MonotonicMicroseconds();
    Platform::SleepMicroseconds(20000);
    EXPECT_GE(Passed(), 20000);
    bench.Run("out C1 11 3C 00 00 00 01 06 00; out C0");
    const auto transfer = bench.Pipe(1).MakeTransfer(256);
    transfer->Submit(256);
    EXPECT_EQ(transfer->Wait(5), WaitEnd::timedOut);
    EXPECT_EQ(transfer->Wait(10000), WaitEnd::completed);
    EXPECT_EQ(oxv_clock_mode(OXV_CLOCK_VIRTUAL), OXV_OK);
    start = MonotonicMicroseconds();
    EXPECT_EQ(Passed(), 0);
}

TEST_F(BenchClock, ManyThreadsMoveItTogether)
{
    const auto listener = Listen();
    std::vector<std::future<void>> threads;
    for (int i = 1; i <= 4; ++i)
        threads.push_back(Start([i, this] {
            Platform::TransferResult opened;
            const auto pipe = Platform::OpenUsbPipe(Platform::UsbAddresses(1).at(0), 0, opened);
            const auto identify = pipe->MakeControl({1, 2, 0, 0, 0xC9}, 8);
            for (int round = 0; round < 50; ++round) {
                Platform::SleepMicroseconds(i * 1000);
                identify->Submit(8);
                EXPECT_EQ(identify->Wait(2000), WaitEnd::completed);
                oxv_press(device);
                oxv_set_number(device, "noise", i);
            }
        }));
    threads.clear(); // waits for their ends
    oxv_unplug(device);
    EXPECT_EQ(oxv_settle(10000), OXV_OK);
    EXPECT_TRUE(gone);
    EXPECT_GE(Passed(), 200000);
}
