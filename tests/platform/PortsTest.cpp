#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <pty.h>
#include <string>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Platform;

namespace {

/// A pseudo-terminal whose near end is the port under test.
class Terminal {
public:
    Terminal()
    {
        char device[64] = {};
        int nearEnd = -1;
        EXPECT_EQ(::openpty(&farEnd, &nearEnd, device, nullptr, nullptr), 0);
        name = device;
        ::close(nearEnd);
        EXPECT_EQ(Ports().SetName(3, name.c_str()), 0);
    }
    ~Terminal() { Unplug(); }

    void Unplug()
    {
        if (farEnd >= 0)
            ::close(farEnd);
        farEnd = -1;
    }
    void Send(const std::string& bytes) const
    {
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()), ::write(farEnd, bytes.data(), bytes.size()));
    }
    std::string Receive(std::size_t size) const
    {
        std::string bytes(size, '\0');
        std::size_t done = 0;
        while (done < size) {
            const ssize_t count = ::read(farEnd, bytes.data() + done, size - done);
            if (count <= 0)
                break;
            done += static_cast<std::size_t>(count);
        }
        return bytes.substr(0, done);
    }

    std::string name;
    int farEnd = -1;
};

class OpenPort {
public:
    OpenPort()
    {
        EXPECT_EQ(Ports().Open(3, &handle), 0);
        EXPECT_EQ(Ports().Configure(handle), 0);
    }
    ~OpenPort() { Ports().Close(handle); }

    std::string Read(std::size_t size, int status = 0) const
    {
        std::uint8_t bytes[64];
        std::size_t moved = 99;
        EXPECT_EQ(status, Ports().Read(handle, bytes, size, &moved));
        return std::string(bytes, bytes + moved);
    }
    void Limit(SerialLimits limits) const { EXPECT_EQ(Ports().SetLimits(handle, &limits), 0); }

    SerialHandle handle = nullptr;
};

std::int64_t MillisecondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
}

}

TEST(SerialPort, SetsTheLine)
{
    const Terminal terminal;
    const OpenPort port;
    termios line{};
    ASSERT_EQ(::tcgetattr(terminal.farEnd, &line), 0);
    EXPECT_EQ(static_cast<speed_t>(B9600), ::cfgetospeed(&line));
    EXPECT_EQ(static_cast<tcflag_t>(CS8), line.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS));
    EXPECT_EQ(line.c_iflag & (IXON | IXOFF | ICRNL | INLCR | ISTRIP), 0U);
    EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG), 0U);
    EXPECT_EQ(line.c_oflag & OPOST, 0U);
    for (const bool on : {false, true}) { // a pseudo-terminal has neither
        EXPECT_EQ(Ports().SetLines(port.handle, on), 0);
    }
}

TEST(SerialPort, CarriesEveryByteUnchanged)
{
    const Terminal terminal;
    const OpenPort port;
    port.Limit({1000, 0, 5000, 0, 5000});
    std::string all;
    for (int i = 0; i < 64; ++i)
        all += static_cast<char>(i * 4 + 3); // ends of line, interrupts and flow control among them
    terminal.Send(all);
    EXPECT_EQ(all, port.Read(64));
    std::size_t moved = 0;
    EXPECT_EQ(Ports().Write(port.handle, reinterpret_cast<const std::uint8_t*>(all.data()), all.size(), &moved), 0);
    EXPECT_EQ(moved, 64U);
    EXPECT_EQ(all, terminal.Receive(64));
}

TEST(SerialPort, EndsAReadWhenItsTimeIsUp)
{
    const Terminal terminal;
    const OpenPort port;
    port.Limit({0, 10, 30, 0, 0});
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(port.Read(2), ""); }), 50);
    terminal.Send("a");
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(port.Read(2), "a"); }), 50);

    port.Limit({20, 0, 600000, 0, 0}); // the pause after a byte ends it long before
    terminal.Send("bc");
    EXPECT_LT(MillisecondsOf([&] { EXPECT_EQ(port.Read(9), "bc"); }), 60000);

    port.Limit({0, 0, 0, 0, 0}); // no limit
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        terminal.Send("d");
    });
    EXPECT_EQ(port.Read(1), "d");
    late.join();
}

