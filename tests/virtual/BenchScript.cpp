#include "tests/virtual/BenchScript.h"

#include "platform/Clock.h"

#include <algorithm>
#include <sstream>

using Platform::UsbTransfer;
using Bytes = std::vector<std::uint8_t>;

namespace {

std::string Words(const Platform::TransferResult& result)
{
    constexpr const char* kinds[] = {"done", "pending", "gone", "cancelled", "stalled", "denied", "failed"};
    return std::string(kinds[static_cast<int>(result.kind)]) + " " + std::to_string(result.moved)
        + (result.number != 0 ? " " + std::to_string(result.number) : "");
}

}

BenchScript::BenchScript() : device((oxv_reset(), oxv_attach("spectrophotometer", "usb")))
{
    Connect();
}

BenchScript::~BenchScript()
{
    transfers.clear();
    pipes.clear();
    oxv_reset();
}

void BenchScript::Connect()
{
    transfers.clear();
    pipes.clear();
    address = Platform::UsbAddresses(1).at(0);
    for (unsigned number = 0; number < 3; ++number)
        pipes[number] = OpenPipe(number);
}

std::unique_ptr<Platform::UsbPipe> BenchScript::OpenPipe(unsigned number)
{
    return Platform::OpenUsbPipe(address, number, opened);
}

Outcome BenchScript::Move(UsbTransfer& transfer, std::size_t size, bool in)
{
    transfer.Submit(size);
    transfer.Wait(60000);
    const auto result = transfer.Result();
    return {Words(result), in ? Hex(transfer.Buffer().data(), result.moved) : ""};
}

Outcome BenchScript::Control(bool in, std::istream& words)
{
    unsigned code = 0, type = 2, recipient = 0, value = 0, index = 0;
    words >> std::hex >> code;
    Bytes bytes;
    const std::map<std::string, unsigned*> fields = {
        {"type", &type}, {"recipient", &recipient}, {"value", &value}, {"index", &index}};
    for (std::string word; words >> word;)
        if (fields.contains(word))
            words >> *fields.at(word);
        else if (in)
            bytes.resize(std::stoul(word));
        else
            bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
    const auto low = [](unsigned number) { return static_cast<std::uint8_t>(number & 0xFF); };
    const auto transfer = pipes[0]->MakeControl(
        {low(in), low(type), low(recipient), 0, low(code), 0, low(value), low(value >> 8), low(index), low(index >> 8)},
        bytes.size());
    std::ranges::copy(bytes, transfer->Buffer().begin());
    return Move(*transfer, bytes.size(), in);
}

Outcome BenchScript::Do(const std::string& step)
{
    std::istringstream words(step);
    std::string verb, name;
    std::size_t number = 0;
    words >> verb;
    if (verb == "out" || verb == "in")
        return Control(verb == "in", words);
    if (verb == "write") {
        const Bytes bytes = HexBytes(words);
        const auto transfer = pipes[2]->MakeTransfer(bytes.size());
        std::ranges::copy(bytes, transfer->Buffer().begin());
        return Move(*transfer, bytes.size(), false);
    }
    if (IsBenchCall(verb))
        return MakeBenchCall(verb, device, words);
    if (const auto outcome = Wire(verb, words))
        return *outcome;
    if (verb == "submit" || verb == "wait" || verb == "cancel" || verb == "wake" || verb == "result")
        words >> name;
    words >> number;
    if (verb == "read")
        return Move(*pipes[1]->MakeTransfer(number), number, true);
    if (verb == "submit") { // NAME PIPE SIZE; a name anew submits the same transfer again
        std::size_t size = 0;
        words >> size;
        auto& transfer = transfers[name];
        if (!transfer)
            transfer = pipes[static_cast<unsigned>(number)]->MakeTransfer(size);
        transfer->Submit(size);
    } else if (verb == "wait") {
        transfers.at(name)->Wait(static_cast<std::int64_t>(number));
    } else if (verb == "cancel") {
        transfers.at(name)->Cancel();
    } else if (verb == "open") {
        auto pipe = OpenPipe(static_cast<unsigned>(number));
        if (!pipe)
            return {Words(opened), ""};
        pipes[static_cast<unsigned>(number)] = std::move(pipe);
    } else if (verb == "close") {
        pipes.at(static_cast<unsigned>(number))->Close();
    } else if (verb == "connect") {
        Connect();
    } else if (verb == "addresses") {
        std::string list;
        for (const std::string& one : Platform::UsbAddresses(number))
            list += (list.empty() ? "" : " ") + one;
        return {list.empty() ? "none" : list, ""};
    } else if (verb == "sleep") {
        Platform::SleepMicroseconds(static_cast<std::int64_t>(number));
    } else if (verb == "took") {
        const auto before = std::exchange(lookedAt, oxv_clock_now());
        return {std::to_string(lookedAt - before), ""};
    } else if (verb == "device") { // so many behind the one that stands there
        device += static_cast<oxv_device>(number);
    } else if (verb != "result") {
        ADD_FAILURE() << "no step";
    }
    return {transfers.contains(name) ? Words(transfers[name]->Result()) : "ok", ""};
}

// ---- the host of colorimeters

namespace {

std::string Status(int status)
{
    return status == 0 ? "ok" : "error " + std::to_string(status);
}

}

std::string BenchScript::Receive(std::size_t size)
{
    Bytes bytes(size);
    std::size_t moved = 0;
    const int status = Platform::Ports().Read(port, bytes.data(), size, &moved);
    return status == 0 ? Hex(bytes.data(), moved) : Status(status);
}

