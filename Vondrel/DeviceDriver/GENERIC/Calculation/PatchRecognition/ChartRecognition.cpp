#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/ChartRecognition.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/PatchReport.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/RecognitionCallbacks.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace Vondrel::DeviceDriver::Generic::Calculation {

using CMetry::CMetryService;
using CMetry::VDColorVector;

/// Stable differences between two edges.
struct ChartRecognition::Run {
    std::size_t length;
    std::size_t position;
};

bool ChartRecognition::Execute(const std::vector<SpectrumData>& measured, std::vector<SpectrumData>& recognized)
try {
    if (measured.size() < 2)
        return false;
    try {
        RecognizePatches(measured, recognized);
        return true;
    } catch (const std::exception&) {
        return false; // a scan without patches is an answer, not a failure
    }
}
TRACE_GUARD("ChartRecognition", "Execute")

void ChartRecognition::RecognizePatches(const std::vector<SpectrumData>& measured,
                                        std::vector<SpectrumData>& recognized) const
try {
    Differences differences;
    Lightnesses lightnesses;
    CreateDifferences(measured, differences, lightnesses);

    Elements elements(differences.size());
    EdgeLevels edgeLevels(differences.size());
    EliminateUselessDataAtTheBorder(differences, elements);
    CreateEdgeLevels(differences, lightnesses, elements, edgeLevels);
    DetectEdges(differences, edgeLevels, elements);
    EliminateWrongPatches(elements);
    EliminateInstablePatches(differences, lightnesses, elements);
    ExtractPatches(differences, elements, measured, recognized);
}
TRACE_GUARD("ChartRecognition", "RecognizePatches")

void ChartRecognition::CreateDifferences(const std::vector<SpectrumData>& measured, Differences& differences,
                                         Lightnesses& lightnesses) const
try {
    const ChartColors colors;
    std::vector<VDColorVector> labs;
    labs.reserve(measured.size());
    for (const SpectrumData& reading : measured)
        labs.push_back(colors.Lab(reading));

    differences.resize(measured.size() - 1);
    lightnesses.resize(differences.size());
    for (std::size_t i = 0; i < differences.size(); ++i) {
        differences[i] = CMetryService::GetDeltaE(labs[i], labs[i + 1]);
        lightnesses[i] = labs[i][0];
        if (!std::isfinite(differences[i]))
            throw CalculationException("Colour difference is not a number",
                                       THROW_LOCATION("ChartRecognition", "CreateDifferences"));
    }
    labs.pop_back();
    ReportColors(RecognitionChannel::Lightness, labs);
    Report(RecognitionChannel::Differences, differences);
}
TRACE_GUARD("ChartRecognition", "CreateDifferences")

/// Marks the first and the last place where the instrument was on the chart.
void ChartRecognition::EliminateUselessDataAtTheBorder(const Differences& differences, Elements& elements) const
try {
    const auto isSignal = [this](float difference) { return difference > borderThreshold; };
    const auto first = std::find_if(differences.begin(), differences.end(), isSignal);
    const auto last = std::find_if(differences.rbegin(), differences.rend(), isSignal);
    if (first == differences.end() || last == differences.rend())
        throw CalculationException("No patches found",
                                   THROW_LOCATION("ChartRecognition", "EliminateUselessDataAtTheBorder"));
    elements[static_cast<std::size_t>(first - differences.begin())].useful = 1;
    elements[static_cast<std::size_t>(differences.rend() - last) - 1].useful = 1;
}
TRACE_GUARD("ChartRecognition", "EliminateUselessDataAtTheBorder")

std::size_t ChartRecognition::GetStartPosition(const Elements& elements)
{
    const auto first = std::find_if(elements.begin(), elements.end(), [](const auto& e) { return e.useful != 0; });
    return first != elements.end() ? static_cast<std::size_t>(first - elements.begin())
                                   : std::max<std::size_t>(elements.size(), 2) - 2;
}

std::size_t ChartRecognition::GetEndPosition(const Elements& elements)
{
    const auto last = std::find_if(elements.rbegin(), elements.rend(), [](const auto& e) { return e.useful != 0; });
    return last != elements.rend() ? static_cast<std::size_t>(elements.rend() - last) - 1 : 0;
}

