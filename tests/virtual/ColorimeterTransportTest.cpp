// The seam's serial ports and device channels on the bench.

#include "platform/Clock.h"
#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"
#include "virtual/orvex-virtual.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <string>
#include <termios.h>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr Platform::SerialLimits threeSeconds = {2500, 250, 3000, 250, 250};

class Transport : public testing::Test {
protected:
    void SetUp() override { oxv_reset(); }
    void TearDown() override { oxv_reset(); }

    static Platform::SerialHandle OpenPort(std::int32_t port, const Platform::SerialLimits& limits = threeSeconds)
    {
        Platform::SerialHandle handle = nullptr;
        EXPECT_EQ(Platform::SerialOpen(port, &handle), 0);
        EXPECT_EQ(Platform::SerialConfigure(handle), 0);
        EXPECT_EQ(Platform::SerialSetDtr(handle, true), 0);
        EXPECT_EQ(Platform::SerialSetRts(handle, true), 0);
        EXPECT_EQ(Platform::SerialSetLimits(handle, &limits), 0);
        Platform::SleepMicroseconds(1'000'000); // it starts on the port's power
        return handle;
    }

    static void Send(Platform::SerialHandle handle, const Bytes& bytes)
    {
        std::size_t moved = 0;
        EXPECT_EQ(Platform::SerialWrite(handle, bytes.data(), bytes.size(), &moved), 0);
        EXPECT_EQ(moved, bytes.size());
    }

    /// Reads so many bytes, or fewer when the time is over.
    static Bytes Receive(Platform::SerialHandle handle, std::size_t size, int expectedStatus = 0)
    {
        Bytes bytes(size);
        std::size_t moved = 0;
        EXPECT_EQ(Platform::SerialRead(handle, bytes.data(), size, &moved), expectedStatus);
        bytes.resize(moved);
        return bytes;
    }

    static Bytes Ask(Platform::SerialHandle handle, const Bytes& frame)
    {
        Send(handle, frame);
        const Bytes length = Receive(handle, 1);
        return length.empty() ? Bytes{} : Receive(handle, length[0]);
    }

    /// Microseconds of the bench's clock that something took.
    template<typename Action>
    static std::int64_t Lasts(Action action)
    {
        const auto start = Platform::MonotonicMicroseconds();
        action();
        return Platform::MonotonicMicroseconds() - start;
    }
};

const Bytes readLetter = {2, 8, 121};

constexpr std::int64_t byteTime = 1042; // microseconds of ten bits at 9600 baud

TEST_F(Transport, ASerialPortInMemoryTakesTheBenchsTime)
{
    ASSERT_GT(oxv_attach("colorimeter-4", "serial:3"), 0);
    const auto port = OpenPort(3);
    const auto lasts = [&](const Bytes& frame) { return Lasts([&] { Ask(port, frame); }); };
    EXPECT_EQ(lasts(readLetter), 7 * byteTime) << "three bytes there, four back";
    EXPECT_EQ(lasts({1, 1}), 1'666'668 + 8 * byteTime);
    EXPECT_EQ(lasts({0x41, 0xFF, 0x41, 1, 6}), 11 * byteTime);
    Platform::SerialClose(port);
}

TEST_F(Transport, APortThatIsNotSetUpIsNotUnderstood)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    ASSERT_EQ(oxv_fault(device, "setup", 1, 1, "fail"), OXV_OK);
    Platform::SerialHandle port = nullptr;
    ASSERT_EQ(Platform::SerialOpen(1, &port), 0);
    Platform::SerialSetDtr(port, true);
    Platform::SerialSetRts(port, true);
    Platform::SerialSetLimits(port, &threeSeconds);
    Platform::SleepMicroseconds(1'000'000);
    EXPECT_EQ(Platform::SerialConfigure(port), EIO);
    EXPECT_THAT(Ask(port, readLetter), IsEmpty());
    EXPECT_EQ(Platform::SerialConfigure(port), 0);
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);
    Platform::SerialSetRts(port, false);
    EXPECT_THAT(Ask(port, readLetter), IsEmpty()) << "it has no power";
    Platform::SerialSetRts(port, true);
    EXPECT_THAT(Ask(port, readLetter), IsEmpty()) << "it starts, and has not heard this";
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);
    Platform::SerialClose(port);
}

