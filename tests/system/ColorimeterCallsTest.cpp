// What the display colorimeter makes of a screen, a room and a failing cable, through the exported calls.

#include "orvex/zelcal.h"
#include "tests/system/SystemBench.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pointwise;
using testing::StartsWith;

namespace {

using Color = std::array<float, 3>;

constexpr Color white = {95.047F, 100, 108.883F};
constexpr Color room = {200, 210, 150};

/// The matrix of a new instrument's second calibration, the one for a CRT, is that of the first times so much.
constexpr float crtFactor = 1.05F;

constexpr Color Scaled(const Color& color, float factor)
{
    return {color[0] * factor, color[1] * factor, color[2] * factor};
}

MATCHER_P(IsWithin, relative, "")
{
    return std::fabs(std::get<0>(arg) - std::get<1>(arg)) <= relative * std::fabs(std::get<1>(arg));
}

class ColorimeterCalls : public SystemBench {
protected:
    void Attach(int type)
    {
        device = oxv_attach(("colorimeter-" + std::to_string(type)).c_str(), "usb");
        ASSERT_GT(device, 0) << oxv_last_error();
        RegisterHandlers();
        ASSERT_OK(Set("DeviceType", "OrvexDisplay"));
        ASSERT_OK(Set("ColorSpaceDescription.Type", "CIEXYZ"));
    }

    void Show(const Color& light, const std::string& prefix = "") const
    {
        const char* const names[] = {"X", "Y", "Z"};
        for (std::size_t i = 0; i < light.size(); ++i)
            ASSERT_EQ(oxv_set_number(device, (prefix + names[i]).c_str(), light[i]), OXV_OK) << oxv_last_error();
    }

    static Color Read()
    {
        std::array<float, 4> values{0, 0, 0, 7};
        EXPECT_OK(OX_GetTriStimulus(values.data(), 0));
        EXPECT_EQ(values[3], 7) << "behind the array";
        return {values[0], values[1], values[2]};
    }

    static Color Measure()
    {
        EXPECT_OK(OX_TriggerMeasurement());
        return Read();
    }

    static void ExpectFailure(OX_Result result, OX_Result code, const std::string& text)
    {
        EXPECT_EQ(result, code);
        EXPECT_THAT(Option("LastError"), StartsWith(text));
    }

    /// The openings and closings of the connection since the trace was cleared.
    std::vector<std::string> Connections() const
    {
        std::vector<std::string> connections;
        const auto lines = Trace(device);
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(connections),
                     [](const std::string& line) { return line == "open" || line == "close"; });
        return connections;
    }
};

}

TEST_F(ColorimeterCalls, ReadAWhiteScreenBack)
{
    for (const int type : {2, 4, 9, 11, 19, 20, 22}) {
        Attach(type);
        for (const char* screen : {"LCD", "CRT"}) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", " << screen);
            const bool crt = screen == std::string("CRT");
            ASSERT_OK(Set("ScreenType", screen));
            const bool measuresDark = type == 9 || type == 11;
            const bool measuresRefresh = type != 2 && type != 22;
            Show(measuresDark ? Color{0.001F, 0.001F, 0.001F} : white);
            if (crt && !measuresDark && !measuresRefresh)
                ExpectFailure(OX_Calibrate(), OX_InternalError, "calibration failed with code-504");
            else
                EXPECT_OK(OX_Calibrate());
            Show(white);
            for (const char* intensity : {"Auto", "Bright", "Bleak"}) {
                SCOPED_TRACE(intensity);
                ASSERT_OK(Set("PatchIntensity", intensity));
                if (intensity == std::string("Bleak") && (type == 2 || type == 11))
                    ExpectFailure(OX_TriggerMeasurement(), OX_InternalError, "measurement failed with code-504");
                else
                    EXPECT_THAT(Measure(), Pointwise(IsWithin(0.005F), Scaled(white, crt ? crtFactor : 1)));
            }
        }
        ASSERT_OK(Set("Reset", "All"));
        oxv_reset();
    }
}

TEST_F(ColorimeterCalls, RefuseAnInstrumentWithoutCalibrationsForScreens)
{
    Attach(10);
    ASSERT_OK(Set("ScreenType", "LCD"));
    ExpectFailure(OX_Calibrate(), OX_InvalidParameter, "operation failed with code -504");
    ExpectFailure(OX_TriggerMeasurement(), OX_InvalidParameter, "operation failed with code -504");
}

