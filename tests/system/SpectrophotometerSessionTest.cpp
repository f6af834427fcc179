// The life of an application with its instrument where a list of steps does not tell it: a cable that is pulled before
// each call, a reset at any moment, and handlers that are slow, throw, or call back.

#include "tests/system/SystemBench.h"

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>

using testing::Contains;

namespace {

class SpectrophotometerSession : public SystemBench {
protected:
    void SetUp() override { Plug(); }
    void Unplug() const { ASSERT_EQ(oxv_unplug(device), OXV_OK); }
    void PlugBack() const { ASSERT_EQ(oxv_plug(device), OXV_OK); }

    void Press(int times = 1) const
    {
        for (int i = 0; i < times; ++i) {
            ASSERT_EQ(oxv_press(device), OXV_OK);
            ASSERT_EQ(oxv_settle(10000), OXV_OK);
        }
    }
};

/// Whether something comes to hold within 30 s of real time.
bool Eventually(const std::function<bool()>& holds)
{
    for (int i = 0; i < 3000 && !holds(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return holds();
}

/// Runs a function as a handler, of errors, of messages or of what the recognition reports.
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

/// A handler is in force for the length of a scope; the instrument is open from its beginning.
class Handler {
public:
    explicit Handler(std::function<void()> action)
    {
        handlerCalls = 0;
        inHandler = std::move(action);
        OX_RegisterDeviceMessageHandler(HandleMessage);
        EXPECT_OK(OX_IsConnected());
    }
    Handler(const Handler&) = delete;
    Handler& operator=(const Handler&) = delete;
    ~Handler()
    {
        OX_RegisterRecognitionCallback(nullptr, nullptr);
        OX_SetOption("Reset", "All"); // the handler has ended then
    }

    static bool Called(int times)
    {
        return Eventually([times] { return handlerCalls >= times; });
    }
};

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
        {"OX_GetOption", [] { return Option("SerialNumber") == "100001" ? 0 : 2; }},
        {"OX_GetOption of a property", [] { return Option("2009").empty() ? 2 : 0; }},
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

TEST_F(SpectrophotometerSession, ASlowHandlerHoldsUpNothingButMessagesAndAReset)
{
    std::atomic<bool> go = false;
    std::atomic<int> ended = 0;
    const Handler handler([&] {
        Eventually([&] { return go.load(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ++ended;
    });
    Press(3);
    ASSERT_TRUE(Handler::Called(1));
    CalibrateIn("SingleReflectance");
    EXPECT_OK(OX_KeyPressed());
    EXPECT_EQ(handlerCalls, 1);
    go = true;
    EXPECT_TRUE(Handler::Called(3));
    ASSERT_OK(Set("Reset", "All"));
    EXPECT_EQ(ended, 3) << "a reset waits for a running handler";
    EXPECT_OK(OX_IsConnected());
}

TEST_F(SpectrophotometerSession, AMessageHandlerMayThrowCallBackAndResetEverything)
{
    std::atomic<int> connected = -1, reset = -1;
    const Handler handler([&] {
        if (handlerCalls == 1)
            throw 1;
        if (handlerCalls == 2)
            throw OXSDK::Exception();
        connected = OX_IsConnected();
        reset = OX_SetOption("Reset", "All");
    });
    for (int i = 1; i <= 3; ++i) {
        Press();
        ASSERT_TRUE(Handler::Called(i));
    }
    EXPECT_TRUE(Eventually([&] { return reset != -1; }));
    EXPECT_EQ(connected, OX_NoError);
    EXPECT_EQ(reset, OX_NoError);
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
    const struct {
        const char* what;
        std::function<void()> action;
        OX_Result result = OX_NoError;
    } cases[] = {
        {"reset of everything", [] { OX_SetOption("Reset", "All"); }},
        {"reset of the device", [] { OX_SetOption("Reset", "Orvex"); }},
        {"reset of the mode", [] { OX_SetOption("Reset", "ScanningReflectance"); }},
        {"another strategy", [] { OX_SetOption("Recognition", "no"); }},
        {"another mode", [] { OX_SetOption("MeasurementMode", "SingleReflectance"); }},
        {"another measurement", [] { OX_TriggerMeasurement(); }},
        {"an exception", [] { throw std::runtime_error("no"); }, OX_RecognitionFailed},
        {"an exception without a text", [] { throw Silent(); }, OX_RecognitionFailed},
    };
    for (const float level : {0.2F, 0.6F, 0.1F, 0.4F})
        ASSERT_EQ(oxv_strip_add(device, Flat(level).data(), 36, 380, 10, 0.3, 0.02), OXV_OK);
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
    std::atomic<bool> isClosed = false;
    const Handler handler([&] {
        for (int i = 0; i < 20 && !isClosed; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            isClosed = testing::Value(Trace(device), Contains("close 0"));
        }
    });
    ASSERT_EQ(oxv_press(device), OXV_OK);
    ASSERT_TRUE(Handler::Called(1));
    EXPECT_OK(Set("Reset", "All"));
    EXPECT_FALSE(isClosed);
    EXPECT_THAT(Trace(device), Contains("close 0"));
}

TEST_F(SpectrophotometerSession, AnOpeningThatFailsSendsNoMessage)
{
    for (std::uint32_t passing = 1; passing <= 40; ++passing) {
        ASSERT_EQ(oxv_fault(device, "control", passing % 8 + 1, 1, "unplug"), OXV_OK);
        EXPECT_EQ(OX_IsConnected(), OX_DeviceNotConnected);
        ASSERT_EQ(oxv_plug(device), OXV_OK);
    }
    EXPECT_TRUE(TakeMessages().empty());
}
