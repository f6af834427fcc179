// What is read back is what lies under the aperture: the patches of a chart by spot and by scan, without and with the
// noise of a sensor, and light sources.

#include "tests/system/DeltaE2000.h"
#include "tests/system/SystemBench.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace OrvexSDK {
class OrvexSDKProxy; // what the library calls the receiver of the values below
}

namespace {

/// The columns of numbers behind a header line and the first column.
std::vector<Spectrum> ReadSpectra(const std::string& name)
{
    std::ifstream file(std::string(ORVEX_TEST_DATA "/") + name);
    std::vector<Spectrum> spectra;
    std::string line, cell;
    std::getline(file, line);
    for (std::size_t band = 0; band < OX_SPECTRUM_SIZE && std::getline(file, line); ++band) {
        std::istringstream cells(line);
        std::getline(cells, cell, ',');
        for (std::size_t column = 0; std::getline(cells, cell, ','); ++column) {
            if (column == spectra.size())
                spectra.emplace_back();
            spectra[column].at(band) = std::stof(cell);
        }
    }
    return spectra;
}

Lab ReadLab(std::int32_t index)
{
    std::array<float, 3> lab{};
    EXPECT_OK(OX_GetTriStimulus(lab.data(), index));
    return {lab[0], lab[1], lab[2]};
}

/// Colours that the library computes of spectra instead of the samples of the mode: by the entry points that it offers
/// to tools in its process.
std::vector<Lab> LabOf(const std::vector<Spectrum>& spectra)
{
    using SetSampleValues = void (*)(OrvexSDK::OrvexSDKProxy * proxy, const float* const* spectra, std::int32_t count);
    const auto address = [](const char* key) {
        return static_cast<std::uintptr_t>(std::strtoull(OX_GetOption(key), nullptr, 10));
    };
    auto* const proxy = reinterpret_cast<OrvexSDK::OrvexSDKProxy*>(address("oxPInst"));
    std::vector<const float*> rows;
    for (const Spectrum& spectrum : spectra)
        rows.push_back(spectrum.data());
    reinterpret_cast<SetSampleValues>(address("ssvOFP"))(proxy, rows.data(), static_cast<std::int32_t>(rows.size()));
    std::vector<Lab> colors;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(spectra.size()); ++i)
        colors.push_back(ReadLab(i));
    return colors;
}

class SpectrophotometerAccuracy : public SystemBench {
protected:
    void SetUp() override
    {
        Plug();
        ASSERT_EQ(patches.size(), 24U);
    }

    Spectrum MeasureSpot(const Spectrum& patch) const
    {
        Spectrum seen{};
        ShowSample(patch);
        EXPECT_OK(OX_TriggerMeasurement());
        EXPECT_OK(OX_GetSpectrum(seen.data(), 0));
        return seen;
    }

    /// Measures every patch by spot.
    /// @return the distances to the patches
    std::vector<double> SpotDistances() const
    {
        std::vector<Lab> seen;
        for (const Spectrum& patch : patches) {
            MeasureSpot(patch);
            seen.push_back(ReadLab(0));
        }
        return DistancesTo(seen);
    }

    std::vector<double> DistancesTo(const std::vector<Lab>& seen) const
    {
        const std::vector<Lab> known = LabOf(patches);
        std::vector<double> distances;
        for (std::size_t i = 0; i < patches.size(); ++i)
            distances.push_back(DeltaE2000(seen.at(i), known[i]));
        return distances;
    }

    void LayStrip(double secondsPerPatch) const
    {
        oxv_strip_clear(device);
        for (const Spectrum& patch : patches)
            ASSERT_EQ(oxv_strip_add(device, patch.data(), patch.size(), 380, 10, secondsPerPatch, 0.02), OXV_OK);
        Show("strip");
    }

    const std::vector<Spectrum> patches = ReadSpectra("colorchecker24.csv");
};

