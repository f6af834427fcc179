// What a question costs that the library answers from its samples, through the exported calls, and how often it asks
// the heap for memory meanwhile. The samples are those of a scan on the virtual bench.
#include "benchmarks/cmetry/AllocationCount.h"
#include "orvex/ox.h"
#include "virtual/orvex-virtual.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>

namespace {

/// Ends the benchmark with what the library says.
bool Failed(benchmark::State& state, OX_Result result)
{
    if (result != OX_NoError)
        state.SkipWithError(OX_GetOption("LastError"));
    return result != OX_NoError;
}

/// One scan, for all benchmarks.
/// @return how many samples there are
std::int32_t Measure()
{
    const auto bench = oxv_attach("spectrophotometer", "usb");
    std::array<float, 36> slope{};
    for (std::size_t band = 0; band < slope.size(); ++band)
        slope[band] = 0.1F + 0.02F * static_cast<float>(band);
    OX_SetOption("MeasurementMode", "ScanningReflectance");
    OX_Calibrate();
    oxv_strip_add(bench, slope.data(), slope.size(), 380, 10, 1, 0.02);
    oxv_set_text(bench, "position", "strip");
    OX_TriggerMeasurement();
    return OX_GetNumberOfAvailableSamples();
}

std::int32_t Samples()
{
    static const std::int32_t count = Measure();
    return count;
}

/// Asks for one sample after the other; counts allocations once the answers are warm.
/// @param aim  nanoseconds, 0 for none
template<typename Ask>
void AskForSamples(benchmark::State& state, Ask ask, double aim = 0)
{
    const std::int32_t count = Samples();
    for (std::int32_t index = 0; index < count || count <= 0; ++index)
        if (Failed(state, ask(index)))
            return;
    const std::size_t before = AllocationCount();
    std::int32_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ask(index));
        index = index + 1 < count ? index + 1 : 0;
    }
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(AllocationCount() - before), benchmark::Counter::kAvgIterations);
    if (aim > 0)
        state.counters["aim_ns"] = aim;
}

void GetOption(benchmark::State& state, const char* key)
{
    AskForSamples(state, [key](std::int32_t) {
        benchmark::DoNotOptimize(OX_GetOption(key));
        return OX_NoError;
    });
}

void GetSpectrum(benchmark::State& state)
{
    AskForSamples(state, [](std::int32_t index) {
        std::array<float, 36> spectrum;
        const OX_Result result = OX_GetSpectrum(spectrum.data(), index);
        benchmark::DoNotOptimize(spectrum);
        return result;
    });
}

void GetTriStimulus(benchmark::State& state, const char* space, const char* illumination)
{
    if (Samples() <= 0 || Failed(state, OX_SetOption("ColorSpaceDescription.Type", space))
        || Failed(state, OX_SetOption("Colorimetric.Illumination", illumination)))
        return;
    AskForSamples(state, [](std::int32_t index) {
        std::array<float, 3> color;
        const OX_Result result = OX_GetTriStimulus(color.data(), index);
        benchmark::DoNotOptimize(color);
        return result;
    });
}

void GetDensity(benchmark::State& state, const char* filter)
{
    if (Samples() <= 0 || Failed(state, OX_SetOption("Colorimetric.DensityFilterMode", filter)))
        return;
    AskForSamples(state, [](std::int32_t index) {
        float density = 0;
        const OX_Result result = OX_GetDensity(&density, index);
        benchmark::DoNotOptimize(density);
        return result;
    });
}

void GetDensities(benchmark::State& state, const char* white)
{
    const std::array<float, 36> paper = [] {
        std::array<float, 36> values;
        values.fill(0.85F);
        return values;
    }();
    if (Samples() <= 0 || Failed(state, OX_SetSubstrate(paper.data()))
        || Failed(state, OX_SetOption("Colorimetric.WhiteBase", white)))
        return;
    AskForSamples(
        state,
        [](std::int32_t index) {
            std::array<float, 4> densities;
            std::int32_t filter = 0;
            const OX_Result result = OX_GetDensities(densities.data(), &filter, index);
            benchmark::DoNotOptimize(densities);
            return result;
        },
        600);
    OX_SetOption("Colorimetric.WhiteBase", "Absolute");
}

/// Another illuminant for each colour.
void ChangeIlluminant(benchmark::State& state)
{
    AskForSamples(
        state,
        [daylight = false](std::int32_t index) mutable {
            daylight = !daylight;
            OX_SetOption("Colorimetric.Illumination", daylight ? "D65" : "D50");
            std::array<float, 3> color;
            const OX_Result result = OX_GetTriStimulus(color.data(), index);
            benchmark::DoNotOptimize(color);
            return result;
        },
        4000);
}

BENCHMARK_CAPTURE(GetOption, version, "Version");
BENCHMARK_CAPTURE(GetOption, condition, "Colorimetric.Illumination");
BENCHMARK(GetSpectrum);
BENCHMARK_CAPTURE(GetTriStimulus, XYZ, "CIEXYZ", "D50");
BENCHMARK_CAPTURE(GetTriStimulus, Lab, "CIELab", "D50");
BENCHMARK_CAPTURE(GetTriStimulus, LCh, "CIELCh", "A");
BENCHMARK_CAPTURE(GetTriStimulus, RGB, "RGB", "D65");
BENCHMARK_CAPTURE(GetDensity, cyan, "Cyan");
BENCHMARK_CAPTURE(GetDensity, automatic, "Auto");
BENCHMARK_CAPTURE(GetDensities, Absolute, "Absolute");
BENCHMARK_CAPTURE(GetDensities, Paper, "Paper");
BENCHMARK(ChangeIlluminant);

}