TEST_F(Transport, SilenceLastsToTheLimit)
{
    ASSERT_GT(oxv_attach("colorimeter-4", "serial:3"), 0);
    const auto port = OpenPort(3);
    EXPECT_EQ(Lasts([&] { EXPECT_THAT(Ask(port, {1, 99}), IsEmpty()); }), 3'250'000) << "nothing comes, to the limit";
    EXPECT_EQ(Platform::SerialClose(port), 0);
}

TEST_F(Transport, TheIntervalEndsAReplyThatBreaksOff)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    const auto port = OpenPort(1);
    oxv_fault(device, "command:8", 1, 1, "one-short");
    EXPECT_EQ(Lasts([&] { EXPECT_THAT(Ask(port, readLetter), ElementsAre(8, 121)); }), 6 * byteTime + 2'500'000);
    Platform::SerialClose(port);

    const auto hasty = OpenPort(1, {1, 250, 3000, 250, 250});
    Send(hasty, readLetter);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(Receive(hasty, 4).size(), 1U) << "a byte takes longer than the interval";
    Platform::SerialClose(hasty);
}

TEST_F(Transport, AWriteEndsWhenTheTransmitterHasTakenItAll)
{
    ASSERT_GT(oxv_attach("colorimeter-4", "serial:1"), 0);
    const auto port = OpenPort(1, {0, 0, 1, 0, 0});
    const Bytes longText(2000, 0xFF);
    std::size_t moved = 0;
    const auto write = [&] { Platform::SerialWrite(port, longText.data(), longText.size(), &moved); };
    EXPECT_EQ(Lasts([&] { Send(port, Bytes(1024, 0xFF)); }), 0) << "all of it waits to be sent";
    EXPECT_EQ(Lasts(write), 2000 * byteTime) << "as much as went before must have left";
    EXPECT_EQ(moved, 2000U);
    oxv_clock_advance(2'000'000);
    const Platform::SerialLimits brief = {0, 0, 1, 0, 100};
    Platform::SerialSetLimits(port, &brief);
    EXPECT_EQ(Lasts(write), 100'000);
    EXPECT_EQ(moved, 1024U + 95) << "what fits at once, and what has left since";
    Platform::SerialClose(port);
}

TEST_F(Transport, ALateReplyIsStaleUntilPurged)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    const auto port = OpenPort(1);
    oxv_set_number(device, "reply-delay", 5);
    Send(port, readLetter);
    EXPECT_THAT(Receive(port, 1), IsEmpty());
    oxv_set_number(device, "reply-delay", 0);
    oxv_clock_advance(3'000'000);
    EXPECT_THAT(Ask(port, {1, 6}), ElementsAre(8, 121, 'C')) << "the old reply is taken for the new";
    EXPECT_EQ(Platform::SerialPurgeReceive(port), 0);
    EXPECT_EQ(Ask(port, {1, 6}).size(), 5U);
    Platform::SerialClose(port);
}

TEST_F(Transport, PortsAreExclusiveAndOnlyThoseOfTheBench)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    Platform::SerialHandle second = nullptr;
    EXPECT_EQ(Platform::SerialOpen(2, &second), ENOENT);
    EXPECT_EQ(Platform::SerialOpen(0, &second), EINVAL);
    EXPECT_EQ(Platform::SerialOpen(9, &second), EINVAL);
    const auto port = OpenPort(1);
    EXPECT_EQ(Platform::SerialOpen(1, &second), EBUSY);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(Platform::SerialClose(port), 0);
    EXPECT_EQ(Platform::SerialClose(port), EBADF);
    EXPECT_THAT(Receive(port, 1, EBADF), IsEmpty());
    EXPECT_THAT(Receive(nullptr, 1, EBADF), IsEmpty());

    oxv_fault(device, "open", 1, 1, "denied");
    EXPECT_EQ(Platform::SerialOpen(1, &second), EACCES);
    EXPECT_EQ(Platform::SerialOpen(1, &second), 0);
    EXPECT_EQ(oxv_count(device, "open"), 3);
    EXPECT_EQ(oxv_count(device, "close"), 1);
    oxv_remove(device);
    EXPECT_THAT(Receive(second, 1, EIO), IsEmpty()) << "the far end is gone";
    Platform::SerialClose(second);
}

