// Both recognitions of patches on the same made-up scans, and the time of oxc_find_patches.
//
// strip_benchmark [seeds] [first seed] [benchmark flags]: so many scans of each kind (20).

#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/ChartRecognition.h"
#include "benchmarks/cmetry/AllocationCount.h"
#include "orvex/color.h"
#include "tests/strips/StripKinds.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace Vondrel::DeviceDriver::Generic::Calculation;

namespace {

const oxc_conditions* Conditions()
{
    static const std::unique_ptr<oxc_conditions, void (*)(oxc_conditions*)> conditions = [] {
        oxc_conditions* d50 = oxc_conditions_new();
        oxc_set(d50, "Colorimetric.Illumination", "D50");
        return decltype(conditions)(d50, oxc_conditions_free);
    }();
    return conditions.get();
}

struct Result {
    std::vector<float> spectra;
    std::vector<std::int32_t> places;
    std::int32_t reversed = 0;
};

Result FindPatches(const StripScene& scene)
{
    const std::size_t patches = scene.patches.size();
    Result result{std::vector<float>(patches * OXC_BANDS), std::vector<std::int32_t>(patches * 2)};
    if (oxc_find_patches(Conditions(), scene.readings.data(), scene.Count(), patches,
                         scene.reference.empty() ? nullptr : scene.reference[0].data(), result.spectra.data(),
                         result.places.data(), &result.reversed)
        != OX_NoError)
        result.spectra.clear();
    return result;
}

Result RecognizeChart(const StripScene& scene)
{
    std::vector<SpectrumData> measured(scene.Count()), recognized;
    for (std::size_t i = 0; i < measured.size(); ++i) {
        const float* reading = &scene.readings[i * OXC_BANDS];
        measured[i].SetSize(1);
        measured[i].StoreData(std::vector<float>(reading, reading + OXC_BANDS));
        measured[i].SetGain(1);
        measured[i].SetIntegrationTime(0.01F);
    }
    Result result;
    if (ChartRecognition().Execute(measured, recognized))
        for (const SpectrumData& patch : recognized) {
            const std::vector<float>& spectrum = patch.LoadData();
            result.spectra.insert(result.spectra.end(), spectrum.begin(), spectrum.end());
        }
    return result;
}

double Percent(std::size_t part, std::size_t whole)
{
    return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

/// The share of perfect results by kind of scan: the measuring call's recognition; this one without a reference, with
/// the true one, with a rough one. A star: below the aim.
void PrintShares(std::uint32_t seeds, std::uint32_t first)
{
    std::printf("perfect results in percent, %u scans of each kind, seeds from %u\n", seeds, first);
    std::printf("%-26s %9s   %-19s %-11s %8s %8s\n", "", "measuring", "oxc_find_patches", "aim", "clean", "used");
    std::printf("%-26s %9s   %5s %5s %5s %14s %8s %8s\n", "scan", "call", "none", "true", "rough", "", "used",
                "over edge");
    StripScore all;
    for (const StripKind& kind : StripKinds()) {
        StripScore chart, total;
        std::array<double, 3> shares{};
        bool below = false;
        for (const Reference reference : {Reference::None, Reference::True, Reference::Rough}) {
            StripScore score;
            for (std::uint32_t seed = first; seed < first + seeds; ++seed) {
                const StripScene scene = StripScene::Make(kind.settings, reference, seed);
                const Result found = FindPatches(scene);
                score.Add(scene, found.spectra, found.places, found.reversed);
                if (reference == Reference::None)
                    chart.Add(scene, RecognizeChart(scene).spectra, {}, 0);
            }
            const auto i = static_cast<std::size_t>(reference);
            shares[i] = Percent(score.perfect, score.scenes);
            below = below || shares[i] < kind.aims[i];
            total += score;
        }
        std::printf("%-26s %9.0f   %5.0f %5.0f %5.0f %c  %3d/%3d/%3d %8.1f %8.1f\n", kind.name,
                    Percent(chart.perfect, chart.scenes), shares[0], shares[1], shares[2], below ? '*' : ' ',
                    kind.aims[0], kind.aims[1], kind.aims[2], Percent(total.cleanUsed, total.clean),
                    Percent(total.usedOver, total.used));
        all += total;
    }
    std::printf(
        "all: %.2f perfect; %.1f of the clean readings used (aim 90), %.2f of the used over an edge (aim 3)\n\n",
        Percent(all.perfect, all.scenes), Percent(all.cleanUsed, all.clean), Percent(all.usedOver, all.used));
}

/// Patches, readings, aim in ms.
void FindPatches(benchmark::State& state)
{
    StripSettings settings;
    settings.patches = static_cast<std::size_t>(state.range(0));
    settings.readings = static_cast<double>(state.range(1)) / (static_cast<double>(settings.patches) + 4);
    const StripScene scene = StripScene::Make(settings, Reference::None, 5);
    const std::size_t before = AllocationCount();
    for (auto _ : state)
        benchmark::DoNotOptimize(FindPatches(scene));
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(AllocationCount() - before) / static_cast<double>(state.iterations()));
    state.counters["readings"] = static_cast<double>(scene.Count());
    state.counters["aim_ns"] = 1e6 * static_cast<double>(state.range(2));
}
// 64 times the readings take at most 128 times the time.
BENCHMARK(FindPatches)
    ->Args({24, 800, 3})
    ->Args({24, 51200, 384})
    ->Args({96, 10000, 40})
    ->Unit(benchmark::kMillisecond);

}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    PrintShares(argc > 1 ? static_cast<std::uint32_t>(std::atoi(argv[1])) : 20,
                argc > 2 ? static_cast<std::uint32_t>(std::atoi(argv[2])) : 20001);
    benchmark::RunSpecifiedBenchmarks();
}
