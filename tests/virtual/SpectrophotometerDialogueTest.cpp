// What a host meets at a virtual spectrophotometer and at the bench around it.

#include "tests/support/Rows.h"
#include "tests/virtual/BenchScript.h"

#include <algorithm>

TEST(SpectrophotometerDialogue, EveryStepEndsAsWritten)
{
    const std::vector<Row> rows = ReadRows(ORVEX_TEST_DATA "/spectrophotometer_dialogues.txt");
    EXPECT_GE(rows.size(), 80U);
    for (const Row& row : rows)
        for (const bool strict : {true, false}) {
            SCOPED_TRACE(row[0] + (strict ? "" : ", lenient"));
            const std::string &mode = row[1], &steps = row[2];
            if (strict ? mode == "lenient" : mode.empty())
                continue;
            BenchScript bench;
            oxv_set_number(bench.device, "strict", strict);
            const bool isRefused = mode == "always" || (mode == "strict" && strict);
            const std::size_t last = steps.find_last_of(';') + 1; // 0 without one
            bench.Run(isRefused ? steps.substr(0, last) + "!" + steps.substr(last + (last > 0 ? 1 : 0)) : steps);
        }
}

TEST(SpectrophotometerDialogue, ATransferEndsAsTheFaultSaysAndTheNextOneWorks)
{
    const std::pair<const char*, const char*> passings[] = {
        {"control:C9", "in C9 8"},
        {"control", "out C1 00 82 00 00 00 01 06 00"},
        {"bulk-read", "out C4 00 00 12 00 00 08 00 00; read 8"},
        {"bulk-write", "out C3 00 00 00 00 00 08 00 00; write 07 07 07 07 07 07 07 07"},
    };
    const std::pair<const char*, const char*> ends[] = {
        {"fail", "failed 0 5"}, {"stall", "stalled 0 32"}, {"timeout", "pending 0 110"}, {"short", "done 4"},
        {"empty", "done 0"},    {"one-short", "done 7"},   {"unplug", "gone 0 19"}};
    for (const auto& [point, steps] : passings)
        for (const auto& [how, end] : ends) {
            SCOPED_TRACE(std::string(point) + " " + how);
            BenchScript bench;
            bench.Run("fault " + std::string(point) + " 1 1 " + how + "; " + steps + " > " + end);
            bench.Run("plug; connect; out CA 1F; " + std::string(steps) + " > done 8");
        }
}

TEST(SpectrophotometerDialogue, AFaultOfTheInterruptPipeMeetsTheReadThatWaits)
{
    const std::pair<const char*, const char*> outcomes[] = {
        {"fail", "failed 0 5"}, {"stall", "stalled 0 32"}, {"empty", "done 0"},    {"short", "done 4"},
        {"garbage", "done 8"},  {"timeout", "pending 0"},  {"unplug", "gone 0 19"}};
    for (const auto& [how, end] : outcomes)
        for (const bool waits : {true, false}) {
            SCOPED_TRACE(std::string(how) + (waits ? " while it waits" : " before it is submitted"));
            const std::string fault = "fault interrupt-read 1 1 " + std::string(how), ends = " > " + std::string(end);
            const std::string press = how == std::string("timeout") ? "; press" : "";
            BenchScript().Run("open 3; " + (waits ? "submit i 3 8; " + fault : fault + "; submit i 3 8" + ends) + press
                              + "; result i" + ends);
        }
}
