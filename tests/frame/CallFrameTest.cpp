// The frame of the exported calls: from a failure of any kind to a code, a text, a trace and a call of the handler.

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "orvex/ox.h"
#include "tests/frame/ScriptedDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::vector<std::string> handled; ///< "OX_Calibrate 2 text"

void Remember(const char* function, int32_t code, const char* message)
{
    handled.push_back(std::string(function) + " " + std::to_string(code) + " " + message);
}

struct OwnException : OXSDK::Exception { };

class CallFrame : public testing::Test {
protected:
    void SetUp() override
    {
        OX_SetOption("Reset", "All");
        Scripted() = {};
        handled.clear();
    }

    void TearDown() override
    {
        const int alive = Scripted().alive;
        Scripted() = {};
        Scripted().alive = alive;
        OX_SetOption("Reset", "All");
    }

    static std::string LastError() { return OX_GetOption("LastError"); }
    static std::string Extended() { return OX_GetOption("ExtendedErrorInformation"); }
};

TEST_F(CallFrame, EveryKindOfFailureBecomesItsCodeItsTextAndACallOfTheHandler)
{
    const struct {
        const char* what;
        std::function<void()> fail;
        OX_Result code;
        std::string text;
        std::string type; ///< second line of the extended text
    } cases[] = {
        {"transport", [] { throw IOException("pipe", "at"); }, OX_DeviceNotConnected, "pipe", "IOException"},
        {"calculation", [] { throw CalculationException("white", "at"); }, OX_CalculationFailed, "white",
         "CalculationException"},
        {"resource", [] { throw Vondrel::Utilities::Exceptions::ResourceException("id", "at"); }, OX_InvalidParameter,
         "id", "Vondrel::Utilities::Exceptions::ResourceException"},
        {"with a code of its own", [] { throw SDKError(OX_NoSubstrate, "no substrate set", "at"); }, OX_NoSubstrate,
         "no substrate set", ""},
        {"time-out", [] { throw TimeoutException("late", "at"); }, OX_InternalError, "late\nTimeoutException\n", ""},
        {"data", [] { throw DataException("odd", "at"); }, OX_InternalError, "odd\nDataException\n", ""},
        {"standard", [] { throw std::out_of_range("far"); }, OX_InternalError,
         "far\nVondrel::Utilities::Exceptions::OutOfRangeException\n", ""},
        {"memory", [] { throw std::bad_alloc(); }, OX_InternalError,
         "bad allocation\nVondrel::Utilities::Exceptions::BadAllocException\n", ""},
        {"anything", [] { throw 42; }, OX_InternalError,
         "unkown exception caught\nVondrel::Utilities::Exceptions::RuntimeException\n", ""},
    };
    OX_RegisterErrorHandler(Remember);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        handled.clear();
        Scripted().operation = c.fail;
        EXPECT_EQ(OX_Calibrate(), c.code);
        EXPECT_THAT(handled, ElementsAre("OX_Calibrate " + std::to_string(c.code) + " " + c.text));
        EXPECT_EQ(LastError(), c.text);
        EXPECT_EQ(LastError(), c.text) << "a query of the error keeps it";
        EXPECT_THAT(Extended(), StartsWith(c.text + "\n" + c.type + "\n"));
        Scripted().operation = [] {};
        EXPECT_EQ(OX_Calibrate(), OX_NoError);
        EXPECT_EQ(LastError(), "no error");
    }
}

TEST_F(CallFrame, TheTraceLeadsFromTheThrowToTheExportedCall)
{
    Scripted().operation = [] { throw IOException("pipe", "Deep::Down(): file:1"); };
    OX_TriggerMeasurement();
    const std::string text = Extended();
    EXPECT_THAT(text, StartsWith("pipe\nIOException\nDeep::Down(): file:1\n"));
    EXPECT_THAT(text, HasSubstr("\n::OX_TriggerMeasurement(): Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ox.cpp:"));
}