TEST_F(ColorimeterCalls, UseTheCalibrationOfTheScreenType)
{
    Attach(20);
    CalibrationRecord record{};
    ASSERT_OK(OX_IsConnected());
    ASSERT_EQ(zelRetrieveLCDCalibrationDataFromPod(&record), 0);
    for (double& factor : record.matrix)
        factor *= 2;
    ASSERT_EQ(zelStoreLCDCalibrationDataToPod(&record), 0);
    ASSERT_OK(Set("ScreenType", "LCD"));
    EXPECT_THAT(Measure(), Pointwise(IsWithin(0.005F), Scaled(white, 2)));
    ASSERT_OK(Set("ScreenType", "CRT"));
    EXPECT_THAT(Measure(), Pointwise(IsWithin(0.005F), Scaled(white, crtFactor)));
}

TEST_F(ColorimeterCalls, CalibrateWithTheRefreshOfACrt)
{
    Attach(20);
    ASSERT_EQ(oxv_set_number(device, "refresh-hz", 0), OXV_OK);
    ASSERT_OK(Set("ScreenType", "LCD"));
    EXPECT_OK(OX_Calibrate()) << "an LCD needs none";
    ASSERT_OK(Set("ScreenType", "CRT"));
    ExpectFailure(OX_Calibrate(), OX_InternalError, "could not measure refresh rate of CRT");
    ASSERT_EQ(oxv_set_number(device, "refresh-hz", 85), OXV_OK);
    EXPECT_OK(OX_Calibrate());
    EXPECT_THAT(Measure(), Pointwise(IsWithin(0.005F), Scaled(white, crtFactor)));
    const std::string measurements = Option("LastCalibrationCounter");
    EXPECT_OK(OX_Calibrate());
    EXPECT_EQ(Option("LastCalibrationCounter"), measurements) << "a calibration does not start it anew";
}

TEST_F(ColorimeterCalls, ConvertIntoTheSpacesThatNeedNoWhiteOfTheirOwn)
{
    Attach(20);
    ASSERT_OK(Set("ScreenType", "LCD"));
    const Color xyz = Measure();
    const float sum = xyz[0] + xyz[1] + xyz[2];
    const float uv = xyz[0] + 15 * xyz[1] + 3 * xyz[2];
    const struct {
        const char* space;
        Color expected;
    } rows[] = {
        {"CIEXYZ", xyz},
        {"CIExyY", {xyz[0] / sum, xyz[1] / sum, xyz[1]}},
        {"CIEuvY1960", {4 * xyz[0] / uv, 6 * xyz[1] / uv, xyz[1]}},
        {"CIEuvY1976", {4 * xyz[0] / uv, 9 * xyz[1] / uv, xyz[1]}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.space);
        ASSERT_OK(Set("ColorSpaceDescription.Type", row.space));
        EXPECT_THAT(Read(), Pointwise(IsWithin(1e-5F), row.expected));
    }
    ASSERT_OK(Set("ColorSpaceDescription.Type", "CIELab"));
    const Color lab = Read(); // against the white of an emission, 72.99, 100, 73.01
    EXPECT_NEAR(lab[0], 116 * std::cbrt(xyz[1] / 100) - 16, 1e-3);
    EXPECT_NEAR(lab[1], 500 * (std::cbrt(xyz[0] / 72.98873F) - std::cbrt(xyz[1] / 100)), 0.01);
    EXPECT_NEAR(lab[2], 200 * (std::cbrt(xyz[1] / 100) - std::cbrt(xyz[2] / 73.00741F)), 0.01);
    ASSERT_OK(Set("ColorSpaceDescription.Type", "RGB"));
    EXPECT_NEAR(Read()[0], 255, 0.5);
    for (const char* space : {"CIELCh", "CIELChuv", "CIELuv", "LABvd", "LCHvd", "HunterLab", "RxRyRz"}) {
        SCOPED_TRACE(space);
        ASSERT_OK(Set("ColorSpaceDescription.Type", space));
        Color color = white;
        ExpectFailure(OX_GetTriStimulus(color.data(), 0), OX_InternalError,
                      std::string("Conversion not supported from ColorSpace CIEXYZ to ColorSpace ") + space);
        EXPECT_EQ(color, white) << "untouched";
    }
}

