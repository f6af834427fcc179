#include "tests/virtual/Host.h"
#include "virtual/orvex-virtual.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numeric>

namespace {

using Shape = std::function<double(double)>;

std::vector<float> Sampled(const Shape& shape)
{
    std::vector<float> values;
    for (int band = 0; band < 36; ++band)
        values.push_back(static_cast<float>(shape(380.0 + 10.0 * band)));
    return values;
}

double Bell(double wavelength, double middle, double width)
{
    return std::exp(-0.5 * std::pow((wavelength - middle) / width, 2));
}

class SpectrophotometerOptics : public testing::Test {
protected:
    void SetUp() override
    {
        oxv_reset();
        device = oxv_attach("spectrophotometer", "usb");
        ASSERT_GT(device, 0) << oxv_last_error();
    }

    void TearDown() override { oxv_reset(); }

    std::unique_ptr<Host> MakeHost()
    {
        auto host = std::make_unique<Host>(Platform::UsbAddresses(127).at(0));
        host->ReadCalibration();
        return host;
    }

    void Put(const char* name, const Shape& shape)
    {
        const auto values = Sampled(shape);
        ASSERT_EQ(oxv_set_curve(device, name, values.data(), values.size(), 380, 10), OXV_OK) << oxv_last_error();
    }

    void PutOn(const char* position) { ASSERT_EQ(oxv_set_text(device, "position", position), OXV_OK); }

    /// The largest distance of a measured spectrum from what lies before the aperture.
    static double Distance(const Host::Spectrum& measured, const Shape& shape, bool relative = false)
    {
        EXPECT_EQ(measured.size(), 36U);
        double largest = 0.0;
        for (std::size_t band = 0; band < measured.size(); ++band) {
            const double truth = static_cast<float>(shape(380.0 + 10.0 * static_cast<double>(band)));
            largest = std::max(largest, std::abs(measured[band] - truth) / (relative ? truth : 1.0));
        }
        return largest;
    }

    /// Level of the first two bands and of 600 to 650 nm, relative to 550 nm and to the white reference.
    struct WhiteShape {
        double ultraviolet;
        double red;
    };
    WhiteShape MeasureWhiteShape(Host& host)
    {
        Host::Order order;
        const auto white = host.MeasureLinear(order);
        order.lampOff = true;
        auto shape = host.Radiance(white, host.MeasureLinear(order), order.seconds, 1);
        for (std::size_t band = 0; band < shape.size(); ++band)
            shape[band] /= host.Floats(1100)[band];
        const double middle = shape[17];
        for (auto& value : shape)
            value /= middle;
        return {(shape[0] + shape[1]) / 2.0, std::accumulate(shape.begin() + 22, shape.begin() + 28, 0.0) / 6.0};
    }

    /// Of one pixel over the readings.
    static double Mean(const std::vector<Host::Counts>& readings)
    {
        double sum = 0.0;
        for (const auto& reading : readings)
            sum += reading.at(30);
        return sum / static_cast<double>(readings.size());
    }
    static double Spread(const std::vector<Host::Counts>& readings)
    {
        double squares = 0.0;
        for (const auto& reading : readings)
            squares += std::pow(reading.at(30) - Mean(readings), 2);
        return std::sqrt(squares / static_cast<double>(readings.size()));
    }

    oxv_device device = 0;
};

struct Sample {
    const char* what;
    Shape shape;
};

const Sample samples[] = {
    {"grey", [](double) { return 0.5; }},
    {"black", [](double) { return 0.02; }},
    {"white", [](double) { return 0.98; }},
    {"magenta", [](double nm) { return 0.85 - 0.75 * Bell(nm, 540, 45); }},
    {"green", [](double nm) { return 0.05 + 0.6 * Bell(nm, 530, 40); }},
    {"red edge", [](double nm) { return 0.04 + 0.8 / (1.0 + std::exp(-(nm - 600.0) / 12.0)); }},
    {"violet flank", [](double nm) { return 0.1 + 0.7 * Bell(nm, 400, 35); }},
};

}

