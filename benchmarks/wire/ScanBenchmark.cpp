// The library's own share of a scan: ReadDataStrip against a pipe that hands out prepared bytes at once.

#include "Vondrel/DeviceDriver/ox/LowLevel/RawTransform.h"
#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "benchmarks/cmetry/AllocationCount.h"
#include "platform/Clock.h"
#include "platform/NamedLock.h"
#include "platform/Tone.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

using namespace Vondrel::DeviceDriver::ox;

namespace {

constexpr std::size_t lineSize = 256;
std::size_t bytesLeft = 0; // of the scan, for the bulk-in pipe

class PreparedTransfer : public Platform::UsbTransfer {
public:
    PreparedTransfer(unsigned pipe_, std::size_t capacity) : pipe(pipe_), buffer(capacity, 0x5A) { }

    std::span<std::uint8_t> Buffer() override { return buffer; }

    Platform::TransferResult Submit(std::size_t size) override
    {
        moved = pipe == 1 ? std::min(size, bytesLeft) : size;
        if (pipe == 1)
            bytesLeft -= moved;
        return {Platform::TransferKind::done, 0, 0};
    }

    WaitEnd Wait(std::optional<std::int64_t>) override
    {
        if (pipe != 3)
            return WaitEnd::completed;
        std::unique_lock lock(guard);
        changed.wait(lock, [&] { return woken; });
        moved = 0;
        return WaitEnd::woken;
    }

    Platform::TransferResult Result() override { return {Platform::TransferKind::done, moved, 0}; }
    void Cancel() override { }

    void Wake() override
    {
        const std::lock_guard lock(guard);
        woken = true;
        changed.notify_all();
    }

private:
    const unsigned pipe;
    std::vector<std::uint8_t> buffer;
    std::size_t moved = 0;
    std::mutex guard;
    std::condition_variable changed;
    bool woken = false;
};

class PreparedPipe : public Platform::UsbPipe {
public:
    explicit PreparedPipe(unsigned pipe_) : pipe(pipe_) { }

    std::unique_ptr<Platform::UsbTransfer> MakeTransfer(std::size_t capacity) override
    {
        return std::make_unique<PreparedTransfer>(pipe, capacity);
    }
    std::unique_ptr<Platform::UsbTransfer> MakeControl(const Platform::ControlRequest&, std::size_t capacity) override
    {
        return MakeTransfer(capacity);
    }
    void Close() override { }

private:
    const unsigned pipe;
};

/// Time a reading, which is one line; allocations a scan. Readings, aim in nanoseconds a reading (0: none).
void ReadDataStrip(benchmark::State& state)
{
    const auto readings = static_cast<std::size_t>(state.range(0));
    BrindleUSBDevice device(nullptr, "prepared");
    ScanQueue lines; // kept from scan to scan, as the driver does
    const auto read = [&] {
        bytesLeft = readings * lineSize;
        device.ReadDataStrip(lines, lineSize, 1000);
    };
    read(); // the queue is warm from here on
    const std::size_t before = AllocationCount();
    for (auto _ : state) {
        read();
        if (lines.Count() != readings)
            state.SkipWithError("lines are missing");
        benchmark::DoNotOptimize(lines);
    }
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(AllocationCount() - before), benchmark::Counter::kAvgIterations);
    state.counters["row_s"] = benchmark::Counter(
        static_cast<double>(readings), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    if (state.range(1) > 0)
        state.counters["aim_ns"] = static_cast<double>(state.range(1));
}
BENCHMARK(ReadDataStrip)->Args({10, 0})->Args({100, 0})->Args({1000, 60})->Args({10000, 60});

void Transform(benchmark::State& state)
{
    const std::vector<std::uint8_t> line(lineSize, 0x5A);
    std::vector<RawSpectrum> spectra;
    for (auto _ : state) {
        spectra.clear();
        TransformRawSpectra(line, true, 60000, spectra);
        benchmark::DoNotOptimize(spectra);
    }
}
BENCHMARK(Transform);

}

// ---- the platform of this program

std::vector<std::string> Platform::UsbAddresses(std::size_t)
{
    return {"prepared"};
}

std::unique_ptr<Platform::UsbPipe> Platform::OpenUsbPipe(const std::string&, unsigned pipe, TransferResult&)
{
    return std::make_unique<PreparedPipe>(pipe);
}

std::int64_t Platform::NowMicroseconds() noexcept
{
    return 0;
}

std::int64_t Platform::MonotonicMicroseconds() noexcept
{
    return 0;
}

void Platform::SleepMicroseconds(std::int64_t) noexcept { }

bool Platform::LocksAreSystemWide()
{
    return false;
}

void Platform::Beep(std::int32_t, std::int32_t) noexcept { }