TEST_F(ColorimeterCalls, GiveWhatTheToolkitMeasured)
{
    Attach(20);
    ASSERT_OK(Set("ScreenType", "CRT")); // an LCD is measured in one way only
    const auto commands = [this](const char* intensity) {
        EXPECT_OK(Set("PatchIntensity", intensity));
        oxv_trace_clear(device);
        const Color xyz = Measure();
        const auto trace = Trace(device);
        ZelYxyz direct{};
        EXPECT_EQ(std::string(intensity) == "Auto"         ? zelAutoMeasureYxy(1, &direct)
                      : std::string(intensity) == "Bright" ? zelMeasureYxy(1, &direct)
                                                           : zelDarkMeasureYxy(1, 1, 1, 1, 1, &direct),
                  0);
        const double scale = direct.Y / direct.y;
        const Color expected{static_cast<float>(scale * direct.x), static_cast<float>(direct.Y),
                             static_cast<float>((1 - direct.x - direct.y) * scale)};
        EXPECT_THAT(xyz, Pointwise(IsWithin(1e-4F), expected));
        return trace;
    };
    Show(Scaled(white, 0.002F));
    const auto bleak = commands("Bleak"), bright = commands("Bright"), automatic = commands("Auto");
    EXPECT_NE(bleak, bright);
    EXPECT_NE(automatic, bright);
    EXPECT_EQ(Option("SerialNumber"), std::to_string(static_cast<std::int32_t>(zelGetCalibratorSerialNumber())));
    EXPECT_NE(Option("SerialNumber"), "0");
}

