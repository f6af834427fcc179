// What the sensor counts. That the library finds the truth in it is held by the tests of the whole system.

#include "tests/virtual/BenchScript.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

class SpectrophotometerOptics : public testing::Test {
protected:
    void Put(const char* name, float value)
    {
        ASSERT_EQ(oxv_set_curve(device, name, &value, 1, 380, 10), OXV_OK) << oxv_last_error();
    }

    void PutOn(const char* position) { ASSERT_EQ(oxv_set_text(device, "position", position), OXV_OK); }

    /// The counts of one pixel over the readings of a measurement.
    std::vector<double> Pixel(std::size_t pixel, const BenchScript::Order& order)
    {
        std::vector<double> counts;
        for (const auto& reading : bench.Measure(order))
            counts.push_back(reading.at(pixel));
        return counts;
    }

    BenchScript bench;
    const oxv_device device = bench.device;
};

double Mean(const std::vector<double>& counts)
{
    return std::accumulate(counts.begin(), counts.end(), 0.0) / static_cast<double>(counts.size());
}

double Spread(const std::vector<double>& counts)
{
    double squares = 0.0;
    for (const double count : counts)
        squares += std::pow(count - Mean(counts), 2);
    return std::sqrt(squares / static_cast<double>(counts.size()));
}

}

TEST_F(SpectrophotometerOptics, TheWhiteIsOptimalTheDarkIsDarkAndTooMuchIsCut)
{
    const auto white = bench.Measure({}).at(0);
    EXPECT_NEAR(*std::max_element(white.begin(), white.end()), 40000, 2000);

    for (const int gain : {1, 0}) {
        // 40 counts a second, and what the linearisation takes away: -12 + 0.985 x, -15 + 0.98 x
        const auto dark = bench.Measure({.ticks = 14706, .flags = gain != 0 ? 6U : 2U}).at(0);
        EXPECT_NEAR(dark.at(30), gain != 0 ? (40 + 12) / 0.985 : (40 * 9.6 + 15) / 0.98, 1.0);
        EXPECT_NEAR(dark.at(61), gain != 0 ? (120 + 12) / 0.985 : (120 * 9.6 + 15) / 0.98, 1.0) << "the hot pixel";
    }
    oxv_set_number(device, "stray", 100);
    EXPECT_NEAR(Pixel(30, {.ticks = 14706, .flags = 6}).at(0), (140 + 12) / 0.985, 1.0);

    PutOn("source");
    Put("emission", 100.0F);
    EXPECT_EQ(Pixel(60, {.ticks = 14706, .flags = 6}).at(0), 57000 - 300);
    PutOn("diffuser");
    oxv_set_number(device, "ambient-head", 0);
    EXPECT_NEAR(Pixel(60, {.ticks = 14706, .flags = 6}).at(0), (140 + 12) / 0.985, 1.0) << "no head, no light";
}

TEST_F(SpectrophotometerOptics, AStripPassesWithItsMixedEdges)
{
    const auto spot = [&](float reflectance) {
        PutOn("sample");
        Put("sample", reflectance);
        return Pixel(50, {.ticks = 147}).at(0);
    };
    const double backing = spot(0.85F);
    const double first = spot(0.1F);
    const double second = spot(0.9F);
    oxv_set_number(device, "lead", 0.1);
    oxv_set_number(device, "trail", 0.1);
    for (const float patch : {0.1F, 0.9F})
        ASSERT_EQ(oxv_strip_add(device, &patch, 1, 380, 10, 0.1, 0.04), OXV_OK);

    const BenchScript::Order order{.ticks = 147, .count = 10, .flags = 5};
    PutOn("strip");
    const auto readings = Pixel(50, order);
    ASSERT_EQ(readings.size(), 60U) << "0.52 s, filled up to a multiple of ten";
    for (const auto& [reading, count] :
         {std::pair{5, backing}, {18, first}, {32, second}, {45, backing}, {59, backing}})
        EXPECT_NEAR(readings.at(static_cast<std::size_t>(reading)), count, 1.0) << reading;
    EXPECT_TRUE(std::is_sorted(readings.begin() + 23, readings.begin() + 30)) << "the edge rises evenly";
    EXPECT_NEAR(readings[26], (first + second) / 2, (second - first) / 4);

    oxv_set_number(device, "scan-line", 1);
    EXPECT_EQ(bench.Measure(order).size(), 53U) << "147 ticks of 68 microseconds are a little less than 10 ms";
    oxv_set_number(device, "scan-readings", 7);
    EXPECT_EQ(bench.Measure(order).size(), 7U);
}

TEST_F(SpectrophotometerOptics, FlashesAddToTheNextMeasurementOnly)
{
    const float light = 2.0F;
    PutOn("diffuser");
    const BenchScript::Order order{.ticks = 147, .count = 10, .flags = 7};
    const auto before = Pixel(60, order);
    ASSERT_EQ(oxv_flash(device, 0.2, 0.01, &light, 1, 380, 10), OXV_OK);
    ASSERT_EQ(oxv_flash(device, 0.405, 0.01, &light, 1, 380, 10), OXV_OK);
    const auto with = Pixel(60, order);
    std::vector<std::size_t> lit;
    for (std::size_t reading = 0; reading < with.size(); ++reading)
        if (with[reading] > before.at(reading) + 5.0)
            lit.push_back(reading);
    EXPECT_EQ(lit, (std::vector<std::size_t>{20, 40, 41}));
    EXPECT_EQ(Pixel(60, order), before);
}

TEST_F(SpectrophotometerOptics, NoiseFollowsTheSeedAndTheLight)
{
    const BenchScript::Order dark{.ticks = 147, .count = 250, .flags = 6};
    oxv_set_number(device, "noise", 20);
    oxv_seed(7);
    const auto first = Pixel(30, dark);
    EXPECT_NE(Pixel(30, dark), first);
    oxv_seed(7);
    EXPECT_EQ(Pixel(30, dark), first);
    EXPECT_NEAR(Spread(first), 20.0, 4.0);

    oxv_set_number(device, "noise", 0);
    oxv_set_number(device, "shot-noise", 0.5);
    PutOn("source");
    struct Case {
        float radiance;
        int gain;
        double ofOneCount;
    };
    for (const auto& c : {Case{0.0F, 1, 0.5}, {0.1F, 1, 0.5}, {0.4F, 1, 0.5}, {0.04F, 0, 0.5 * std::sqrt(9.6)}}) {
        SCOPED_TRACE(testing::Message() << c.radiance << " at gain " << c.gain);
        Put("emission", c.radiance);
        const auto counts = Pixel(30, {.ticks = 1471, .count = 250, .flags = c.gain != 0 ? 6U : 2U});
        const double light = c.radiance == 0.0F ? 4.0 : Mean(counts); // 40 counts a second in the dark
        EXPECT_NEAR(Spread(counts) / (c.ofOneCount * std::sqrt(light)), 1.0, 0.2);
    }
}
