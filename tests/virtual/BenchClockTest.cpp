#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/Threading.h"
#include "platform/Usb.h"
#include "tests/virtual/Host.h"
#include "virtual/orvex-virtual.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

namespace {

using Platform::TransferKind;
using Platform::UsbTransfer;
using WaitEnd = UsbTransfer::WaitEnd;

constexpr std::int64_t second = 1000000;

/// A thread that runs a body and is joined at the end of the scope.
class Running {
public:
    explicit Running(std::function<void()> work)
        : body(std::move(work)),
          thread(Platform::RunningThread::Start([](void* self) { static_cast<Running*>(self)->body(); }, this))
    {
    }
    ~Running() { thread->Join(std::nullopt); }
    bool HasEnded(std::int64_t limitMs) { return thread->Join(limitMs); }

private:
    std::function<void()> body;
    std::unique_ptr<Platform::RunningThread> thread;
};

class BenchClock : public testing::Test {
protected:
    void SetUp() override
    {
        oxv_reset();
        device = oxv_attach("spectrophotometer", "usb");
        ASSERT_GT(device, 0) << oxv_last_error();
        oxv_set_number(device, "strict", 0); // what is held here is the bench
        address = Platform::UsbAddresses(1).at(0);
        host = std::make_unique<Host>(address);
    }

    void TearDown() override
    {
        host.reset();
        oxv_reset();
    }

    /// A bulk read whose data are there in a second and a fifth.
    std::unique_ptr<UsbTransfer> SubmitSlowRead()
    {
        host->Prepare({.seconds = 1.0, .lampOff = true, .delay = 0.2});
        host->Send(0xC0, {});
        auto transfer = host->Pipe(1).MakeTransfer(256);
        EXPECT_EQ(transfer->Submit(256).kind, TransferKind::done);
        return transfer;
    }

    std::unique_ptr<Platform::UsbPipe> OpenInterruptPipe()
    {
        Platform::TransferResult result;
        return Platform::OpenUsbPipe(address, 3, result);
    }

    /// What the library's listening thread does: reads messages until the pipe is gone, with a nap after each.
    void Listen()
    {
        const auto pipe = OpenInterruptPipe();
        const auto transfer = pipe->MakeTransfer(8);
        const auto nap = Platform::Event::Make();
        while (transfer->Submit(8).kind == TransferKind::done) {
            listening = true;
            if (transfer->Wait(std::nullopt) != WaitEnd::completed || transfer->Result().kind != TransferKind::done)
                break;
            nap->Wait(20);
            timesOfMessages.push_back(Platform::MonotonicMicroseconds() - start);
            ++messages;
        }
        nap->Wait(20);
        gone = true; // before the closing, which settles the bench
        pipe->Close();
    }

    void AwaitListener()
    {
        while (!listening)
            Platform::YieldThread();
    }

    oxv_device device = 0;
    std::string address;
    std::unique_ptr<Host> host;
    const std::int64_t start = Platform::MonotonicMicroseconds();
    std::atomic<bool> listening{false};
    std::atomic<int> messages{0};
    std::atomic<bool> gone{false};
    std::vector<std::int64_t> timesOfMessages;
};

}

TEST_F(BenchClock, StandsStillUntilSomebodyWaits)
{
    EXPECT_EQ(oxv_clock_now(), 1577836800 * second) << "2020-01-01 00:00:00 UTC";
    EXPECT_EQ(Platform::NowMicroseconds(), 1577836800 * second);
    Platform::SleepMicroseconds(1500 * second);
    Platform::SleepMicroseconds(0);
    Platform::SleepMicroseconds(-5);
    EXPECT_EQ(Platform::NowMicroseconds(), (1577836800 + 1500) * second);
    EXPECT_EQ(oxv_clock_advance(7), OXV_OK);
    EXPECT_EQ(Platform::MonotonicMicroseconds() - start, 1500 * second + 7);
    EXPECT_EQ(oxv_clock_advance(-1), OXV_BAD_VALUE);
    EXPECT_EQ(oxv_clock_advance(INT64_MAX), OXV_BAD_VALUE);

    oxv_reset();
    EXPECT_EQ(oxv_clock_now(), 1577836800 * second);
    EXPECT_GE(Platform::MonotonicMicroseconds(), start) << "the monotonic clock never steps back";
}

