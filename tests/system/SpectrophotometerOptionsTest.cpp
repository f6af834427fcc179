// What the spectrophotometer makes of its options, of densities and papers, and what a tool in the process finds.

#include "tests/system/SystemBench.h"

#include <algorithm>
#include <cstdlib>

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::FloatNear;

namespace OrvexSDK {
class OrvexSDKProxy; // what the library calls the receiver of the values below
}

namespace {

class SpectrophotometerOptions : public SystemBench {
protected:
    void SetUp() override { Plug(); }

    void Measure(const std::string& mode, float level)
    {
        CalibrateIn(mode);
        ShowSample(Flat(level));
        ASSERT_OK(OX_TriggerMeasurement());
    }

    static float Density()
    {
        float density = 0;
        EXPECT_OK(OX_GetDensity(&density, 0));
        return density;
    }

    static Spectrum Read(std::int32_t index)
    {
        Spectrum spectrum{};
        EXPECT_OK(OX_GetSpectrum(spectrum.data(), index));
        return spectrum;
    }
};

}

TEST_F(SpectrophotometerOptions, ACalibrationEmptiesTheSamplesOfItsMode)
{
    Measure("SingleReflectance", 0.5F);
    Measure("ScanningReflectance", 0.5F);
    Show("tile");
    ASSERT_OK(OX_Calibrate());
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    ASSERT_OK(Set("MeasurementMode", "SingleReflectance"));
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
    Show("dark");
    EXPECT_EQ(OX_Calibrate(), OX_CalculationFailed);
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0) << "a failed one too";
}

TEST_F(SpectrophotometerOptions, DensitiesBelongToBothReflectanceModesAndToNoOther)
{
    std::array<float, 4> densities{};
    for (const char* mode : {"SingleReflectance", "ScanningReflectance"}) {
        SCOPED_TRACE(mode);
        Measure(mode, 0.1F);
        EXPECT_OK(OX_GetDensities(densities.data(), nullptr, 0));
        EXPECT_THAT(densities, Each(FloatNear(1, 0.01F)));
        EXPECT_NEAR(Density(), 1, 0.01);
        const Spectrum paper = Flat(0.8F);
        EXPECT_OK(OX_SetSubstrate(paper.data()));
    }
    for (const char* mode : {"SingleEmission", "SingleAmbientLight", "ScanningAmbientLight"}) {
        ASSERT_OK(Set("MeasurementMode", mode));
        const std::string text =
            std::string("density calculation only supported in reflectance mode. Current mode is ") + mode;
        for (const OX_Result result : {OX_GetDensities(nullptr, nullptr, 0), OX_GetDensity(nullptr, 0),
                                       OX_SetSubstrate(nullptr)}) // the mode is looked at first
            EXPECT_EQ(result, OX_NotSupported);
        EXPECT_EQ(Option("LastError"), text);
        EXPECT_EQ(Option("Colorimetric.Illumination"), "Emission");
    }
}

TEST_F(SpectrophotometerOptions, EachModeHasAPaperOfItsOwn)
{
    struct Mode {
        const char* name;
        float paper;
        double density; ///< of 0.1 on it
    };
    const Mode modes[] = {{"SingleReflectance", 0.8F, 0.903}, {"ScanningReflectance", 0.4F, 0.602}};
    for (const Mode& mode : modes) {
        Measure(mode.name, 0.1F);
        ASSERT_OK(Set("Colorimetric.WhiteBase", "Paper"));
        const Spectrum paper = Flat(mode.paper);
        ASSERT_OK(OX_SetSubstrate(paper.data()));
    }
    for (const Mode& mode : modes) {
        ASSERT_OK(Set("MeasurementMode", mode.name));
        EXPECT_NEAR(Density(), mode.density, 0.01) << mode.name;
    }
    ASSERT_OK(Set("Colorimetric.WhiteBase", "Absolute"));
    EXPECT_NEAR(Density(), 1, 0.01);
    const Spectrum third = Flat(0.2F);
    ASSERT_OK(OX_SetSubstrate(third.data()));
    ASSERT_OK(Set("ColorSpaceDescription.Type", "CIELab"));
    ASSERT_OK(Set("Colorimetric.WhiteBase", "Paper"));
    std::array<float, 3> lab{};
    ASSERT_OK(OX_GetTriStimulus(lab.data(), 0));
    EXPECT_NEAR(lab[0], 76.07, 0.3) << "half of a paper that no density was asked for yet";
}

TEST_F(SpectrophotometerOptions, TheAutomaticFilterIsNamedWhereItWasAskedFor)
{
    Measure("SingleReflectance", 0.5F);
    const auto showRed = [this](float blue, float red) {
        Spectrum sample = Flat(blue);
        std::fill(sample.begin() + 20, sample.end(), red);
        ShowSample(sample);
        EXPECT_OK(OX_TriggerMeasurement());
    };
    std::array<float, 4> densities{};
    std::int32_t chosen = -1;
    EXPECT_STREQ(OX_GetDeviceInfo("Colorimetric.DensityFilterMode"), "not set");
    showRed(0.8F, 0.1F);
    ASSERT_OK(OX_GetDensities(densities.data(), &chosen, 0));
    EXPECT_EQ(chosen, 0);
    EXPECT_STREQ(OX_GetDeviceInfo("Colorimetric.DensityFilterMode"), "Cyan");
    EXPECT_EQ(Option("Colorimetric.DensityFilterMode"), "Auto");

    ASSERT_OK(Set("Colorimetric.DensityFilterMode", "Magenta"));
    showRed(0.1F, 0.8F);
    ASSERT_OK(OX_GetDensities(densities.data(), &chosen, 0));
    EXPECT_NE(chosen, 0);
    EXPECT_EQ(Option("Colorimetric.DensityFilterMode"), "Magenta");
    EXPECT_EQ(Option("LastAutoDensityFilter"), "Cyan") << "only what was chosen under Auto is noted";
    EXPECT_EQ(Density(), densities[1]);
    EXPECT_EQ(Option("LastAutoDensityFilter"), "not set");
    ASSERT_OK(Set("Colorimetric.DensityFilterMode", "Auto"));
    EXPECT_EQ(Density(), densities[static_cast<std::size_t>(chosen)]);
    EXPECT_NE(Option("LastAutoDensityFilter"), "Cyan");
}

