// Prints digests over the bits of many colours under many conditions. "arithmetic" rests on + - * / and the square root
// alone and is the same on every machine; "functions" takes in the mathematical functions of the system's library and
// is the same for every compiler and optimisation on one machine; so is "services", which takes in densities, colour
// temperatures, rendering and estimated spectra.
#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"
#include "Vondrel/CMetry/Internals/ColorRenderingIndex.h"
#include "Vondrel/CMetry/Internals/ColorTemperature.h"
#include "Vondrel/CMetry/Internals/DensityCalculator.h"
#include "Vondrel/CMetry/Internals/Lab2Spec.h"
#include "Vondrel/CMetry/Internals/StandardTables.h"

#include <bit>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

using namespace Vondrel::CMetry;

namespace {

using Calculator = CMetryCalculator;

constexpr int spectraPerCondition = 40;

// FNV-1a over the bits of floats.
class Digest {
public:
    void Add(float value)
    {
        hash ^= std::bit_cast<std::uint32_t>(value);
        hash *= 1099511628211U;
        ++count;
    }

    void Add(const VDColorVector& vector)
    {
        for (std::size_t i = 0; i < 3; ++i)
            Add(vector[i]);
    }

    void Print(const char* name) const
    {
        std::printf("%s %016llx over %lu numbers\n", name, static_cast<unsigned long long>(hash),
                    static_cast<unsigned long>(count));
    }

private:
    std::uint64_t hash = 14695981039346656037U;
    std::size_t count = 0;
};

// Reflectances from 0 to 1 from whole numbers, so that no library has a say in them.
class Reflectances {
public:
    VDSpectrum Next()
    {
        VDSpectrum spectrum;
        float value = Random();
        for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i) {
            spectrum[i] = value;
            value += (Random() - value) * 0.25F;
        }
        return spectrum;
    }

private:
    float Random()
    {
        state = state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<float>(state >> 40) / 16777216.0F;
    }

    std::uint64_t state = 3;
};