TEST_F(SpectrophotometerOptics, ReflectanceComesBackAtEveryTimeAndGain)
{
    struct Condition {
        const char* what;
        Host::Order order;
        double lampScale;
        int firmware;
        bool uvCut;
    };
    const Condition conditions[] = {
        {"as built", {}, 1.0, 302, false},
        {"scan time", {.seconds = 0.005}, 1.0, 302, false},
        {"high sensitivity", {.gain = 0}, 0.1, 302, false},
        {"long time", {.seconds = 0.2, .count = 3}, 0.1, 302, false},
        {"old firmware", {}, 1.0, 300, false},
        {"behind the filter", {}, 1.0, 302, true},
    };
    for (const auto& condition : conditions) {
        SCOPED_TRACE(condition.what);
        oxv_set_number(device, "lamp-scale", condition.lampScale);
        oxv_set_number(device, "firmware-version", condition.firmware);
        oxv_set_number(device, "uv-cut", condition.uvCut);
        PutOn("tile");
        const auto host = MakeHost();
        Host::Order dark = condition.order;
        dark.lampOff = true;
        const auto black = host->MeasureLinear(dark);
        const auto white = host->MeasureLinear(condition.order);
        PutOn("sample");
        for (const auto& sample : samples) {
            SCOPED_TRACE(sample.what);
            Put("sample", sample.shape);
            const auto reflectance = host->Reflectance(host->MeasureLinear(condition.order), white, black);
            EXPECT_LT(Distance(reflectance, sample.shape), 0.002);
        }
    }
}

TEST_F(SpectrophotometerOptics, EmissionComesBackAtEveryTimeAndGain)
{
    const Sample sources[] = {
        {"flat", [](double) { return 0.002; }},
        {"incandescent", [](double nm) { return 0.003 * std::pow(nm / 550.0, 4); }},
        {"blue peak and phosphor",
         [](double nm) { return 0.0015 + 0.003 * Bell(nm, 455, 30) + 0.002 * Bell(nm, 570, 60); }},
    };
    const Host::Order orders[] = {
        {.seconds = 0.25, .count = 2, .lampOff = true},
        {.seconds = 2.0, .lampOff = true},
        {.seconds = 0.25, .lampOff = true, .gain = 0},
        {.seconds = 1.0, .lampOff = true, .gain = 0},
    };
    const auto host = MakeHost();
    for (const auto& order : orders) {
        PutOn("dark");
        const auto dark = host->MeasureLinear(order);
        for (const auto& source : sources) {
            SCOPED_TRACE(std::string(source.what) + " for " + std::to_string(order.seconds) + " s");
            PutOn("source");
            Put("emission", source.shape);
            const auto radiance = host->Radiance(host->MeasureLinear(order), dark, order.seconds, order.gain);
            EXPECT_LT(Distance(radiance, source.shape, true), 0.01);
        }
    }
}

TEST_F(SpectrophotometerOptics, AmbientLightAndTransmissionComeBack)
{
    const Host::Order order{.seconds = 0.25, .count = 2, .lampOff = true};
    const Shape skylight = [](double nm) { return 0.3 + 0.2 * Bell(nm, 470, 60); };
    const Shape foil = [](double nm) { return 0.1 + 0.8 * Bell(nm, 600, 70); };
    const auto host = MakeHost();
    PutOn("dark");
    const auto dark = host->MeasureLinear(order);

    PutOn("diffuser");
    Put("ambient", skylight);
    auto irradiance = host->Radiance(host->MeasureLinear(order), dark, order.seconds, 1);
    for (std::size_t band = 0; band < irradiance.size(); ++band)
        irradiance[band] *= host->Floats(1102)[band];
    EXPECT_LT(Distance(irradiance, skylight, true), 0.01);

    PutOn("transmission");
    auto reference = host->Radiance(host->MeasureLinear(order), dark, order.seconds, 1);
    Put("transmission", foil);
    auto transmittance = host->Radiance(host->MeasureLinear(order), dark, order.seconds, 1);
    for (std::size_t band = 0; band < transmittance.size(); ++band)
        transmittance[band] /= reference[band];
    EXPECT_LT(Distance(transmittance, foil), 0.01);

    oxv_set_number(device, "ambient-head", 0);
    PutOn("diffuser");
    EXPECT_NEAR(host->MeasureLinear(order).at(60), dark.at(60), 1.0) << "no head, no light";
}

