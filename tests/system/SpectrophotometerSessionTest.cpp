// The life of an application with its instrument: modes side by side, a restart, a pulled cable, two instruments, a
// reset of everything at any moment, and handlers that are slow, throw, or call back.

#include "tests/system/SystemBench.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::int64_t hour = 3'600'000'000;

bool IsNear(const Spectrum& seen, float level, float tolerance = 0.005F)
{
    for (const float value : seen)
        if (!(value > level - tolerance && value < level + tolerance))
            return false;
    return true;
}

Spectrum ReadSpectrum(std::int32_t index = 0)
{
    Spectrum spectrum{};
    EXPECT_OK(OX_GetSpectrum(spectrum.data(), index));
    return spectrum;
}

class SpectrophotometerSession : public SystemBench {
protected:
    void SetUp() override { Plug(); }

    void LayStrip() const
    {
        for (const float level : {0.2F, 0.6F, 0.1F, 0.4F}) {
            const Spectrum patch = Flat(level);
            ASSERT_EQ(oxv_strip_add(device, patch.data(), patch.size(), 380, 10, 0.3, 0.02), OXV_OK);
        }
        Show("strip");
    }

    void Unplug() const { ASSERT_EQ(oxv_unplug(device), OXV_OK); }
    void PlugBack() const { ASSERT_EQ(oxv_plug(device), OXV_OK); }
};

/// Runs a function as a handler, of errors or of messages.
std::function<void()> inHandler;
std::atomic<int> handlerCalls = 0;

void HandleError(const char*, std::int32_t, const char*)
{
    ++handlerCalls;
    inHandler();
}

void HandleMessage(std::int32_t, const char*)
{
    ++handlerCalls;
    inHandler();
}

void HandleFloats(std::uint32_t, const float*, std::uint32_t)
{
    if (++handlerCalls == 1)
        inHandler();
}

void HandleLongs(std::uint32_t, const std::int32_t*, std::uint32_t) { }

/// A handler is in force for the length of a scope.
class Handler {
public:
    explicit Handler(std::function<void()> action)
    {
        handlerCalls = 0;
        inHandler = std::move(action);
    }
    Handler(const Handler&) = delete;
    Handler& operator=(const Handler&) = delete;
    ~Handler()
    {
        OX_RegisterRecognitionCallback(nullptr, nullptr);
        OX_SetOption("Reset", "All"); // the handler has ended then
    }

    /// @return whether the handler has been called so often, within 30 s of real time
    static bool Called(int times)
    {
        for (int i = 0; i < 3000 && handlerCalls < times; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return handlerCalls >= times;
    }
};

}

TEST_F(SpectrophotometerSession, EachModeKeepsWhatWasMeasuredInIt)
{
    EXPECT_EQ(Option("MeasurementMode"), "SingleReflectance");
    EXPECT_EQ(Option("AvailableMeasurementModes"),
              "SingleEmission;SingleReflectance;ScanningReflectance;SingleAmbientLight;ScanningAmbientLight");
    CalibrateIn("SingleReflectance");
    ShowSample(Flat(0.3F));
    ASSERT_OK(OX_TriggerMeasurement());

    CalibrateIn("ScanningReflectance");
    ASSERT_OK(Set("Recognition", "yes"));
    LayStrip();
    ASSERT_OK(OX_TriggerMeasurement());
    ASSERT_EQ(OX_GetNumberOfAvailableSamples(), 4);

    CalibrateIn("SingleEmission");
    Show("source");
    ASSERT_OK(OX_TriggerMeasurement());
    CalibrateIn("SingleAmbientLight");
    Show("diffuser");
    ASSERT_OK(OX_TriggerMeasurement());

    CalibrateIn("ScanningAmbientLight");
    ASSERT_OK(Set("Recognition", "yes"));
    Show("diffuser");
    const Spectrum flash = Flat(25);
    ASSERT_EQ(oxv_flash(device, 0.3, 0.05, flash.data(), flash.size(), 380, 10), OXV_OK);
    ASSERT_OK(OX_TriggerMeasurement());
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);

    struct Case {
        const char* mode;
        const char* samples;
        float level;
        const char* illumination;
    };
    const Case cases[] = {{"SingleReflectance", "1", 0.3F, "D65"},
                          {"ScanningReflectance", "4", 0.2F, "D65"},
                          {"SingleEmission", "1", 0.05F, "Emission"},
                          {"SingleAmbientLight", "1", 0.05F, "Emission"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        ASSERT_OK(Set("MeasurementMode", c.mode));
        EXPECT_EQ(Option("MeasurementMode"), c.mode);
        EXPECT_EQ(Option("AvailableSamples"), c.samples);
        EXPECT_EQ(Option("Colorimetric.Illumination"), c.illumination);
        EXPECT_TRUE(IsNear(ReadSpectrum(), c.level));
    }
    EXPECT_THAT(TakeReports(), IsEmpty());
}

