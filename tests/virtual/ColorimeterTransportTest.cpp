// The seam's serial ports and device channels on the bench.

#include "platform/Clock.h"
#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"
#include "tests/virtual/ColorimeterRig.h"
#include "virtual/orvex-virtual.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <termios.h>
#include <thread>

namespace {

constexpr Platform::SerialLimits threeSeconds = {2500, 250, 3000, 250, 250};
constexpr std::int64_t byteTime = 1042; // microseconds of ten bits at 9600 baud

/// A port that the host has open, set up and started.
class Port {
public:
    explicit Port(std::int32_t number, Platform::SerialLimits limits = threeSeconds)
    {
        EXPECT_EQ(Platform::Ports().Open(number, &handle), 0);
        EXPECT_EQ(Platform::Ports().Configure(handle), 0);
        EXPECT_EQ(Platform::Ports().SetLines(handle, true), 0);
        Limit(limits);
        Platform::SleepMicroseconds(1'000'000);
    }

    /// One that the application has opened.
    static Port Of(oxv_device device)
    {
        const int descriptor = oxv_port_descriptor(device);
        EXPECT_GT(descriptor, 2) << oxv_last_error();
        return Port(reinterpret_cast<Platform::SerialHandle>(static_cast<std::intptr_t>(descriptor)));
    }

    ~Port() { Platform::Ports().Close(handle); }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    void Limit(const Platform::SerialLimits& limits) { EXPECT_EQ(Platform::Ports().SetLimits(handle, &limits), 0); }

    std::size_t Write(const Bytes& bytes)
    {
        std::size_t moved = 0;
        EXPECT_EQ(Platform::Ports().Write(handle, bytes.data(), bytes.size(), &moved), 0);
        return moved;
    }

    /// Reads so many bytes, or fewer when the time is over; "error N" if that fails.
    std::string Read(std::size_t size)
    {
        Bytes bytes(size);
        std::size_t moved = 0;
        const int status = Platform::Ports().Read(handle, bytes.data(), size, &moved);
        return status == 0 ? ToHex(std::span(bytes).first(moved)) : "error " + std::to_string(status);
    }

    /// The reply to a frame, without its length.
    std::string Ask(const std::string& frame)
    {
        Write(FromHex(frame));
        const std::string length = Read(1);
        return length.size() == 2 ? Read(FromHex(length)[0]) : length;
    }

    Platform::SerialHandle handle = nullptr;

private:
    explicit Port(Platform::SerialHandle open) : handle(open) { Limit(threeSeconds); }
};

class Transport : public testing::Test {
protected:
    Transport() { oxv_reset(); }
    ~Transport() override { oxv_reset(); }

