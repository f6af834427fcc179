#include "tests/wire/real/KernelUsb.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr std::uint16_t vendor = 0x1209;
constexpr std::uint16_t product = 0x0001;

constexpr const char* controller = "/sys/devices/platform/vhci_hcd.0/";
constexpr const char* devices = "/sys/bus/usb/devices/";
constexpr int port = 0;
constexpr int deviceId = 65538; // bus 1, device 2 of the sender, which the kernel only repeats
constexpr int highSpeed = 3;

enum Command : std::uint32_t { submission = 1, unlinking = 2, submissionReply = 3, unlinkingReply = 4 };

constexpr std::size_t mostBytes = 1 << 20;

/// Throws if the condition does not come to hold within ten seconds.
template<typename Condition>
void Await(const char* what, Condition&& condition)
{
    for (int i = 0; i < 500; ++i) {
        if (condition())
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    throw std::runtime_error(std::string("waited in vain: ") + what);
}

std::string TextOf(const std::filesystem::path& file)
{
    std::string text;
    std::ifstream(file) >> text;
    return text;
}

/// The node of the instrument once the kernel has configured it; empty before.
std::string FindNode()
{
    for (const auto& entry : std::filesystem::directory_iterator(devices)) {
        if (TextOf(entry.path() / "idVendor") != "1209" || TextOf(entry.path() / "bConfigurationValue") != "1")
            continue;
        char path[32];
        std::snprintf(path, sizeof path, "/dev/bus/usb/%03d/%03d", std::stoi(TextOf(entry.path() / "busnum")),
                      std::stoi(TextOf(entry.path() / "devnum")));
        if (std::filesystem::exists(path))
            return path;
    }
    return {};
}

bool ReadAll(int line, void* into, std::size_t size)
{
    return size == 0 || recv(line, into, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

}

/// The header of every message, in host order: words that change place and meaning with the command, and a setup
/// packet.
struct KernelUsb::Message {
    std::uint32_t command = 0;
    std::uint32_t number = 0; ///< of the transfer
    std::uint32_t device = 0;
    std::uint32_t inwards = 0;
    std::uint32_t endpoint = 0;
    /// submit: flags, length; unlink: number of the other transfer; replies: status, bytes moved
    std::array<std::uint32_t, 5> words{};
    Setup setup{};

    static constexpr std::size_t wordCount = 10;
    static constexpr std::size_t size = 4 * wordCount + 8;

    std::array<std::uint8_t, size> Packed() const
    {
        std::array<std::uint32_t, wordCount> all{command, number, device, inwards, endpoint};
        std::ranges::copy(words, all.begin() + 5);
        std::array<std::uint8_t, size> bytes{};
        for (std::size_t i = 0; i < 4 * wordCount; ++i)
            bytes[i] = static_cast<std::uint8_t>(all[i / 4] >> (24 - 8 * (i % 4)) & 0xFF);
        return bytes;
    }

    static Message Unpacked(const std::array<std::uint8_t, size>& bytes)
    {
        std::array<std::uint32_t, wordCount> all{};
        for (std::size_t i = 0; i < 4 * wordCount; ++i)
            all[i / 4] = all[i / 4] << 8 | bytes[i];
        Message message{all[0], all[1], all[2], all[3], all[4]};
        std::copy_n(all.begin() + 5, message.words.size(), message.words.begin());
        std::copy_n(bytes.begin() + 4 * wordCount, message.setup.size(), message.setup.begin());
        return message;
    }
};

KernelUsb::KernelUsb()
{
    Plug();
}

KernelUsb::~KernelUsb()
{
    Unplug();
}

void KernelUsb::Appear()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("socketpair");
    line = ends[0];
    server = std::thread([this] { Serve(); });
    Await("the port", [&] {
        std::ofstream attach(std::string(controller) + "attach");
        attach << port << ' ' << ends[1] << ' ' << deviceId << ' ' << highSpeed << std::flush;
        return attach.good();
    });
    close(ends[1]);
    Await("the device", [&] { return !(address = FindNode()).empty(); });
}

/// To the kernel it looks as if the other side had vanished.
void KernelUsb::Disappear()
{
    shutdown(line, SHUT_RDWR);
    server.join();
    close(line);
    Await("the removal", [&] { return !std::filesystem::exists(address); });
}

void KernelUsb::Serve()
{
    std::array<std::uint8_t, Message::size> header{};
    std::vector<std::uint8_t> sent;
    while (ReadAll(line, header.data(), header.size())) {
        const auto message = Message::Unpacked(header);
        if (message.command == unlinking) {
            TakeUnlink(message);
            continue;
        }
        if (message.command != submission || message.words[1] > mostBytes)
            break;
        sent.assign(message.words[1], 0);
        if (message.inwards == 0 && !ReadAll(line, sent.data(), sent.size()))
            break;
        TakeSubmission(message, sent);
    }
}

void KernelUsb::TakeSubmission(const Message& message, std::span<const std::uint8_t> sent)
{
    const std::lock_guard lock(guard);
    if (!IsPlugged())
        return;
    if (message.endpoint == 0 && AnswerStandardRequest(message.number, message.setup))
        return;
    const auto endpoint = message.endpoint | (message.endpoint != 0 && message.inwards != 0 ? 0x80U : 0U);
    Submit(message.number, static_cast<std::uint8_t>(endpoint), message.setup, sent);
}

/// A transfer that is given up gets no reply of its own.
void KernelUsb::TakeUnlink(const Message& message)
{
    const std::lock_guard lock(guard);
    const bool givenUp = Cancel(message.words[0]);
    Send({.command = unlinkingReply,
          .number = message.number,
          .words = {static_cast<std::uint32_t>(givenUp ? -ECONNRESET : 0)}});
}

void KernelUsb::Ended(Tag tag, int status, std::size_t moved, std::span<const std::uint8_t> data)
{
    if (!IsPlugged())
        return; // nothing comes through a cable that was pulled
    Send({.command = submissionReply,
          .number = static_cast<std::uint32_t>(tag),
          .words = {static_cast<std::uint32_t>(status), static_cast<std::uint32_t>(moved)}},
         data);
}

/// What the kernel asks before anybody opens the device, and the freeing of a stalled pipe. False for what the firmware
/// answers itself.
bool KernelUsb::AnswerStandardRequest(Tag tag, const Setup& setup)
{
    enum : std::uint8_t { getStatus = 0, clearFeature = 1, getDescriptor = 6, setConfiguration = 9, setInterface = 11 };
    enum : std::uint8_t { deviceDescriptor = 1, configurationDescriptor = 2 };
    const bool standard = (setup[0] & 0x60) == 0;
    const bool fromDevice = (setup[0] & 0x80) != 0;
    if (!standard || (setup[1] == getStatus && !fromDevice))
        return false;

    const auto all = Descriptors(vendor, product);
    const auto reply = [&](std::span<const std::uint8_t> bytes) {
        const std::size_t asked = setup[6] | static_cast<std::size_t>(setup[7]) << 8;
        const auto given = bytes.first(std::min(asked, bytes.size()));
        Ended(tag, 0, given.size(), given);
    };
    if (setup[1] == getDescriptor && setup[3] == deviceDescriptor)
        reply(std::span(all).first(deviceDescriptorSize));
    else if (setup[1] == getDescriptor && setup[3] == configurationDescriptor)
        reply(std::span(all).subspan(deviceDescriptorSize));
    else if (setup[1] == getStatus)
        reply(std::array<std::uint8_t, 2>{});
    else if (setup[1] == setConfiguration)
        Ended(tag, Open(), 0, {});
    else if (setup[1] == clearFeature || setup[1] == setInterface) {
        clearedHalts += setup[1] == clearFeature && setup[0] == 2;
        Ended(tag, 0, 0, {});
    } else
        Ended(tag, -EPIPE, 0, {});
    return true;
}

void KernelUsb::Send(const Message& message, std::span<const std::uint8_t> data) const
{
    auto header = message.Packed();
    std::vector<std::uint8_t> bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), data.begin(), data.end());
    // A failure is the other side's end, of which the server's read hears too.
    [[maybe_unused]] const auto sent = send(line, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}
