// Prints what the chart recognition reports about a made-up scan, for docs/recognition.gp to draw.
//
//     recognition_trace [seed] > scan.txt
//
// First block: reading, L*, a*, b*, delta E to the next reading, edge level. Second block, behind two empty lines: the
// position, L*, a* and b* of each patch found.

#include "tests/instrument/ChartScan.h"

#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/ChartRecognition.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/RecognitionCallbacks.h"

#include <array>
#include <cstdlib>
#include <iostream>

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

}

int main(int count, char** arguments)
{
    using enum RecognitionChannel;
    const auto seed = static_cast<std::uint32_t>(count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 1);
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
