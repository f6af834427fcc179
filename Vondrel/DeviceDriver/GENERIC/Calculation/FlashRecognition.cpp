#include "Vondrel/DeviceDriver/GENERIC/Calculation/FlashRecognition.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace Vondrel::DeviceDriver::Generic::Calculation {

namespace {

constexpr double leastDeviation = 50.0; // of the energies, for a series to hold a flash
constexpr std::size_t ambientReadingsBefore = 3;
constexpr std::int32_t ambientReadings = 6;

}

bool FlashRecognition::Execute(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized)
try {
    flashFlags.assign(measured.size(), 0);
    energies.assign(measured.size(), 0);
    flashThreshold = 0;
    try {
        RecognizeFlashes(measured, recognized);
        return true;
    } catch (const std::exception&) {
        return false; // a series that is no good is an answer, not a failure
    }
}
TRACE_GUARD("FlashRecognition", "Execute")

void FlashRecognition::RecognizeFlashes(const std::vector<SpectrumData>& measured,
                                        std::vector<SpectrumData>& recognized)
try {
    const double mean = analyzeEnergies(measured);
    if (!(standardDeviation(mean) >= leastDeviation)) { // nor is it in a series of one
        recognized.clear();
        return;
    }
    determinFlashArea();
    const std::vector<std::size_t> starts = flashStartPositions();
    recognized.assign(starts.size(), SpectrumData());
    for (std::size_t flash = 0; flash < starts.size(); ++flash) {
        const std::vector<float> ambient = createAmbientLight(measured, starts[flash]);
        std::vector<float> light = createFlash(measured, ambient, starts[flash]);
        normalizeTimeBase(light, measured.front().GetIntegrationTime());

        SpectrumData& result = recognized[flash];
        result.SetSize(1);
        result.StoreData(light);
        result.SetIntegrationTime(measured.front().GetIntegrationTime());
        result.SetGain(measured.front().GetGain());
    }
}
TRACE_GUARD("FlashRecognition", "RecognizeFlashes")

double FlashRecognition::calculateEnergy(const SpectrumData& reading)
try {
    double energy = 0;
    for (const float band : reading.LoadData())
        energy += band;
    return energy;
}
TRACE_GUARD("FlashRecognition", "calculateEnergy")

/// @return the mean energy
double FlashRecognition::analyzeEnergies(const std::vector<SpectrumData>& measured)
try {
    double highest = -1000000.0;
    double lowest = 1000000.0;
    double mean = 0;
    for (std::size_t i = 0; i < measured.size(); ++i) {
        energies[i] = calculateEnergy(measured[i]);
        flashFlags[i] = 0;
        highest = std::max(highest, energies[i]);
        lowest = std::min(lowest, energies[i]);
        mean += energies[i] / static_cast<double>(measured.size());
    }
    flashThreshold = (highest - lowest) / 3.0 + lowest;
    return mean;
}
TRACE_GUARD("FlashRecognition", "analyzeEnergies")

/// Not a number for a single reading.
double FlashRecognition::standardDeviation(double mean) const
{
    double sum = 0;
    for (const double energy : energies)
        sum += (energy - mean) * (energy - mean);
    return std::sqrt(sum / (static_cast<double>(energies.size()) - 1));
}

void FlashRecognition::determinFlashArea()
{
    determinFlashAreaLowerPart(false);
    determinFlashAreaLowerPart(true);
}

/// Marks what stands out, and in one walk over the series the flanks behind all of it, in the direction of the walk: a
/// flank may rise or stay level at first, and ends where the energy has fallen and rises again. No flank touches
/// reading 0.
void FlashRecognition::determinFlashAreaLowerPart(bool backward)
{
    enum { outside, rising, falling } flank = outside;
    const std::size_t count = energies.size();
    for (std::size_t step = 0; step < count; ++step) {
        const std::size_t i = backward ? count - 1 - step : step;
        if (i == 0)
            flank = outside;
        if (flank != outside) {
            if (energies[i] < energies[backward ? i + 1 : i - 1])
                flank = falling;
            else if (flank == falling)
                flank = outside;
        }
        if (energies[i] > flashThreshold)
            flank = rising; // reaches at least as far as a flank that falls already
        if (flank != outside)
            flashFlags[i] = 1;
    }
}

/// @return the first reading of each flash
std::vector<std::size_t> FlashRecognition::flashStartPositions() const
{
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < flashFlags.size(); ++i)
        if (flashFlags[i] != 0 && (i == 0 || flashFlags[i - 1] == 0))
            starts.push_back(i);
    return starts;
}

/// @param start  the first reading of a flash
std::vector<float> FlashRecognition::createAmbientLight(const std::vector<SpectrumData>& measured,
                                                        std::size_t start) const
try {
    std::vector<float> sum(measured.front().LoadData().size());
    std::int32_t taken = 0;
    for (std::size_t i = start - std::min(start, ambientReadingsBefore); i < measured.size() && taken < ambientReadings;
         ++i) {
        if (flashFlags[i] == 0) {
            vectorSum(sum, measured[i].LoadData());
            ++taken;
        }
    }
    vectorDivide(sum, taken);
    return sum;
}
TRACE_GUARD("FlashRecognition", "createAmbientLight")

std::vector<float> FlashRecognition::createFlash(const std::vector<SpectrumData>& measured,
                                                 const std::vector<float>& ambient, std::size_t start) const
try {
    std::vector<float> sum(ambient.size());
    for (std::size_t i = start; i < measured.size() && flashFlags[i] != 0; ++i)
        vectorSum(sum, vectorDifference(measured[i].LoadData(), ambient));
    return sum;
}
TRACE_GUARD("FlashRecognition", "createFlash")

/// @param time  seconds
void FlashRecognition::normalizeTimeBase(std::vector<float>& values, float time)
{
    for (float& value : values)
        value *= time;
}

void FlashRecognition::vectorSum(std::vector<float>& a, const std::vector<float>& b)
try {
    if (a.size() != b.size())
        throw CalculationException("Different vector size", THROW_LOCATION("FlashRecognition", "vectorSum"));
    std::transform(a.begin(), a.end(), b.begin(), a.begin(), std::plus<>());
}
TRACE_GUARD("FlashRecognition", "vectorSum")

std::vector<float> FlashRecognition::vectorDifference(const std::vector<float>& a, const std::vector<float>& b)
try {
    if (a.size() != b.size())
        throw CalculationException("Different vector size", THROW_LOCATION("FlashRecognition", "vectorDifference"));
    std::vector<float> difference(a.size());
    std::transform(a.begin(), a.end(), b.begin(), difference.begin(), std::minus<>());
    return difference;
}
TRACE_GUARD("FlashRecognition", "vectorDifference")

void FlashRecognition::vectorDivide(std::vector<float>& values, std::int32_t divisor)
try {
    if (divisor == 0)
        throw CalculationException("Division by zero", THROW_LOCATION("FlashRecognition", "vectorDivide"));
    for (float& value : values)
        value /= static_cast<float>(divisor);
}
TRACE_GUARD("FlashRecognition", "vectorDivide")

}
