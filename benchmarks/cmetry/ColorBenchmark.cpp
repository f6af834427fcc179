// What a colour costs, from a spectrum and between spaces; side by side with Little CMS where both do the same.
#include "benchmarks/cmetry/AllocationCount.h"
#include "benchmarks/cmetry/ComparisonReporter.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"

#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <array>
#include <random>
#include <string>

namespace {

using namespace Vondrel::CMetry;

constexpr std::size_t sampleCount = 64; // a power of two

VDMeasureConditions Conditions(ColorSpace space, IlluminationTYPE type = IlluminationTYPE::D50)
{
    VDMeasureConditions conditions;
    conditions.SetIllumination(VDIllumination(type));
    conditions.SetColorSpace(space);
    return conditions;
}

const std::array<VDSpectrum, sampleCount>& Spectra()
{
    static const auto spectra = [] {
        std::array<VDSpectrum, sampleCount> made;
        std::mt19937 random(1);
        std::uniform_real_distribution<float> reflectance(0.02F, 0.98F);
        for (auto& spectrum : made)
            for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
                spectrum[i] = reflectance(random);
        return made;
    }();
    return spectra;
}

// Lab colours of a printing gamut; neighbours in the array lie a few delta E apart.
const std::array<VDColorVector, sampleCount>& LabVectors()
{
    static const auto vectors = [] {
        std::array<VDColorVector, sampleCount> made;
        std::mt19937 random(2);
        std::uniform_real_distribution<float> lightness(15.0F, 95.0F);
        std::uniform_real_distribution<float> chromatic(-60.0F, 60.0F);
        std::uniform_real_distribution<float> step(-5.0F, 5.0F);
        for (std::size_t i = 0; i < made.size(); i += 2) {
            made[i] = {lightness(random), chromatic(random), chromatic(random), Conditions(ColorSpace::CIELab)};
            made[i + 1] = made[i];
            for (std::size_t axis = 0; axis < 3; ++axis)
                made[i + 1][axis] += step(random);
        }
        return made;
    }();
    return vectors;
}

const std::array<VDColorVector, sampleCount>& XYZVectors()
{
    static const auto vectors = [] {
        auto made = LabVectors();
        for (auto& vector : made) {
            CMetryCalculator::GetVector_CIEXYZ(vector, vector);
            vector.GetMeasureConditions().SetColorSpace(ColorSpace::CIEXYZ);
        }
        return made;
    }();
    return vectors;
}

// The same spectra as light sources.
const std::array<VDSpectrum, sampleCount>& Lights()
{
    static const auto lights = [] {
        auto made = Spectra();
        for (auto& light : made)
            light.SetMeasureConditions(Conditions(ColorSpace::CIEXYZ, IlluminationTYPE::Emission));
        return made;
    }();
    return lights;
}

// Lab colours that a reflectance has.
const std::array<VDColorVector, sampleCount>& InGamut()
{
    static const auto vectors = [] {
        std::array<VDColorVector, sampleCount> made;
        for (std::size_t i = 0; i < made.size(); ++i)
            made[i] = CMetryService::GetVector(Spectra()[i], Conditions(ColorSpace::CIELab));
        return made;
    }();
    return vectors;
}

// Runs one operation on one sample after the other, and counts what it takes from the heap.
// @param aim  nanoseconds, 0 for none
// @param aimTimes  at most, of the time of Little CMS; 0 for none
template<typename Operation>
void Measure(const char* name, double aim, Operation operation, double aimTimes = 0)
{
    benchmark::RegisterBenchmark(name, [aim, operation, aimTimes](benchmark::State& state) mutable {
        std::size_t i = 0;
        benchmark::DoNotOptimize(operation(i)); // the weights are warm from here on
        const std::size_t before = AllocationCount();
        for (auto _ : state) {
            benchmark::DoNotOptimize(operation(i));
            i = (i + 1) % sampleCount;
        }
        state.counters["allocations"] =
            benchmark::Counter(static_cast<double>(AllocationCount() - before), benchmark::Counter::kAvgIterations);
        if (aim > 0)
            state.counters["aim_ns"] = aim;
        if (aimTimes > 0)
            state.counters["aim_times"] = aimTimes;
    });
}

using FromVector = bool (*)(const VDColorVector&, VDColorVector&);

auto Apply(FromVector conversion, const std::array<VDColorVector, sampleCount>& vectors)
{
    return [conversion, &vectors, result = VDColorVector()](std::size_t i) mutable {
        conversion(vectors[i], result);
        return result[0];
    };
}

template<typename Formula>
auto Difference(Formula formula)
{
    return [formula, &labs = LabVectors()](std::size_t i) { return formula(labs[i], labs[i ^ 1]); };
}

// The same colours as Little CMS takes them.
template<typename Color>
std::array<Color, sampleCount> ForLittleCms(const std::array<VDColorVector, sampleCount>& vectors, double scale)
{
    std::array<Color, sampleCount> colors;
    for (std::size_t i = 0; i < sampleCount; ++i)
        colors[i] = {vectors[i][0] / scale, vectors[i][1] / scale, vectors[i][2] / scale};
    return colors;
}

template<typename Formula>
auto LittleCmsDifference(Formula formula)
{
    return [formula, labs = ForLittleCms<cmsCIELab>(LabVectors(), 1)](std::size_t i) {
        return formula(&labs[i], &labs[i ^ 1]);
    };
}

// What callers outside of colorimetry come through.
void RegisterServices()
{
    const auto getVector = [](ColorSpace space) {
        return [conditions = Conditions(space)](std::size_t i) {
            return CMetryService::GetVector(Spectra()[i], conditions);
        };
    };
    Measure("SpectrumToXYZ", 250, getVector(ColorSpace::CIEXYZ));
    Measure("SpectrumToLab", 400, getVector(ColorSpace::CIELab));
    Measure("DeltaE2000OfSpectra", 1200, [conditions = [] {
                auto made = Conditions(ColorSpace::CIELab);
                made.SetMeasureCondition("ColorSpaceDescription.DeltaEFormula", "2000");
                return made;
            }()](std::size_t i) { return CMetryService::GetDeltaE(Spectra()[i], Spectra()[i ^ 1], conditions); });
    Measure("ChangeOfIlluminant", 4000,
            [d50 = Conditions(ColorSpace::CIEXYZ), d65 = Conditions(ColorSpace::CIEXYZ, IlluminationTYPE::D65)](
                std::size_t i) { return CMetryService::GetVector(Spectra()[i], i % 2 == 0 ? d50 : d65); });
    Measure("ColorTemperature", 100000, [](std::size_t i) { return CMetryService::GetColorTemperature(Lights()[i]); });
    Measure("ColorRenderingIndex", 1000000, [](std::size_t i) {
        float index = 0;
        std::string reference;
        CMetryService::GetColorRenderingIndex(Lights()[i], index, reference);
        return index;
    });
    Measure("SpectrumFromLab", 1000000, [](std::size_t i) { return CMetryService::GetSpectrum(InGamut()[i]); });
    Measure("CopyConditions", 0,
            [conditions = Conditions(ColorSpace::CIELab)](std::size_t) { return VDMeasureConditions(conditions); });
}

void RegisterConversions()
{
    Measure("XYZToLab/Orvex", 0, Apply(FromVector(&CMetryCalculator::GetVector_CIELab), XYZVectors()));
    Measure("XYZToLab/LittleCMS", 0, [colors = ForLittleCms<cmsCIEXYZ>(XYZVectors(), 100)](std::size_t i) {
        cmsCIELab lab;
        cmsXYZ2Lab(nullptr, &lab, &colors[i]);
        return lab.L;
    });
    Measure("LabToXYZ/Orvex", 0, Apply(FromVector(&CMetryCalculator::GetVector_CIEXYZ), LabVectors()), 1.1);
    Measure("LabToXYZ/LittleCMS", 0, [colors = ForLittleCms<cmsCIELab>(LabVectors(), 1)](std::size_t i) {
        cmsCIEXYZ xyz;
        cmsLab2XYZ(nullptr, &xyz, &colors[i]);
        return xyz.X;
    });
}

void RegisterDifferences()
{
    Measure("DeltaE76/Orvex", 0,
            Difference([](const auto& a, const auto& b) { return CMetryCalculator::GetDeltaE_CIELAB(a, b); }), 0.3);
    Measure("DeltaE76/LittleCMS", 0, LittleCmsDifference(&cmsDeltaE));
    Measure("DeltaE94/Orvex", 0,
            Difference([](const auto& a, const auto& b) { return CMetryCalculator::GetDeltaE_94(a, b, 1, 1, 1); }),
            0.8);
    Measure("DeltaE94/LittleCMS", 0, LittleCmsDifference(&cmsCIE94DeltaE));
    Measure("DeltaECMC/Orvex", 0,
            Difference([](const auto& a, const auto& b) { return CMetryCalculator::GetDeltaE_CMC(a, b, 2, 1); }), 0.8);
    Measure("DeltaECMC/LittleCMS", 0,
            LittleCmsDifference([](const auto* a, const auto* b) { return cmsCMCdeltaE(a, b, 2, 1); }));
    Measure("DeltaE2000/Orvex", 0,
            Difference([](const auto& a, const auto& b) { return CMetryCalculator::GetDeltaE_2000(a, b, 1, 1, 1); }),
            0.8);
    Measure("DeltaE2000/LittleCMS", 0,
            LittleCmsDifference([](const auto* a, const auto* b) { return cmsCIE2000DeltaE(a, b, 1, 1, 1); }));
}

}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RegisterServices();
    RegisterConversions();
    RegisterDifferences();
    ComparisonReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