double Mean(const std::vector<double>& values)
{
    double sum = 0;
    for (const double value : values)
        sum += value;
    return sum / static_cast<double>(values.size());
}

/// Root of the mean of squares of the bands' differences.
double Distance(const Spectrum& a, const Spectrum& b)
{
    double sum = 0;
    for (std::size_t band = 0; band < a.size(); ++band)
        sum += (a[band] - b[band]) * (a[band] - b[band]);
    return std::sqrt(sum / static_cast<double>(a.size()));
}

}

TEST(Measure, OfDistanceIsThePublishedOne)
{
    std::ifstream file(ORVEX_TEST_DATA "/ciede2000_pairs.csv");
    std::string line;
    std::getline(file, line);
    int rows = 0;
    for (; std::getline(file, line); ++rows) {
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream cells(line);
        Lab first{}, second{};
        double expected = -1;
        cells >> first[0] >> first[1] >> first[2] >> second[0] >> second[1] >> second[2] >> expected;
        EXPECT_NEAR(DeltaE2000(first, second), expected, 1e-4) << line;
    }
    EXPECT_EQ(rows, 34);
}

TEST_F(SpectrophotometerAccuracy, EveryBuildFindsTheTruth)
{
    Spectrum violet{};
    for (std::size_t band = 0; band < violet.size(); ++band)
        violet[band] =
            static_cast<float>(0.1 + 0.7 * std::exp(-0.5 * std::pow((10.0 * static_cast<double>(band) - 20) / 35, 2)));
    struct Build {
        const char* number;
        double value;
        bool sound;
    };
    for (const auto& c : {Build{"firmware-version", 300, true},
                          {"firmware-version", 302, true},
                          {"uv-cut", 1, true},
                          {"uv-cut", 0, true},
                          {"lamp-scale", 0.2, true},
                          {"lamp-scale", 1, true},
                          {"lamp-temperature", 2856, true},
                          {"lamp-temperature", 3300, true},
                          {"lamp-temperature", 2800, false},
                          {"lamp-temperature", 3400, false}}) {
        SCOPED_TRACE(testing::Message() << c.number << " " << c.value);
        ASSERT_EQ(oxv_set_number(device, c.number, c.value), OXV_OK);
        Restart();
        Show("tile");
        const auto result = OX_Calibrate();
        if (!c.sound) {
            EXPECT_THAT(Option("LastError"), testing::HasSubstr("White check failed"));
            continue;
        }
        ASSERT_EQ(result, OX_NoError) << Option("LastError");
        ShowSample(violet);
        ASSERT_OK(OX_TriggerMeasurement());
        Spectrum measured{};
        ASSERT_OK(OX_GetSpectrum(measured.data(), 0));
        EXPECT_THAT(measured, testing::Pointwise(testing::FloatNear(0.002F), violet));
    }
}

TEST_F(SpectrophotometerAccuracy, SpotsAreThePatches)
{
    CalibrateIn("SingleReflectance");
    ASSERT_OK(Set("Colorimetric.Illumination", "D50"));
    const std::vector<double> distances = SpotDistances();
    EXPECT_THAT(distances, testing::Each(testing::Lt(0.1)));
    RecordProperty("largest", std::to_string(*std::max_element(distances.begin(), distances.end())));
}

TEST_F(SpectrophotometerAccuracy, AScannedRowIsThePatches)
{
    CalibrateIn("ScanningReflectance");
    ASSERT_OK(Set("Colorimetric.Illumination", "D50"));
    ASSERT_OK(Set("Recognition", "yes"));
    for (const double seconds : {0.1, 0.25}) {
        SCOPED_TRACE(seconds);
        LayStrip(seconds);
        ASSERT_OK(OX_TriggerMeasurement());
        ASSERT_EQ(OX_GetNumberOfAvailableSamples(), 24);
        std::vector<Lab> seen;
        for (std::int32_t i = 0; i < 24; ++i)
            seen.push_back(ReadLab(i));
        const std::vector<double> distances = DistancesTo(seen);
        EXPECT_THAT(distances, testing::Each(testing::Lt(0.3)));
        RecordProperty("largest", std::to_string(*std::max_element(distances.begin(), distances.end())));
    }
}

