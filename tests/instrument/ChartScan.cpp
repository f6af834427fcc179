#include "tests/instrument/ChartScan.h"

#include "Vondrel/CMetry/CMetryService.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/PatchRecognition/PatchReport.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

using namespace Vondrel::DeviceDriver::Generic::Calculation;

namespace {

constexpr std::size_t bands = 36;
constexpr float noiseLevel = 0.001F; // rms

/// Numbers that are the same with every standard library.
class Chance {
public:
    explicit Chance(std::uint32_t seed) : engine(seed) { }

    std::size_t Between(std::size_t least, std::size_t most) { return least + engine() % (most - least + 1); }

    /// Mean 0, deviation 1: the sum of twelve uniform numbers.
    float Normal()
    {
        double sum = -6;
        for (int i = 0; i < 12; ++i)
            sum += static_cast<double>(engine()) / 4294967296.0;
        return static_cast<float>(sum);
    }

    template<typename T>
    void Shuffle(std::vector<T>& items)
    {
        for (std::size_t i = items.size() - 1; i > 0; --i)
            std::swap(items[i], items[Between(0, i)]);
    }

private:
    std::mt19937 engine;
};

std::vector<std::string> Split(const std::string& line)
{
    std::vector<std::string> cells;
    std::istringstream stream(line);
    for (std::string cell; std::getline(stream, cell, ',');)
        cells.push_back(cell);
    return cells;
}

std::vector<ChartScan::Patch> ColorChart()
{
    std::ifstream file(ORVEX_TEST_DATA "/colorchecker24.csv");
    std::string line;
    std::getline(file, line);
    const std::vector<std::string> names = Split(line);
    std::vector<ChartScan::Patch> chart;
    for (std::size_t column = 1; column < names.size(); ++column)
        chart.push_back({names[column], {}});
    while (std::getline(file, line)) {
        const std::vector<std::string> cells = Split(line);
        for (std::size_t column = 1; column < cells.size(); ++column)
            chart.at(column - 1).spectrum.push_back(std::stof(cells[column]));
    }
    if (chart.size() != 24 || chart[0].spectrum.size() != bands)
        throw std::runtime_error("the spectra of the colour chart are not there");
    return chart;
}

/// The reflectance factor of a grey, above L* 8.
float LevelOf(float lightness)
{
    const float root = (lightness + 16) / 116;
    return root * root * root;
}

bool IsGoodOrder(const std::vector<ChartScan::Patch>& patches, const std::vector<float>& backing)
{
    for (std::size_t i = 1; i < patches.size(); ++i)
        if (ChartDifference(patches[i - 1].spectrum, patches[i].spectrum) <= 5.0F)
            return false;
    return ChartDifference(backing, patches.front().spectrum) > 10.0F
        && ChartDifference(backing, patches.back().spectrum) > 10.0F;
}

}

ChartScan ChartScan::Random(std::uint32_t seed, Noise noise)
{
    static const std::vector<Patch> chart = ColorChart();
    const std::vector<float> backing(bands, 0.85F);
    Chance chance(seed);
    ChartScan scan;
    scan.patches = chart;
    do
        chance.Shuffle(scan.patches);
    while (!IsGoodOrder(scan.patches, backing));

    const auto add = [&](const std::vector<float>& from, const std::vector<float>& to, float share) {
        std::vector<float> mixture(bands);
        for (std::size_t band = 0; band < bands; ++band) {
            const float value = from[band] * (1 - share) + to[band] * share;
            mixture[band] = value + noiseLevel * chance.Normal() * (noise == Noise::OfReading ? value : 1.0F);
        }
        scan.readings.push_back(Reading(mixture));
    };
    const std::vector<float>* before = &backing;
    const auto pass = [&](const std::vector<float>& next, std::size_t length) {
        const std::size_t mixed = chance.Between(2, 4);
        for (std::size_t i = 1; i <= mixed && !scan.readings.empty(); ++i)
            add(*before, next, static_cast<float>(i) / static_cast<float>(mixed + 1));
        for (std::size_t i = 0; i < length; ++i)
            add(next, next, 0);
        before = &next;
    };
    pass(backing, chance.Between(20, 60));
    for (const Patch& patch : scan.patches)
        pass(patch.spectrum, chance.Between(20, 60));
    pass(backing, chance.Between(20, 60));
    return scan;
}

ChartScan ChartScan::Greys(const std::vector<Grey>& greys)
{
    ChartScan scan;
    for (const Grey& grey : greys) {
        scan.patches.push_back({std::to_string(grey.level), std::vector<float>(bands, grey.level)});
        scan.readings.insert(scan.readings.end(), grey.readings, Reading(scan.patches.back().spectrum));
    }
    return scan;
}

ChartScan ChartScan::Alternating(const Strip& strip, std::uint32_t seed)
{
    constexpr float backing = 0.85F;
    constexpr float noise = 0.0005F;
    const auto grey = [](float lightness) { return std::vector<float>(bands, LevelOf(lightness)); };
    const float towards = strip.lightness > 60 ? 0.0F : 100.0F; // away from the backing, or it would be one of the two
    float near = strip.lightness, far = towards;
    for (int step = 0; step < 40; ++step) {
        const float middle = (near + far) / 2;
        (ChartDifference(grey(strip.lightness), grey(middle)) < strip.difference ? near : far) = middle;
    }

    Chance chance(seed);
    ChartScan scan;
    float before = backing;
    const auto pass = [&](float level, std::size_t length) {
        for (std::size_t i = 1; i <= strip.mixed + length; ++i) {
            if (scan.readings.empty())
                before = level;
            const float share = std::min(1.0F, static_cast<float>(i) / static_cast<float>(strip.mixed + 1));
            std::vector<float> values(bands);
            for (float& value : values)
                value = before + (level - before) * share + noise * chance.Normal();
            scan.readings.push_back(Reading(values));
        }
        before = level;
    };
    pass(backing, 30);
    for (int patch = 0; patch < 12; ++patch) {
        if (patch > 0 && strip.gap > 0)
            pass(backing, strip.gap);
        scan.patches.push_back({"", grey(patch % 2 == 0 ? strip.lightness : far)});
        pass(scan.patches.back().spectrum.front(), chance.Between(30, 40));
    }
    pass(backing, 30);
    return scan;
}

SpectrumData ChartScan::Reading(const std::vector<float>& values)
{
    SpectrumData reading;
    reading.SetSize(1);
    reading.StoreData(values);
    reading.SetGain(1);
    reading.SetIntegrationTime(0.01F);
    return reading;
}

float ChartDifference(const std::vector<float>& first, const std::vector<float>& second)
{
    const ChartColors colors;
    return Vondrel::CMetry::CMetryService::GetDeltaE(colors.Lab(ChartScan::Reading(first)),
                                                     colors.Lab(ChartScan::Reading(second)));
}