TEST_F(SpectrophotometerSession, AResetOfAModeForgetsItsStateButNotItsCalibration)
{
    CalibrateIn("SingleReflectance");
    Show("sample");
    ASSERT_OK(OX_TriggerMeasurement());
    ASSERT_OK(Set("Colorimetric.Observer", "TenDegree"));
    ASSERT_OK(Set("Reset", "SingleEmission"));
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
    EXPECT_EQ(Option("Colorimetric.Observer"), "TenDegree");

    ASSERT_OK(Set("MeasurementMode", "Reset"));
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    EXPECT_EQ(Option("Colorimetric.Observer"), "TwoDegree");
    EXPECT_OK(OX_TriggerMeasurement());

    EXPECT_EQ(Set("Reset", "Scanning"), OX_InvalidParameter);
    EXPECT_EQ(Option("LastError"), "No such measure interface Scanning");
}

TEST_F(SpectrophotometerSession, TheLastCalibrationIsKnownByTimeAndCount)
{
    CalibrateIn("SingleReflectance");
    oxv_clock_advance(hour);
    EXPECT_EQ(Option("LastCalibrationTime"), "3600");
    EXPECT_EQ(Option("LastCalibrationCounter"), "0");
    Show("sample");
    ASSERT_OK(OX_TriggerMeasurement());
    ASSERT_OK(OX_TriggerMeasurement());
    EXPECT_EQ(Option("LastCalibrationCounter"), "2");
    ASSERT_OK(Set("Reset", "SingleReflectance"));
    EXPECT_EQ(Option("LastCalibrationCounter"), "2") << "the instrument knows";

    ASSERT_OK(Set("MeasurementMode", "SingleEmission"));
    EXPECT_EQ(Option("LastCalibrationTime"), "-1");
    CalibrateIn("SingleEmission");
    oxv_clock_advance(hour);
    EXPECT_EQ(Option("LastCalibrationTime"), "3600");
    Show("source");
    ASSERT_OK(OX_TriggerMeasurement());
    CalibrateIn("SingleEmission");
    EXPECT_EQ(Option("LastCalibrationCounter"), "1") << "a calibration does not count anew";
    ASSERT_OK(Set("Reset", "SingleEmission"));
    EXPECT_EQ(Option("LastCalibrationTime"), "-1");
    EXPECT_EQ(Option("LastCalibrationCounter"), "0");

    Show("source");
    ASSERT_OK(Set("LastCalibrationCounter", "2147483647"));
    EXPECT_OK(OX_TriggerMeasurement());
    ASSERT_OK(Set("LastCalibrationCounter", "many"));
    EXPECT_EQ(OX_TriggerMeasurement(), OX_InternalError);
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
}

TEST_F(SpectrophotometerSession, ASpotCalibrationSurvivesARestart)
{
    EXPECT_EQ(OX_TriggerMeasurement(), OX_CalculationFailed);
    EXPECT_EQ(Option("LastError"), "Sample calculation: White data not valid");
    ASSERT_EQ(oxv_set_number(device, "lamp-scale", 2), OXV_OK); // so that a time of its own is found
    CalibrateIn("SingleReflectance");
    CalibrateIn("ScanningReflectance");
    ASSERT_OK(Set("MeasurementMode", "SingleReflectance"));
    const std::string time = Option("2009");
    EXPECT_NE(time, "0.02");
    ShowSample(Flat(0.25F));
    ASSERT_OK(OX_TriggerMeasurement());
    const Spectrum before = ReadSpectrum();

    Restart();
    oxv_clock_advance(hour);
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    ASSERT_OK(OX_TriggerMeasurement());
    EXPECT_EQ(ReadSpectrum(), before);
    EXPECT_EQ(Option("2009"), time);
    EXPECT_EQ(Option("LastCalibrationCounter"), "4") << "two spots, and two looks at the white for the scan";
    ASSERT_OK(Set("MeasurementMode", "ScanningReflectance"));
    EXPECT_EQ(OX_TriggerMeasurement(), OX_CalculationFailed) << "a scan's does not";
}