TEST_F(BenchClock, AWaitMovesItToTheEarlierOfCompletionAndLimit)
{
    const auto transfer = SubmitSlowRead();
    const auto submitted = Platform::MonotonicMicroseconds();
    EXPECT_EQ(transfer->Wait(500), WaitEnd::timedOut);
    EXPECT_EQ(Platform::MonotonicMicroseconds() - submitted, second / 2);
    EXPECT_EQ(transfer->Result().kind, TransferKind::pending);
    EXPECT_EQ(transfer->Result().number, 110);
    EXPECT_EQ(transfer->Wait(5000), WaitEnd::completed);
    EXPECT_NEAR(static_cast<double>(Platform::MonotonicMicroseconds() - submitted), 1.2e6, 0.01e6);
    EXPECT_EQ(transfer->Result().moved, 256U);
}

TEST_F(BenchClock, ADueCompletionWinsHoweverFarTheClockHasGone)
{
    const auto transfer = SubmitSlowRead();
    Platform::SleepMicroseconds(3600 * second);
    EXPECT_EQ(transfer->Wait(0), WaitEnd::completed);
    EXPECT_EQ(transfer->Result().kind, TransferKind::done);
}

TEST_F(BenchClock, AWaitWithoutLimitNeverMovesIt)
{
    const auto before = Platform::MonotonicMicroseconds();
    {
        const auto transfer = SubmitSlowRead();
        std::atomic<bool> ended{false};
        Running waiting([&] {
            EXPECT_EQ(transfer->Wait(std::nullopt), WaitEnd::completed);
            ended = true;
        });
        EXPECT_FALSE(waiting.HasEnded(30));
        EXPECT_EQ(Platform::MonotonicMicroseconds(), before);
        oxv_clock_advance(second);
        EXPECT_FALSE(waiting.HasEnded(30)) << "not due yet";
        oxv_clock_advance(second);
        EXPECT_TRUE(waiting.HasEnded(10000));
        EXPECT_TRUE(ended);
    }

    struct Ending {
        const char* what;
        std::function<void(UsbTransfer&, Platform::UsbPipe&)> act;
        WaitEnd end;
        TransferKind kind;
    };
    const Ending endings[] = {
        {"key", [&](auto&, auto&) { oxv_press(device); }, WaitEnd::completed, TransferKind::done},
        {"stop", [](auto& transfer, auto&) { transfer.Wake(); }, WaitEnd::woken, TransferKind::pending},
        {"close", [](auto&, auto& pipe) { pipe.Close(); }, WaitEnd::completed, TransferKind::cancelled},
        {"unplug", [&](auto&, auto&) { oxv_unplug(device); }, WaitEnd::completed, TransferKind::gone},
    };
    for (const auto& ending : endings) {
        SCOPED_TRACE(ending.what);
        const auto pipe = OpenInterruptPipe();
        const auto transfer = pipe->MakeTransfer(8);
        const auto now = Platform::MonotonicMicroseconds();
        ASSERT_EQ(transfer->Submit(8).kind, TransferKind::done);
        {
            Running waiting([&] { EXPECT_EQ(transfer->Wait(std::nullopt), ending.end); });
            EXPECT_FALSE(waiting.HasEnded(20));
            ending.act(*transfer, *pipe);
        }
        EXPECT_EQ(transfer->Result().kind, ending.kind);
        EXPECT_EQ(Platform::MonotonicMicroseconds(), now);
    }
}

TEST_F(BenchClock, ACompletionWinsOverAWakeAndAWakeIsUsedOnce)
{
    const auto pipe = OpenInterruptPipe();
    const auto transfer = pipe->MakeTransfer(8);
    transfer->Submit(8);
    transfer->Wake();
    EXPECT_EQ(transfer->Wait(0), WaitEnd::woken);
    EXPECT_EQ(transfer->Wait(0), WaitEnd::timedOut);
    transfer->Wake();
    oxv_press(device);
    EXPECT_EQ(transfer->Wait(0), WaitEnd::completed);
}