/// What no edge lies below: it rises from white to black.
float ChartRecognition::LowestEdgeLevel(float lightness) const
{
    return static_cast<float>(levelFloor + (100.0 - lightness) / 100.0 * levelFloorRange);
}

void ChartRecognition::CreateEdgeLevels(const Differences& differences, const Lightnesses& lightnesses,
                                        const Elements& elements, EdgeLevels& edgeLevels) const
try {
    const std::size_t start = GetStartPosition(elements);
    const std::size_t end = GetEndPosition(elements);
    if (start >= end)
        throw CalculationException("No useful data", THROW_LOCATION("ChartRecognition", "CreateEdgeLevels"));

    const bool hasMean = CreateMovingMean(differences, start, end, edgeLevels);
    for (std::size_t i = start; i < end; ++i)
        edgeLevels[i] = std::max(edgeLevels[i], LowestEdgeLevel(lightnesses[i]));
    Report(RecognitionChannel::EdgeLevels, edgeLevels);
    if (!hasMean) // the last place has no level: nothing there is an edge
        edgeLevels[end] = std::numeric_limits<float>::infinity();
}
TRACE_GUARD("ChartRecognition", "CreateEdgeLevels")

/// Levels by the mean of the differences around each place; near the borders by the nearest window that is whole.
/// @return false if the used part is too short for a window: the levels stay
bool ChartRecognition::CreateMovingMean(const Differences& differences, std::size_t start, std::size_t end,
                                        EdgeLevels& edgeLevels) const
{
    const auto window = static_cast<std::size_t>(static_cast<float>(end - start + 1) * windowFraction);
    if (window == 0)
        return false;

    std::vector<double> sums(end - start + 2); // of all differences from the start up to each place
    for (std::size_t i = start; i <= end; ++i)
        sums[i - start + 1] = sums[i - start] + differences[i];

    const std::size_t half = window / 2;
    for (std::size_t i = start + half; i <= end - half; ++i) {
        const std::size_t first = i - half - start;
        edgeLevels[i] =
            static_cast<float>((sums[first + window] - sums[first]) / static_cast<double>(window) * levelFactor);
    }
    const auto firstWhole = edgeLevels.begin() + static_cast<std::ptrdiff_t>(start + half);
    const auto lastWhole = edgeLevels.begin() + static_cast<std::ptrdiff_t>(end - half);
    std::fill(edgeLevels.begin(), firstWhole, *firstWhole);
    std::fill(lastWhole + 1, edgeLevels.end(), *lastWhole);
    return true;
}

void ChartRecognition::DetectEdges(const Differences& differences, const EdgeLevels& edgeLevels,
                                   Elements& elements) const
try {
    const std::size_t start = GetStartPosition(elements);
    const std::size_t end = GetEndPosition(elements);
    for (std::size_t i = start; i <= end; ++i) {
        elements[i].useful = 1;
        elements[i].patch = differences[i] <= edgeLevels[i] ? 1 : 0;
    }
    // Where the instrument comes onto the first patch and leaves the last one there is none.
    for (std::size_t i = start; i < elements.size() && elements[i].patch != 0; ++i)
        elements[i].patch = 0;
    for (std::size_t i = end + 1; i > 0 && elements[i - 1].patch != 0; --i)
        elements[i - 1].patch = 0;
}
TRACE_GUARD("ChartRecognition", "DetectEdges")

/// Drops the short runs between long ones.
void ChartRecognition::EliminateWrongPatches(Elements& elements) const
try {
    constexpr Run sentinel = {1000, 0};
    const std::size_t start = GetStartPosition(elements);
    const std::size_t end = GetEndPosition(elements);

    std::vector<Run> runs = {sentinel};
    Run run = {0, 0};
    bool inPatch = false;
    for (std::size_t i = start; i < end; ++i) {
        const bool here = elements[i].patch != 0;
        const bool next = elements[i + 1].patch != 0;
        if (!here && next) {
            run = {0, i + 1};
            inPatch = true;
        } else {
            ++run.length;
            if (here && !next && inPatch) {
                runs.push_back(run);
                inPatch = false;
            }
        }
    }
    runs.push_back(sentinel);

    for (std::size_t r = 1; r + 1 < runs.size(); ++r) {
        const std::size_t shorter = std::min(runs[r - 1].length, runs[r + 1].length);
        if (runs[r].length <= shorter / static_cast<std::size_t>(neighbourRatio)
            && runs[r].length <= static_cast<std::size_t>(shortestPatch))
            for (std::size_t i = runs[r].position; i < runs[r].position + runs[r].length; ++i)
                elements[i].patch = 0;
    }
}
TRACE_GUARD("ChartRecognition", "EliminateWrongPatches")

