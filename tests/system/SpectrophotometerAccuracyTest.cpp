// What is read back is what lies under the aperture: the patches of a chart by spot and by scan, without and with the
// noise of a sensor, and light sources.

#include "tests/support/Rows.h"
#include "tests/system/DeltaE2000.h"
#include "tests/system/SystemBench.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <tuple>

namespace OrvexSDK {
class OrvexSDKProxy; // what the library calls the receiver of the values below
}

namespace {

/// The rows of numbers of a file, without what stands in front of the first number.
std::vector<std::vector<double>> ReadNumbers(const std::string& name)
{
    std::ifstream file(std::string(ORVEX_TEST_DATA "/") + name);
    std::vector<std::vector<double>> rows;
    std::string line;
    for (std::getline(file, line); std::getline(file, line);)
        rows.push_back(Numbers(line));
    return rows;
}

/// The patches of the colour chart.
std::vector<Spectrum> ReadPatches()
{
    const auto rows = ReadNumbers("colorchecker24.csv");
    std::vector<Spectrum> patches(rows.at(0).size() - 1);
    for (std::size_t patch = 0; patch < patches.size(); ++patch)
        for (std::size_t band = 0; band < OX_SPECTRUM_SIZE; ++band)
            patches[patch][band] = static_cast<float>(rows.at(band).at(patch + 1));
    return patches;
}

Lab ReadLab(std::int32_t index)
{
    std::array<float, 3> lab{};
    EXPECT_OK(OX_GetTriStimulus(lab.data(), index));
    return {lab[0], lab[1], lab[2]};
}

/// An entry point that the library offers to tools in its process, or the receiver of its arguments.
template<typename Entry>
Entry Tool(const char* key)
{
    return reinterpret_cast<Entry>(static_cast<std::uintptr_t>(std::strtoull(OX_GetOption(key), nullptr, 10)));
}
using Proxy = OrvexSDK::OrvexSDKProxy*;
using SetSampleValues = void (*)(Proxy, const float* const* spectra, std::int32_t count);
using SetSpectralCorrection = void (*)(Proxy, bool on, const float* factors);

/// Replaces the samples of the mode.
void SetSamples(const std::vector<Spectrum>& spectra)
{
    std::vector<const float*> rows;
    for (const Spectrum& spectrum : spectra)
        rows.push_back(spectrum.data());
    Tool<SetSampleValues>("ssvOFP")(Tool<Proxy>("oxPInst"), rows.data(), static_cast<std::int32_t>(rows.size()));
}

std::vector<Lab> LabOf(const std::vector<Spectrum>& spectra)
{
    SetSamples(spectra);
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

    static Spectrum Read(std::int32_t index)
    {
        Spectrum spectrum{};
        EXPECT_OK(OX_GetSpectrum(spectrum.data(), index));
        return spectrum;
    }

    /// What is under the aperture.
    static Spectrum Measure()
    {
        EXPECT_OK(OX_TriggerMeasurement());
        return Read(0);
    }

    Spectrum MeasureSpot(const Spectrum& patch) const
    {
        ShowSample(patch);
        return Measure();
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

    const std::vector<Spectrum> patches = ReadPatches();
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
    const auto pairs = ReadNumbers("ciede2000_pairs.csv");
    EXPECT_EQ(pairs.size(), 34U);
    for (const auto& p : pairs)
        EXPECT_NEAR(DeltaE2000({p[0], p[1], p[2]}, {p[3], p[4], p[5]}), p[6], 1e-4);
}

TEST_F(SpectrophotometerAccuracy, EveryBuildFindsTheTruth)
{
    Spectrum violet{};
    for (std::size_t band = 0; band < violet.size(); ++band)
        violet[band] =
            static_cast<float>(0.1 + 0.7 * std::exp(-0.5 * std::pow((10.0 * static_cast<double>(band) - 20) / 35, 2)));
    const std::tuple<const char*, double, bool> builds[] = {{"firmware-version", 300, true},
                                                            {"firmware-version", 302, true},
                                                            {"uv-cut", 1, true},
                                                            {"uv-cut", 0, true},
                                                            {"lamp-scale", 0.2, true},
                                                            {"lamp-scale", 1, true},
                                                            {"lamp-temperature", 2856, true},
                                                            {"lamp-temperature", 3300, true},
                                                            {"lamp-temperature", 2800, false},
                                                            {"lamp-temperature", 3400, false}};
    for (const auto& [number, value, isSound] : builds) {
        SCOPED_TRACE(testing::Message() << number << " " << value);
        ASSERT_EQ(oxv_set_number(device, number, value), OXV_OK);
        Restart();
        Show("tile");
        ASSERT_EQ(OX_Calibrate(), isSound ? OX_NoError : OX_CalculationFailed) << Option("LastError");
        if (isSound)
            EXPECT_THAT(MeasureSpot(violet), testing::Pointwise(testing::FloatNear(0.002F), violet));
        else
            EXPECT_THAT(Option("LastError"), testing::HasSubstr("White check failed"));
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
    const struct {
        const char *mode, *position, *curve;
        float level;
        const char* adaptive;
        double tolerance; ///< relative
    } cases[] = {
        {"SingleEmission", "source", "emission", 0.05F, "no", 0.002},
        {"SingleEmission", "source", "emission", 1.0F, "yes", 0.002},
        {"SingleEmission", "source", "emission", 2e-4F, "yes", 0.02},
        {"SingleAmbientLight", "diffuser", "ambient", 0.5F, "no", 0.002},
        {"SingleAmbientLight", "diffuser", "ambient", 100.0F, "yes", 0.005}, // some 5 ms, in ticks of 36 us
        {"ScanningAmbientLight", "diffuser", "ambient", 5.0F, "no", 0.002},
    };
    for (const auto& c : cases) {
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
        const Spectrum seen = Read(-1);
        for (std::size_t band = 0; band < seen.size(); ++band)
            EXPECT_NEAR(seen[band] / slope[band], 1, c.tolerance) << band;
    }
}

TEST_F(SpectrophotometerAccuracy, AToolInTheProcessCorrectsSpectraAndReplacesSamples)
{
    const auto grey = testing::Each(testing::FloatNear(0.4F, 0.003F));
    const auto correct = Tool<SetSpectralCorrection>("scsOFP");
    Spectrum factors = Flat(0.5F);
    factors[35] = 2;
    for (const char* mode : {"SingleReflectance", "ScanningReflectance"}) {
        SCOPED_TRACE(mode);
        CalibrateIn(mode);
        SetSamples({factors, factors});
        EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0) << "there was none";
        correct(Tool<Proxy>("oxPInst"), true, factors.data());
        MeasureSpot(Flat(0.4F));
        for (const std::int32_t index : {0, OX_GetNumberOfAvailableSamples() - 1}) {
            EXPECT_NEAR(Read(index)[0], 0.2, 0.003);
            EXPECT_NEAR(Read(index)[35], 0.8, 0.01);
        }
        correct(Tool<Proxy>("oxPInst"), false, nullptr);
        EXPECT_THAT(Measure(), grey);
        ASSERT_OK(Set("7014", "0.5 0.5"));
        EXPECT_THAT(Measure(), grey) << "factors that do not fit";
        SetSamples({factors, factors});
        EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 2);
        EXPECT_EQ(Read(1), factors);
    }
}