TEST_F(ColorimeterCalls, RefuseWhatTheyCannotDo)
{
    Attach(4);
    std::array<float, 36> values{};
    float* const array = values.data();
    const auto set = [](const char* key, const char* value) { return [key, value] { return Set(key, value); }; };
    const auto ask = [](const char* key) {
        return [key] {
            EXPECT_STREQ(OX_GetOption(key), "");
            return LastCode();
        };
    };
    const auto measured = [&](std::int32_t index) { return [=] { return OX_GetTriStimulus(array, index); }; };
    struct Row {
        const char* function;
        std::function<OX_Result()> call;
        OX_Result code;
        const char* text; ///< null: it works
    };
    const char* const none = "This device doesn't support densities";
    const Row rows[] = {
        {"OX_TriggerMeasurement", OX_TriggerMeasurement, 10, "screen type not set"},
        {"OX_Calibrate", OX_Calibrate, 10, "unknown screen type not set"},
        {"", set("ScreenType", "TFT"), 0, nullptr},
        {"OX_TriggerMeasurement", OX_TriggerMeasurement, 10, "screen type not set"},
        {"OX_Calibrate", OX_Calibrate, 10, "unknown screen type TFT"},
        {"", set("ScreenType", "LCD"), 0, nullptr},
        {"", set("PatchIntensity", "Foo"), 0, nullptr},
        {"OX_TriggerMeasurement", OX_TriggerMeasurement, 10, "unknown patch intensity Foo"},
        {"", set("PatchIntensity", "Auto"), 0, nullptr},
        {"OX_GetTriStimulus", measured(0), 8, "index out of range (0 > 0)"},
        {"", OX_TriggerMeasurement, 0, nullptr},
        {"OX_GetTriStimulus", measured(1), 8, "index out of range (1 > 1)"},
        {"OX_GetTriStimulus", measured(-2), 10, "index < 0 !"},
        {"OX_GetTriStimulus", [] { return OX_GetTriStimulus(nullptr, 0); }, 10, "parameter must not be null"},
        {"", measured(-1), 0, nullptr},
        {"OX_TriggerCountedScan", [] { return OX_TriggerCountedScan(5); }, 12, "This device doesn't support scanning"},
        {"OX_GetSpectrum", [&] { return OX_GetSpectrum(array, 0); }, 12, "This device can measure tristimulus only"},
        {"OX_GetDensity", [&] { return OX_GetDensity(array, 0); }, 12, none},
        {"OX_GetDensities", [] { return OX_GetDensities(nullptr, nullptr, 0); }, 12, none},
        {"OX_SetSubstrate", [] { return OX_SetSubstrate(nullptr); }, 12, none},
        {"OX_SetOption", set("MeasurementMode", "SingleAmbientLight"), 6,
         "this device doesn't have ambient light support"},
        {"OX_SetOption", set("MeasurementMode", "Foo"), 6, "this device doesn't support measure modeFoo"},
        {"OX_SetOption", set("PatchIntensity", ""), 10, "parameter must not be empty"},
        {"OX_GetOption", ask("Recognition"), 9, "invalid key Recognition for Orvex-Display"},
        {"OX_GetOption", ask("Anything"), 10, "Unknown argument Anything"},
        {"", set("Anything", "x"), 0, nullptr},
        {"", OX_Calibrate, 0, nullptr},
        {"OX_GetTriStimulus", measured(0), 8, "index out of range (0 > 0)"}, // a calibration empties the samples
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text == nullptr ? "" : row.text);
        TakeReports();
        EXPECT_EQ(row.call(), row.code) << Option("LastError");
        if (row.text != nullptr) {
            EXPECT_THAT(TakeReports(), ElementsAre(Report{row.function, row.code, row.text}));
            EXPECT_EQ(Option("LastError"), row.text);
            EXPECT_THAT(Option("ExtendedErrorInformation"), Not(testing::ContainsRegex("::Zelkova[A-Z][A-Za-z]*\\(")))
                << "a class in the place of a method";
        }
    }
    for (const auto& [key, answer] : {std::pair{"Anything", "x"},
                                      {"PhysicalFilter", "1"},
                                      {"IsKeyPressed", "no"},
                                      {"AvailableMeasurementModes", "SingleEmission"}})
        EXPECT_EQ(Option(key), answer);
    EXPECT_EQ(OX_KeyPressed(), OX_KeyNotPressed);
    ASSERT_EQ(oxv_fault(device, "command:0", 1, 1, "fail"), OXV_OK);
    ASSERT_EQ(oxv_fault(device, "command:0", 3, 1, "fail"), OXV_OK); // the second is the opening's
    ExpectFailure(OX_KeyPressed(), OX_DeviceNotConnected, "ox-Display not connected !");
    ASSERT_EQ(oxv_unplug(device), OXV_OK);
    ExpectFailure(OX_KeyPressed(), OX_DeviceNotConnected, "no ox-display connected (code ");
}

TEST_F(ColorimeterCalls, OpenAnewForTheSecondAttempt)
{
    Attach(20);
    ASSERT_OK(Set("ScreenType", "LCD"));
    oxv_trace_clear(device);
    EXPECT_OK(OX_TriggerMeasurement());
    EXPECT_THAT(Connections(), IsEmpty());

    // The third version query is the last one before the instrument is asked to measure.
    for (const auto& [what, call, nth] : {std::tuple{"a version query", &OX_TriggerMeasurement, 2U},
                                          {"the measurement", &OX_TriggerMeasurement, 6U},
                                          {"the calibration", &OX_Calibrate, 4U}}) {
        SCOPED_TRACE(what);
        ASSERT_OK(Set("ScreenType", "CRT"));
        oxv_trace_clear(device);
        ASSERT_EQ(oxv_fault(device, "command", nth, 1, "fail"), OXV_OK);
        EXPECT_OK(call());
        EXPECT_THAT(Connections(), ElementsAre("close", "open"));
        EXPECT_EQ(OX_GetNumberOfAvailableSamples(), call == OX_Calibrate ? 0 : 1);
        EXPECT_THAT(TakeReports(), IsEmpty());
    }
    EXPECT_EQ(Option("LastCalibrationCounter"), "3");
    EXPECT_NE(Option("LastCalibrationTime"), "-1");

    oxv_trace_clear(device);
    ASSERT_OK(Set("PatchIntensity", "Dim"));
    ExpectFailure(OX_TriggerMeasurement(), OX_InvalidParameter, "unknown patch intensity Dim");
    EXPECT_THAT(Connections(), IsEmpty()) << "a text is no failure of the instrument";
}