TEST_F(Transport, FailuresOfReading)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    auto port = OpenPort(1);
    oxv_fault(device, "command:8", 1, 1, "fail");
    Send(port, readLetter);
    EXPECT_THAT(Receive(port, 1, EIO), IsEmpty());
    EXPECT_EQ(Ask(port, readLetter).size(), 3U) << "the next exchange is good";

    oxv_fault(device, "command:8", 1, 1, "close-after-length");
    Send(port, readLetter);
    EXPECT_THAT(Receive(port, 1), ElementsAre(3));
    EXPECT_THAT(Receive(port, 3, EIO), IsEmpty());
    EXPECT_THAT(Receive(port, 3, EIO), IsEmpty()) << "until the port is opened anew";
    Platform::SerialClose(port);
    port = OpenPort(1);
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);

    oxv_unplug(device);
    EXPECT_THAT(Ask(port, readLetter), IsEmpty());
    oxv_plug(device);
    oxv_clock_advance(1'000'000);
    EXPECT_EQ(Ask(port, readLetter).size(), 3U) << "a line does not notice the cable";
    Platform::SerialClose(port);
}

TEST_F(Transport, AReplyUnderWayIsLostWithTheCable)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    const auto port = OpenPort(1);
    Send(port, {1, 6});
    oxv_clock_advance(4 * byteTime);
    oxv_unplug(device);
    oxv_plug(device);
    EXPECT_EQ(Receive(port, 6).size(), 2U) << "the length and the echo had arrived";
    Platform::SerialClose(port);
}

TEST_F(Transport, AReadWithoutALimitGetsWhatIsUnderWay)
{
    ASSERT_GT(oxv_attach("colorimeter-4", "serial:1"), 0);
    const auto port = OpenPort(1, {});
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(Ask(port, {1, 1}).size(), 5U); }), 1'666'668 + 8 * byteTime);

    int status = -1;
    std::thread reader([&] {
        std::uint8_t byte = 0;
        std::size_t moved = 0;
        status = Platform::SerialRead(port, &byte, 1, &moved);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(Platform::SerialClose(port), 0) << "closing ends the wait";
    reader.join();
    EXPECT_TRUE(status == EIO || status == EBADF) << status;
}

TEST_F(Transport, JunkComesFirst)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    oxv_set_number(device, "junk-at-open", 2);
    const auto port = OpenPort(1);
    Send(port, readLetter);
    EXPECT_EQ(Receive(port, 6).size(), 6U);
    Platform::SerialClose(port);
}

TEST_F(Transport, ADescriptorStandsForAPortInMemory)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    const int descriptor = oxv_port_descriptor(device);
    ASSERT_GT(descriptor, 2);
    const auto port = reinterpret_cast<Platform::SerialHandle>(static_cast<std::intptr_t>(descriptor));
    EXPECT_EQ(Platform::SerialSetLimits(port, &threeSeconds), 0);
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);
    Platform::SerialForget(port);
    EXPECT_EQ(Ask(port, readLetter).size(), 3U) << "forgotten, not closed";
    EXPECT_EQ(Platform::SerialClose(port), 0);
    EXPECT_EQ(oxv_port_descriptor(oxv_attach("colorimeter-4", "usb")), OXV_NOT_POSSIBLE);
}

TEST_F(Transport, TwoInstrumentsTalkAtOnce)
{
    ASSERT_GT(oxv_attach("colorimeter-4", "serial:1"), 0);
    ASSERT_GT(oxv_attach("colorimeter-9", "serial:2"), 0);
    std::array<int, 2> good{};
    const auto talk = [&](std::size_t which) {
        const auto port = OpenPort(static_cast<std::int32_t>(which) + 1);
        for (int i = 0; i < 100; ++i)
            good[which] += Ask(port, {1, 1}).size() == 5; // however far the other one moves the clock
        Platform::SerialClose(port);
    };
    std::thread other(talk, 1);
    talk(0);
    other.join();
    EXPECT_THAT(good, ElementsAre(100, 100));
}

