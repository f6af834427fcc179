// What the host meets when something goes wrong between a colorimeter and it.

#include "tests/virtual/ColorimeterRig.h"
#include "virtual/bench/Refusal.h"

#include <cerrno>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;
using Road = Virtual::Place::Road;
using End = Virtual::Arrival::End;

namespace {

constexpr std::array<std::uint8_t, 8> readCell = {2, 8, 121, 0, 0, 0, 0, 0}; // answered by 8, 121, 'C'

TEST(ColorimeterFault, OnASerialLine)
{
    struct Case {
        const char* fault;
        bool silent;
        Bytes bytes;
        End end;
    };
    const Case cases[] = {
        {"fail", false, {}, End::failedRead},
        {"timeout", true, {}, End::none},
        {"unplug", true, {}, End::none},
        {"short", false, {3, 8}, End::none},
        {"one-short", false, {3, 8, 121}, End::none},
        {"empty", false, {}, End::none},
        {"wrong-echo", false, {3, 8 ^ 0x55, 121, 'C'}, End::none},
        {"echo-only", false, {1, 8}, End::none},
        {"length-zero", false, {0}, End::none},
        {"length-ten", false, {10, 8, 121, 'C', 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A}, End::none},
        {"close-after-length", false, {3}, End::hangUp},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        ColorimeterRig rig(4, Road::serial);
        rig->SetFault("command:8", 2, 1, c.fault, 0);
        const auto ask = [&] { return rig->Receive(std::span(readCell).first(3), 0); };
        EXPECT_EQ(ask()[0].bytes, Bytes({3, 8, 121, 'C'})) << "the first is not concerned";
        const auto met = ask();
        EXPECT_EQ(met.empty(), c.silent);
        if (!met.empty()) {
            EXPECT_EQ(met[0].bytes, c.bytes);
            EXPECT_EQ(met[0].end, c.end);
        }
        EXPECT_EQ(rig->IsPlugged(), c.fault != std::string("unplug"));
        const Bytes payload(c.bytes.begin() + (c.bytes.empty() ? 0 : 1), c.bytes.end());
        EXPECT_THAT(
            rig->trace.Text(Virtual::Trace::Channel::main),
            testing::EndsWith(c.bytes.empty() ? "command 08 79\n" : "reply" + Virtual::HexBytes(payload) + "\n"))
            << "the trace shows what was sent";
        rig.Start();
        EXPECT_EQ(ask()[0].bytes, Bytes({3, 8, 121, 'C'})) << "nor the third";
    }
}

TEST(ColorimeterFault, OnAChannel)
{
    struct Case {
        const char* fault;
        int error;
        Bytes payload;
    };
    const Case cases[] = {
        {"fail", EIO, {}},      {"stall", EPIPE, {}},
        {"denied", EACCES, {}}, {"busy", EBUSY, {}},
        {"unplug", ENODEV, {}}, {"timeout", ETIMEDOUT, {}},
        {"short", 0, {8}},      {"one-short", 0, {8, 121}},
        {"empty", 0, {}},       {"wrong-echo", 0, {8 ^ 0x55, 121, 'C'}},
        {"echo-only", 0, {8}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        ColorimeterRig rig(4, Road::usb);
        rig->SetFault("any", 1, 1, c.fault, 0);
        const auto met = rig->Exchange(readCell, 0);
        EXPECT_EQ(met.error, c.error);
        if (met.error == 0) {
            EXPECT_EQ(Bytes(met.bytes.begin() + 2, met.bytes.begin() + 2 + met.bytes[1]), c.payload);
            EXPECT_NE(met.bytes[2 + met.bytes[1]], 0) << "what lies behind looks like no reply";
        }
        EXPECT_EQ(rig->IsPlugged(), c.error != ENODEV);
    }
}

TEST(ColorimeterFault, AFailedCommandHasNotReachedTheInstrument)
{
    for (const auto& [fault, written] : {std::pair{"fail", false}, {"timeout", false}, {"wrong-echo", true}}) {
        SCOPED_TRACE(fault);
        ColorimeterRig rig(4, Road::usb);
        rig->SetFault("command:7", 1, 1, fault, 0);
        rig.Ask({7, 20, 0x12});
        EXPECT_EQ(rig.Cell(20) == 0x12, written);
    }
}

TEST(ColorimeterFault, GarbageFollowsTheSeed)
{
    const auto garbage = [](std::uint64_t seed) {
        ColorimeterRig rig(4, Road::usb);
        rig->Seed(seed);
        rig->SetFault("command", 1, 0, "garbage", 0);
        return rig.Ask({6});
    };
    EXPECT_EQ(garbage(1), garbage(1));
    EXPECT_NE(garbage(1), garbage(2));
    EXPECT_EQ(garbage(1).size(), 5U);
}

TEST(ColorimeterFault, OpeningAndClosing)
{
    struct Case {
        Road road;
        const char* fault;
        int status;
    };
    const Case cases[] = {
        {Road::serial, "fail", EIO}, {Road::serial, "denied", EACCES}, {Road::serial, "busy", EBUSY},
        {Road::usb, "fail", EIO},    {Road::usb, "busy", EBUSY},       {Road::usb, "unplug", ENODEV},
        {Road::serial, "unplug", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        ColorimeterRig rig(4, c.road);
        std::vector<Virtual::Arrival> junk;
        rig->SetFault("open", 1, 1, c.fault, 0);
        EXPECT_EQ(rig->Open(0, junk), c.status);
        rig->Plug(0);
        EXPECT_EQ(rig->Open(0, junk), 0);
        rig->SetFault("close", 1, 1, "fail", 0);
        EXPECT_EQ(rig->Close(0), EIO);
    }
}

TEST(ColorimeterFault, ALineThatCannotBeSetUp)
{
    ColorimeterRig rig(4, Road::serial);
    rig->SetFault("setup", 1, 1, "fail", 0);
    EXPECT_EQ(rig->SetUp(0), EIO);
    EXPECT_EQ(rig->SetUp(0), 0);
    rig->SetFault("any", 1, 1, "short", 0);
    EXPECT_EQ(rig->SetUp(0), 0) << "nothing that could be cut short";
}

TEST(ColorimeterFault, JunkComesOnOpeningASerialPort)
{
    for (const Road road : {Road::serial, Road::usb}) {
        ColorimeterRig rig(4, road);
        rig->SetNumber("junk-at-open", 2);
        std::vector<Virtual::Arrival> junk;
        rig->Open(0, junk);
        EXPECT_EQ(junk.empty() ? 0U : junk[0].bytes.size(), road == Road::serial ? 2U : 0U);
    }
}

TEST(ColorimeterFault, APulledCableIsSilenceOrNoDevice)
{
    ColorimeterRig serial(4, Road::serial);
    serial->Unplug(0);
    EXPECT_THAT(serial->Receive(std::span(readCell).first(3), 0), IsEmpty());
    ColorimeterRig usb(4, Road::usb);
    usb->Unplug(0);
    EXPECT_EQ(usb->Exchange(readCell, 0).error, ENODEV);
    EXPECT_EQ(usb->CountPassings("command"), 0);
}

TEST(ColorimeterFault, PairsWithoutMeaningAreRefused)
{
    struct Case {
        Road road;
        const char* point;
        const char* how;
    };
    const Case cases[] = {
        {Road::usb, "command", "length-zero"}, {Road::usb, "any", "close-after-length"},
        {Road::serial, "any", "stall"},        {Road::serial, "command:8", "denied"},
        {Road::usb, "open", "wrong-echo"},     {Road::usb, "control", "fail"},
        {Road::usb, "setup", "fail"},          {Road::pty, "setup", "fail"},
        {Road::serial, "setup", "short"},      {Road::usb, "close", "busy"},
        {Road::usb, "interrupt-read", "fail"}, {Road::usb, "open:1", "fail"},
    };
    for (const auto& c : cases) {
        ColorimeterRig rig(4, c.road);
        EXPECT_THROW(rig->SetFault(c.point, 1, 1, c.how, 0), Virtual::Refusal) << c.point << ' ' << c.how;
    }
}

}