TEST_F(ColorimeterCalls, FallBackToTheScreenWhenAmbientLightFails)
{
    Attach(20);
    ASSERT_OK(Set("MeasurementMode", "SingleAmbientLight"));
    ASSERT_OK(Set("ColorSpaceDescription.Type", "CIEXYZ"));
    Show(room, "ambient-");
    EXPECT_THAT(Measure(), Pointwise(IsWithin(0.005F), room)) << "without a screen type";
    EXPECT_EQ(Option("MeasurementMode"), "SingleAmbientLight");

    Show(white);
    ASSERT_EQ(oxv_fault(device, "command:22", 1, 1, "fail"), OXV_OK);
    ASSERT_OK(OX_TriggerMeasurement());
    EXPECT_EQ(Option("MeasurementMode"), "SingleEmission");
    EXPECT_THAT(Read(), Pointwise(IsWithin(0.005F), white));
    ASSERT_OK(Set("MeasurementMode", "SingleAmbientLight"));
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
}

TEST_F(ColorimeterCalls, KeepWhatEachKindOfInstrumentHas)
{
    Plug();
    const oxv_device spectrophotometer = device;
    Attach(20);
    ASSERT_OK(Set("ScreenType", "CRT"));
    ASSERT_OK(Set("PatchIntensity", "Bright"));
    const Color measured = Measure();

    ASSERT_OK(Set("DeviceType", "Orvex"));
    EXPECT_EQ(Option("DeviceType"), "Orvex");
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    ASSERT_EQ(oxv_unplug(spectrophotometer), OXV_OK);
    EXPECT_NE(OX_Calibrate(), OX_NoError);

    ASSERT_OK(Set("DeviceType", "OrvexDisplay"));
    EXPECT_EQ(Read(), measured) << "whatever becomes of the other";
    EXPECT_EQ(Option("ScreenType"), "CRT");
    EXPECT_EQ(Option("PatchIntensity"), "Bright");
    EXPECT_OK(OX_TriggerMeasurement());
}

TEST_F(ColorimeterCalls, SurviveAFaultInEveryExchange)
{
    const auto session = [](int step) {
        return step == 0 ? OX_IsConnected() : step == 1 ? OX_Calibrate() : OX_TriggerMeasurement();
    };
    for (const char* fault :
         {"fail", "stall", "timeout", "short", "one-short", "empty", "garbage", "wrong-echo", "echo-only", "unplug"})
        for (const std::uint32_t times : {1U, 0U})
            for (std::uint32_t nth = 1;; nth += times == 1 ? 1 : 1 + nth / 8) {
                SCOPED_TRACE(testing::Message() << fault << " at " << nth << (times == 0 ? " for good" : ""));
                ASSERT_OK(Set("Reset", "All"));
                oxv_reset();
                device = oxv_attach("colorimeter-4", "usb");
                ASSERT_EQ(oxv_fault(device, "command", nth, times, fault), OXV_OK) << oxv_last_error();
                Set("DeviceType", "OrvexDisplay");
                Set("ScreenType", "CRT");
                for (int step = 0; step < 3; ++step)
                    ASSERT_THAT(session(step),
                                AnyOf(OX_NoError, OX_DeviceNotConnected, OX_InternalError, OX_InvalidParameter));
                const bool met = oxv_count(device, "command") >= nth;
                oxv_faults_clear(device);
                oxv_plug(device);
                oxv_clock_advance(120'000'000);
                ASSERT_OK(Set("Reset", "All")); // a cell of the memory that was read wrong stays until then
                ASSERT_OK(Set("DeviceType", "OrvexDisplay"));
                ASSERT_OK(OX_IsConnected());
                ASSERT_OK(Set("ScreenType", "CRT"));
                ASSERT_OK(Set("ColorSpaceDescription.Type", "CIEXYZ"));
                ASSERT_OK(OX_Calibrate());
                ASSERT_THAT(Measure(), Pointwise(IsWithin(0.005F), Scaled(white, crtFactor)));
                ASSERT_OK(Set("Reset", "All"));
                const auto connections = Connections();
                ASSERT_EQ(std::count(connections.begin(), connections.end(), "open"),
                          std::count(connections.begin(), connections.end(), "close"));
                if (!met)
                    break;
            }
}