TEST_F(Transport, ARealClockMakesTheHostWait)
{
    const auto device = oxv_attach("colorimeter-4", "serial:1");
    const auto port = OpenPort(1, {100, 0, 50, 0, 0});
    oxv_clock_mode(OXV_CLOCK_REAL);
    const auto realTime = [&](const Bytes& frame) {
        const auto start = std::chrono::steady_clock::now();
        Ask(port, frame);
        return std::chrono::steady_clock::now() - start;
    };
    oxv_set_number(device, "reply-delay", 0.03);
    EXPECT_GE(realTime(readLetter), std::chrono::milliseconds(29));
    EXPECT_GE(realTime({1, 99}), std::chrono::milliseconds(49)) << "to the limit";
    Platform::SerialClose(port);
}

// ---- device channels

Bytes Exchange(Platform::ChannelHandle channel, const std::array<std::uint8_t, 8>& request, int expectedStatus = 0)
{
    std::array<std::uint8_t, 8> answer{};
    const int status = Platform::ChannelExchange(channel, request.data(), answer.data());
    EXPECT_EQ(status, expectedStatus);
    return status == 0 ? Bytes(answer.begin() + 2, answer.begin() + 2 + answer[1]) : Bytes{};
}

TEST_F(Transport, AChannelTakesTheBenchsTime)
{
    ASSERT_GT(oxv_attach("colorimeter-19", "usb:5"), 0);
    Platform::ChannelHandle channel = nullptr;
    EXPECT_EQ(Platform::ChannelOpen(0, &channel), ENOENT);
    ASSERT_EQ(Platform::ChannelOpen(5, &channel), 0);
    EXPECT_THAT(Exchange(channel, {2, 8, 121}), ElementsAre(8, 121, 'X'));
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(Exchange(channel, {1, 1}).size(), 5U); }), 1'666'667 + 1000);
    EXPECT_EQ(Lasts([&] { Exchange(channel, {1, 6}); }), 1000);
    EXPECT_EQ(Platform::ChannelClose(channel), 0);
    EXPECT_EQ(Platform::ChannelClose(channel), EBADF);
    Exchange(channel, {1, 0}, EBADF);
    Exchange(nullptr, {1, 0}, EBADF);
}

TEST_F(Transport, ThereAre128Places)
{
    EXPECT_GT(oxv_attach("colorimeter-4", "usb:127"), 0) << oxv_last_error();
    EXPECT_EQ(oxv_attach("colorimeter-4", "usb:128"), OXV_BAD_VALUE);
    Platform::ChannelHandle channel = nullptr;
    ASSERT_EQ(Platform::ChannelOpen(127, &channel), 0);
    EXPECT_THAT(Exchange(channel, {2, 8, 121}), ElementsAre(8, 121, 'C'));
    Platform::ChannelClose(channel);
    for (int place = 0; place < 127; ++place)
        ASSERT_GT(oxv_attach("colorimeter-4", "usb"), 0);
    EXPECT_EQ(oxv_attach("colorimeter-4", "usb"), OXV_NOT_POSSIBLE);
}

TEST_F(Transport, AChannelDiesWithTheCable)
{
    const auto device = oxv_attach("colorimeter-4", "usb");
    Platform::ChannelHandle channel = nullptr;
    ASSERT_EQ(Platform::ChannelOpen(0, &channel), 0);
    oxv_unplug(device);
    Exchange(channel, {1, 0}, ENODEV);
    Platform::ChannelHandle second = nullptr;
    EXPECT_EQ(Platform::ChannelOpen(0, &second), ENODEV);
    EXPECT_EQ(second, nullptr);
    oxv_plug(device);
    Exchange(channel, {1, 0}, ENODEV);
    ASSERT_EQ(Platform::ChannelOpen(0, &second), 0) << "opened anew it is good";
    EXPECT_EQ(Exchange(second, {1, 0}).size(), 5U);
    oxv_remove(device);
    Exchange(second, {1, 0}, ENODEV);
    Platform::ChannelClose(channel);
    Platform::ChannelClose(second);
}