TEST_F(SpectrophotometerOptions, YesIsYesAndEverythingElseNo)
{
    CalibrateIn("ScanningReflectance");
    const auto beeps = [this] {
        oxv_trace_clear(device);
        EXPECT_OK(OX_TriggerMeasurement());
        const auto trace = Trace(device);
        return std::count(trace.begin(), trace.end(), "beep 400 75");
    };
    EXPECT_EQ(Option("Beep"), "yes");
    EXPECT_EQ(beeps(), 1);
    for (const char* key : {"Beep", "AdaptiveMode", "Recognition"})
        for (const auto& [value, read] : {std::pair{"yes", "yes"}, {"no", "no"}, {"yes", "yes"}, {"YES", "no"}}) {
            EXPECT_OK(Set(key, value));
            EXPECT_EQ(Option(key), read) << key << ' ' << value;
        }
    EXPECT_EQ(beeps(), 0);
    ASSERT_OK(Set("Beep", "yes"));
    EXPECT_EQ(beeps(), 1);
    EXPECT_EQ(Option("2011"), "0") << "the number behind AdaptiveMode";

    EXPECT_EQ(Option("PhysicalFilter"), "1");
    ASSERT_EQ(oxv_set_number(device, "uv-cut", 1), OXV_OK);
    Restart();
    EXPECT_EQ(Option("PhysicalFilter"), "2");
    EXPECT_EQ(Option("2012"), "11") << "the type of an instrument with that filter";
}

TEST_F(SpectrophotometerOptions, TheTimeOfACalibrationIsOneAboveZero)
{
    ASSERT_OK(Set("MeasurementMode", "SingleEmission"));
    for (const auto& [time, read] : {std::pair{"0", "-1"}, {"-5", "-1"}, {"1577836799", "1"}}) {
        ASSERT_OK(Set("LastCalibrationTime", time));
        EXPECT_EQ(Option("LastCalibrationTime"), read);
    }
}

TEST_F(SpectrophotometerOptions, AFailedRecognitionEmptiesTheSamplesAndSaysSo)
{
    Measure("ScanningReflectance", 0.5F);
    EXPECT_GT(OX_GetNumberOfAvailableSamples(), 10);
    ASSERT_OK(Set("Recognition", "yes"));
    EXPECT_EQ(OX_TriggerMeasurement(), OX_RecognitionFailed) << "no patches";
    EXPECT_EQ(Option("LastError"), "strip recognition failed");
    EXPECT_TRUE(TakeReports().empty()) << "no call of the handler";
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    EXPECT_EQ(Option("LastCalibrationCounter"), "2") << "it was a measurement";
    ASSERT_OK(Set("Recognition", "no"));
    EXPECT_OK(OX_TriggerMeasurement());
}

TEST_F(SpectrophotometerOptions, AToolInTheProcessCorrectsSpectraAndReplacesSamples)
{
    const auto address = [](const char* key) {
        return static_cast<std::uintptr_t>(std::strtoull(OX_GetOption(key), nullptr, 10));
    };
    auto* const proxy = reinterpret_cast<OrvexSDK::OrvexSDKProxy*>(address("oxPInst"));
    const auto correct = reinterpret_cast<void (*)(OrvexSDK::OrvexSDKProxy*, bool, const float*)>(address("scsOFP"));
    const auto replace =
        reinterpret_cast<void (*)(OrvexSDK::OrvexSDKProxy*, const float* const*, std::int32_t)>(address("ssvOFP"));
    Spectrum factors = Flat(0.5F);
    factors[35] = 2;
    const std::array<const float*, 2> rows{factors.data(), factors.data()};

    for (const char* mode : {"SingleReflectance", "ScanningReflectance"}) {
        SCOPED_TRACE(mode);
        CalibrateIn(mode);
        replace(proxy, rows.data(), 2);
        EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0) << "there was none";
        ShowSample(Flat(0.4F));
        correct(proxy, true, factors.data());
        ASSERT_OK(OX_TriggerMeasurement());
        for (const std::int32_t index : {0, OX_GetNumberOfAvailableSamples() - 1}) {
            EXPECT_NEAR(Read(index)[0], 0.2, 0.003);
            EXPECT_NEAR(Read(index)[35], 0.8, 0.01);
        }
        correct(proxy, false, nullptr);
        ASSERT_OK(OX_TriggerMeasurement());
        EXPECT_THAT(Read(0), Each(FloatNear(0.4F, 0.003F)));
        ASSERT_OK(Set("7014", "0.5 0.5"));
        ASSERT_OK(OX_TriggerMeasurement());
        EXPECT_THAT(Read(0), Each(FloatNear(0.4F, 0.003F))) << "factors that do not fit";
        replace(proxy, rows.data(), 2);
        EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 2);
        EXPECT_EQ(Read(1), factors);
    }
}
