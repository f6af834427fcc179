// Colour differences: published numbers, the properties of each formula, and where they refuse.

#include "Colors.h"

#include "Vondrel/CMetry/Internals/CMetryCalculator.h"
#include "Vondrel/CMetry/Internals/CMetryFilter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using namespace Vondrel::CMetry;

namespace {

using Calculator = CMetryCalculator;

struct LabFormula {
    const char* name;
    std::function<float(const VDColorVector&, const VDColorVector&)> difference;
    bool symmetric;
};

const LabFormula labFormulas[] = {
    {"76", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_CIELAB(a, b); }, true},
    {"CMC", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_CMC(a, b, 2, 1); }, false},
    {"94", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_94(a, b, 1, 1, 1); }, false},
    {"2000", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_2000(a, b, 1, 1, 1); }, true},
};

struct SpectrumFormula {
    const char* name;
    std::function<float(const VDSpectrum&, const VDSpectrum&, const VDMeasureConditions&)> difference;
};

const SpectrumFormula spectrumFormulas[] = {
    {"CIELab", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_CIELAB(a, b, c); }},
    {"CIELuv", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_CIELUV(a, b, c); }},
    {"LABvd", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_vd(a, b, c); }},
    {"FMCII", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_FMCII(a, b, c); }},
    {"CMC", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_CMC(a, b, c, 2, 1); }},
    {"94", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_94(a, b, c, 1, 1, 1); }},
    {"2000", [](const auto& a, const auto& b, const auto& c) { return Calculator::GetDeltaE_2000(a, b, c, 1, 1, 1); }},
};

// Sharma, Wu, Dalal: The CIEDE2000 color-difference formula, Color Research and Application 30 (2005), table 1.
std::vector<std::vector<float>> PublishedPairs()
{
    std::ifstream file(ORVEX_TEST_DATA "/ciede2000_pairs.csv");
    std::vector<std::vector<float>> pairs;
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream numbers(line);
        std::vector<float> row(7);
        for (auto& number : row)
            numbers >> number;
        pairs.push_back(row);
    }
    return pairs;
}

}

TEST(DeltaE2000, GivesThePublishedPairs)
{
    const auto pairs = PublishedPairs();
    ASSERT_EQ(pairs.size(), 34U);
    int number = 0;
    for (const auto& row : pairs) {
        SCOPED_TRACE("pair " + std::to_string(++number));
        const auto lab1 = Lab(row[0], row[1], row[2]);
        const auto lab2 = Lab(row[3], row[4], row[5]);
        EXPECT_NEAR(Calculator::GetDeltaE_2000(lab1, lab2, 1, 1, 1), row[6], 0.0001);
        EXPECT_NEAR(Calculator::GetDeltaE_2000(lab2, lab1, 1, 1, 1), row[6], 0.0001);
    }
}
