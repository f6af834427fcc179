// Shows on made-up scans what the recognition of patches does.
//
//     recognition trace [seed] > scan.txt    what it reports about a scan, for recognition.gp to draw
//     recognition limits                     which strips it can do, as the table of docs/guide.md
//
// Trace, first block: reading, L*, a*, b*, delta E to the next reading, edge level. Second block, behind two empty
// lines: the position, L*, a* and b* of each patch found.

#include "tests/instrument/ChartScan.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/ChartRecognition.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/RecognitionCallbacks.h"

#include <array>
#include <cstdlib>
#include <iostream>
#include <string>

using namespace Vondrel::DeviceDriver::Generic::Calculation;

namespace {

std::array<std::vector<double>, 11> channels;

template<typename T>
void Keep(std::uint32_t channel, const T* values, std::uint32_t count)
{
    channels.at(channel).assign(values, values + count);
}

void Print(const char* title, std::initializer_list<RecognitionChannel> columns)
{
    std::cout << "# " << title << "\n";
    const auto column = [](RecognitionChannel channel) { return channels[static_cast<std::size_t>(channel)]; };
    for (std::size_t row = 0; row < column(*columns.begin()).size(); ++row) {
        std::cout << row;
        for (const RecognitionChannel channel : columns)
            std::cout << " " << column(channel)[row];
        std::cout << "\n";
    }
    std::cout << "\n\n";
}

int Trace(std::uint32_t seed)
{
    using enum RecognitionChannel;
    const ChartScan scan = ChartScan::Random(seed, ChartScan::Noise::OfWhite);
    SetRecognitionCallbacks(&Keep<float>, &Keep<std::int32_t>);
    std::vector<SpectrumData> patches;
    if (!ChartRecognition().Execute(scan.readings, patches)) {
        std::cerr << "no patches recognised\n";
        return 1;
    }
    Print("reading L* a* b* difference level", {Lightness, RedGreen, YellowBlue, Differences, EdgeLevels});
    Print("patch position L* a* b*", {PatchPositions, PatchLightness, PatchRedGreen, PatchYellowBlue});
    return 0;
}

bool IsRecognised(const ChartScan& scan)
{
    std::vector<SpectrumData> found;
    if (!ChartRecognition().Execute(scan.readings, found) || found.size() != scan.patches.size())
        return false;
    for (std::size_t i = 0; i < found.size(); ++i)
        if (ChartDifference(scan.patches[i].spectrum, found[i].LoadData()) > 0.5F)
            return false;
    return true;
}

bool AllAreRecognised(const ChartScan::Strip& strip)
{
    for (std::uint32_t seed = 1; seed <= 20; ++seed)
        if (!IsRecognised(ChartScan::Alternating(strip, seed)))
            return false;
    return true;
}

/// The smallest difference from which on all strips are recognised, up to 20.
int LeastDifference(float lightness, std::size_t mixed)
{
    int least = 21;
    while (least > 1
           && AllAreRecognised(
               {.lightness = lightness, .difference = static_cast<float>(least - 1), .mixed = mixed, .gap = 0}))
        --least;
    return least;
}

int Limits()
{
    std::cout << "| readings that mix two patches | L* 25 | L* 50 | L* 75 |\n|---|---|---|---|\n";
    for (const std::size_t mixed : {0U, 1U, 2U, 3U, 4U, 6U}) {
        std::cout << "| " << mixed;
        for (const float lightness : {25.0F, 50.0F, 75.0F})
            std::cout << " | " << LeastDifference(lightness, mixed);
        std::cout << " |\n";
    }
    std::size_t gap = 0;
    while (AllAreRecognised({.lightness = 50, .difference = 10, .mixed = 2, .gap = gap + 1}))
        ++gap;
    std::cout << "\ngaps of up to " << gap << " readings disappear\n";
    return 0;
}

}

int main(int count, char** arguments)
{
    const std::string task = count > 1 ? arguments[1] : "";
    if (task == "trace")
        return Trace(static_cast<std::uint32_t>(count > 2 ? std::strtoul(arguments[2], nullptr, 10) : 1));
    if (task == "limits")
        return Limits();
    std::cerr << "recognition trace [seed] | limits\n";
    return 1;
}
