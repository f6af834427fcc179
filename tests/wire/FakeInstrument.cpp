#include "tests/wire/FakeInstrument.h"

#include "platform/Clock.h"
#include "platform/NamedLock.h"
#include "platform/Tone.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

using Platform::TransferKind;
using Platform::TransferResult;
using Platform::UsbTransfer;

FakeInstrument& FakeInstrument::Get()
{
    static FakeInstrument instrument;
    return instrument;
}

void FakeInstrument::Reset()
{
    addresses = {"/dev/fake/1", "/dev/fake/2"};
    memory = NewMemory();
    measurement.clear();
    stream.clear();
    streamPosition = 0;
    replies = {
        {0xC2, {{0, 130, 0, 2, 0, 5, 0x0C, 0x77}}},
        {0xC8, {{0x12, 0x34}}},
        {0xC9, {{0x01, 0x2E, 0x00, 0x07, 0xEA, 0x60, 1, 0}}}, // 302, 7, 60000, 1, 0
        {0xD1, {{2, 1, 0, 130, 68, 1}}},
    };
    fault = nullptr;
    trace.clear();
    presses = 0;
    gone = false;
}

void FakeInstrument::Note(const std::string& line)
{
    const std::lock_guard lock(guard);
    trace.push_back(line);
}

std::vector<std::string> FakeInstrument::TakeTrace()
{
    const std::lock_guard lock(guard);
    return std::exchange(trace, {});
}

void FakeInstrument::Press()
{
    const std::lock_guard lock(guard);
    ++presses;
    changed.notify_all();
}

void FakeInstrument::Unplug()
{
    const std::lock_guard lock(guard);
    gone = true;
    changed.notify_all();
}

bool FakeInstrument::IsGone()
{
    const std::lock_guard lock(guard);
    return gone;
}

TransferResult FakeInstrument::Control(const Platform::ControlRequest& request, std::span<std::uint8_t> data)
{
    char head[32];
    std::snprintf(head, sizeof head, "control %02X %s", request[4], request[0] == 0 ? "out" : "in");
    std::string line = head;
    if (request[6] != 0 || request[7] != 0)
        line += " value " + Hex(std::span(request).subspan(6, 2));
    if (request[0] == 0 && !data.empty())
        line += " " + Hex(data);
    Note(line);
    if (fault)
        if (const auto result = fault(line.substr(0, 10)); result.kind != TransferKind::done || result.moved != 0)
            return result;
    if (request[1] == 2)
        Answer(request[4], data);
    return {TransferKind::done, data.size(), 0};
}

void FakeInstrument::Answer(std::uint8_t code, std::span<std::uint8_t> data)
{
    const auto number = [&](std::size_t from, std::size_t count) {
        std::uint32_t value = 0;
        for (std::size_t i = from; i < from + count; ++i)
            value = value << 8 | data[i];
        return value;
    };
    streamPosition = 0;
    if (code == 0xC0) {
        stream = measurement;
    } else if (code == 0xC3 || code == 0xCB) {
        writeAddress = number(0, 4);
    } else if (code == 0xC4) {
        const auto first = memory.begin() + number(0, 4);
        stream.assign(first, first + number(4, 2));
    } else if (auto& answers = replies[code]; !answers.empty()) {
        std::ranges::copy(answers.front(), data.begin());
        if (answers.size() > 1)
            answers.erase(answers.begin());
    }
}

TransferResult FakeInstrument::Read(std::span<std::uint8_t> data)
{
    if (fault)
        if (const auto result = fault("read"); result.kind != TransferKind::done || result.moved != 0)
            return result;
    const auto size = std::min(data.size(), stream.size() - streamPosition);
    std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(streamPosition), size, data.begin());
    streamPosition += size;
    return {TransferKind::done, size, 0};
}

TransferResult FakeInstrument::Write(std::span<const std::uint8_t> data)
{
    Note("write " + (data.size() > 4 ? std::to_string(data.size()) : Hex(data)));
    if (fault)
        if (const auto result = fault("write"); result.kind != TransferKind::done || result.moved != 0)
            return result;
    if (data.size() > 1)
        std::ranges::copy(data, memory.begin() + writeAddress);
    return {TransferKind::done, data.size(), 0};
}

namespace {

class FakeTransfer : public UsbTransfer {
public:
    FakeTransfer(unsigned pipe_, std::size_t capacity, const Platform::ControlRequest& request_,
                 std::shared_ptr<std::atomic<bool>> closed_)
        : pipe(pipe_), request(request_), closed(std::move(closed_)), buffer(capacity)
    {
    }
    ~FakeTransfer() override { Cancel(); }

    std::span<std::uint8_t> Buffer() override { return buffer; }

