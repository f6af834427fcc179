// Spectra of other grids.
#include "orvex/color.h"
#include "tests/colorc/RandomSpectra.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

// Values on a grid from a function of the wavelength.
template<typename Function>
std::vector<float> Sample(std::size_t points, double first, double step, Function function)
{
    std::vector<float> values;
    for (std::size_t i = 0; i < points; ++i)
        values.push_back(static_cast<float>(function(first + step * static_cast<double>(i))));
    return values;
}

TEST(Resample, KeepsConstantsAndStraightLines)
{
    const struct {
        std::size_t points;
        double first, step;
    } grids[] = {{351, 380, 1},    {471, 360, 1}, {176, 380, 2},   {71, 380, 5},      {36, 380, 10},   {19, 380, 20},
                 {18, 385, 20},    {31, 400, 10}, {301, 400, 1},   {107, 382.7, 3.3}, {40, 371, 9.99}, {16, 380, 25},
                 {3501, 380, 0.1}, {37, 375, 10}, {4, 300, 150.5}, {95, 380.5, 3.5},  {33, 390, 10}};
    for (const auto& grid : grids) {
        SCOPED_TRACE(testing::Message() << grid.points << " from " << grid.first << " by " << grid.step);
        const double last = grid.first + static_cast<double>(grid.points - 1) * grid.step;
        const auto constant = Sample(grid.points, grid.first, grid.step, [](double) { return 0.3; });
        // Whole in single precision, so that the line is one.
        const auto line = Sample(grid.points, grid.first, grid.step, [](double x) { return x / 1024; });
        float spectrum[OXC_BANDS];
        ASSERT_EQ(oxc_resample(constant.data(), grid.points, grid.first, grid.step, 1, spectrum), OX_NoError);
        for (const float value : spectrum)
            EXPECT_EQ(value, 0.3F);
        ASSERT_EQ(oxc_resample(line.data(), grid.points, grid.first, grid.step, 1, spectrum), OX_NoError);
        for (int i = 0; i < OXC_BANDS; ++i) {
            const auto expected = static_cast<float>(std::clamp(380.0 + 10 * i, grid.first, last) / 1024);
            EXPECT_LE(std::abs(spectrum[i] - expected), std::nextafter(expected, 2.0F) - expected) << i;
        }
    }
}

TEST(Resample, AveragesUnderATriangleAndInterpolatesBySprague)
{
    float spectrum[OXC_BANDS];
    // A line of 1 nm at 550 nm: the triangle's share of 1/10 there, none 10 nm away.
    auto fine = Sample(351, 380, 1, [](double x) { return x == 550 ? 1.0 : x == 603 ? 0.5 : 0.0; });
    ASSERT_EQ(oxc_resample(fine.data(), 351, 380, 1, 1, spectrum), OX_NoError);
    EXPECT_FLOAT_EQ(spectrum[17], 0.1F);
    EXPECT_EQ(spectrum[16], 0.0F);
    EXPECT_FLOAT_EQ(spectrum[22], 0.5F * 0.07F);
    EXPECT_FLOAT_EQ(spectrum[23], 0.5F * 0.03F);
    fine = Sample(71, 380, 5, [](double x) { return x == 555 ? 1.0 : 0.0; });
    ASSERT_EQ(oxc_resample(fine.data(), 71, 380, 5, 1, spectrum), OX_NoError);
    EXPECT_FLOAT_EQ(spectrum[17], 0.25F); // 1/4, 1/2, 1/4

    // The polynomial of the fifth degree in the middle of six points: 3, -25, 150, 150, -25, 3 over 256.
    const double shares[] = {3, -25, 150, 150, -25, 3};
    for (std::size_t point = 0; point < 6; ++point) {
        const auto coarse = Sample(19, 380, 20, [&](double x) { return x == 500 + 20.0 * static_cast<double>(point); });
        ASSERT_EQ(oxc_resample(coarse.data(), 19, 380, 20, 1, spectrum), OX_NoError);
        EXPECT_FLOAT_EQ(spectrum[17], static_cast<float>(shares[point] / 256)) << point; // 550 nm
        EXPECT_EQ(spectrum[16], point == 2 ? 1.0F : 0.0F);                               // 540 nm is a point
    }
    // A parabola stays one at the ends.
    const auto square = [](double x) { return (x - 500) * (x - 500) / 65536; };
    const auto coarse = Sample(19, 380, 20, square);
    ASSERT_EQ(oxc_resample(coarse.data(), 19, 380, 20, 1, spectrum), OX_NoError);
    for (int i = 0; i < OXC_BANDS - 1; ++i)
        EXPECT_NEAR(spectrum[i], square(380 + 10 * i), 1e-6) << i;
    // On the grid itself nothing changes.
    const auto own = RandomSpectra(3, 91);
    std::vector<float> same(own.size());
    ASSERT_EQ(oxc_resample(own.data(), 36, 380, 10, 3, same.data()), OX_NoError);
    EXPECT_EQ(same, own);
}

TEST(Resample, RefusesGridsThatDoNotDo)
{
    std::vector<float> values(400, 0.5F), spectrum(2 * OXC_BANDS);
    const struct {
        std::size_t points;
        double first, step;
    } grids[] = {{36, 380, 0}, {36, 380, -10},     {3, 380, 170},       {31, 401, 10},      {30, 400, 10},
                 {0, 380, 10}, {36, noNumber, 10}, {36, 380, noNumber}, {36, 380, infinity}};
    for (const auto& grid : grids)
        EXPECT_EQ(oxc_resample(values.data(), grid.points, grid.first, grid.step, 1, spectrum.data()),
                  OX_InvalidParameter)
            << grid.points << " " << grid.first << " " << grid.step;
    values[40] = noNumber;
    EXPECT_EQ(oxc_resample(values.data(), 36, 380, 10, 2, spectrum.data()), OX_InvalidParameter);
    EXPECT_STREQ(oxc_error(), "row 1: not a finite number");
    EXPECT_EQ(spectrum[3], 0.5F);
    EXPECT_TRUE(std::isnan(spectrum[OXC_BANDS]));
    EXPECT_EQ(oxc_resample(nullptr, 36, 380, 10, 1, spectrum.data()), OX_InvalidParameter);
}

}