TEST_F(SpectrophotometerSession, APulledCableIsFoundAndMendedByEveryCall)
{
    using Call = std::function<OX_Result()>;
    const std::pair<const char*, Call> calls[] = {
        {"OX_IsConnected", OX_IsConnected},
        {"OX_Calibrate", OX_Calibrate},
        {"OX_TriggerMeasurement", OX_TriggerMeasurement},
        {"OX_TriggerCountedScan", [] { return OX_TriggerCountedScan(20); }},
        {"OX_SetOption of a property", [] { return Set("2001", "0.2"); }},
        {"OX_SetOption of a mode", [] { return Set("MeasurementMode", "SingleReflectance"); }},
        {"OX_GetOption",
         [] { return Option("SerialNumber") == "100001" ? OX_Result{OX_NoError} : OX_Result{OX_DeviceNotConnected}; }},
        {"OX_GetOption of a property",
         [] { return Option("2009").empty() ? OX_Result{OX_DeviceNotConnected} : OX_Result{OX_NoError}; }},
    };
    CalibrateIn("ScanningReflectance");
    CalibrateIn("SingleReflectance");
    for (const auto& [name, call] : calls)
        for (const bool noticed : {true, false}) {
            SCOPED_TRACE(testing::Message() << name << (noticed ? ", noticed" : ""));
            Show("tile");
            ASSERT_OK(OX_TriggerMeasurement());
            ASSERT_OK(Set("Colorimetric.Observer", "TenDegree"));
            Unplug();
            if (noticed) {
                ASSERT_EQ(oxv_settle(10000), OXV_OK);
            }
            const OX_Result gone = call();
            if (noticed || gone != OX_NoError) { // what needs no transfer may come before the removal is known
                EXPECT_EQ(gone, OX_DeviceNotConnected);
            }
            ASSERT_EQ(oxv_settle(10000), OXV_OK);
            EXPECT_EQ(Option("Connection"), "no");
            EXPECT_EQ(Option("SerialNumber"), "");
            EXPECT_EQ(Option("LastError"), "no error");
            EXPECT_EQ(Option("Colorimetric.Observer"), "TenDegree") << "what is no business of the device answers";
            PlugBack();
            const OX_Result again = call();
            // The white of a scan goes with the connection.
            EXPECT_EQ(again, name == std::string("OX_TriggerCountedScan") ? OX_CalculationFailed : OX_NoError)
                << Option("LastError");
            EXPECT_OK(OX_TriggerMeasurement()) << "the white of a spot comes back from the instrument";
            EXPECT_EQ(Option("Connection"), "yes");
        }
}

TEST_F(SpectrophotometerSession, SamplesStayWhenTheInstrumentHasGone)
{
    CalibrateIn("SingleReflectance");
    ShowSample(Flat(0.3F));
    ASSERT_OK(OX_TriggerMeasurement());
    Unplug();
    ASSERT_EQ(oxv_settle(10000), OXV_OK);
    EXPECT_TRUE(IsNear(ReadSpectrum(), 0.3F));
    std::array<float, 4> densities{};
    EXPECT_OK(OX_GetDensities(densities.data(), nullptr, 0));
    EXPECT_NEAR(densities[3], 0.523, 0.01);
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 1);
    EXPECT_EQ(Option("AvailableSamples"), "");
    EXPECT_EQ(Set("Reset", "SingleReflectance"), OX_NotSupported) << "no modes are available";
    EXPECT_EQ(OX_KeyPressed(), OX_DeviceNotConnected);
    EXPECT_EQ(Option("LastError"), "ox not connected !");
    EXPECT_THAT(Option("ExtendedErrorInformation"), testing::HasSubstr("::OX_KeyPressed(): "));
}