/// Takes the vote from differences that are large for a stable place. They stay part of their patch.
void ChartRecognition::EliminateInstablePatches(const Differences& differences, const Lightnesses& lightnesses,
                                                Elements& elements) const
try {
    const std::size_t start = GetStartPosition(elements);
    const std::size_t end = GetEndPosition(elements);
    for (std::size_t i = start; i < end; ++i)
        if (elements[i].patch != 0 && differences[i] > LowestEdgeLevel(lightnesses[i]))
            elements[i].useful = 0;
}
TRACE_GUARD("ChartRecognition", "EliminateInstablePatches")

void ChartRecognition::ExtractPatches(const Differences& differences, const Elements& elements,
                                      const std::vector<SpectrumData>& measured,
                                      std::vector<SpectrumData>& recognized) const
try {
    PatchReport report;
    std::vector<float> votes;
    std::size_t position = 0;
    std::size_t length = 0;
    for (std::size_t i = 0; i + 1 < elements.size(); ++i) {
        if (elements[i].patch == 0) {
            if (elements[i + 1].patch != 0) {
                position = i + 1;
                length = 0;
                votes.clear();
            }
            continue;
        }
        ++length;
        if (elements[i].useful != 0)
            votes.push_back(differences[i]);
        if (elements[i + 1].patch != 0)
            continue;

        if (votes.empty() || (votes.size() == 1 && votes.front() > levelFloor)) // a single vote must be a quiet one
            continue;
        const auto threshold = votes.begin() + Truncate(static_cast<float>(votes.size()) * selectionQuantile - 0.5F);
        std::nth_element(votes.begin(), threshold, votes.end());
        recognized.push_back(ExtractCurrentValley(differences, *threshold, position, length, measured));
        report.Add(recognized.back(), position + votes.size() / 2);
    }
    report.Send();
}
TRACE_GUARD("ChartRecognition", "ExtractPatches")

/// The mean of the readings on both sides of each difference up to the threshold: in the middle of a quiet stretch a
/// reading counts twice, at its ends once.
SpectrumData ChartRecognition::ExtractCurrentValley(const Differences& differences, float threshold,
                                                    std::size_t position, std::size_t length,
                                                    const std::vector<SpectrumData>& measured)
try {
    std::vector<const SpectrumData*> readings;
    for (std::size_t i = position; i < position + length; ++i) {
        if (differences[i] <= threshold) {
            readings.push_back(&measured[i]);
            readings.push_back(&measured[i + 1]);
        }
    }
    return CreateMeanValue(readings);
}
TRACE_GUARD("ChartRecognition", "ExtractCurrentValley")

SpectrumData ChartRecognition::CreateMeanValue(const std::vector<const SpectrumData*>& readings)
try {
    const SpectrumData& first = *readings.at(0);
    std::vector<float> mean(first.LoadData().size());
    for (const SpectrumData* reading : readings) {
        const std::vector<float>& bands = reading->LoadData();
        if (bands.size() != mean.size())
            throw CalculationException("Different vector size", THROW_LOCATION("ChartRecognition", "CreateMeanValue"));
        std::transform(mean.begin(), mean.end(), bands.begin(), mean.begin(), std::plus<>());
    }
    for (float& band : mean)
        band /= static_cast<float>(readings.size());

    SpectrumData result;
    result.SetSize(1);
    result.StoreData(mean);
    result.SetGain(first.GetGain());
    result.SetIntegrationTime(first.GetIntegrationTime());
    return result;
}
TRACE_GUARD("ChartRecognition", "CreateMeanValue")

}
