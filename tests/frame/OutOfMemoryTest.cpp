// The exported calls when memory runs out: every allocation of a session fails in turn.

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "orvex/ox.h"
#include "tests/frame/ScriptedDevice.h"
#include "tests/support/DocumentedCodes.h"
#include "tests/support/FailingMemory.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr OX_Result escaped = -1000;

int handled = 0;

/// What a call gave; it must not let anything out.
template<typename Call>
OX_Result Result(Call call)
{
    try {
        return call();
    } catch (...) {
        return escaped;
    }
}

constexpr std::size_t callCount = 11;
using Results = std::array<OX_Result, callCount>;

/// A session with failures in it: contexts come and go, errors are stored, told and asked for.
Results RunSession()
{
    static float values[36];
    const auto text = [](const char* answer) { return answer == nullptr ? escaped : OX_NoError; };
    return {
        Result([] { return OX_SetOption("Reset", "All"); }),
        Result([] { return OX_RegisterErrorHandler([](auto, auto, auto) { ++handled; }), OX_NoError; }),
        Result([] { return OX_SetOption("Colorimetric.Observer", "TenDegree"); }),
        Result([] { return OX_Calibrate(); }),
        Result([&] { return text(OX_GetOption("LastError")); }),
        Result([&] { return text(OX_GetOption("ExtendedErrorInformation")); }),
        Result([] { return OX_GetSpectrum(values, 0); }),
        Result([] { return OX_SetOption("DeviceType", "a name that is no type of device at all"); }),
        Result([] { return OX_SetOption("MeasurementMode", "Reset"); }),
        Result([&] { return text(OX_GetDeviceInfo("a key that is longer than any short string")); }),
        Result([] { return OX_GetNumberOfAvailableSamples() < -1 ? escaped : OX_NoError; }),
    };
}

class MemoryRunsOut : public testing::TestWithParam<bool> {
protected:
    void SetUp() override
    {
        OX_SetOption("Reset", "All");
        Scripted() = {};
        handled = 0;
        Scripted().operation = [] { throw IOException("pipe", "at"); };
    }
    void TearDown() override { OX_SetOption("Reset", "All"); }
};

}

TEST_P(MemoryRunsOut, EveryCallGivesADocumentedResultAndTheNextSessionIsAsEver)
{
    const Results reference = RunSession();
    const int told = handled;
    long allocation = 0;
    bool failed = false;
    do {
        SCOPED_TRACE("allocation " + std::to_string(++allocation));
        Scripted().calls.reserve(100);
        FailAllocation(allocation, GetParam());
        const Results results = RunSession();
        failed = StopFailing();
        for (std::size_t call = 0; call < callCount; ++call)
            EXPECT_TRUE(IsDocumented(results[call])) << "call " << call << " gave " << results[call];

        Scripted().calls.clear();
        handled = 0;
        EXPECT_EQ(RunSession(), reference);
        EXPECT_EQ(handled, told);
        ASSERT_LT(allocation, 10000);
    } while (failed);
    EXPECT_GT(allocation, 20) << "the session allocates, or nothing was tried";
}

INSTANTIATE_TEST_SUITE_P(OnceAndForGood, MemoryRunsOut, testing::Bool());