TEST_F(SpectrophotometerOptics, WhiteHasTheShapeOfItsLamp)
{
    struct LampCase {
        double kelvin;
        bool good;
    };
    for (const auto& lamp : {LampCase{2800, false}, {2856, true}, {3000, true}, {3300, true}, {3400, false}}) {
        SCOPED_TRACE(lamp.kelvin);
        oxv_set_number(device, "lamp-temperature", lamp.kelvin);
        const auto host = MakeHost();
        const auto [ultraviolet, red] = MeasureWhiteShape(*host);
        EXPECT_EQ(ultraviolet >= 0.11 && ultraviolet <= 0.22 && red >= 1.35 && red <= 1.6, lamp.good)
            << ultraviolet << " " << red;
    }

    oxv_set_number(device, "lamp-temperature", 3000);
    auto host = MakeHost();
    PutOn("sample");
    Put("sample", [](double) { return 0.4; });
    EXPECT_NEAR(MeasureWhiteShape(*host).red, 1.5, 0.1) << "a neutral grey has the same shape";
    Put("sample", [](double nm) { return 0.04 + 0.8 / (1.0 + std::exp(-(nm - 600.0) / 12.0)); });
    EXPECT_GT(MeasureWhiteShape(*host).red, 1.6) << "a red does not";

    oxv_set_number(device, "uv-cut", 1);
    PutOn("tile");
    host.reset();
    host = MakeHost();
    const auto [ultraviolet, red] = MeasureWhiteShape(*host);
    EXPECT_LE(ultraviolet, 0.05);
    EXPECT_GE(red, 1.2);
    EXPECT_LE(red, 1.76);
    EXPECT_EQ(host->Longs(3012).at(0), 130);
}

TEST_F(SpectrophotometerOptics, WhiteLevelIsOptimalAndDarkIsDark)
{
    const auto host = MakeHost();
    Host::Order order;
    const auto white = host->Measure(order).at(0);
    const double highest = *std::max_element(white.begin() + 1, white.end());
    EXPECT_NEAR(highest, 40000, 2000);

    order.lampOff = true;
    for (const int gain : {1, 0})
        for (const double seconds : {0.01, 1.0}) {
            order.gain = gain;
            order.seconds = seconds;
            const auto dark = host->Measure(order).at(0);
            const double mean = std::accumulate(dark.begin() + 1, dark.end(), 0.0) / 127.0;
            EXPECT_LT(mean, (600 + 900 * seconds) * (gain == 0 ? 10 : 1));
        }
    order.seconds = 1.0;
    const auto dark = host->Measure(order).at(0);
    EXPECT_EQ(std::max_element(dark.begin() + 1, dark.end()) - dark.begin(), 61) << "the hot pixel";
}

TEST_F(SpectrophotometerOptics, SaturationClipsBelowTheOverflowThreshold)
{
    const auto host = MakeHost();
    PutOn("source");
    Put("emission", [](double) { return 100.0; });
    const auto counts = host->Measure({.seconds = 1.0, .lampOff = true}).at(0);
    EXPECT_EQ(counts.at(60), 57000 - 300);
}