TEST_F(Transport, AnExchangeThatNeverEndsIsGivenUpByTheDriver)
{
    const auto device = oxv_attach("colorimeter-4", "usb");
    Platform::ChannelHandle channel = nullptr;
    ASSERT_EQ(Platform::ChannelOpen(0, &channel), 0);
    oxv_fault(device, "command", 1, 1, "timeout");
    EXPECT_EQ(Lasts([&] { Exchange(channel, {1, 0}, ETIMEDOUT); }), 5'001'000);
    Platform::ChannelClose(channel);
}

// ---- pseudo-terminals: the platform's own serial ports talk

class Terminal : public Transport {
protected:
    void SetUp() override
    {
        Transport::SetUp();
        device = oxv_attach("colorimeter-4", "pty");
        ASSERT_GT(device, 0) << oxv_last_error();
    }

    std::string PortName() const
    {
        std::array<char, 128> name{};
        oxv_get_text(device, "port", name.data(), name.size());
        return name.data();
    }

    Platform::SerialHandle Open(const Platform::SerialLimits& limits = {500, 10, 2000, 250, 250}) const
    {
        EXPECT_EQ(Platform::SetSerialPortName(7, PortName().c_str()), 0);
        return OpenPort(7, limits);
    }

    bool Becomes(const char* point, std::int64_t count) const
    {
        for (int i = 0; i < 200 && oxv_count(device, point) != count; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return oxv_count(device, point) == count;
    }

    oxv_device device = 0;
};

TEST_F(Terminal, CarriesAConversation)
{
    const auto port = Open();
    EXPECT_THAT(Ask(port, readLetter), ElementsAre(8, 121, 'C'));
    EXPECT_EQ(Ask(port, {1, 1}).size(), 5U) << "on a virtual clock at once";
    EXPECT_EQ(oxv_count(device, "open"), 1);
    EXPECT_EQ(Platform::SerialClose(port), 0);
    EXPECT_TRUE(Becomes("close", 1));

    const auto again = Open();
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(Ask(again, readLetter).size(), 3U); }), 7 * byteTime);
    termios line{};
    const int descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(again));
    ASSERT_EQ(tcgetattr(descriptor, &line), 0);
    cfsetspeed(&line, B115200);
    ASSERT_EQ(tcsetattr(descriptor, TCSANOW, &line), 0);
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(Ask(again, readLetter).size(), 3U); }), 7 * 87) << "as fast as the port is set to";
    EXPECT_EQ(oxv_count(device, "open"), 2);
    EXPECT_EQ(Platform::SerialClose(again), 0);
}

TEST_F(Terminal, HangsUpAfterTheLength)
{
    oxv_fault(device, "command:8", 1, 1, "close-after-length");
    const std::string before = PortName();
    auto port = Open();
    Send(port, readLetter);
    EXPECT_THAT(Receive(port, 1), ElementsAre(3));
    EXPECT_THAT(Receive(port, 3, EIO), IsEmpty());
    Platform::SerialClose(port);
    EXPECT_NE(PortName(), before) << "the instrument goes on behind another one";
    port = Open();
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);
    Platform::SerialClose(port);
}

TEST_F(Terminal, IsSilentWithoutItsCable)
{
    oxv_unplug(device);
    const auto port = Open({50, 0, 100, 250, 250});
    EXPECT_THAT(Ask(port, readLetter), IsEmpty());
    oxv_plug(device);
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);
    Platform::SerialClose(port);
}

TEST_F(Terminal, EndsWithTheInstrument)
{
    const auto port = Open();
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);
    oxv_remove(device);
    EXPECT_THAT(Receive(port, 1, EIO), IsEmpty());
    Platform::SerialClose(port);
}

TEST_F(Terminal, GivesADescriptorToTheApplication)
{
    const int descriptor = oxv_port_descriptor(device);
    ASSERT_GT(descriptor, 2) << oxv_last_error();
    const auto port = reinterpret_cast<Platform::SerialHandle>(static_cast<std::intptr_t>(descriptor));
    const Platform::SerialLimits limits = {500, 10, 2000, 250, 250};
    EXPECT_EQ(Platform::SerialSetLimits(port, &limits), 0);
    EXPECT_EQ(Ask(port, readLetter).size(), 3U);
    Platform::SerialForget(port);
    EXPECT_EQ(Platform::SerialClose(port), 0);
}

}