    static oxv_device Attach(const char* where)
    {
        const oxv_device device = oxv_attach("colorimeter-4", where);
        EXPECT_GT(device, 0) << oxv_last_error();
        return device;
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

const std::string ask = "02 08 79", answer = "08 79 43";

TEST_F(Transport, ASerialPortInMemoryTakesTheBenchsTime)
{
    const oxv_device device = Attach("serial:3");
    oxv_set_number(device, "junk-at-open", 2);
    Port port(3);
    EXPECT_EQ(port.Read(2), "55 55");
    const auto lasts = [&](const char* frame) { return Lasts([&] { port.Ask(frame); }); };
    EXPECT_EQ(lasts("02 08 79"), 7 * byteTime) << "three bytes there, four back";
    EXPECT_EQ(lasts("01 01"), 1'666'668 + 8 * byteTime);
    EXPECT_EQ(lasts("01 63"), 3'250'000) << "nothing comes, to the limit";
    oxv_fault(device, "command:8", 1, 1, "one-short");
    EXPECT_EQ(lasts("02 08 79"), 6 * byteTime + 2'500'000) << "the interval ends a reply that breaks off";
    port.Limit({1, 250, 3000, 250, 250});
    port.Write(FromHex(ask));
    for (const char* byte : {"03", "08", "79", "43"})
        EXPECT_EQ(port.Read(4), byte) << "a byte takes longer than this interval";
    port.Limit({});
    EXPECT_EQ(lasts("01 01"), 1'666'668 + 8 * byteTime) << "without a limit the clock goes to what is under way";
}

TEST_F(Transport, AWriteEndsWhenTheTransmitterHasTakenItAll)
{
    Attach("serial:1");
    Port port(1, {0, 0, 1, 0, 0});
    std::size_t moved = 0;
    const auto write = [&](std::size_t size) { return Lasts([&] { moved = port.Write(Bytes(size, 0xFF)); }); };
    EXPECT_EQ(write(1024), 0) << "all of it waits to be sent";
    EXPECT_EQ(write(2000), 2000 * byteTime) << "as much as went before must have left";
    EXPECT_EQ(moved, 2000U);
    oxv_clock_advance(2'000'000);
    port.Limit({0, 0, 1, 0, 100});
    EXPECT_EQ(write(2000), 100'000);
    EXPECT_EQ(moved, 1024U + 95) << "what fits at once, and what has left since";
}

TEST_F(Transport, APortThatIsNotSetUpIsNotUnderstood)
{
    const oxv_device device = Attach("serial:1");
    Port port(1);
    Platform::Ports().Close(port.handle);
    oxv_fault(device, "setup", 1, 1, "fail");
    EXPECT_EQ(Platform::Ports().Open(1, &port.handle), 0);
    EXPECT_EQ(Platform::Ports().Configure(port.handle), EIO);
    Platform::Ports().SetLines(port.handle, true);
    port.Limit(threeSeconds);
    EXPECT_EQ(port.Ask(ask) + port.Ask(ask), "");
    EXPECT_EQ(Platform::Ports().Configure(port.handle), 0);
    EXPECT_EQ(port.Ask(ask), answer);
    Platform::Ports().SetLines(port.handle, false);
    EXPECT_EQ(port.Ask(ask), "") << "it has no power";
    Platform::Ports().SetLines(port.handle, true);
    EXPECT_EQ(port.Ask(ask), "") << "it starts, and has not heard this";
    EXPECT_EQ(port.Ask(ask), answer);
}

TEST_F(Transport, ALateReplyIsStaleUntilPurged)
{
    const oxv_device device = Attach("serial:1");
    Port port(1);
    oxv_set_number(device, "reply-delay", 5);
    EXPECT_EQ(port.Ask(ask), "");
    oxv_set_number(device, "reply-delay", 0);
    oxv_clock_advance(3'000'000);
    EXPECT_EQ(port.Ask("01 06"), answer) << "the old reply is taken for the new";
    oxv_clock_advance(1'000'000);
    EXPECT_EQ(Platform::Ports().Purge(port.handle, true), 0);
    EXPECT_EQ(port.Ask("01 06"), "06 00 06 5B 9B");
}

TEST_F(Transport, PortsAreExclusiveAndOnlyThoseOfTheBench)
{
    const oxv_device device = Attach("serial:1");
    Platform::SerialHandle second = nullptr;
    for (const auto& [number, status] : {std::pair{2, ENOENT}, {0, EINVAL}, {9, EINVAL}})
        EXPECT_EQ(Platform::Ports().Open(number, &second), status);
    Port port(1);
    EXPECT_EQ(Platform::Ports().Open(1, &second), EBUSY);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(Platform::Ports().Close(port.handle), 0);
    EXPECT_EQ(Platform::Ports().Close(port.handle), EBADF);
    EXPECT_EQ(port.Read(1), "error " + std::to_string(EBADF));
    oxv_fault(device, "open", 1, 1, "denied");
    EXPECT_EQ(Platform::Ports().Open(1, &port.handle), EACCES);
    EXPECT_EQ(Platform::Ports().Open(1, &port.handle), 0);
    EXPECT_EQ(oxv_count(device, "open"), 3);
    EXPECT_EQ(oxv_count(device, "close"), 1);
    oxv_remove(device);
    EXPECT_EQ(port.Read(1), "error 5") << "the far end is gone";
}

TEST_F(Transport, FailuresOfReading)
{
    const oxv_device device = Attach("serial:1");
    {
        Port port(1);
        oxv_fault(device, "command:8", 1, 1, "fail");
        oxv_fault(device, "command:8", 2, 1, "close-after-length");
        EXPECT_EQ(port.Ask(ask), "error 5");
        EXPECT_EQ(port.Ask("01 06"), "06 00 06 5B 9B") << "the next exchange is good";
        EXPECT_EQ(port.Ask(ask), "error 5");
        EXPECT_EQ(port.Read(1), "error 5") << "until the port is opened anew";
    }
    Port port(1);
    oxv_unplug(device);
    EXPECT_EQ(port.Ask(ask), "");
    oxv_plug(device);
    oxv_clock_advance(1'000'000);
    EXPECT_EQ(port.Ask(ask), answer) << "a line does not notice the cable";
    port.Write(FromHex("01 06"));
    oxv_clock_advance(4 * byteTime);
    oxv_unplug(device);
    oxv_plug(device);
    EXPECT_EQ(port.Read(6), "05 06") << "the rest was under way, and is lost with the cable";
}

TEST_F(Transport, ClosingEndsAWaitWithoutALimit)
{
    Attach("serial:1");
    Port port(1, {});
    std::string met;
    std::thread reader([&] { met = port.Read(1); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(Platform::Ports().Close(port.handle), 0);
    reader.join();
    EXPECT_THAT(met, testing::StartsWith("error"));
}

// ---- device channels

std::string Exchange(Platform::ChannelHandle channel, const std::string& frame)
{
    Bytes request = FromHex(frame);
    request.resize(8);
    std::array<std::uint8_t, 8> reply{};
    const int status = Platform::ChannelExchange(channel, request.data(), reply.data());
    return status == 0 ? ToHex(std::span(reply).subspan(2, reply[1])) : "error " + std::to_string(status);
}

TEST_F(Transport, AChannelTakesTheBenchsTimeOnEachOf128Places)
{
    for (int place = 0; place < 128; ++place)
        Attach("usb");
    EXPECT_EQ(oxv_attach("colorimeter-4", "usb"), OXV_NOT_POSSIBLE);
    Platform::ChannelHandle channel = nullptr;
    ASSERT_EQ(Platform::ChannelOpen(127, &channel), 0);
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(Exchange(channel, ask), answer); }), 1000);
    EXPECT_EQ(Lasts([&] { Exchange(channel, "01 01"); }), 1'666'668 + 1000);
    EXPECT_EQ(Platform::ChannelClose(channel), 0);
    EXPECT_EQ(Platform::ChannelClose(channel), EBADF);
    EXPECT_EQ(Exchange(channel, ask), "error " + std::to_string(EBADF));
    EXPECT_EQ(Exchange(nullptr, ask), "error " + std::to_string(EBADF));
    EXPECT_EQ(Platform::ChannelOpen(128, &channel), ENOENT);
}

TEST_F(Transport, AChannelDiesWithTheCable)
{
    const oxv_device device = Attach("usb");
    const std::string gone = "error " + std::to_string(ENODEV);
    Platform::ChannelHandle channel = nullptr, second = nullptr;
    ASSERT_EQ(Platform::ChannelOpen(0, &channel), 0);
    oxv_fault(device, "command", 1, 1, "timeout");
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(Exchange(channel, ask), "error " + std::to_string(ETIMEDOUT)); }), 5'001'000)
        << "the driver gives up what never ends";
    oxv_unplug(device);
    EXPECT_EQ(Exchange(channel, ask), gone);
    EXPECT_EQ(Platform::ChannelOpen(0, &second), ENODEV);
    EXPECT_EQ(second, nullptr);
    oxv_plug(device);
    EXPECT_EQ(Exchange(channel, ask), gone);
    ASSERT_EQ(Platform::ChannelOpen(0, &second), 0) << "opened anew it is good";
    EXPECT_EQ(Exchange(second, ask), answer);
    oxv_remove(device);
    EXPECT_EQ(Exchange(second, ask), gone);
    Platform::ChannelClose(channel);
    Platform::ChannelClose(second);
}