std::vector<VDMeasureConditions> AllConditions()
{
    std::vector<std::string> illuminations{"A", "B", "C", "D50", "D55", "D65", "D75", "F2", "F7", "F11", "Emission"};
    for (const auto* number : {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"})
        illuminations.push_back(std::string("F").append(number));
    for (int kelvin = 4000; kelvin <= 25000; kelvin += 3000)
        illuminations.push_back("Dxx, Temperature:" + std::to_string(kelvin));

    std::vector<VDMeasureConditions> all;
    for (const auto& illumination : illuminations)
        for (const auto* observer : {"TwoDegree", "TenDegree"}) {
            VDMeasureConditions conditions;
            conditions.SetMeasureCondition("Colorimetric.Illumination", illumination);
            conditions.SetMeasureCondition("Colorimetric.Observer", observer);
            conditions.SetColorSpace(ColorSpace::CIEXYZ);
            all.push_back(conditions);
        }
    return all;
}

void AddArithmetic(const VDSpectrum& spectrum, const VDSpectrum& other, const VDMeasureConditions& conditions,
                   Digest& digest)
{
    VDColorVector xyz;
    VDColorVector lab;
    VDColorVector vector;
    Calculator::GetVector_CIEXYZ(spectrum, conditions, xyz);
    Calculator::GetVector_CIELab(xyz, lab);
    digest.Add(xyz);
    digest.Add(lab);
    Calculator::GetVector_CIEXYZ(lab, vector);
    digest.Add(vector);
    Calculator::GetVector_CIExyY(xyz, vector);
    digest.Add(vector);
    Calculator::GetVector_CIEuvY1960(xyz, vector);
    digest.Add(vector);
    Calculator::GetVector_CIELuv(spectrum, conditions, vector);
    digest.Add(vector);
    Calculator::GetVector_HunterLab(spectrum, conditions, vector);
    digest.Add(vector);
    Calculator::GetVector_RxRyRz(spectrum, conditions, vector);
    digest.Add(vector);
    digest.Add(Calculator::GetDeltaE_CIELAB(spectrum, other, conditions));
    digest.Add(Calculator::GetDeltaE_FMCII(spectrum, other, conditions));
    digest.Add(Calculator::GetDeltaE_94(spectrum, other, conditions, 1, 1, 1));
    digest.Add(Calculator::GetDeltaE_CIELAB_SpeedOptimized(lab, other.Values().data()));
}

void AddFunctions(const VDSpectrum& spectrum, const VDSpectrum& other, const VDMeasureConditions& conditions,
                  Digest& digest)
{
    VDColorVector vector;
    Calculator::GetVector_CIELCh_ab(spectrum, conditions, vector);
    digest.Add(vector);
    Calculator::GetVector_LABvd(spectrum, conditions, vector);
    digest.Add(vector);
    vector.SetMeasureConditions(conditions);
    Calculator::GetVector_RGB(spectrum, vector);
    digest.Add(vector);
    digest.Add(Calculator::GetDeltaE_CMC(spectrum, other, conditions, 2, 1));
    digest.Add(Calculator::GetDeltaE_2000(spectrum, other, conditions, 1, 1, 1));
    digest.Add(static_cast<float>(Calculator::GetColorType(spectrum)));
}

Vondrel::Utilities::Tools::SmartPointer<VDSample> PerfectPaper()
{
    VDSpectrum::ValueArray values;
    values.fill(1.0F);
    const Vondrel::Utilities::Tools::SmartPointer<VDSample> sample(new VDSample);
    sample->SetSpectrum(VDSpectrum(values));
    return sample;
}

// A light is a spectrum lifted off zero, as emission.
void AddServices(const VDSpectrum& spectrum, const VDMeasureConditions& conditions, Digest& digest)
{
    VDDensity density;
    for (int standard = 0; standard <= static_cast<int>(DensityStandard::SPI); ++standard) {
        DensityCalculator::GetDensityVector(spectrum, static_cast<DensityStandard>(standard), false, density);
        for (const float value : density.GetAllDensities())
            digest.Add(value);
    }
    float dotArea = 0.0F;
    DensityCalculator::GetDotArea(spectrum, spectrum, DensityStandard::DIN, DensityFilterMode::Cyan, 1.7F, dotArea);
    digest.Add(dotArea);

    VDSpectrum light = spectrum;
    for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
        light[i] += 0.5F;
    light.GetMeasureConditions().SetIllumination(VDIllumination(IlluminationTYPE::Emission));
    bool valid = false;
    std::string reference;
    digest.Add(ColorTemperature().GetColorTemperature(light));
    digest.Add(ColorRenderingIndex().GetColorRenderingIndex(light, valid, reference));

    VDMeasureConditions ofLab = conditions;
    ofLab.SetColorSpace(ColorSpace::CIELab);
    VDColorVector lab;
    Calculator::GetVector_CIELab(spectrum, ofLab, lab);
    VDSpectrum estimated;
    Lab2Spec().GetSpectrum(lab, estimated, 0.1F, false, 1000);
    for (const float value : estimated.Values())
        digest.Add(value);
}

}

int main()
{
    Digest arithmetic;
    Digest functions;
    Digest services;
    Reflectances reflectances;
    BaseCalculator::SetPaperWhitePointer(PerfectPaper());
    VDSpectrum other = reflectances.Next();
    for (const auto& conditions : AllConditions()) {
        for (int i = 0; i < spectraPerCondition; ++i) {
            const VDSpectrum spectrum = reflectances.Next();
            AddArithmetic(spectrum, other, conditions, arithmetic);
            AddFunctions(spectrum, other, conditions, functions);
            other = spectrum;
        }
        AddServices(other, conditions, services);
        Calculator::GetFilter().SetMeasuringConditions(conditions); // the weights of what came last are another's
        for (std::size_t axis = 0; axis < 3; ++axis)
            for (std::size_t i = 0; i < VDSpectrum::GetNrOfDataPoints(); ++i)
                arithmetic.Add(Calculator::GetFilter()[axis][i]);
    }
    for (const auto& standard : densityCurves)
        for (const auto& curve : standard)
            for (const float weight : curve)
                arithmetic.Add(weight);
    for (const auto& sample : renderingSamples)
        for (const float reflectance : sample)
            arithmetic.Add(reflectance);
    arithmetic.Print("arithmetic");
    functions.Print("functions");
    services.Print("services");
    return 0;
}
