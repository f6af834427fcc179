#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLog.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/RawTransform.h"
#include "tests/wire/WireBench.h"

#include <functional>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using Vondrel::DeviceDriver::ox::BrindleFunctionality;
using Vondrel::DeviceDriver::ox::BrindleLowLevelDriver;
using Vondrel::DeviceDriver::ox::RawSpectrum;
using Vondrel::DeviceDriver::ox::TransformRawSpectra;

namespace {

using Driver = WireBench;

TEST_F(Driver, ClosesWithTheLogAndLeavesTheRestOfTheMemory)
{
    auto driver = LowLevelDriver::Instance(nullptr, 0);
    driver->GetLogData(false).SetItem(LampMeasurementCount, 302);
    const auto before = Memory();
    driver = {};
    const auto memory = Memory();
    EXPECT_NE(memory, before);
    EXPECT_TRUE(std::equal(memory.begin(), memory.begin() + 0x800, memory.begin() + 0x800)) << "both copies";
    EXPECT_TRUE(std::equal(memory.begin() + 0x1000, memory.end(), before.begin() + 0x1000));
    Properties incomplete;
    EXPECT_EQ(Thrown([&] { BrindleLowLevelDriver(nullptr, 0).ExecuteMeasurement(incomplete); }),
              "ResourceException: id 2010 doesn't exist");
}

TEST_F(Driver, TransformsWordsToSignedCounts)
{
    struct Case {
        const char* what;
        std::uint16_t word, offset;
        bool withOffsets;
        std::int32_t threshold, expected;
    };
    for (const auto& c : {Case{"plain", 1000, 300, false, 60000, 1000},
                          {"less the offset", 1000, 300, true, 60000, 700},
                          {"below the offset", 0, 16, true, 60000, -16},
                          {"above the threshold", 0xFFF0, 0, false, 60000, -16},
                          {"at the threshold", 60000, 0, false, 60000, 60000},
                          {"above it only with the offset", 60010, 20, true, 60000, 59990}}) {
        SCOPED_TRACE(c.what);
        std::vector<RawSpectrum> result;
        TransformRawSpectra(Blocks(1, c.word, c.offset), c.withOffsets, c.threshold, result);
        EXPECT_THAT(result, testing::ElementsAre(RawSpectrum(128, c.expected)));
    }
    auto blocks = Blocks(3, 100, 10);
    blocks[2 * 256 + 255] = 12; // offsets 10, 10, 12: mean 10.67, of which 10 counts
    blocks[0] = 1;              // the first word of the first block
    blocks[2 * 126] = 2;        // and its last
    std::vector<RawSpectrum> result;
    TransformRawSpectra(blocks, true, 60000, result);
    ASSERT_EQ(result.size(), 3U);
    EXPECT_EQ(result[0][0], 90) << "the copy of its neighbour";
    EXPECT_EQ(result[0][125], 90);
    EXPECT_EQ(result[0][126], 90 + 512);
    EXPECT_EQ(result[0][127], 90 + 512);
    EXPECT_EQ(result[2][5], 92);
    EXPECT_EQ(Thrown([&] { TransformRawSpectra(std::span(blocks).first(255), true, 60000, result); }),
              "DataException: No measurement block");
}

TEST_F(Driver, TakesProgramsAsValuesOnly)
{
    BrindleLowLevelDriver driver(nullptr, 0);
    const auto store = [&](std::initializer_list<std::uint16_t> ids) {
        Properties container;
        for (const auto id : ids)
            container.SetProperty(id, std::int32_t{0x0107});
        TakeTrace();
        return Thrown([&] { driver.StoreData(container); });
    };
    EXPECT_EQ(store({CPLDProgram}), "DataException: CPLD program must be handed over as a value");
    EXPECT_EQ(store({FirmwareImage}), "DataException: Firmware image must be handed over as a value");
    EXPECT_EQ(store({CPLDProgram, ResetMask}), "nothing") << "only the reset";
    EXPECT_EQ(TakeTrace(), "control CA out 07");

    const CPLDStep steps[] = {
        {.words = {1, 2, 3}, .delayMicroseconds = 1999},
        {.check = true, .words = {4, 5, 0x1234}, .expected = 0xFF34, .mask = 0x00FF, .delayMicroseconds = 5000},
        {.check = true, .words = {7, 8, 0x1234}, .expected = 0x0035, .mask = 0x00FF},
        {.words = {10, 11, 12}},
    };
    EXPECT_EQ(Thrown([&] { driver.ProgramCPLD(steps); }), "DataException: CPLD Error: Programming failed");
    EXPECT_EQ(TakeTrace(),
              "control C7 out 00 01 00 02 00 03; sleep 1 ms; control C7 out 00 04 00 05 12 34; control C8 in 12 34; "
              "sleep 5 ms; control C7 out 00 07 00 08 12 34; control C8 in 12 34");

    struct Image {
        FirmwareBlocks blocks;
        const char* sent;
    };
    const std::string zeros = "; write 1 00; write 1 00";
    for (const auto& [blocks, sent] :
         {Image{{{0x0200, {3}}, {0x0100, {1, 2}}}, "control A0 out value 0100 01 02; control A0 out value 0200 03"},
          {{{0, {0xB2, 0}}}, "control A0 out B2 00"},
          {{{1, {0xB2}}}, "control A0 out value 0001 B2"},
          {{}, ""}}) {
        driver.DownloadFirmware(blocks);
        EXPECT_EQ(TakeTrace(), sent);
    }
    driver.DownloadFirmware({{0, {0xB2}}, {2, {7}}});
    EXPECT_EQ(TakeTrace(),
              "control CB out 00 00 00 00 00 01 00 00; write 1 B2" + zeros
                  + "; control CB out 00 00 00 02 00 01 00 00; write 1 07" + zeros);
}

}
