// The calls that a user repeats take nothing from the heap once they are warm.

#include "tests/support/FailingMemory.h"
#include "tests/system/SystemBench.h"

#include <functional>

namespace {

/// Whether the call allocates every time: the library's own thread may do so by chance meanwhile.
bool Allocates(const std::function<void()>& call)
{
    for (int attempt = 0; attempt < 5; ++attempt) {
        FailAllocation(1, false);
        call();
        if (!StopFailing())
            return false;
    }
    return true;
}

class WarmCalls : public SystemBench { };

}

TEST_F(WarmCalls, TakeNothingFromTheHeap)
{
    Plug();
    CalibrateIn("SingleReflectance");
    ShowSample(Flat(0.3F));
    ASSERT_OK(OX_TriggerMeasurement());
    ASSERT_OK(OX_SetSubstrate(Flat(0.8F).data()));

    std::array<float, OX_SPECTRUM_SIZE> values{};
    std::int32_t filter = 0;
    struct Case {
        const char* name;
        std::function<OX_Result()> call;
    };
    const Case cases[] = {
        {"OX_GetSpectrum", [&] { return OX_GetSpectrum(values.data(), 0); }},
        {"OX_GetTriStimulus", [&] { return OX_GetTriStimulus(values.data(), 0); }},
        {"OX_GetDensity", [&] { return OX_GetDensity(values.data(), 0); }},
        {"OX_GetDensities", [&] { return OX_GetDensities(values.data(), &filter, 0); }},
        {"OX_GetOption", [] { return *OX_GetOption("Colorimetric.Illumination") == 'D' ? OX_NoError : 1; }},
        {"change of illuminant",
         [&, daylight = false]() mutable {
             daylight = !daylight;
             const OX_Result set = Set("Colorimetric.Illumination", daylight ? "D65" : "D50");
             return set == OX_NoError ? OX_GetTriStimulus(values.data(), 0) : set;
         }},
    };
    for (const char* filterMode : {"Auto", "Cyan"})
        for (const char* white : {"Absolute", "Paper"}) {
            ASSERT_OK(Set("Colorimetric.DensityFilterMode", filterMode));
            ASSERT_OK(Set("Colorimetric.WhiteBase", white));
            for (const auto& [name, call] : cases) {
                ASSERT_OK(call()) << name; // warm from here on
                EXPECT_FALSE(Allocates(call)) << name << ", " << filterMode << ", " << white;
                EXPECT_OK(call()) << name;
            }
        }
}
