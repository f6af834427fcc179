#include "tests/virtual/Host.h"

#include <cmath>
#include <stdexcept>

namespace {

constexpr std::size_t blockBytes = 256;

unsigned WordOf(const Host::Bytes& bytes, std::size_t at)
{
    return bytes.at(at) * 256U + bytes.at(at + 1);
}

void AppendWord(Host::Bytes& bytes, unsigned word)
{
    bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    bytes.push_back(static_cast<std::uint8_t>(word));
}

/// Cells of an EEPROM request: address, size, two bytes without meaning.
Host::Bytes MemoryRequest(std::uint32_t address, std::size_t size)
{
    Host::Bytes request;
    AppendWord(request, address >> 16);
    AppendWord(request, address & 0xFFFF);
    AppendWord(request, static_cast<unsigned>(size));
    AppendWord(request, 0);
    return request;
}

Platform::TransferResult Run(Platform::UsbTransfer& transfer, std::size_t size, std::int64_t limitMs)
{
    const auto submitted = transfer.Submit(size);
    if (submitted.kind != Platform::TransferKind::done)
        return submitted;
    transfer.Wait(limitMs);
    return transfer.Result();
}

}

Host::Host(const std::string& address)
{
    for (unsigned number = 0; number < 3; ++number) {
        pipes[number] = Platform::OpenUsbPipe(address, number, last);
        if (!pipes[number])
            throw std::runtime_error("the pipe does not open");
    }
}

bool Host::Send(std::uint8_t code, Bytes data, std::uint16_t value)
{
    const Platform::ControlRequest request = {
        0, 2, 0, 0, code, 0, static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8), 0, 0};
    const auto transfer = pipes[0]->MakeControl(request, data.size());
    std::copy(data.begin(), data.end(), transfer->Buffer().begin());
    last = Run(*transfer, data.size(), 2000);
    return last.kind == Platform::TransferKind::done && last.moved == data.size();
}

Host::Bytes Host::Ask(std::uint8_t code, std::size_t size)
{
    const auto transfer = pipes[0]->MakeControl({1, 2, 0, 0, code, 0, 0, 0, 0, 0}, size);
    last = Run(*transfer, size, 2000);
    const auto buffer = transfer->Buffer();
    return last.kind == Platform::TransferKind::done
        ? Bytes(buffer.begin(), buffer.begin() + static_cast<long>(last.moved))
        : Bytes();
}

Host::Bytes Host::Read(std::size_t size, std::int64_t limitMs)
{
    const auto transfer = pipes[1]->MakeTransfer(size);
    last = Run(*transfer, size, limitMs);
    const auto buffer = transfer->Buffer();
    return last.kind == Platform::TransferKind::done
        ? Bytes(buffer.begin(), buffer.begin() + static_cast<long>(last.moved))
        : Bytes();
}

bool Host::Write(const Bytes& data)
{
    const auto transfer = pipes[2]->MakeTransfer(data.size());
    std::copy(data.begin(), data.end(), transfer->Buffer().begin());
    last = Run(*transfer, data.size(), 5000);
    return last.kind == Platform::TransferKind::done && last.moved == data.size();
}

Host::Bytes Host::ReadMemory(std::uint32_t address, std::uint16_t size)
{
    if (!Send(0xC4, MemoryRequest(address, size)))
        return {};
    return Read(size);
}

bool Host::WriteMemory(std::uint32_t address, const Bytes& data)
{
    return Send(0xC3, MemoryRequest(address, data.size())) && Write(data) && Write({0}) && Write({0});
}

void Host::Prepare(const Order& order)
{
    double tick = 68e-6;
    unsigned multiplier = 130;
    const unsigned version = WordOf(Ask(0xC9, 8), 0);
    if (version >= 301) {
        const double microseconds = std::floor(order.seconds * 1e6 + 1e-6);
        for (std::uint8_t mode = 1;; ++mode) {
            Send(0xCF, {mode});
            const Bytes reply = Ask(0xD1, 6);
            tick = reply.at(4) * 1e-6;
            multiplier = reply.at(3);
            if (reply[3] * reply[4] <= microseconds && microseconds < reply[4] * 65535.0)
                break;
            if (mode >= reply[0])
                throw std::runtime_error("no mode holds the time");
        }
    }
    Bytes parameters;
    AppendWord(parameters, static_cast<unsigned>(order.seconds / tick + 0.5));
    AppendWord(parameters, static_cast<unsigned>(order.delay / tick / multiplier + 0.5));
    AppendWord(parameters, static_cast<unsigned>(order.count));
    parameters.push_back(
        static_cast<std::uint8_t>((order.scan ? 1 : 0) + (order.lampOff ? 2 : 0) + (order.gain != 0 ? 4 : 0)));
    parameters.push_back(0);
    if (!Send(0xC1, parameters))
        throw std::runtime_error("the parameters are refused");
}

std::vector<Host::Counts> Host::Measure(const Order& order)
{
    Prepare(order);
    if (!Send(0xC0, {}))
        throw std::runtime_error("no measurement");
    Bytes all;
    if (order.scan) {
        for (Bytes part = Read(10 * blockBytes); !part.empty(); part = Read(10 * blockBytes))
            all.insert(all.end(), part.begin(), part.end());
    } else {
        all = Read(static_cast<std::size_t>(order.count) * blockBytes);
    }
    std::vector<Counts> readings;
    for (std::size_t block = 0; block + blockBytes <= all.size(); block += blockBytes) {
        const double pedestal = WordOf(all, block + 254);
        Counts counts;
        for (std::size_t word = 0; word < 127; ++word)
            counts.push_back(WordOf(all, block + 2 * word) - pedestal);
        counts.push_back(counts.back());
        counts.front() = counts[1];
        readings.push_back(counts);
    }
    return readings;
}