TEST_F(BenchClock, MessagesAreDeliveredBeforeASleepMovesIt)
{
    Running listener([this] { Listen(); });
    AwaitListener();
    const auto before = Platform::MonotonicMicroseconds() - start;
    oxv_press(device);
    oxv_set_number(device, "button-delay", 0.25);
    oxv_press(device);
    oxv_set_number(device, "button-delay", 5);
    oxv_press(device);
    Platform::SleepMicroseconds(second);
    EXPECT_EQ(messages, 2) << "both were taken up, nap included, before the sleep ended";
    Platform::SleepMicroseconds(10 * second);
    ASSERT_EQ(messages, 3);
    EXPECT_EQ(timesOfMessages, (std::vector<std::int64_t>{before, before + second / 4, before + 5 * second}));

    oxv_unplug(device);
    Platform::SleepMicroseconds(1000);
    EXPECT_TRUE(gone) << "the removal too";
}

TEST_F(BenchClock, SettleWaitsForTheListener)
{
    EXPECT_EQ(oxv_settle(0), OXV_OK) << "nobody listens";
    Running listener([this] { Listen(); });
    AwaitListener();
    EXPECT_EQ(oxv_settle(0), OXV_OK) << "nothing to fetch";
    oxv_press(device);
    EXPECT_EQ(oxv_settle(0), OXV_NOT_POSSIBLE);
    EXPECT_EQ(oxv_settle(10000), OXV_OK);
    EXPECT_EQ(messages, 1);
    oxv_unplug(device);
    EXPECT_EQ(oxv_settle(10000), OXV_OK);
    EXPECT_TRUE(gone);
    EXPECT_EQ(oxv_settle(-1), OXV_BAD_VALUE);
}

TEST_F(BenchClock, AWaitOnATransferDeliversNothing)
{
    const auto pipe = OpenInterruptPipe();
    const auto message = pipe->MakeTransfer(8);
    message->Submit(8);
    oxv_press(device);
    EXPECT_EQ(SubmitSlowRead()->Wait(5000), WaitEnd::completed) << "it does not wait for a listener who never comes";
    EXPECT_EQ(message->Result().kind, TransferKind::done);
}

TEST_F(BenchClock, CanBeReal)
{
    ASSERT_EQ(oxv_clock_mode(OXV_CLOCK_REAL), OXV_OK);
    EXPECT_EQ(oxv_clock_advance(1), OXV_NOT_POSSIBLE);
    const auto before = Platform::MonotonicMicroseconds();
    Platform::SleepMicroseconds(20000);
    EXPECT_GE(Platform::MonotonicMicroseconds() - before, 20000);
    host->Prepare({.seconds = 0.3, .lampOff = true, .delay = 0});
    host->Send(0xC0, {});
    const auto transfer = host->Pipe(1).MakeTransfer(256);
    transfer->Submit(256);
    EXPECT_EQ(transfer->Wait(5), WaitEnd::timedOut);
    EXPECT_EQ(transfer->Wait(10000), WaitEnd::completed);
    EXPECT_EQ(oxv_clock_mode(2), OXV_BAD_VALUE);
    EXPECT_EQ(oxv_clock_mode(OXV_CLOCK_VIRTUAL), OXV_OK);
    const auto still = Platform::MonotonicMicroseconds();
    EXPECT_EQ(Platform::MonotonicMicroseconds(), still);
}

TEST_F(BenchClock, ManyThreadsMoveItTogether)
{
    {
        std::vector<std::unique_ptr<Running>> threads;
        for (int i = 1; i <= 4; ++i)
            threads.push_back(std::make_unique<Running>([i, this] {
                Host own(address);
                for (int round = 0; round < 50; ++round) {
                    Platform::SleepMicroseconds(i * 1000);
                    EXPECT_EQ(own.Ask(0xC9, 8).size(), 8U);
                    oxv_press(device);
                    oxv_set_number(device, "noise", i);
                }
            }));
        threads.push_back(std::make_unique<Running>([this] { Listen(); }));
        AwaitListener();
        for (std::size_t i = 0; i + 1 < threads.size(); ++i)
            EXPECT_TRUE(threads[i]->HasEnded(60000));
        oxv_unplug(device);
    }
    EXPECT_TRUE(gone);
    EXPECT_GE(Platform::MonotonicMicroseconds() - start, 200000);
}
