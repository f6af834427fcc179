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
        EXPECT_EQ(0, ::openpty(&farEnd, &nearEnd, device, nullptr, nullptr));
        name = device;
        ::close(nearEnd);
        EXPECT_EQ(0, SetSerialPortName(3, name.c_str()));
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
        EXPECT_EQ(0, SerialOpen(3, &handle));
        EXPECT_EQ(0, SerialConfigure(handle));
    }
    ~OpenPort() { SerialClose(handle); }

    std::string Read(std::size_t size, int status = 0) const
    {
        std::uint8_t bytes[64];
        std::size_t moved = 99;
        EXPECT_EQ(status, SerialRead(handle, bytes, size, &moved));
        return std::string(bytes, bytes + moved);
    }
    void Limit(SerialLimits limits) const { EXPECT_EQ(0, SerialSetLimits(handle, &limits)); }

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
    ASSERT_EQ(0, ::tcgetattr(terminal.farEnd, &line));
    EXPECT_EQ(static_cast<speed_t>(B9600), ::cfgetospeed(&line));
    EXPECT_EQ(static_cast<tcflag_t>(CS8), line.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS));
    EXPECT_EQ(0U, line.c_iflag & (IXON | IXOFF | ICRNL | INLCR | ISTRIP));
    EXPECT_EQ(0U, line.c_lflag & (ICANON | ECHO | ISIG));
    EXPECT_EQ(0U, line.c_oflag & OPOST);
    for (const bool on : {false, true}) { // a pseudo-terminal has neither
        EXPECT_EQ(0, SerialSetDtr(port.handle, on));
        EXPECT_EQ(0, SerialSetRts(port.handle, on));
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
    EXPECT_EQ(0, SerialWrite(port.handle, reinterpret_cast<const std::uint8_t*>(all.data()), all.size(), &moved));
    EXPECT_EQ(64U, moved);
    EXPECT_EQ(all, terminal.Receive(64));
}

TEST(SerialPort, EndsAReadWhenItsTimeIsUp)
{
    const Terminal terminal;
    const OpenPort port;
    port.Limit({0, 10, 30, 0, 0});
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ("", port.Read(2)); }), 50);
    terminal.Send("a");
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ("a", port.Read(2)); }), 50);

    port.Limit({20, 0, 600000, 0, 0}); // the pause after a byte ends it long before
    terminal.Send("bc");
    EXPECT_LT(MillisecondsOf([&] { EXPECT_EQ("bc", port.Read(9)); }), 60000);

    port.Limit({0, 0, 0, 0, 0}); // no limit
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        terminal.Send("d");
    });
    EXPECT_EQ("d", port.Read(1));
    late.join();
}

TEST(SerialPort, EndsAWriteWhenNobodyReads)
{
    const Terminal terminal;
    const OpenPort port;
    port.Limit({0, 0, 0, 0, 30});
    const std::vector<std::uint8_t> bytes(1 << 20);
    std::size_t moved = 0;
    EXPECT_EQ(0, SerialWrite(port.handle, bytes.data(), bytes.size(), &moved));
    EXPECT_GT(moved, 0U);
    EXPECT_LT(moved, bytes.size());
    EXPECT_EQ(0, SerialPurgeTransmit(port.handle));
}

TEST(SerialPort, ThrowsAwayWhatWaits)
{
    const Terminal terminal;
    const OpenPort port;
    port.Limit({0, 0, 20, 0, 0});
    terminal.Send("junk");
    EXPECT_EQ("j", port.Read(1));
    EXPECT_EQ(0, SerialPurgeReceive(port.handle));
    EXPECT_EQ("", port.Read(1));
    EXPECT_EQ(0, SerialClearError(port.handle));
}

TEST(SerialPort, FailsWhenTheCableIsPulled)
{
    Terminal terminal;
    const OpenPort port;
    port.Limit({0, 0, 60000, 0, 60000});
    terminal.Unplug();
    EXPECT_EQ("", port.Read(1, EIO));
    std::size_t moved = 9;
    const std::uint8_t byte = 0;
    EXPECT_EQ(EIO, SerialWrite(port.handle, &byte, 1, &moved));
    EXPECT_EQ(0U, moved);
}

TEST(SerialPort, IsOpenedByOneOnly)
{
    const Terminal terminal;
    SerialHandle second = nullptr;
    for (int round = 0; round < 2; ++round) {
        const OpenPort port;
        EXPECT_NE(0, SerialOpen(3, &second));
        EXPECT_EQ(nullptr, second);
    }
}