TEST_F(SpectrophotometerOptics, AStripPassesWithItsMixedEdges)
{
    const float dark[] = {0.1F};
    const float bright[] = {0.9F};
    oxv_set_number(device, "lead", 0.1);
    oxv_set_number(device, "trail", 0.1);
    ASSERT_EQ(oxv_strip_add(device, dark, 1, 380, 10, 0.1, 0.04), OXV_OK);
    ASSERT_EQ(oxv_strip_add(device, bright, 1, 380, 10, 0.1, 0.04), OXV_OK);

    const Host::Order order{.seconds = 0.01, .count = 10, .scan = true};
    const auto host = MakeHost();
    const auto black = host->MeasureLinear({.seconds = 0.01, .lampOff = true});
    const auto white = host->MeasureLinear({.seconds = 0.01});
    PutOn("strip");
    const auto readings = host->Measure(order);
    ASSERT_EQ(readings.size(), 60U) << "0.52 s, filled up to a multiple of ten";

    const auto at = [&](std::size_t reading) {
        return host->Reflectance(host->Linear(readings.at(reading), 1), white, black).at(17);
    };
    EXPECT_NEAR(at(5), 0.85, 0.002) << "lead";
    EXPECT_NEAR(at(18), 0.1, 0.003) << "first patch";
    EXPECT_NEAR(at(32), 0.9, 0.003) << "second patch";
    EXPECT_NEAR(at(45), 0.85, 0.003) << "trail";
    EXPECT_NEAR(at(59), 0.85, 0.003) << "fill";
    EXPECT_GT(at(25), at(24)) << "the edge rises evenly";
    EXPECT_GT(at(26), at(25));
    EXPECT_LT(at(26), 0.9);

    oxv_set_number(device, "scan-line", 1);
    EXPECT_EQ(host->Measure(order).size(), 53U) << "147 ticks of 68 microseconds are a little less than 10 ms";
    oxv_set_number(device, "scan-readings", 7);
    EXPECT_EQ(host->Measure(order).size(), 7U);
}

TEST_F(SpectrophotometerOptics, FlashesAddToTheNextMeasurementOnly)
{
    const float light[] = {2.0F};
    PutOn("diffuser");
    const auto host = MakeHost();
    const Host::Order order{.seconds = 0.01, .count = 10, .scan = true, .lampOff = true};
    const auto before = host->Measure(order);
    ASSERT_EQ(oxv_flash(device, 0.2, 0.01, light, 1, 380, 10), OXV_OK);
    ASSERT_EQ(oxv_flash(device, 0.405, 0.01, light, 1, 380, 10), OXV_OK);
    const auto with = host->Measure(order);
    const auto after = host->Measure(order);

    std::vector<std::size_t> lit;
    for (std::size_t reading = 0; reading < with.size(); ++reading)
        if (with[reading].at(60) > before[reading].at(60) + 5.0)
            lit.push_back(reading);
    EXPECT_EQ(lit, (std::vector<std::size_t>{20, 40, 41}));
    EXPECT_EQ(after, before);
}

TEST_F(SpectrophotometerOptics, NoiseFollowsTheSeed)
{
    oxv_set_number(device, "noise", 20);
    const auto host = MakeHost();
    const Host::Order order{.seconds = 0.01, .count = 200, .lampOff = true};
    oxv_seed(7);
    const auto first = host->Measure(order);
    const auto second = host->Measure(order);
    oxv_seed(7);
    EXPECT_EQ(host->Measure(order), first);
    EXPECT_NE(second, first);
    EXPECT_NEAR(Spread(first), 20.0, 5.0);
}

TEST_F(SpectrophotometerOptics, LightHasNoiseOfItsOwn)
{
    oxv_set_number(device, "shot-noise", 0.5);
    PutOn("source");
    const auto host = MakeHost();
    const auto measure = [&](double radiance, int gain) {
        Put("emission", [&](double) { return radiance; });
        const auto readings = host->Measure({.seconds = 0.1, .count = 250, .lampOff = true, .gain = gain});
        return std::pair(Mean(readings), Spread(readings));
    };
    const auto [dark, darkSpread] = measure(0.0, 1);
    EXPECT_NEAR(darkSpread, 0.5 * std::sqrt(4.0), 0.4) << "40 counts a second";
    for (const double radiance : {0.1, 0.4}) {
        const auto [counts, spread] = measure(radiance, 1);
        EXPECT_NEAR(spread / (0.5 * std::sqrt(counts)), 1.0, 0.15) << counts;
    }
    const auto [counts, spread] = measure(0.04, 0);
    EXPECT_NEAR(spread / (0.5 * std::sqrt(counts * 9.6)), 1.0, 0.15) << "the gain makes light and noise larger";
}