TEST_F(CallFrame, EveryCallTellsItsNameAndHasItsOwnFailureValue)
{
    static float values[36];
    const auto isEmpty = [](const char* text) { return *text == '\0'; };
    const struct {
        const char* name;
        std::function<int32_t()> call;
        int32_t failure, success;
    } cases[] = {
        {"OX_GetDeviceInfo", [&] { return isEmpty(OX_GetDeviceInfo("SerialNumber")); }, 1, 0},
        {"OX_GetOption", [&] { return isEmpty(OX_GetOption("SerialNumber")); }, 1, 0},
        {"OX_SetOption", [] { return OX_SetOption("ScreenType", "LCD"); }, 2, 0},
        {"OX_IsConnected", OX_IsConnected, 2, 0},
        {"OX_KeyPressed", OX_KeyPressed, 2, OX_KeyNotPressed},
        {"OX_GetNumberOfAvailableSamples", OX_GetNumberOfAvailableSamples, -1, 3},
        {"OX_Calibrate", OX_Calibrate, 2, 0},
        {"OX_TriggerMeasurement", OX_TriggerMeasurement, 2, 0},
        {"OX_TriggerCountedScan", [] { return OX_TriggerCountedScan(9); }, 2, 0},
        {"OX_GetSpectrum", [] { return OX_GetSpectrum(values, 0); }, 2, 0},
        {"OX_GetTriStimulus", [] { return OX_GetTriStimulus(values, 0); }, 2, 0},
        {"OX_GetDensities", [] { return OX_GetDensities(values, nullptr, 0); }, 2, 0},
        {"OX_GetDensity", [] { return OX_GetDensity(values, 0); }, 2, 0},
        {"OX_SetSubstrate", [] { return OX_SetSubstrate(values); }, 2, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        handled.clear();
        Scripted().operation = [] { throw IOException("pipe", "at"); };
        EXPECT_EQ(OX_RegisterErrorHandler(Remember), nullptr);
        EXPECT_EQ(c.call(), c.failure);
        EXPECT_THAT(handled, ElementsAre(std::string(c.name) + " 2 pipe"));
        EXPECT_EQ(OX_RegisterErrorHandler(nullptr), Remember);
        EXPECT_EQ(LastError(), "pipe") << "to register a handler leaves it alone";
        EXPECT_EQ(c.call(), c.failure);
        EXPECT_EQ(handled.size(), 1U) << "a handler that was removed";
        Scripted().operation = [] {};
        EXPECT_EQ(c.call(), c.success);
        EXPECT_EQ(Extended(), "no error\n\n\n");
    }
    Scripted().operation = [] { throw std::runtime_error("x"); };
    EXPECT_STREQ(OX_GetOption("Connection"), "no");
    EXPECT_EQ(LastError(), "no error") << "the question for the connection fails silently";
    OX_Calibrate();
    EXPECT_STREQ(OX_GetOption("Version"), "Version 3.1.0  Build 103");
    EXPECT_EQ(LastError(), "no error") << "any other key clears the stored error";
}

TEST_F(CallFrame, AnOperationOrAHandlerMayEndItsThread)
{
    static bool isPast = false;
    const auto calibrate = [] {
        OX_Calibrate();
        isPast = true;
    };
    Scripted().operation = [] { ::pthread_exit(nullptr); };
    std::thread(calibrate).join();
    Scripted().operation = [] { throw IOException("pipe", "at"); };
    OX_RegisterErrorHandler([](const char*, int32_t, const char*) { ::pthread_exit(nullptr); });
    std::thread(calibrate).join();
    EXPECT_FALSE(isPast);
    OX_RegisterErrorHandler(nullptr);
    Scripted().operation = [] {};
    EXPECT_EQ(OX_Calibrate(), OX_NoError);
}

TEST_F(CallFrame, AHandlersOwnExceptionPassesAndAllOthersAreSwallowed)
{
    Scripted().operation = [] { throw IOException("pipe", "at"); };
    OX_RegisterErrorHandler([](const char*, int32_t, const char*) { throw OwnException(); });
    EXPECT_THROW(OX_Calibrate(), OwnException);
    EXPECT_THROW(OX_GetOption("SerialNumber"), OXSDK::Exception);
    EXPECT_THROW(OX_IsConnected(), OXSDK::Exception);
    EXPECT_EQ(OX_RegisterErrorHandler([](const char*, int32_t, const char*) { throw std::bad_alloc(); }) != nullptr,
              true);
    EXPECT_EQ(OX_Calibrate(), OX_DeviceNotConnected);
    EXPECT_EQ(LastError(), "pipe");
}

TEST_F(CallFrame, TheResultIsReadAfterTheHandler)
{
    Scripted().operation = [] { throw IOException("pipe", "at"); };
    OX_RegisterErrorHandler([](const char*, int32_t, const char*) { OX_GetOption("Version"); });
    EXPECT_EQ(OX_Calibrate(), OX_NoError) << "the handler's query cleared the stored error";
    OX_RegisterErrorHandler([](const char*, int32_t, const char*) { OX_SetOption("Reset", "All"); });
    EXPECT_EQ(OX_Calibrate(), OX_NoError) << "the handler dropped the context that failed";
    EXPECT_EQ(Scripted().alive, 1);
}

TEST_F(CallFrame, TheValidatorSeesTheArgumentsBeforeTheOperation)
{
    struct Seen {
        std::string function;
        OrvexSDK::CallParameters parameters;
    };
    std::vector<Seen> seen;
    Scripted().validate = [&](const std::string& function, const OrvexSDK::CallParameters& p) {
        seen.push_back({function, p});
        throw SDKError(OX_NotSupported, "refused", "");
    };
    float spectrum[36] = {};
    float values[4] = {};
    int32_t autoIndex = 7;
    EXPECT_EQ(OX_GetSpectrum(spectrum, 5), OX_NotSupported);
    EXPECT_EQ(OX_GetDensities(values, &autoIndex, -1), OX_NotSupported);
    EXPECT_EQ(OX_TriggerCountedScan(17), OX_NotSupported);
    EXPECT_EQ(OX_SetSubstrate(spectrum), OX_NotSupported);
    EXPECT_THAT(Scripted().calls, ElementsAre("0 GetSampleCount", "0 GetSampleCount"))
        << "no operation after a refusal";

    ASSERT_EQ(seen.size(), 4U);
    EXPECT_EQ(seen[0].function, "OX_GetSpectrum");
    EXPECT_EQ(seen[0].parameters.buffer, spectrum);
    EXPECT_EQ(seen[0].parameters.bufferSize, 36);
    EXPECT_EQ(seen[0].parameters.limit, 3);
    EXPECT_EQ(seen[0].parameters.index, 5);
    EXPECT_EQ(seen[1].parameters.extra, &autoIndex);
    EXPECT_EQ(seen[1].parameters.bufferSize, 4);
    EXPECT_EQ(seen[2].parameters.index, 17);
    EXPECT_EQ(seen[3].parameters.buffer, spectrum);
    EXPECT_EQ(seen[3].parameters.bufferSize, 0) << "input is not to be filled";
}

}
