#include "orvex/zelcal.h"
#include "tests/support/ToolkitSeam.h"

#include <benchmark/benchmark.h>
#include <bit>

namespace {

/// An instrument of type 4, in no time: sound memory, and counts that need no second reading.
class InstantInstrument : public ToolkitSeam::Instrument {
public:
    InstantInstrument()
    {
        constexpr float matrix[] = {4.0e-3F, 1.2e-3F, 3e-4F, 2.1e-3F, 3.6e-3F, 1e-4F, 2e-5F, 4e-4F, 5.9e-3F};
        for (std::size_t i = 0; i < 9; ++i) {
            PutLong(4 + 4 * i, std::bit_cast<std::uint32_t>(matrix[i]));
            PutLong(54 + 4 * i, std::bit_cast<std::uint32_t>(matrix[i]));
        }
        PutLong(40, 4000U << 16 | 6000U); // tick length in nanoseconds, refresh rate in hundredths of a hertz
        PutLong(44, 100U << 16 | 100U);
        PutLong(46, 100U << 16 | 100U);
        PutLong(94, std::bit_cast<std::uint32_t>(3.3333333e-7F));
        memory[121] = 'C';
        memory[127] = 13;
    }

    ToolkitSeam::Reply Exchange(std::span<const std::uint8_t> frame) override
    {
        ++exchanges;
        ToolkitSeam::Reply reply;
        reply.Add(frame[0], 1);
        if (frame[0] == 8)
            reply.Add(static_cast<std::uint32_t>(frame[1] << 8 | memory[frame[1]]), 2);
        else
            reply.Add(frame[0] == 0 ? std::uint32_t{'4'} << 24 | '.' << 16 | '1' << 8 | '0' : 0x00400000U, 4);
        return reply;
    }

    std::int64_t exchanges = 0;

private:
    void PutLong(std::size_t address, std::uint32_t value)
    {
        for (std::size_t i = 0; i < 4; ++i)
            memory[address + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    }

    std::array<std::uint8_t, 256> memory{};
};

InstantInstrument instant;

/// The open instrument.
CalDataBlock* Device()
{
    static CalDataBlock device{};
    if (device.header.isOpen == 0) {
        ToolkitSeam::state.instrument = &instant;
        char version[9];
        zelOpenCalibrator_M(&device, 0, version);
    }
    return &device;
}

template<typename Measure>
void Run(benchmark::State& state, Measure measure)
{
    CalDataBlock* device = Device();
    const std::int64_t before = instant.exchanges;
    for (auto _ : state) {
        ZelYxyz colour;
        if (measure(device, &colour) != ZEL_OK)
            state.SkipWithError("the measurement failed");
        benchmark::DoNotOptimize(colour);
    }
    state.counters["exchanges"] =
        benchmark::Counter(static_cast<double>(instant.exchanges - before), benchmark::Counter::kAvgIterations);
}

void ByFrequency(benchmark::State& state)
{
    Run(state, [](CalDataBlock* device, ZelYxyz* out) { return zelMeasureYxyEx_M(device, 1, out); });
}
BENCHMARK(ByFrequency);

void ByEdges(benchmark::State& state)
{
    Run(state, [](CalDataBlock* device, ZelYxyz* out) { return zelMeasureLCDYxySim_M(device, 1, out); });
}
BENCHMARK(ByEdges);

void OpenAndClose(benchmark::State& state)
{
    ToolkitSeam::state.instrument = &instant;
    CalDataBlock device{};
    char version[9];
    for (auto _ : state) {
        if (zelOpenCalibrator_M(&device, 0, version) != ZEL_OK)
            state.SkipWithError("the opening failed");
        zelCloseCalibrator_M(&device);
    }
}
BENCHMARK(OpenAndClose);

}
