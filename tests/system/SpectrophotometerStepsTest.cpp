// What the instrument is told, and what is waited for, in each mode: the order of darks, whites and samples, their
// readings and times, also when something fails in the middle.

#include "tests/system/SystemBench.h"

using testing::ElementsAre;

namespace {

constexpr std::int64_t threeSeconds = 3'000'000;

class SpectrophotometerSteps : public SystemBench {
protected:
    void SetUp() override { Plug(); }

    /// Selects a mode; what follows is traced.
    void Enter(const char* mode, const std::string& position, const char* adaptive = nullptr)
    {
        ASSERT_OK(Set("MeasurementMode", mode));
        if (adaptive != nullptr) {
            ASSERT_OK(Set("AdaptiveMode", adaptive));
        }
        Show(position);
        oxv_trace_clear(device);
    }

    /// The steps of one call.
    Steps StepsOf(OX_Result (*call)(), OX_Result expected = OX_NoError)
    {
        oxv_trace_clear(device);
        EXPECT_EQ(call(), expected) << Option("LastError");
        return MeasuringSteps();
    }

    void Break(const char* point, std::uint32_t nth, std::uint32_t times, const char* how)
    {
        ASSERT_EQ(oxv_fault(device, point, nth, times, how), OXV_OK) << oxv_last_error();
    }
};

}

TEST_F(SpectrophotometerSteps, ASpotIsCalibratedByADarkAndAWhite)
{
    Enter("SingleReflectance", "tile");
    EXPECT_THAT(StepsOf(OX_Calibrate), ElementsAre("sleep 1500 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms"));
    EXPECT_THAT(StepsOf(OX_Calibrate), ElementsAre("sleep 1500 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms"))
        << "the lamp was on a moment ago";
    oxv_clock_advance(threeSeconds);
    EXPECT_THAT(StepsOf(OX_Calibrate), ElementsAre("off 1 at 20.0 ms", "on 1 at 20.0 ms"));
}

TEST_F(SpectrophotometerSteps, ASpotIsMeasuredByADarkAndALamp)
{
    CalibrateIn("SingleReflectance");
    Show("sample");
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("sleep 1000 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms"));
    oxv_clock_advance(threeSeconds);
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("off 1 at 20.0 ms", "on 1 at 20.0 ms"));
    ASSERT_OK(Set("2003", "1"));
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("on 1 at 20.0 ms")) << "without a dark there is no wait";
    EXPECT_THAT(Trace(device), testing::Contains(testing::MatchesRegex("control C1 out 01 26 00 17 00 01 0C .*")))
        << "the instrument is told that no dark precedes";
}

TEST_F(SpectrophotometerSteps, ALampTooBrightTakesASecondPassOfTheCalibration)
{
    ASSERT_EQ(oxv_set_number(device, "lamp-scale", 3), OXV_OK);
    Enter("SingleReflectance", "tile");
    const Steps steps = StepsOf(OX_Calibrate);
    ASSERT_EQ(steps.size(), 8U);
    const std::string found = steps[7].substr(steps[7].find(" at "));
    EXPECT_THAT(steps,
                ElementsAre("sleep 1500 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms", "sleep 500 ms", "on 1 at 4.7 ms",
                            "sleep 1500 ms", "off 1" + found, "on 1" + found));
    EXPECT_NE(found, " at 4.7 ms");

    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("sleep 1000 ms", "off 1" + found, "on 1" + found))
        << "the time that was found stays";
}

TEST_F(SpectrophotometerSteps, WithoutAdaptionASaturatedWhiteFailsAtOnce)
{
    ASSERT_EQ(oxv_set_number(device, "lamp-scale", 3), OXV_OK);
    Enter("SingleReflectance", "tile", "no");
    EXPECT_THAT(StepsOf(OX_Calibrate, OX_CalculationFailed),
                ElementsAre("sleep 1500 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms"));
    EXPECT_THAT(StepsOf(OX_Calibrate, OX_CalculationFailed),
                ElementsAre("sleep 1500 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms"))
        << "the failed one, too, has lit the lamp";
    EXPECT_EQ(Option("LastError"), "White calculation: Sensor is saturated");
}

TEST_F(SpectrophotometerSteps, ASecondPassWithoutLightLeavesItsTimeBehind)
{
    CalibrateIn("SingleReflectance");
    Show("dark");
    oxv_clock_advance(threeSeconds);
    EXPECT_THAT(StepsOf(OX_Calibrate, OX_CalculationFailed),
                ElementsAre("off 1 at 20.0 ms", "on 1 at 20.0 ms", "sleep 500 ms", "on 1 at 4.7 ms"));
    EXPECT_EQ(Option("LastError"), "New integration time: Too little light");
    EXPECT_EQ(Option("2009"), "0.004716");
}

