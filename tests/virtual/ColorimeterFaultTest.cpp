// What the host meets when something goes wrong between a colorimeter and it.

#include "tests/virtual/ColorimeterRig.h"

#include <cerrno>

namespace {

TEST(ColorimeterFault, TheTraceShowsWhatWasSent)
{
    const std::pair<const char*, const char*> cases[] = {
        {"short", "reply 08\n"},    {"one-short", "reply 08 79\n"}, {"empty", "command 08 79\n"},
        {"length-zero", "reply\n"}, {"fail", "command 08 79\n"},    {"wrong-echo", "reply 5D 79 43\n"}};
    for (const auto& [fault, line] : cases) {
        ColorimeterRig rig(4, Road::serial);
        rig->SetFault("command:8", 1, 1, fault, 0);
        rig.Ask("08 79");
        EXPECT_THAT(rig->trace.Text(Virtual::Trace::Channel::main), testing::EndsWith(line)) << fault;
    }
}

TEST(ColorimeterFault, WhatLiesBehindAShortReplyLooksLikeNone)
{
    ColorimeterRig rig(4);
    rig->SetFault("any", 1, 1, "short", 0);
    const std::array<std::uint8_t, 8> request = {2, 8, 121};
    EXPECT_EQ(ToHex(rig->Exchange(request, 0).bytes).substr(3), "01 08 5A 5A 5A 5A 5A");
}

TEST(ColorimeterFault, GarbageFollowsTheSeed)
{
    const auto garbage = [](std::uint64_t seed) {
        ColorimeterRig rig(4);
        rig->Seed(seed);
        rig->SetFault("command", 1, 0, "garbage", 0);
        return rig.Ask("06");
    };
    EXPECT_EQ(garbage(1), garbage(1));
    EXPECT_NE(garbage(1), garbage(2));
    EXPECT_EQ(garbage(1).size(), 14U);
}

TEST(ColorimeterFault, OpeningSettingUpAndClosing)
{
    const struct {
        Road road;
        const char* fault;
        int status;
    } cases[] = {{Road::serial, "fail", EIO}, {Road::serial, "denied", EACCES}, {Road::serial, "busy", EBUSY},
                 {Road::usb, "fail", EIO},    {Road::usb, "unplug", ENODEV},    {Road::serial, "unplug", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        ColorimeterRig rig(4, c.road);
        rig->SetNumber("junk-at-open", 2);
        std::vector<Virtual::Arrival> junk;
        rig->SetFault("open", 1, 1, c.fault, 0);
        EXPECT_EQ(rig->Open(0, junk), c.status);
        EXPECT_TRUE(junk.empty());
        rig->Plug(0);
        EXPECT_EQ(rig->Open(0, junk), 0);
        EXPECT_EQ(junk.empty() ? "" : ToHex(junk[0].bytes), c.road == Road::serial ? "55 55" : "");
        rig->SetFault("close", 1, 1, "fail", 0);
        EXPECT_EQ(rig->Close(0), EIO);
    }
    ColorimeterRig rig(4, Road::serial);
    rig->SetFault("setup", 1, 1, "fail", 0);
    rig->SetFault("any", 2, 1, "short", 0);
    EXPECT_EQ(rig->SetUp(0), EIO);
    EXPECT_EQ(rig->SetUp(0), 0) << "nothing that could be cut short";
}

}