    TransferResult Submit(std::size_t size) override
    {
        auto& instrument = FakeInstrument::Get();
        const auto data = std::span(buffer).first(size);
        if (pipe == 1)
            instrument.Note("submit " + std::to_string(size));
        if (*closed || instrument.IsGone()) {
            outcome = {TransferKind::gone, 0, ENODEV};
            return outcome;
        }
        inFlight = true;
        if (pipe == 0)
            outcome = instrument.Control(request, data);
        else if (pipe == 1)
            outcome = instrument.Read(data);
        else if (pipe == 2)
            outcome = instrument.Write(data);
        else
            outcome = {TransferKind::pending, 0, 0};
        return {TransferKind::done, 0, 0};
    }

    WaitEnd Wait(std::optional<std::int64_t>) override
    {
        if (pipe == 3)
            return WaitForInterrupt();
        if (!inFlight)
            return WaitEnd::completed;
        if (outcome.kind == TransferKind::pending) {
            outcome.number = ETIMEDOUT;
            return WaitEnd::timedOut;
        }
        inFlight = false;
        if (pipe == 1)
            FakeInstrument::Get().Note("done " + std::to_string(outcome.moved));
        return WaitEnd::completed;
    }

    TransferResult Result() override { return outcome; }

    void Cancel() override
    {
        if (inFlight && pipe == 1)
            FakeInstrument::Get().Note("cancel");
        inFlight = false;
    }

    void Wake() override
    {
        auto& instrument = FakeInstrument::Get();
        const std::lock_guard lock(instrument.guard);
        woken = true;
        instrument.changed.notify_all();
    }

private:
    WaitEnd WaitForInterrupt()
    {
        auto& instrument = FakeInstrument::Get();
        std::unique_lock lock(instrument.guard);
        instrument.changed.wait(lock, [&] { return woken || instrument.gone || instrument.presses > 0; });
        if (instrument.gone) {
            outcome = {TransferKind::gone, 0, ENODEV};
        } else if (instrument.presses > 0) {
            --instrument.presses;
            outcome = {TransferKind::done, 8, 0};
        } else {
            woken = false;
            return WaitEnd::woken;
        }
        inFlight = false;
        return WaitEnd::completed;
    }

    const unsigned pipe;
    const Platform::ControlRequest request;
    const std::shared_ptr<std::atomic<bool>> closed;
    std::vector<std::uint8_t> buffer;
    TransferResult outcome;
    bool inFlight = false;
    bool woken = false;
};

class FakePipe : public Platform::UsbPipe {
public:
    explicit FakePipe(unsigned pipe_) : pipe(pipe_)
    {
        auto& instrument = FakeInstrument::Get();
        const std::lock_guard lock(instrument.guard);
        ++instrument.openPipes;
    }
    ~FakePipe() override
    {
        auto& instrument = FakeInstrument::Get();
        const std::lock_guard lock(instrument.guard);
        --instrument.openPipes;
    }

    std::unique_ptr<UsbTransfer> MakeTransfer(std::size_t capacity) override { return MakeControl({}, capacity); }
    std::unique_ptr<UsbTransfer> MakeControl(const Platform::ControlRequest& request, std::size_t capacity) override
    {
        return std::make_unique<FakeTransfer>(pipe, capacity, request, closed);
    }
    void Close() override { *closed = true; }

private:
    const unsigned pipe;
    const std::shared_ptr<std::atomic<bool>> closed = std::make_shared<std::atomic<bool>>(false);
};

}

// ---- the platform of this test program

std::vector<std::string> Platform::UsbAddresses(std::size_t most)
{
    auto addresses = FakeInstrument::Get().addresses;
    addresses.resize(std::min(most, addresses.size()));
    return addresses;
}

std::unique_ptr<Platform::UsbPipe> Platform::OpenUsbPipe(const std::string&, unsigned pipe, TransferResult& result)
{
    auto& instrument = FakeInstrument::Get();
    result = instrument.fault ? instrument.fault("open " + std::to_string(pipe)) : TransferResult{TransferKind::done};
    return result.kind == TransferKind::done ? std::make_unique<FakePipe>(pipe) : nullptr;
}

std::int64_t Platform::NowMicroseconds() noexcept
{
    return 0;
}

std::int64_t Platform::MonotonicMicroseconds() noexcept
{
    return 0;
}

void Platform::SleepMicroseconds(std::int64_t microseconds) noexcept
{
    FakeInstrument::Get().Note("sleep " + std::to_string(microseconds / 1000));
}

bool Platform::LocksAreSystemWide()
{
    return false;
}

void Platform::Beep(std::int32_t frequency, std::int32_t milliseconds) noexcept
{
    FakeInstrument::Get().Note("beep " + std::to_string(frequency) + " " + std::to_string(milliseconds));
}