std::string BenchScript::Exchange(Bytes request)
{
    request.resize(8);
    Bytes answer(8);
    const int status = Platform::ChannelExchange(channel, request.data(), answer.data());
    return status == 0 ? Hex(answer.data() + 2, answer[1]) : Status(status);
}

std::optional<Outcome> BenchScript::Wire(const std::string& verb, std::istream& words)
{
    Platform::SerialPorts& ports = Platform::Ports();
    const auto number = [&] {
        std::uint32_t value = 0;
        words >> value;
        return value;
    };
    if (verb == "serial")
        return Outcome{Status(ports.Open(static_cast<std::int32_t>(number()), &port)), ""};
    if (verb == "terminal") { // the device's pseudo-terminal, as port 7
        const int status = ports.SetName(7, Do("get_text port - 128").words.c_str());
        return Outcome{Status(status != 0 ? status : ports.Open(7, &port)), ""};
    }
    if (verb == "configure")
        return Outcome{Status(ports.Configure(port)), ""};
    if (verb == "lines")
        return Outcome{Status(ports.SetLines(port, number() != 0)), ""};
    if (verb == "limits") {
        const Platform::SerialLimits limits{number(), number(), number(), number(), number()};
        return Outcome{Status(ports.SetLimits(port, &limits)), ""};
    }
    if (verb == "send" || verb == "ask") { // "ask": and the reply to it, without its length
        const Bytes bytes = HexBytes(words);
        std::size_t moved = 0;
        EXPECT_EQ(ports.Write(port, bytes.data(), bytes.size(), &moved), 0);
        if (verb == "send")
            return Outcome{std::to_string(moved), ""};
        const std::string length = Receive(1);
        return Outcome{length.size() == 2 ? Receive(std::stoul(length, nullptr, 16)) : length, ""};
    }
    if (verb == "fill") { // so many bytes
        const Bytes bytes(number(), 0xFF);
        std::size_t moved = 0;
        ports.Write(port, bytes.data(), bytes.size(), &moved);
        return Outcome{std::to_string(moved), ""};
    }
    if (verb == "receive")
        return Outcome{Receive(number()), ""};
    if (verb == "purge")
        return Outcome{Status(ports.Purge(port, true)), ""};
    if (verb == "hang-up")
        return Outcome{Status(ports.Close(port)), ""};
    if (verb == "forget")
        return ports.Forget(port), Outcome{"ok", ""};
    if (verb == "taken-over") { // the port that the application has opened
        port = reinterpret_cast<Platform::SerialHandle>(static_cast<std::intptr_t>(oxv_port_descriptor(device)));
        return Outcome{port > reinterpret_cast<void*>(2) ? "ok" : "failed", ""};
    }
    if (verb == "channel")
        return Outcome{Status(Platform::ChannelOpen(number(), &channel)), ""};
    if (verb == "exchange")
        return Outcome{Exchange(HexBytes(words)), ""};
    if (verb == "end-channel")
        return Outcome{Status(Platform::ChannelClose(channel)), ""};
    return std::nullopt;
}

void BenchScript::Run(const std::string& steps)
{
    std::istringstream list(steps);
    for (std::string step; std::getline(list >> std::ws, step, ';');) {
        SCOPED_TRACE(step);
        int times = 1;
        if (const std::size_t star = step.find('*'); star != std::string::npos) {
            times = std::stoi(step);
            step.erase(0, star + 1);
        }
        while (times-- > 0)
            Take(step);
    }
}

void BenchScript::Take(const std::string& step)
{
    const bool refused = step.starts_with('!');
    const std::size_t place = step.find_first_of(">=", 1);
    const Outcome outcome = Do(step.substr(refused, place - refused));
    if (refused) {
        EXPECT_EQ(outcome.words, "stalled 0 32");
    } else if (place == std::string::npos) {
        EXPECT_THAT(outcome.words,
                    testing::Not(testing::ContainsRegex("^(gone|stalled|denied|failed|error|[A-Z]{2})")));
    } else {
        std::string expected = step.substr(std::min(step.size(), place + 2));
        expected.erase(expected.find_last_not_of(' ') + 1);
        std::size_t from = 0;
        if (expected.starts_with('@')) {
            from = 3 * std::stoul(expected.substr(1));
            expected.erase(0, expected.find(' ') + 1);
        }
        EXPECT_EQ(step[place] == '>' ? outcome.words : outcome.bytes.substr(from, expected.size()), expected);
    }
}

std::vector<std::vector<double>> BenchScript::Measure(const Order& order)
{
    char steps[96];
    std::snprintf(steps, sizeof steps, "out CF 01; out C1 %02X %02X 00 17 %02X %02X %02X 00; out C0", order.ticks >> 8,
                  order.ticks & 0xFF, order.count >> 8, order.count & 0xFF, order.flags);
    Run(steps);
    std::vector<std::vector<double>> readings;
    const std::size_t blocks = (order.flags & 1) != 0 ? 10 : order.count;
    const auto transfer = pipes[1]->MakeTransfer(blocks * 256);
    do {
        transfer->Submit(blocks * 256);
        transfer->Wait(60000);
        const auto bytes = transfer->Buffer().first(transfer->Result().moved);
        for (std::size_t block = 0; block + 256 <= bytes.size(); block += 256) {
            const auto word = [&](std::size_t i) { return bytes[block + 2 * i] * 256.0 + bytes[block + 2 * i + 1]; };
            auto& counts = readings.emplace_back();
            for (std::size_t i = 0; i < 128; ++i)
                counts.push_back(word(std::clamp<std::size_t>(i, 1, 126)) - word(127));
        }
    } while ((order.flags & 1) != 0 && transfer->Result().moved != 0);
    return readings;
}
