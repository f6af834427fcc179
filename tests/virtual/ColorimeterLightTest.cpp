// How long the instruments look, and what they cannot see. Their counts stand in colorimeter_dialogues.txt.

#include "tests/virtual/ColorimeterRig.h"

namespace {

TEST(ColorimeterLight, MeasuringTakesItsTimeAndEndsAfterAMinute)
{
    ColorimeterRig rig(4, Road::serial);
    rig.Run("05 00 01 86 A0 > 05; 01 > *");
    EXPECT_EQ(rig.busy, 400'000);
    EXPECT_EQ(rig->GetNumber("integration-ticks"), 100'000);
    rig.Run("0A 0A > *");
    EXPECT_EQ(rig.busy, 2088) << "ten periods of red";
    rig.Run("0D 64 64 C8 > *");
    EXPECT_EQ(rig.busy, 55'355) << "as long as the slowest channel";
    rig.Run("02 > *");
    EXPECT_EQ(rig.busy, 0) << "it had been counted before";
    rig.Run("09 > *");
    EXPECT_EQ(rig.busy, 16'667);
    rig.Run("refresh-hz=0; 09 > #0");
    EXPECT_EQ(rig.busy, 1'000'000);
    rig.Run("X=0; Y=0; Z=0; dark-red=0; dark-green=0; dark-blue=0; 0A 01 > #0");
    EXPECT_EQ(rig.busy, 60'000'000);
    rig.Run("0D 01 01 01 > #0; 02 > #0; 01 > #0");
}

TEST(ColorimeterLight, RoundingIsCarriedFromReadingToReading)
{
    ColorimeterRig rig(4);
    double sum = 0;
    for (int i = 0; i < 1000; ++i)
        sum += static_cast<double>(rig.Count("0D 01 01 01"));
    EXPECT_NEAR(sum, 313'174.7, 0.6);
}

TEST(ColorimeterLight, WhatCannotBeCountedIsRefusedAndChangesNothing)
{
    const struct {
        int type;
        const char* name;
        double most; // about, the rest as attached
    } cases[] = {{4, "Y", 20330},  {20, "ambient-Y", 39300}, {21, "Y", 137000},        {7, "Y", 34000},
                 {11, "Y", 26200}, {14, "dark-red", 997000}, {9, "dark-blue", 1.666e6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type << ", " << c.name);
        ColorimeterRig rig(c.type);
        rig->SetNumber(c.name, 0.99 * c.most);
        const std::string before = rig.Ask("01") + rig.Ask("02") + rig.Ask("03");
        EXPECT_THROW(rig->SetNumber(c.name, 1.01 * c.most), Virtual::Refusal);
        EXPECT_EQ(rig->GetNumber(c.name), 0.99 * c.most);
        EXPECT_EQ(rig.Ask("01") + rig.Ask("02") + rig.Ask("03"), before);
    }
}

TEST(ColorimeterLight, EveryFilterSeesSomethingOfEveryLight)
{
    ColorimeterRig rig(4);
    for (const char* light : {"X=50; Y=0; Z=0", "X=0; Y=50; Z=0", "X=0; Y=0; Z=50"}) {
        rig.Run(light);
        for (const char* channel : {"01", "02", "03"})
            EXPECT_GT(rig.Count(channel), 10) << light << ", " << channel;
    }
}

TEST(ColorimeterLight, TheMemoryTellsButDoesNotMakeTheOptics)
{
    ColorimeterRig rig(4);
    rig->WriteMemory(0, Bytes(128, 0xFF));
    rig.Run("01 > #7983; 0A 0A > #6263");
}

}
