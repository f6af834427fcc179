// What a row costs in bulk, by every loop that this processor can go: nanoseconds of one core, its aim, and
// allocations.
#include "benchmarks/cmetry/AllocationCount.h"

#include "Vondrel/ColorC/Kernels.h"
#include "orvex/color.h"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using Vondrel::ColorC::Road;

constexpr std::size_t rows = 10080;
constexpr int rounds = 50; ///< of two threads: to start them takes as long as one

const std::vector<float>& Spectra()
{
    static const auto spectra = [] {
        std::vector<float> made(rows * OXC_BANDS);
        std::mt19937 random(1);
        std::uniform_real_distribution<float> reflectance(0.02F, 0.98F);
        for (float& value : made)
            value = reflectance(random);
        return made;
    }();
    return spectra;
}

struct Data {
    oxc_conditions* conditions = oxc_conditions_new();
    std::vector<float> labs = std::vector<float>(rows * 3), results = std::vector<float>(rows * 4);

    Data()
    {
        oxc_set(conditions, "Colorimetric.Illumination", "D50");
        oxc_colors(conditions, Spectra().data(), rows, labs.data());
    }
};

Data& TheData()
{
    static Data& data = *new Data;
    return data;
}

// @param aim  nanoseconds a row, 0 for none
template<typename Operation>
void Measure(const std::string& name, double aim, const Road* road, const char* key, const char* value,
             Operation operation)
{
    const auto run = [=](benchmark::State& state) {
        Data& data = TheData();
        Vondrel::ColorC::ForceRoad(road);
        oxc_set(data.conditions, key, value);
        const std::size_t before = AllocationCount();
        for (auto _ : state)
            if (operation(data) != OX_NoError)
                state.SkipWithError(oxc_error());
        const auto all = benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert;
        const bool threads = name.ends_with("Threads");
        state.counters["row_s"] = benchmark::Counter(static_cast<double>(rows) * (threads ? rounds : 1), all);
        state.counters["allocations"] =
            benchmark::Counter(static_cast<double>(AllocationCount() - before), benchmark::Counter::kAvgIterations);
        if (aim > 0)
            state.counters["aim_ns"] = aim;
        if (threads)
            state.counters["aim_times"] = 1.9; // at least, of the speed of one, on two idle cores
        Vondrel::ColorC::ForceRoad(nullptr);
    };
    auto* const registered = benchmark::RegisterBenchmark((name + "/" + road->name).c_str(), run);
    if (name.ends_with("Threads"))
        registered->UseRealTime();
}

void RegisterRoad(const Road* road)
{
    const bool fused = std::string(road->name) == "fma";
    const bool sse2 = std::string(road->name) == "sse2";
    const auto aim = [&](double ofFused, double ofAny) { return fused ? ofFused : sse2 ? ofAny : 0; };
    const char* const space = "ColorSpaceDescription.Type";
    const char* const formula = "ColorSpaceDescription.DeltaEFormula";
    const auto colors = [](Data& data) {
        return oxc_colors(data.conditions, Spectra().data(), rows, data.results.data());
    };
    const auto differences = [](Data& data) {
        return oxc_differences(data.conditions, data.labs.data(), data.labs.data() + 3, rows - 1, 0, 0, 0,
                               data.results.data());
    };
    Measure("SpectraToXYZ", aim(10, 30), road, space, "CIEXYZ", colors);
    Measure("SpectraToLab", aim(15, 45), road, space, "CIELab", colors);
    Measure("LabToXYZ", aim(3, 0), road, space, "CIELab", [](Data& data) {
        return oxc_convert(data.conditions, "CIELab", data.labs.data(), rows, "CIEXYZ", data.results.data());
    });
    Measure("Densities", aim(120, 120), road, space, "CIELab",
            [](Data& data) { return oxc_densities(data.conditions, Spectra().data(), rows, data.results.data()); });
    Measure("SpectraToXYZOnTwoThreads", 0, road, space, "CIEXYZ", [](Data& data) {
        const auto half = [&data](std::size_t first) {
            std::int32_t code = OX_NoError;
            for (int round = 0; round < rounds && code == OX_NoError; ++round)
                code = oxc_colors(data.conditions, Spectra().data() + first * OXC_BANDS, rows / 2,
                                  data.results.data() + first * 3);
            return code;
        };
        std::thread other(half, rows / 2);
        const auto code = half(0);
        other.join();
        return code;
    });
    if (!fused)
        return;
    Measure("DeltaE76", 0, road, formula, "CIELab", differences);
    Measure("DeltaE94", 0, road, formula, "94", differences);
    Measure("DeltaECMC", 0, road, formula, "CMC", differences);
    Measure("DeltaE2000", 120, road, formula, "2000", differences);
}

}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    for (std::size_t i = 0; Vondrel::ColorC::RoadAt(i) != nullptr; ++i)
        if (Vondrel::ColorC::CanGo(*Vondrel::ColorC::RoadAt(i)))
            RegisterRoad(Vondrel::ColorC::RoadAt(i));
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
