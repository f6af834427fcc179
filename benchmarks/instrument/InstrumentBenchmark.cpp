#include "Vondrel/DeviceDriver/GENERIC/Calculation/DriverCalculation.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/FlashRecognition.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/ChartRecognition.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "tests/instrument/ChartScan.h"

#include <benchmark/benchmark.h>

#include <algorithm>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Calculation;

namespace {

constexpr std::size_t bands = 36;

/// All properties of an instrument, with a matrix of ten pixels for each band.
Configuration::Properties Calibration()
{
    Configuration::Properties set = Configuration::ConfigurationDataConverter::GetDefaultCalibrationData();
    std::vector<std::int32_t> first(bands);
    for (std::size_t band = 0; band < bands; ++band)
        first[band] = static_cast<std::int32_t>(1 + 3 * band);
    set.SetProperty(Configuration::LinearisationNormalGain, std::vector<float>{0, 1, 1e-9F, 1e-15F});
    set.SetProperty(Configuration::MatrixStartIndices, first);
    set.SetProperty(Configuration::MatrixCounts, std::vector<std::int32_t>(bands, 10));
    set.SetProperty(Configuration::MatrixCoefficients, std::vector<float>(10 * bands, 0.1F));
    set.SetProperty(Configuration::EmissionCalibration, std::vector<float>(bands, 2));
    set.SetProperty(Configuration::AmbientCalibration, std::vector<float>(bands, 8));
    set.SetProperty(Configuration::InternalDarkLimit, 1000);
    set.SetProperty(Configuration::SaturationLimitNormalGain, 60000);
    return set;
}

SensorData Reading(std::int32_t counts)
{
    SensorData data;
    data.StoreRawData({std::vector<std::int32_t>(128, counts)});
    data.SetIntegrationTime(0.01F);
    data.SetGain(1);
    return data;
}

/// The correction of one reading, its copy included.
void Sample(benchmark::State& state, const char* mode)
{
    DriverCalculation calculation(Calibration());
    SensorData dark = Reading(100);
    calculation.Dark(dark);
    SensorData light = Reading(20000);
    calculation.Reference(light);
    const SensorData measured = Reading(10000);
    const std::string name = mode;
    SpectrumData result;
    for (auto _ : state) {
        SensorData data = measured;
        calculation.Sample(data, result, name);
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK_CAPTURE(Sample, Transmission, "Transmission");
BENCHMARK_CAPTURE(Sample, AmbientLight, "AmbientLight");

/// Scans of the colour chart, one behind the other.
void RecognizeChart(benchmark::State& state)
{
    const auto count = static_cast<std::size_t>(state.range(0));
    std::vector<SpectrumData> readings;
    for (std::uint32_t seed = 1; readings.size() < count; ++seed) {
        const ChartScan scan = ChartScan::Random(seed, ChartScan::Noise::OfReading);
        readings.insert(readings.end(), scan.readings.begin(), scan.readings.end());
    }
    readings.resize(count);
    ChartRecognition recognition;
    for (auto _ : state) {
        std::vector<SpectrumData> patches;
        if (!recognition.Execute(readings, patches))
            state.SkipWithError("no patches");
        benchmark::DoNotOptimize(patches);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(RecognizeChart)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

/// Every hundredth reading is a flash of two readings.
void RecognizeFlashes(benchmark::State& state)
{
    std::vector<SpectrumData> readings;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        const float level = i % 100 > 97 ? 900.0F : 10.0F + static_cast<float>(i % 2);
        readings.push_back(ChartScan::Reading(std::vector<float>(bands, level)));
    }
    FlashRecognition recognition;
    std::vector<SpectrumData> flashes;
    for (auto _ : state)
        if (!recognition.Execute(readings, flashes) || flashes.empty())
            state.SkipWithError("no flashes");
}
BENCHMARK(RecognizeFlashes)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

/// One flash whose flanks are as long as the series.
void RecognizeALongFlash(benchmark::State& state)
{
    std::vector<SpectrumData> readings;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        const auto level = static_cast<float>(std::min(i, state.range(0) - i));
        readings.push_back(ChartScan::Reading(std::vector<float>(bands, level)));
    }
    FlashRecognition recognition;
    std::vector<SpectrumData> flashes;
    for (auto _ : state)
        benchmark::DoNotOptimize(recognition.Execute(readings, flashes));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(RecognizeALongFlash)->Arg(1000)->Arg(60000)->Unit(benchmark::kMicrosecond)->Complexity(benchmark::oN);

}