TEST(SerialPort, ForgetsItsLimitsWhenItIsClosedOrGivenUp)
{
    const Terminal terminal;
    const SerialLimits limits{1, 2, 3, 4, 5};
    SerialLimits read{};
    const OpenPort port;
    port.Limit(limits);
    EXPECT_EQ(0, SerialGetLimits(port.handle, &read));
    EXPECT_EQ(3U, read.readConstant);
    EXPECT_EQ(5U, read.writeConstant);
    SerialForget(port.handle);
    EXPECT_EQ(0, SerialGetLimits(port.handle, &read));
    EXPECT_EQ(0U, read.readConstant);
}

TEST(SerialPort, RefusesBadUse)
{
    SerialHandle handle = nullptr;
    SerialLimits limits{};
    std::uint8_t byte = 0;
    std::size_t moved = 0;
    EXPECT_EQ(EINVAL, SerialOpen(0, &handle));
    EXPECT_EQ(EINVAL, SerialOpen(9, &handle));
    EXPECT_EQ(EINVAL, SerialOpen(1, nullptr));
    EXPECT_EQ(EINVAL, SetSerialPortName(9, "/dev/null"));
    EXPECT_EQ(EINVAL, SetSerialPortName(3, nullptr));
    EXPECT_EQ(EINVAL, SetSerialPortName(3, ""));
    EXPECT_EQ(0, SetSerialPortName(3, "/dev/null"));
    EXPECT_EQ(ENOTTY, SerialOpen(3, &handle));
    EXPECT_EQ(0, SetSerialPortName(3, "/nowhere"));
    EXPECT_EQ(ENOENT, SerialOpen(3, &handle));
    for (const SerialHandle bad :
         {SerialHandle(nullptr), reinterpret_cast<SerialHandle>(std::intptr_t(-1)),
          reinterpret_cast<SerialHandle>(std::intptr_t(1)), reinterpret_cast<SerialHandle>(std::intptr_t(1) << 40)}) {
        EXPECT_EQ(EBADF, SerialConfigure(bad));
        EXPECT_EQ(EBADF, SerialSetDtr(bad, true));
        EXPECT_EQ(EBADF, SerialGetLimits(bad, &limits));
        EXPECT_EQ(EBADF, SerialSetLimits(bad, &limits));
        EXPECT_EQ(EBADF, SerialRead(bad, &byte, 1, &moved));
        EXPECT_EQ(EBADF, SerialWrite(bad, &byte, 1, &moved));
        EXPECT_EQ(EBADF, SerialPurgeReceive(bad));
        EXPECT_EQ(EBADF, SerialClearError(bad));
        EXPECT_EQ(EBADF, SerialClose(bad));
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
        EXPECT_EQ(-1, ::fcntl(STDIN_FILENO, F_GETFD));
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
    ASSERT_NE(nullptr, ::mkdtemp(directory.data()));
    const std::string file = directory + "/zel127"; // the last index that a scan asks for
    ASSERT_EQ(0, ::symlink(terminal.name.c_str(), file.c_str()));
    EXPECT_EQ(0, SetChannelNamePattern((directory + "/zel%u").c_str()));

    ChannelHandle handle = nullptr;
    ChannelHandle second = nullptr;
    EXPECT_EQ(ENOENT, ChannelOpen(6, &handle));
    ASSERT_EQ(0, ChannelOpen(127, &handle));
    EXPECT_EQ(0, ChannelOpen(127, &second)); // shared
    EXPECT_EQ(0, ChannelClose(second));
    termios line{};
    ::tcgetattr(terminal.farEnd, &line);
    ::cfmakeraw(&line);
    ::tcsetattr(terminal.farEnd, TCSANOW, &line);

    std::thread driver([&] {
        EXPECT_EQ("\1\2\3\4\5\6\7\x8", terminal.Receive(8));
        terminal.Send("abc");
        terminal.Send("defgh");
    });
    const std::uint8_t request[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint8_t answer[9] = {};
    EXPECT_EQ(0, ChannelExchange(handle, request, answer));
    EXPECT_STREQ("abcdefgh", reinterpret_cast<const char*>(answer));
    driver.join();

    terminal.Unplug();
    EXPECT_EQ(EIO, ChannelExchange(handle, request, answer));
    EXPECT_EQ(EINVAL, ChannelExchange(handle, nullptr, answer));
    EXPECT_EQ(0, ChannelClose(handle));
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