TEST_F(SpectrophotometerSteps, AScanIsCalibratedByASeriesOnTheWhite)
{
    Enter("ScanningReflectance", "tile");
    const Steps steps = StepsOf(OX_Calibrate);
    EXPECT_THAT(steps,
                ElementsAre("sleep 1000 ms", "off 5 at 4.7 ms", "on 5 at 4.7 ms", "sleep 1000 ms", "off 5 at 5.0 ms",
                            "on 200 at 5.0 ms"));
    EXPECT_EQ(Option("2008"), "1");
    EXPECT_EQ(Option("2010"), "10");
    EXPECT_EQ(Option("2009"), "0.005");

    Show("strip");
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("off 10 at 5.0 ms", "on scan 10 at 5.0 ms"));
}

TEST_F(SpectrophotometerSteps, AScanWithoutAdaptionKeepsItsTime)
{
    Enter("ScanningReflectance", "tile", "no");
    ASSERT_OK(Set("2009", "0.01"));
    EXPECT_THAT(StepsOf(OX_Calibrate), ElementsAre("sleep 1000 ms", "off 10 at 10.0 ms", "on 100 at 10.0 ms"));
    ASSERT_OK(Set("2009", "0.3"));
    oxv_trace_clear(device);
    EXPECT_NE(OX_Calibrate(), OX_NoError) << "not one reading fits into a tenth of a second";
    EXPECT_NE(Option("LastError"), "no error");
    EXPECT_EQ(Option("2008"), "1");
    EXPECT_EQ(Option("2010"), "10");
}

TEST_F(SpectrophotometerSteps, ACountedScanTellsItsCountOnlyForItself)
{
    CalibrateIn("ScanningReflectance");
    ASSERT_OK(Set("MeasurementMode", "SingleReflectance"));
    Show("strip");
    oxv_trace_clear(device);
    EXPECT_OK(OX_TriggerCountedScan(300));
    EXPECT_THAT(MeasuringSteps(), ElementsAre("off 10 at 5.0 ms", "on scan 300 at 5.0 ms"));
    EXPECT_EQ(Option("MeasurementMode"), "SingleReflectance");
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    ASSERT_OK(Set("MeasurementMode", "ScanningReflectance"));
    EXPECT_GT(OX_GetNumberOfAvailableSamples(), 0);
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("off 10 at 5.0 ms", "on scan 10 at 5.0 ms"));

    Break("bulk-read", 2, 1, "fail"); // the first is the dark
    EXPECT_EQ(OX_TriggerCountedScan(400), OX_InternalError);
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("off 10 at 5.0 ms", "on scan 400 at 5.0 ms"))
        << "a failed one leaves its count";
}

TEST_F(SpectrophotometerSteps, LightIsMeasuredWithTheLampOff)
{
    for (const char* mode : {"SingleEmission", "SingleAmbientLight"}) {
        SCOPED_TRACE(mode);
        Enter(mode, "dark");
        EXPECT_THAT(StepsOf(OX_Calibrate), ElementsAre("off 2 at 500.0 ms"));
        Show(mode == std::string("SingleEmission") ? "source" : "diffuser");
        EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("off 2 at 500.0 ms"));
    }
    Enter("ScanningAmbientLight", "dark");
    EXPECT_THAT(StepsOf(OX_Calibrate), ElementsAre("off 10 at 10.0 ms"));
    Show("diffuser");
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("off scan 10 at 10.0 ms"));
    ASSERT_OK(Set("AdaptiveMode", "yes"));
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("off scan 10 at 10.0 ms"));
}

TEST_F(SpectrophotometerSteps, AdaptiveLightNeedsFourDarksAndATestReading)
{
    const auto darks =
        ElementsAre("off 100 at 10.0 ms", "off 1 at 1000.0 ms", "off 100 at 10.0 ms high", "off 1 at 1000.0 ms high");
    for (const char* mode : {"SingleEmission", "SingleAmbientLight"}) {
        SCOPED_TRACE(mode);
        const bool emission = mode == std::string("SingleEmission");
        const char* const curve = emission ? "emission" : "ambient";
        Enter(mode, "dark", "yes");
        ASSERT_OK(Set("2010", "3"));
        EXPECT_THAT(StepsOf(OX_Calibrate), darks);
        EXPECT_EQ(Option("2009"), "0.5");
        EXPECT_EQ(Option("2002"), "1");
        EXPECT_EQ(Option("2010"), "3");

        Show(emission ? "source" : "diffuser");
        const Steps middle = StepsOf(OX_TriggerMeasurement);
        ASSERT_EQ(middle.size(), 2U);
        EXPECT_EQ(middle[0], "off 3 at 250.0 ms");

        const Spectrum bright = Flat(emission ? 1.0F : 50.0F);
        oxv_set_curve(device, curve, bright.data(), bright.size(), 380, 10);
        const Steps brightSteps = StepsOf(OX_TriggerMeasurement);
        ASSERT_EQ(brightSteps.size(), 3U);
        EXPECT_EQ(brightSteps[0], "off 3 at 250.0 ms");
        EXPECT_EQ(brightSteps[1], "off 3 at 4.7 ms") << "saturated: once more at the shortest time";
        EXPECT_EQ(Option("2002"), "1");

        const Spectrum dim = Flat(emission ? 2e-4F : 8e-3F);
        oxv_set_curve(device, curve, dim.data(), dim.size(), 380, 10);
        const Steps dimSteps = StepsOf(OX_TriggerMeasurement);
        ASSERT_EQ(dimSteps.size(), 2U);
        EXPECT_THAT(dimSteps[1], testing::EndsWith(" high"));
        EXPECT_EQ(Option("2002"), "0");
    }
}

