// Every passing of a point between library and instrument fails in turn, once and for good, during a whole session of
// an application: each call returns a documented code, the library goes on, and nothing stays open. And whatever text
// or number an application passes is taken or refused.

#include "tests/support/DocumentedCodes.h"
#include "tests/support/Settled.h"
#include "tests/system/SystemBench.h"

#include <algorithm>
#include <future>
#include <sstream>
#include <thread>

namespace {

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
        EXPECT_TRUE(IsDocumented(result)) << result << ' ' << Option("LastError");
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

TEST_F(SpectrophotometerFaults, AnyTextIsTakenOrRefused)
{
    Plug();
    std::vector<std::string> texts = {std::string(1 << 20, 'x'), std::string(1 << 20, '7'), std::string(1 << 20, ' '),
                                      " 2009"};
    std::istringstream more("\xFF\xFE\x80 \xC3\xA4\xE2\x82\xAC %s%n%d -1 +2009 2009.5 99999999999999999999 nan inf. "
                            "1e400.0 0x10 All Orvex yes");
    for (std::string text; more >> text;)
        texts.push_back(text);
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 30));
        RegisterHandlers();
        EXPECT_OK(Set(text.c_str(), "5"));
        EXPECT_NE(OX_GetOption(text.c_str()), nullptr);
        EXPECT_NE(OX_GetDeviceInfo(text.c_str()), nullptr);
        std::istringstream keys("MeasurementMode Colorimetric.Illumination Colorimetric.Observer DeviceType Reset "
                                "Recognition Beep AdaptiveMode 2009 2010 7014 SerialNumber");
        for (std::string key; keys >> key;)
            EXPECT_TRUE(IsDocumented(Set(key.c_str(), text.c_str()))) << key;
        TakeReports();
        ASSERT_OK(Set("Reset", "All"));
    }
    RegisterHandlers();
    EXPECT_OK(OX_IsConnected());
}

TEST_F(SpectrophotometerFaults, AnyPropertyMayHoldAnythingAndDoesNoHarm)
{
    const char* const values[] = {"1", "-1", "2147483647", "0.0", "-1.5", "1e38.", "1 2 3", "1.5 2.5"};
    const std::pair<int, int> ranges[] = {{1000, 1012}, {1100, 1103}, {1200, 1216},   {2000, 2021},  {3000, 3013},
                                          {7014, 7014}, {9189, 9189}, {10000, 10024}, {20000, 20003}};
    for (const auto& [first, last] : ranges)
        for (int id = first; id <= last; ++id)
            for (std::size_t i = static_cast<std::size_t>(id) % 2; i < std::size(values); i += 2) {
                SCOPED_TRACE(testing::Message() << id << " = " << values[i]);
                oxv_reset();
                Plug();
                const std::string key = std::to_string(id);
                CalibrateIn("SingleReflectance");
                EXPECT_OK(Set(key.c_str(), values[i]));
                Show("sample");
                EXPECT_TRUE(IsDocumented(OX_TriggerMeasurement()));
                EXPECT_TRUE(IsDocumented(Set("MeasurementMode", "ScanningReflectance")));
                EXPECT_TRUE(IsDocumented(Set(key.c_str(), values[i])));
                Show("tile");
                EXPECT_TRUE(IsDocumented(OX_Calibrate()));
                EXPECT_NE(OX_GetOption(key.c_str()), nullptr);
                TakeReports();
                ASSERT_OK(Set("Reset", "All"));
            }
}