TEST(SerialPort, EndsAWriteWhenNobodyReads)
{
    const Terminal terminal;
    const OpenPort port;
    port.Limit({0, 0, 0, 0, 30});
    const std::vector<std::uint8_t> bytes(1 << 20);
    std::size_t moved = 0;
    EXPECT_EQ(Ports().Write(port.handle, bytes.data(), bytes.size(), &moved), 0);
    EXPECT_GT(moved, 0U);
    EXPECT_LT(moved, bytes.size());
    EXPECT_EQ(Ports().Purge(port.handle, false), 0);
}

TEST(SerialPort, ThrowsAwayWhatWaits)
{
    const Terminal terminal;
    const OpenPort port;
    port.Limit({0, 0, 20, 0, 0});
    terminal.Send("junk");
    EXPECT_EQ(port.Read(1), "j");
    EXPECT_EQ(Ports().Purge(port.handle, true), 0);
    EXPECT_EQ(port.Read(1), "");
}

TEST(SerialPort, FailsWhenTheCableIsPulled)
{
    Terminal terminal;
    const OpenPort port;
    port.Limit({0, 0, 60000, 0, 60000});
    terminal.Unplug();
    EXPECT_EQ(port.Read(1, EIO), "");
    std::size_t moved = 9;
    const std::uint8_t byte = 0;
    EXPECT_EQ(EIO, Ports().Write(port.handle, &byte, 1, &moved));
    EXPECT_EQ(moved, 0U);
}

TEST(SerialPort, IsOpenedByOneOnly)
{
    const Terminal terminal;
    SerialHandle second = nullptr;
    for (int round = 0; round < 2; ++round) {
        const OpenPort port;
        EXPECT_NE(Ports().Open(3, &second), 0);
        EXPECT_EQ(second, nullptr);
    }
}

TEST(SerialPort, ForgetsItsLimitsWhenItIsClosedOrGivenUp)
{
    const Terminal terminal;
    const SerialLimits limits{1, 2, 3, 4, 5};
    SerialLimits read{};
    const OpenPort port;
    port.Limit(limits);
    EXPECT_EQ(Ports().GetLimits(port.handle, &read), 0);
    EXPECT_EQ(read.readConstant, 3U);
    EXPECT_EQ(read.writeConstant, 5U);
    Ports().Forget(port.handle);
    EXPECT_EQ(Ports().GetLimits(port.handle, &read), 0);
    EXPECT_EQ(read.readConstant, 0U);
}

TEST(SerialPort, RefusesBadUse)
{
    SerialHandle handle = nullptr;
    SerialLimits limits{};
    std::uint8_t byte = 0;
    std::size_t moved = 0;
    EXPECT_EQ(EINVAL, Ports().Open(0, &handle));
    EXPECT_EQ(EINVAL, Ports().Open(9, &handle));
    EXPECT_EQ(EINVAL, Ports().Open(1, nullptr));
    EXPECT_EQ(EINVAL, Ports().SetName(9, "/dev/null"));
    EXPECT_EQ(EINVAL, Ports().SetName(3, nullptr));
    EXPECT_EQ(EINVAL, Ports().SetName(3, ""));
    EXPECT_EQ(Ports().SetName(3, "/dev/null"), 0);
    EXPECT_EQ(ENOTTY, Ports().Open(3, &handle));
    EXPECT_EQ(Ports().SetName(3, "/nowhere"), 0);
    EXPECT_EQ(ENOENT, Ports().Open(3, &handle));
    for (const SerialHandle bad :
         {SerialHandle(nullptr), reinterpret_cast<SerialHandle>(std::intptr_t(-1)),
          reinterpret_cast<SerialHandle>(std::intptr_t(1)), reinterpret_cast<SerialHandle>(std::intptr_t(1) << 40)}) {
        EXPECT_EQ(EBADF, Ports().Configure(bad));
        EXPECT_EQ(EBADF, Ports().SetLines(bad, true));
        EXPECT_EQ(EBADF, Ports().GetLimits(bad, &limits));
        EXPECT_EQ(EBADF, Ports().SetLimits(bad, &limits));
        EXPECT_EQ(EBADF, Ports().Read(bad, &byte, 1, &moved));
        EXPECT_EQ(EBADF, Ports().Write(bad, &byte, 1, &moved));
        EXPECT_EQ(EBADF, Ports().Purge(bad, true));
        EXPECT_EQ(EBADF, Ports().Close(bad));
    }
}

