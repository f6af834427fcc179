// Every passing of a point between library and instrument fails in turn, once and for good, during a whole session of
// an application: each call returns a documented code, the library goes on, and nothing stays open.

#include "tests/support/Settled.h"
#include "tests/system/SystemBench.h"

#include <algorithm>
#include <future>
#include <thread>

namespace {

const auto isDocumented = testing::AnyOf(0, 2, 3, 5, 6, 7, 8, 9, 10, 12);

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint32_t stride = 7;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::uint32_t stride = 7;
#else
constexpr std::uint32_t stride = 1;
#endif
#else
constexpr std::uint32_t stride = 1;
#endif

class SpectrophotometerFaults : public SystemBench {
protected:
    void MeasureIn(const char* mode, const char* whiteOrDark, const char* position, bool adaptive)
    {
        std::array<float, 36> values{};
        Expect(Set("MeasurementMode", mode));
        Expect(Set("AdaptiveMode", adaptive ? "yes" : "no"));
        Expect(Set("Recognition", "yes"));
        Show(whiteOrDark);
        Expect(OX_Calibrate());
        Show(position);
        Expect(OX_TriggerMeasurement());
        Expect(OX_GetSpectrum(values.data(), 0));
        Expect(OX_GetTriStimulus(values.data(), 0));
        Expect(OX_GetDensities(values.data(), nullptr, 0));
    }

    /// What an application does with its instrument; every result is looked at, nothing has to work.
    void RunSession()
    {
        RegisterHandlers();
        Expect(OX_IsConnected());
        OX_GetOption("AvailableMeasurementModes");
        OX_GetOption("SerialNumber");
        MeasureIn("SingleReflectance", "tile", "sample", true);
        OX_GetOption("LastCalibrationCounter");
        MeasureIn("ScanningReflectance", "tile", "strip", true);
        Expect(OX_TriggerCountedScan(40));
        oxv_unplug(device);
        oxv_settle(10000);
        Expect(OX_IsConnected());
        oxv_plug(device);
        Expect(OX_IsConnected());
        MeasureIn("SingleEmission", "dark", "source", true);
        MeasureIn("SingleAmbientLight", "dark", "diffuser", false);
        MeasureIn("ScanningAmbientLight", "dark", "diffuser", false);
        EXPECT_THAT(OX_KeyPressed(), testing::AnyOf(OX_KeyNotPressed, OX_NoError, OX_DeviceNotConnected));
        Expect(Set("MeasurementMode", "SingleReflectance"));
        Show("sample");
        Expect(OX_TriggerMeasurement());
    }

    void PrepareBench()
    {
        oxv_reset();
        device = oxv_attach("spectrophotometer", "usb");
        ASSERT_GT(device, 0);
        oxv_set_number(device, "lead", 0.05);
        oxv_set_number(device, "trail", 0.05);
        for (const float level : {0.2F, 0.6F}) {
            const Spectrum patch = Flat(level);
            ASSERT_EQ(oxv_strip_add(device, patch.data(), patch.size(), 380, 10, 0.1, 0.02), OXV_OK);
        }
    }

    void MeasureGrey()
    {
        ASSERT_OK(OX_IsConnected());
        CalibrateIn("SingleReflectance");
        ShowSample(Flat(0.5F));
        ASSERT_OK(OX_TriggerMeasurement());
        std::array<float, 36> values{};
        ASSERT_OK(OX_GetSpectrum(values.data(), 0));
        ASSERT_NEAR(values[18], 0.5, 0.005);
        ASSERT_OK(Set("Reset", "All"));
    }

    /// Whatever has happened: the instrument works, and so does the library, without a reset as well as after one, and
    /// no lock or thread is left behind.
    void ExpectRecovery()
    {
        oxv_faults_clear(device);
        oxv_plug(device);
        ASSERT_NO_FATAL_FAILURE(MeasureGrey());
        auto elsewhere = std::async(std::launch::async, [this] { MeasureGrey(); });
        ASSERT_EQ(elsewhere.wait_for(std::chrono::minutes(1)), std::future_status::ready) << "a lock is held";
        ASSERT_TRUE(SettlesAt("/proc/self/task", threads));
        const auto lines = Trace(device);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "open 1"), std::count(lines.begin(), lines.end(), "close 1"));
    }

    void BreakEach(const std::string& how, std::uint32_t times, std::uint32_t step)
    {
        std::uint32_t nth = 1;
        for (bool met = true; met; nth += step) {
            SCOPED_TRACE(testing::Message() << how << " at " << nth << (times == 1 ? ", once" : ", for good"));
            ASSERT_NO_FATAL_FAILURE(PrepareBench());
            ASSERT_EQ(oxv_fault(device, "any", nth, times, how.c_str()), OXV_OK) << oxv_last_error();
            ASSERT_NO_FATAL_FAILURE(RunSession());
            if (nth % 2 == 0) { // so that the end of a connection meets faults too
                EXPECT_OK(Set("Reset", "All"));
            }
            met = oxv_count(device, "any") >= nth;
            ASSERT_NO_FATAL_FAILURE(ExpectRecovery());
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_GT(nth, 100U);
        EXPECT_GT(failures, 0) << "the faults have met nothing";
    }

private:
    void Expect(OX_Result result)
    {
        EXPECT_THAT(result, isDocumented) << Option("LastError");
        failures += result == OX_NoError ? 0 : 1;
    }

    int failures = 0;
    const std::size_t threads = [] {
        std::thread([] {}).join(); // a sanitizer starts a thread of its own beside the first
        return CountEntries("/proc/self/task");
    }();
};

}

TEST_F(SpectrophotometerFaults, OneTransferFails)
{
    BreakEach("fail", 1, stride);
}

TEST_F(SpectrophotometerFaults, EveryTransferFailsFromOneOn)
{
    BreakEach("fail", 0, stride);
}

TEST_F(SpectrophotometerFaults, TheCableIsPulledDuringATransfer)
{
    BreakEach("unplug", 1, stride);
}

TEST_F(SpectrophotometerFaults, ATransferGoesWrongInAnotherWay)
{
    for (const char* how : {"stall", "timeout", "short", "one-short", "empty", "garbage"}) {
        BreakEach(how, 1, 5 * stride);
        BreakEach(how, 0, 17 * stride);
    }
}
