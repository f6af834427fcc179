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
    recognized.assign(numberOfFlashes(), SpectrumData());
    for (std::size_t flash = 0; flash < recognized.size(); ++flash) {
        const std::vector<float> ambient = createAmbientLight(measured, flash);
        std::vector<float> light = createFlash(measured, ambient, flash);
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
    for (std::size_t i = 0; i < energies.size(); ++i) {
        if (energies[i] > flashThreshold) {
            flashFlags[i] = 1;
            determinFlashAreaLowerPart(i, false);
            determinFlashAreaLowerPart(i, true);
        }
    }
}

/// Extends a flash over one of its flanks: a flank may rise or stay level at first, and ends where the energy has
/// fallen and rises again. A walk never touches reading 0.
void FlashRecognition::determinFlashAreaLowerPart(std::size_t reading, bool backward)
{
    double previous = energies[reading];
    bool falling = false;
    std::size_t next = backward ? reading - 1 : reading + 1; // in front of reading 0 it wraps, and is outside
    while (next < energies.size() && next != 0) {
        if (energies[next] < previous)
            falling = true;
        else if (falling)
            return;
        flashFlags[next] = 1;
        previous = energies[next];
        next = backward ? next - 1 : next + 1;
    }
}

bool FlashRecognition::FlashBeginsAt(std::size_t reading) const
{
    return flashFlags[reading] != 0 && (reading == 0 || flashFlags[reading - 1] == 0);
}

std::size_t FlashRecognition::numberOfFlashes() const
{
    std::size_t flashes = 0;
    for (std::size_t i = 0; i < flashFlags.size(); ++i)
        flashes += FlashBeginsAt(i) ? 1 : 0;
    return flashes;
}

/// @param flash  from 0
std::size_t FlashRecognition::getFlashStartPosition(std::size_t flash) const
try {
    for (std::size_t i = 0; i < flashFlags.size(); ++i)
        if (FlashBeginsAt(i) && flash-- == 0)
            return i;
    throw CalculationException("Flash position not found", THROW_LOCATION("FlashRecognition", "getFlashStartPosition"));
}
TRACE_GUARD("FlashRecognition", "getFlashStartPosition")

std::vector<float> FlashRecognition::createAmbientLight(const std::vector<SpectrumData>& measured,
                                                        std::size_t flash) const
try {
    const std::size_t start = getFlashStartPosition(flash);
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
                                                 const std::vector<float>& ambient, std::size_t flash) const
try {
    std::vector<float> sum(ambient.size());
    for (std::size_t i = getFlashStartPosition(flash); i < measured.size() && flashFlags[i] != 0; ++i)
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
