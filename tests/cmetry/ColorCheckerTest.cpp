// The 24 patches of the common colour chart: measured reflectances to the published colours.

#include "tests/cmetry/Colors.h"

#include "Vondrel/CMetry/CMetryService.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace Vondrel::CMetry;

namespace {

/// The rows of a file behind its header line, cells as text.
std::vector<std::vector<std::string>> ReadTable(const std::string& name)
{
    std::ifstream file(std::string(ORVEX_TEST_DATA "/") + name);
    std::vector<std::vector<std::string>> rows;
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
        std::istringstream cells(line);
        rows.emplace_back();
        for (std::string cell; std::getline(cells, cell, ',');)
            rows.back().push_back(cell);
    }
    return rows;
}

}

// Averages over thirty charts, published in 2012 with the spectra and their xyY for D50, 2 degree. Their publisher used
// 10 nm weights of another table, which leaves distances of up to 0.00080 in x, 0.00049 in y and 0.00017 in Y.
TEST(ColorChecker, ReflectancesHaveThePublishedColours)
{
    const auto spectra = ReadTable("colorchecker24.csv");
    const auto published = ReadTable("colorchecker24_xyY_d50.csv");
    ASSERT_EQ(spectra.size(), 36U);
    ASSERT_EQ(published.size(), 24U);

    for (std::size_t patch = 0; patch < published.size(); ++patch) {
        SCOPED_TRACE(published[patch][0]);
        VDSpectrum spectrum;
        for (std::size_t i = 0; i < spectra.size(); ++i)
            spectrum[i] = std::stof(spectra[i].at(patch + 1));
        const VDColorVector xyY = CMetryService::GetVector(spectrum, Conditions(ColorSpace::CIExyY));
        EXPECT_NEAR(xyY[0], std::stod(published[patch][1]), 0.0008);
        EXPECT_NEAR(xyY[1], std::stod(published[patch][2]), 0.00049);
        EXPECT_NEAR(xyY[2] / 100, std::stod(published[patch][3]), 0.00017);
    }
}