TEST_F(SpectrophotometerSession, AnInstrumentThatComesLaterIsFound)
{
    Restart();
    ASSERT_EQ(oxv_remove(device), OXV_OK);
    OX_SetOption("Reset", "All");
    RegisterHandlers();
    EXPECT_EQ(OX_Calibrate(), OX_DeviceNotConnected);
    EXPECT_THAT(TakeReports(), ElementsAre(Report{"OX_Calibrate", 2, "No devices connected"}));
    EXPECT_EQ(Option("Connection"), "no");
    EXPECT_EQ(Option("LastError"), "no error");
    device = oxv_attach("spectrophotometer", "usb");
    EXPECT_OK(OX_Calibrate());
}

TEST_F(SpectrophotometerSession, TwoInstrumentsAreTwoWorlds)
{
    const oxv_device second = oxv_attach("spectrophotometer", "usb");
    ASSERT_EQ(oxv_set_number(second, "serial-number", 4711), OXV_OK);
    CalibrateIn("SingleReflectance");
    ShowSample(Flat(0.3F));
    ASSERT_OK(OX_TriggerMeasurement());

    ASSERT_OK(Set("DeviceType", "Orvex1"));
    RegisterHandlers();
    EXPECT_EQ(Option("DeviceType"), "Orvex1");
    EXPECT_EQ(Option("SerialNumber"), "4711");
    EXPECT_EQ(OX_TriggerMeasurement(), OX_CalculationFailed) << "the other one's calibration is no business of this";
    ASSERT_OK(OX_Calibrate());
    const Spectrum dark = Flat(0.1F);
    oxv_set_curve(second, "sample", dark.data(), dark.size(), 380, 10);
    Show(second, "sample");
    ASSERT_OK(OX_TriggerMeasurement());
    EXPECT_TRUE(IsNear(ReadSpectrum(), 0.1F));

    ASSERT_EQ(oxv_press(second), OXV_OK);
    ASSERT_EQ(oxv_press(device), OXV_OK);
    ASSERT_TRUE(AwaitMessages(2));
    EXPECT_THAT(TakeMessages(), testing::UnorderedElementsAre(Message{0, "4711"}, Message{0, "100001"}));

    ASSERT_OK(Set("DeviceType", "Orvex"));
    EXPECT_TRUE(IsNear(ReadSpectrum(), 0.3F));
    EXPECT_EQ(Option("SerialNumber"), "100001");
    EXPECT_OK(OX_KeyPressed());

    ASSERT_OK(Set("Reset", "Orvex1"));
    EXPECT_EQ(Option("DeviceType"), "Orvex1");
    EXPECT_EQ(OX_GetNumberOfAvailableSamples(), 0);
    EXPECT_OK(OX_TriggerMeasurement()) << "its instrument has kept the calibration";
    ASSERT_OK(Set("DeviceType", "Orvex2"));
    EXPECT_EQ(OX_Calibrate(), OX_DeviceNotConnected);
    EXPECT_EQ(Option("LastError"), "No such device connected");
}

TEST_F(SpectrophotometerSession, KeyAndRemovalAreReportedOnce)
{
    ASSERT_OK(OX_IsConnected());
    EXPECT_EQ(OX_KeyPressed(), OX_KeyNotPressed);
    EXPECT_EQ(Option("LastError"), "no error");
    ASSERT_EQ(oxv_press(device), OXV_OK);
    ASSERT_TRUE(AwaitMessages(1));
    EXPECT_OK(OX_KeyPressed());
    EXPECT_EQ(OX_KeyPressed(), OX_KeyNotPressed);
    ASSERT_EQ(oxv_press(device), OXV_OK);
    ASSERT_TRUE(AwaitMessages(2));
    EXPECT_EQ(Option("IsKeyPressed"), "yes");
    EXPECT_EQ(OX_KeyPressed(), OX_KeyNotPressed);
    Unplug();
    ASSERT_TRUE(AwaitMessages(3));
    EXPECT_THAT(TakeMessages(), ElementsAre(Message{0, "100001"}, Message{0, "100001"}, Message{1, "100001"}));
    EXPECT_EQ(OX_IsConnected(), OX_DeviceNotConnected);
    EXPECT_THAT(TakeReports(), IsEmpty()) << "a plain no is no failure";
    PlugBack();
    EXPECT_OK(OX_IsConnected());
    ASSERT_EQ(oxv_press(device), OXV_OK);
    EXPECT_TRUE(AwaitMessages(1)) << "the handler stays with the context";
    EXPECT_NE(OX_RegisterDeviceMessageHandler(nullptr), nullptr);
    EXPECT_EQ(OX_RegisterDeviceMessageHandler(nullptr), nullptr);
}