TEST_F(SpectrophotometerAccuracy, NoiseSpreadsTheSpotsButDoesNotShiftThem)
{
    constexpr double counts = 20;
    constexpr int repetitions = 40;
    ASSERT_EQ(oxv_seed(20200101), OXV_OK);
    CalibrateIn("SingleReflectance"); // a calibration without noise: what follows is the noise of the measurement
    ASSERT_EQ(oxv_set_number(device, "noise", counts), OXV_OK);
    ASSERT_OK(Set("Colorimetric.Illumination", "D50"));
    std::vector<double> distances = SpotDistances();
    std::sort(distances.begin(), distances.end());
    EXPECT_GT(distances.front(), 0);
    EXPECT_LT(distances[12], 0.3);
    EXPECT_LT(distances.back(), 1.5) << "the darkest patches";

    const Spectrum grey = Flat(0.5F);
    const auto spread = [&](const char* readings) {
        EXPECT_OK(Set("2010", readings));
        std::array<double, OX_SPECTRUM_SIZE> sum{};
        std::vector<double> single;
        for (int i = 0; i < repetitions; ++i) {
            const Spectrum seen = MeasureSpot(grey);
            single.push_back(Distance(seen, grey));
            for (std::size_t band = 0; band < seen.size(); ++band)
                sum[band] += seen[band];
        }
        Spectrum mean{};
        for (std::size_t band = 0; band < mean.size(); ++band)
            mean[band] = static_cast<float>(sum[band] / repetitions);
        EXPECT_LT(Distance(mean, grey), 2 * Mean(single) / std::sqrt(repetitions)) << "the mean is the sample";
        return Mean(single);
    };
    const double one = spread("1");
    EXPECT_GT(one, 1e-5);
    EXPECT_NEAR(spread("4") / one, 0.5, 0.1) << "four readings halve the noise";
}

TEST_F(SpectrophotometerAccuracy, LightHasTheUnitsOfTheBench)
{
    struct Case {
        const char* mode;
        const char* position;
        const char* curve;
        float level;
        const char* adaptive;
        double tolerance; ///< relative
    };
    const Case cases[] = {
        {"SingleEmission", "source", "emission", 0.05F, "no", 0.002},
        {"SingleEmission", "source", "emission", 1.0F, "yes", 0.002},
        {"SingleEmission", "source", "emission", 2e-4F, "yes", 0.02},
        {"SingleAmbientLight", "diffuser", "ambient", 0.5F, "no", 0.002},
        {"SingleAmbientLight", "diffuser", "ambient", 100.0F, "yes", 0.005}, // some 5 ms, in ticks of 36 us
        {"ScanningAmbientLight", "diffuser", "ambient", 5.0F, "no", 0.002},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.mode << ' ' << c.level);
        Restart();
        ASSERT_OK(Set("MeasurementMode", c.mode));
        ASSERT_OK(Set("AdaptiveMode", c.adaptive));
        Show("dark");
        ASSERT_OK(OX_Calibrate());
        Spectrum slope{};
        for (std::size_t band = 0; band < slope.size(); ++band)
            slope[band] = c.level * (1 + static_cast<float>(band) / 35);
        ASSERT_EQ(oxv_set_curve(device, c.curve, slope.data(), slope.size(), 380, 10), OXV_OK);
        Show(c.position);
        ASSERT_OK(OX_TriggerMeasurement());
        Spectrum seen{};
        ASSERT_OK(OX_GetSpectrum(seen.data(), -1));
        for (std::size_t band = 0; band < seen.size(); ++band)
            EXPECT_NEAR(seen[band] / slope[band], 1, c.tolerance) << band;
    }
}