TEST(SerialPort, StaysClearOfTheStandardStreams)
{
    const Terminal terminal;
    const int input = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    {
        const OpenPort port;
        EXPECT_GT(reinterpret_cast<std::intptr_t>(port.handle), 2);
        EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1);
    }
    if (input >= 0) {
        ::dup2(input, STDIN_FILENO);
        ::close(input);
    }
}

TEST(DeviceChannel, ExchangesEightBytes)
{
    // A terminal in raw mode stands for the driver's file: what is written on one end is read on the other.
    Terminal terminal;
    std::string directory = "/tmp/channelXXXXXX";
    ASSERT_NE(::mkdtemp(directory.data()), nullptr);
    const std::string file = directory + "/zel127"; // the last index that a scan asks for
    ASSERT_EQ(::symlink(terminal.name.c_str(), file.c_str()), 0);
    EXPECT_EQ(SetChannelNamePattern((directory + "/zel%u").c_str()), 0);

    ChannelHandle handle = nullptr;
    ChannelHandle second = nullptr;
    EXPECT_EQ(ENOENT, ChannelOpen(6, &handle));
    ASSERT_EQ(ChannelOpen(127, &handle), 0);
    EXPECT_EQ(ChannelOpen(127, &second), 0); // shared
    EXPECT_EQ(ChannelClose(second), 0);
    termios line{};
    ::tcgetattr(terminal.farEnd, &line);
    ::cfmakeraw(&line);
    ::tcsetattr(terminal.farEnd, TCSANOW, &line);

    std::thread driver([&] {
        EXPECT_EQ(terminal.Receive(8), "\1\2\3\4\5\6\7\x8");
        terminal.Send("abc");
        terminal.Send("defgh");
    });
    const std::uint8_t request[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint8_t answer[9] = {};
    EXPECT_EQ(ChannelExchange(handle, request, answer), 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(answer), "abcdefgh");
    driver.join();

    terminal.Unplug();
    EXPECT_EQ(EIO, ChannelExchange(handle, request, answer));
    EXPECT_EQ(EINVAL, ChannelExchange(handle, nullptr, answer));
    EXPECT_EQ(ChannelClose(handle), 0);
    EXPECT_EQ(EBADF, ChannelExchange(nullptr, request, answer));
    EXPECT_EQ(EBADF, ChannelClose(nullptr));
    ::unlink(file.c_str());
    ::rmdir(directory.c_str());
}

TEST(DeviceChannel, TakesNoPatternThatItCannotFill)
{
    for (const char* pattern : {"/dev/zelcal", "/dev/%d", "/dev/%u%u", "/dev/%s%u", "/dev/%u%n", "%"})
        EXPECT_EQ(EINVAL, SetChannelNamePattern(pattern)) << pattern;
    EXPECT_EQ(EINVAL, SetChannelNamePattern(nullptr));
    ChannelHandle handle = nullptr;
    EXPECT_EQ(EINVAL, ChannelOpen(128, &handle));
    EXPECT_EQ(EINVAL, ChannelOpen(0, nullptr));
}
