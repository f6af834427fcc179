#include "tests/virtual/Host.h"

#include <cmath>
#include <cstring>
#include <stdexcept>

namespace {

constexpr std::size_t blockBytes = 256;

unsigned WordOf(const Host::Bytes& bytes, std::size_t at)
{
    return bytes.at(at) * 256U + bytes.at(at + 1);
}

std::uint32_t LongOf(const Host::Bytes& bytes, std::size_t at)
{
    return WordOf(bytes, at) << 16 | WordOf(bytes, at + 2);
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

Host::Counts Host::MeasureLinear(const Order& order)
{
    const auto readings = Measure(order);
    Counts mean(128, 0.0);
    for (const auto& reading : readings)
        for (std::size_t pixel = 0; pixel < mean.size(); ++pixel)
            mean[pixel] += reading[pixel] / static_cast<double>(readings.size());
    return Linear(mean, order.gain);
}

void Host::ReadCalibration()
{
    const Bytes image = ReadMemory(0, 8192);
    const unsigned end = 0x1000 + WordOf(image, 0x1002);
    for (unsigned entry = 0x1004; entry + 6 < end; entry += 6) {
        const auto id = static_cast<std::uint16_t>(WordOf(image, entry));
        const std::uint32_t from = LongOf(image, entry + 2);
        const std::uint32_t to = LongOf(image, entry + 8);
        for (std::uint32_t at = from; at + 4 <= to; at += 4) {
            const std::uint32_t bits = LongOf(image, at);
            float value = 0.0F;
            std::memcpy(&value, &bits, sizeof value);
            floats[id].push_back(value);
            longs[id].push_back(static_cast<std::int32_t>(bits));
        }
    }
}

Host::Counts Host::Linear(const Counts& counts, int gain)
{
    const auto& polynomial = floats[gain != 0 ? 1000 : 1001];
    Counts linear;
    for (const double count : counts)
        linear.push_back(polynomial.at(0) + polynomial.at(1) * count + polynomial.at(2) * count * count);
    return linear;
}

Host::Spectrum Host::ToBands(const Counts& counts)
{
    Spectrum bands;
    std::size_t next = 0;
    for (std::size_t band = 0; band < longs[1002].size(); ++band) {
        double sum = 0.0;
        for (std::int64_t i = 0; i < longs[1003].at(band); ++i)
            sum += floats[1004].at(next++) * counts.at(static_cast<std::size_t>(longs[1002][band] + i));
        bands.push_back(sum);
    }
    return bands;
}

Host::Spectrum Host::Reflectance(const Counts& sample, const Counts& white, const Counts& dark)
{
    Counts bright = white;
    Counts seen = sample;
    for (std::size_t pixel = 0; pixel < dark.size(); ++pixel) {
        bright[pixel] -= dark[pixel];
        seen[pixel] -= dark[pixel];
    }
    Spectrum reflectance = ToBands(seen);
    const Spectrum reference = ToBands(bright);
    for (std::size_t band = 0; band < reflectance.size(); ++band)
        reflectance[band] *= floats[1100].at(band) / reference[band];
    return reflectance;
}

Host::Spectrum Host::Radiance(const Counts& light, const Counts& dark, double seconds, int gain)
{
    Counts net = light;
    for (std::size_t pixel = 0; pixel < dark.size(); ++pixel)
        net[pixel] -= dark[pixel];
    Spectrum radiance = ToBands(net);
    for (std::size_t band = 0; band < radiance.size(); ++band)
        radiance[band] *= floats[1101].at(band) / seconds / (gain != 0 ? 1.0 : floats[1213].at(0));
    return radiance;
}