TEST_F(SpectrophotometerSession, ASlowHandlerHoldsUpNothingButMessages)
{
    std::atomic<bool> go = false;
    const Handler handler([&] {
        while (!go)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    OX_RegisterDeviceMessageHandler(HandleMessage);
    ASSERT_OK(OX_IsConnected());
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(oxv_press(device), OXV_OK);
        ASSERT_EQ(oxv_settle(10000), OXV_OK);
    }
    ASSERT_TRUE(Handler::Called(1));
    CalibrateIn("SingleReflectance");
    EXPECT_OK(OX_KeyPressed());
    EXPECT_EQ(handlerCalls, 1);
    go = true;
    EXPECT_TRUE(Handler::Called(3));
}

TEST_F(SpectrophotometerSession, AResetWaitsForARunningHandler)
{
    std::atomic<bool> ended = false;
    const Handler handler([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ended = true;
    });
    OX_RegisterDeviceMessageHandler(HandleMessage);
    ASSERT_OK(OX_IsConnected());
    ASSERT_EQ(oxv_press(device), OXV_OK);
    ASSERT_TRUE(Handler::Called(1));
    ASSERT_OK(Set("Reset", "All"));
    EXPECT_TRUE(ended);
    EXPECT_OK(OX_IsConnected());
}

TEST_F(SpectrophotometerSession, AMessageHandlerMayThrowAndCallBack)
{
    std::atomic<int> connected = -1;
    const Handler handler([&] {
        if (handlerCalls == 1)
            throw 1;
        if (handlerCalls == 2)
            throw OXSDK::Exception();
        connected = OX_IsConnected();
    });
    OX_RegisterDeviceMessageHandler(HandleMessage);
    ASSERT_OK(OX_IsConnected());
    for (int i = 1; i <= 3; ++i) {
        ASSERT_EQ(oxv_press(device), OXV_OK);
        ASSERT_TRUE(Handler::Called(i));
    }
    for (int i = 0; i < 3000 && connected == -1; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(connected, OX_NoError);
}

TEST_F(SpectrophotometerSession, AMessageHandlerMayResetEverything)
{
    std::atomic<int> result = -1;
    Handler handler([&] { result = OX_SetOption("Reset", "All"); });
    OX_RegisterDeviceMessageHandler(HandleMessage);
    ASSERT_OK(OX_IsConnected());
    ASSERT_EQ(oxv_press(device), OXV_OK);
    for (int i = 0; i < 3000 && result == -1; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(result, OX_NoError);
    CalibrateIn("SingleReflectance");
    EXPECT_EQ(OX_RegisterDeviceMessageHandler(nullptr), nullptr) << "a new context";
}

TEST_F(SpectrophotometerSession, AnErrorHandlerMayMendOrResetEverything)
{
    {
        const Handler handler([] { // mends what is wrong, in the middle of the failing call
            OX_RegisterErrorHandler(nullptr);
            OX_Calibrate();
        });
        OX_RegisterErrorHandler(HandleError);
        OX_TriggerMeasurement();
        EXPECT_OK(OX_TriggerMeasurement());
    }
    ASSERT_EQ(oxv_reset(), OXV_OK);
    Plug();
    for (const char* reset : {"All", "Orvex"}) {
        SCOPED_TRACE(reset);
        const Handler handler([reset] { OX_SetOption("Reset", reset); });
        OX_RegisterErrorHandler(HandleError);
        OX_TriggerMeasurement();
        EXPECT_EQ(handlerCalls, 1);
        EXPECT_OK(OX_IsConnected());
        EXPECT_EQ(OX_RegisterErrorHandler(nullptr), nullptr) << "a new context";
    }
}

TEST_F(SpectrophotometerSession, ARecognitionCallbackMayCallBack)
{
    struct Silent : std::exception {
        const char* what() const noexcept override { return nullptr; }
    };
    struct Case {
        const char* what;
        std::function<void()> action;
        OX_Result result = OX_NoError;
    };
    const Case cases[] = {
        {"reset of everything", [] { OX_SetOption("Reset", "All"); }},
        {"reset of the device", [] { OX_SetOption("Reset", "Orvex"); }},
        {"reset of the mode", [] { OX_SetOption("Reset", "ScanningReflectance"); }},
        {"another strategy", [] { OX_SetOption("Recognition", "no"); }},
        {"another mode", [] { OX_SetOption("MeasurementMode", "SingleReflectance"); }},
        {"another measurement", [] { OX_TriggerMeasurement(); }},
        {"an exception", [] { throw std::runtime_error("no"); }, OX_RecognitionFailed},
        {"an exception without a text", [] { throw Silent(); }, OX_RecognitionFailed},
    };
    LayStrip();
    for (const auto& [what, action, expected] : cases) {
        SCOPED_TRACE(what);
        const Handler handler(action);
        CalibrateIn("ScanningReflectance");
        ASSERT_OK(Set("Recognition", "yes"));
        Show("strip");
        OX_RegisterRecognitionCallback(HandleFloats, HandleLongs);
        const OX_Result result = OX_TriggerMeasurement();
        EXPECT_GT(handlerCalls, 0);
        EXPECT_EQ(result, expected) << Option("LastError");
        OX_RegisterRecognitionCallback(nullptr, nullptr);
        CalibrateIn("ScanningReflectance");
        Show("strip");
        EXPECT_OK(OX_TriggerMeasurement());
    }
}

TEST_F(SpectrophotometerSession, AResetMayComeAtAnyMoment)
{
    const std::function<void()> steps[] = {
        [] {},
        [] { OX_IsConnected(); },
        [this] { CalibrateIn("SingleReflectance"); },
        [] { OX_TriggerMeasurement(); },
        [this] { CalibrateIn("ScanningReflectance"); },
        [] { OX_TriggerCountedScan(30); },
        [this] { oxv_press(device); },
        [this] { Unplug(); },
        [] { OX_Calibrate(); },
        [this] { PlugBack(); },
    };
    for (const auto& step : steps) {
        step();
        EXPECT_OK(Set("MeasurementMode", "ResetAll"));
        step();
        EXPECT_OK(Set("Reset", "All"));
        EXPECT_OK(Set("Reset", "All"));
    }
    EXPECT_OK(OX_IsConnected());
}

TEST_F(SpectrophotometerSession, AHandlerHasEndedBeforeTheInstrumentIsClosed)
{
    ASSERT_OK(OX_IsConnected());
    std::atomic<bool> isClosed = false;
    const Handler handler([&] {
        for (int i = 0; i < 20 && !isClosed; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            isClosed = testing::Value(Trace(device), testing::Contains("close 0"));
        }
    });
    OX_RegisterDeviceMessageHandler(HandleMessage);
    ASSERT_EQ(oxv_press(device), OXV_OK);
    ASSERT_TRUE(Handler::Called(1));
    EXPECT_OK(Set("Reset", "All"));
    EXPECT_FALSE(isClosed);
    EXPECT_THAT(Trace(device), testing::Contains("close 0"));
}

TEST_F(SpectrophotometerSession, AnOpeningThatFailsSendsNoMessage)
{
    for (std::uint32_t passing = 1; passing <= 40; ++passing) {
        ASSERT_EQ(oxv_fault(device, "control", passing % 8 + 1, 1, "unplug"), OXV_OK);
        EXPECT_EQ(OX_IsConnected(), OX_DeviceNotConnected);
        ASSERT_EQ(oxv_plug(device), OXV_OK);
    }
    EXPECT_THAT(TakeMessages(), IsEmpty());
}
