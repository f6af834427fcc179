// What goes over the wire between the driver and an instrument that was written apart from it.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "tests/wire/Recorder.h"
#include "tests/wire/Thrown.h"
#include "tests/wire/bench/Journey.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <map>

using namespace Vondrel::DeviceDriver::Generic::Configuration;
using namespace Vondrel::DeviceDriver::ox;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr const char* identification = "control C9 in 01 2E 00 00 EA 60 01 00";

/// One copy of the log in blocks, without what is written.
/// @param page  the high byte of its address
std::vector<std::string> LogCopy(unsigned page)
{
    std::vector<std::string> lines;
    for (unsigned block = 0; block < 5; ++block) {
        char line[64];
        std::snprintf(line, sizeof line, "control C3 out 00 00 %02X 00 %s 00 00", page + block,
                      block < 4 ? "01 00" : "00 28");
        lines.insert(lines.end(), {line, block < 4 ? "write 256" : "write 40", "write 1 00", "write 1 00"});
    }
    return lines;
}

std::vector<std::string> WithoutLongData(std::vector<std::string> lines)
{
    for (auto& line : lines)
        if (line.starts_with("write ") && line.size() > 16)
            line.resize(line.find(' ', 6));
    return lines;
}

/// With the transfers numbered from 1: the interrupt transfer takes a number whenever its thread comes to it.
std::vector<std::string> Renumbered(std::vector<std::string> lines)
{
    std::map<std::string, std::size_t> numbers;
    for (auto& line : lines) {
        const auto start = line.find('#');
        if (start == std::string::npos)
            continue;
        const auto end = std::min(line.find(' ', start), line.size());
        const auto number = numbers.try_emplace(line.substr(start, end - start), numbers.size() + 1).first->second;
        line.replace(start, end - start, "#" + std::to_string(number));
    }
    return lines;
}

class Bench : public testing::Test {
protected:
    const oxv_device device = NewInstrument();
};

TEST_F(Bench, OpeningMeasuringAndClosingAreExactlyTheseExchanges)
{
    {
        BrindleLowLevelDriver driver(nullptr, 0);
        EXPECT_THAT(Renumbered(TakeTrace(device)),
                    ElementsAre("open 0", "open 1", "open 2", "control CA out 1F",
                                "control C4 out 00 00 00 00 20 00 00 00", "submit bulk-read 8192 #1", "done #1 8192",
                                identification, identification, "control CA out 1F"));
        Measure(driver, 3, false);
        EXPECT_THAT(Renumbered(TakeTrace(device)),
                    ElementsAre("control CF out 01", "control D1 in 02 01 00 82 44 01",
                                "control C1 out 01 26 00 00 00 03 04 00", "control C0 out", "submit bulk-read 768 #1",
                                "done #1 768", identification));
        Properties container("PhysicalConditions");
        driver.LoadData(container);
        EXPECT_THAT(TakeTrace(device), ElementsAre(identification, "control C2 in 01 26 00 00 00 03 04 00"));

        Properties reset;
        reset.SetProperty(ResetMask, std::int32_t{0x0107});
        driver.StoreData(reset);
        driver.DownloadFirmware({{0x1234, {1, 2, 3}}});
        const Vondrel::DeviceDriver::Generic::CPLDStep step{
            .check = true, .words = {1, 2, 0xFFFE}, .expected = 0, .mask = 0};
        driver.ProgramCPLD(std::span(&step, 1));
        const auto trace = TakeTrace(device);
        ASSERT_EQ(trace.size(), 5U);
        EXPECT_EQ(trace[0], "control CA out 07");
        EXPECT_EQ(trace[1], "control A0 out value 1234 01 02 03");
        EXPECT_EQ(trace[2], "control C7 out 00 01 00 02 FF FE");
        EXPECT_THAT(trace[3], testing::StartsWith("control C8 in"));
        EXPECT_EQ(trace[4], "sleep 1 ms");
    }
    auto closing = LogCopy(0x00);
    for (const auto& line : LogCopy(0x08))
        closing.push_back(line);
    closing.insert(closing.end(),
                   {"control 00 out standard value 0084 00 00 00 00 00 00 00 00",
                    "control D0 out value 0003 00 00 00 00 00 00 00 00", "close 2", "close 1", "close 0"});
    EXPECT_EQ(WithoutLongData(TakeTrace(device)), closing);
}

TEST_F(Bench, AScanAlwaysHasAReadInFlight)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    TakeTrace(device);
    EXPECT_EQ(Measure(driver, 1, true).size(), 25U);
    int inFlight = 0;
    int submitted = 0;
    for (const auto& line : TakeTrace(device)) {
        if (line.starts_with("submit bulk-read")) {
            EXPECT_TRUE(line.starts_with(submitted == 0 ? "submit bulk-read 512 " : "submit bulk-read 2560 ")) << line;
            ++submitted;
            ++inFlight;
        } else if (line.starts_with("done #") && --inFlight == 0) {
            EXPECT_GE(submitted, 5) << "before the end of the scan";
        }
    }
    EXPECT_EQ(inFlight, 0);
    EXPECT_EQ(submitted, 6) << "2, 10, 10 and 3 lines, and the two that were in flight behind";
}

TEST_F(Bench, CountsAreThoseOfTheSensor)
{
    const std::vector<float> black{0.0F};
    const std::vector<float> grey{0.5F};
    const std::vector<float> white{1.0F};
    oxv_set_text(device, "position", "sample");
    BrindleLowLevelDriver driver(nullptr, 0);
    const auto measure = [&](const std::vector<float>& sample) {
        oxv_set_curve(device, "sample", sample.data(), sample.size(), 380, 10);
        return Measure(driver, 1, false)[0].LoadRawData()[0];
    };
    const auto dark = measure(black);
    const auto half = measure(grey);
    const auto full = measure(white);
    for (const auto count : dark) // 40 a second, 120 in the hot pixel, and the 12 that the linearisation takes away
        EXPECT_NEAR(count, 14, 3);
    for (const std::size_t pixel : {20U, 60U, 100U}) {
        EXPECT_GT(full[pixel], 5000);
        EXPECT_NEAR(static_cast<double>(half[pixel]) / full[pixel], 0.5, 0.02) << pixel;
    }
}

TEST_F(Bench, TellsOfTheKeyAndOfARemoval)
{
    Recorder recorder;
    BrindleLowLevelDriver driver(&recorder, 0);
    oxv_press(device);
    EXPECT_THAT(recorder.Await(1), ElementsAre(20011));
    oxv_unplug(device);
    EXPECT_THAT(recorder.Await(2), ElementsAre(20011, 20010));
    EXPECT_EQ(Thrown([&] { Measure(driver, 1, false); }),
              "IOException: Device IO control failed:  (Win32 Error (19) : no such device)");
    EXPECT_EQ(recorder.Await(2).size(), 2U);
}

TEST_F(Bench, WaitsForThePowerToComeBack)
{
    oxv_set_number(device, "device-status", 8);
    EXPECT_EQ(Thrown([] { Travel(); }), "nothing");
    oxv_set_number(device, "device-status", 8);
    oxv_set_number(device, "power-recovers-after", -1);
    EXPECT_EQ(Thrown([] { Travel(); }), "ResourceException: Not enough power available");
}

}
