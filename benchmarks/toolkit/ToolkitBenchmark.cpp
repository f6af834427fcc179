#include "benchmarks/toolkit/InstantSeam.h"
#include "orvex/zelcal.h"

#include <benchmark/benchmark.h>

namespace {

/// The open instrument.
CalDataBlock* Device()
{
    static CalDataBlock device{};
    if (device.header.isOpen == 0) {
        PrepareInstant();
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
    PrepareInstant();
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