TEST_F(SpectrophotometerSteps, AnAdaptiveCalibrationThatFailsRestoresItsConditions)
{
    Enter("SingleEmission", "dark", "yes");
    ASSERT_EQ(oxv_set_number(device, "stray", 200000), OXV_OK); // far too bright for a dark of a second
    oxv_trace_clear(device);
    EXPECT_EQ(OX_Calibrate(), OX_CalculationFailed);
    EXPECT_EQ(Option("LastError").substr(0, 17), "Dark calculation:");
    EXPECT_EQ(Option("2009"), "0.5");
    EXPECT_EQ(Option("2002"), "1");
    EXPECT_EQ(Option("2010"), "2");
}

TEST_F(SpectrophotometerSteps, ATransferThatFailsOnceIsAskedForAgain)
{
    CalibrateIn("SingleReflectance");
    Show("sample");
    oxv_clock_advance(threeSeconds);
    Break("bulk-read", 1, 1, "fail");
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement),
                ElementsAre("off 1 at 20.0 ms", "reset 07", "off 1 at 20.0 ms", "on 1 at 20.0 ms"));

    oxv_clock_advance(threeSeconds);
    Break("bulk-read", 2, 2, "fail");
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement),
                ElementsAre("off 1 at 20.0 ms", "on 1 at 20.0 ms", "reset 07", "on 1 at 20.0 ms", "reset 07",
                            "sleep 100 ms", "sleep 1000 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms"))
        << "the whole measurement once more, after the lamp's rest";
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);

    Break("bulk-read", 1, 0, "fail");
    EXPECT_EQ(OX_TriggerMeasurement(), OX_DeviceNotConnected);
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    EXPECT_EQ(Option("2000"), "0") << "the dark gives the lamp back, also when it fails";
    EXPECT_EQ(Option("2015"), "1");
}

TEST_F(SpectrophotometerSteps, ACalibrationThatFailsIsDoneAnewOnANewConnection)
{
    Enter("SingleReflectance", "tile");
    ASSERT_OK(Set("2001", "0.3"));
    Break("bulk-read", 1, 2, "fail");
    EXPECT_THAT(StepsOf(OX_Calibrate),
                ElementsAre("sleep 1500 ms", "off 1 at 20.0 ms", "reset 07", "off 1 at 20.0 ms", "reset 07", "close 0",
                            "open 0", "reset 1F", "reset 1F", "sleep 1500 ms", "off 1 at 20.0 ms", "on 1 at 20.0 ms"));
    EXPECT_EQ(Option("2001"), "0.2") << "conditions go with the old handle";
}

TEST_F(SpectrophotometerSteps, AScanThatFailsResetsTheInstrumentAndIsNotRepeated)
{
    CalibrateIn("ScanningReflectance");
    Show("strip");
    Break("bulk-read", 2, 1, "fail");
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement, OX_InternalError),
                ElementsAre("off 10 at 5.0 ms", "on scan 10 at 5.0 ms", "sleep 100 ms", "reset 1F"));
    EXPECT_THAT(Option("LastError"), testing::StartsWith("system busy. try again"));
    EXPECT_OK(OX_TriggerMeasurement());
}

TEST_F(SpectrophotometerSteps, ADarkThatIsSimulatedSendsNothing)
{
    CalibrateIn("SingleReflectance");
    ASSERT_OK(Set("2014", "1"));
    Show("sample");
    oxv_clock_advance(threeSeconds);
    EXPECT_THAT(StepsOf(OX_TriggerMeasurement), ElementsAre("on 1 at 20.0 ms"));
}

TEST_F(SpectrophotometerSteps, ARequestToWriteTheLogIsAnsweredOnce)
{
    CalibrateIn("SingleReflectance");
    Show("sample");
    ASSERT_OK(OX_TriggerMeasurement());
    const auto writes = [this] {
        const std::int64_t before = oxv_count(device, "control:C3");
        EXPECT_OK(OX_TriggerMeasurement());
        return oxv_count(device, "control:C3") - before;
    };
    ASSERT_OK(Set("20001", "1"));
    EXPECT_GT(writes(), 0);
    EXPECT_EQ(Option("20001"), "");
    EXPECT_EQ(writes(), 0);
}