// ---- pseudo-terminals: the platform's own serial ports talk

class Terminal : public Transport {
protected:
    std::int32_t Number()
    {
        std::array<char, 128> name{};
        oxv_get_text(device, "port", name.data(), name.size());
        EXPECT_EQ(Platform::Ports().SetName(7, name.data()), 0);
        return 7;
    }

    static constexpr Platform::SerialLimits limits = {500, 10, 2000, 250, 250};
    oxv_device device = Attach("pty");
};

TEST_F(Terminal, CarriesAConversationAtTheSpeedOfThePort)
{
    {
        Port port(Number(), limits);
        EXPECT_EQ(port.Ask("01 01"), "01 00 00 1F 2F") << "on a virtual clock at once";
    }
    for (int i = 0; i < 200 && oxv_count(device, "close") == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    Port port(Number(), limits);
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(port.Ask(ask), answer); }), 7 * byteTime);
    EXPECT_EQ(oxv_count(device, "open"), 2);
    termios line{};
    const int descriptor = static_cast<int>(reinterpret_cast<std::intptr_t>(port.handle));
    ASSERT_EQ(tcgetattr(descriptor, &line), 0);
    cfsetspeed(&line, B115200);
    ASSERT_EQ(tcsetattr(descriptor, TCSANOW, &line), 0);
    EXPECT_EQ(Lasts([&] { EXPECT_EQ(port.Ask(ask), answer); }), 7 * 87);
}

TEST_F(Terminal, HangsUpAndGoesOnBehindAnother)
{
    oxv_fault(device, "command:8", 1, 1, "close-after-length");
    {
        Port port(Number(), limits);
        EXPECT_EQ(port.Ask(ask), "error 5");
    }
    Port port(Number(), limits);
    EXPECT_EQ(port.Ask(ask), answer);
    oxv_unplug(device);
    port.Limit({50, 0, 100, 250, 250});
    EXPECT_EQ(port.Ask(ask), "") << "silent without its cable";
    oxv_plug(device);
    port.Limit(limits);
    EXPECT_EQ(port.Ask(ask), answer);
    oxv_remove(device);
    EXPECT_EQ(port.Read(1), "error 5");
}

TEST_F(Terminal, AndAPortInMemoryGiveADescriptorToTheApplication)
{
    for (const oxv_device each : {device, Attach("serial:1")}) {
        Port port = Port::Of(each);
        EXPECT_EQ(port.Ask(ask), answer);
        Platform::Ports().Forget(port.handle);
        EXPECT_EQ(port.Ask(ask), answer) << "forgotten, not closed";
    }
    EXPECT_EQ(oxv_port_descriptor(Attach("usb")), OXV_NOT_POSSIBLE);
}

}
