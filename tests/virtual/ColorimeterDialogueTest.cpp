// What each kind of colorimeter answers, byte by byte.

#include "tests/virtual/ColorimeterRig.h"
#include "virtual/bench/Refusal.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <random>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;
using Road = Virtual::Place::Road;

namespace {

Bytes Text(std::uint8_t echo, const std::string& text)
{
    Bytes bytes{echo};
    bytes.insert(bytes.end(), text.begin(), text.end());
    return bytes;
}

TEST(ColorimeterDialogue, TellsItsVersion)
{
    struct Case {
        int type;
        Road road;
        const char* set;
        const char* told;
    };
    const Case cases[] = {
        {2, Road::serial, nullptr, "3.50"}, {4, Road::usb, nullptr, "4.10"},
        {9, Road::serial, nullptr, "5.01"}, {11, Road::usb, nullptr, "3.10"},
        {22, Road::usb, nullptr, "6.05"},   {2, Road::serial, "1.23abc", "1.23abc"},
        {2, Road::usb, "1.23abc", "1.23a"}, {4, Road::serial, "12345678", "12345678"},
        {4, Road::serial, "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.told);
        ColorimeterRig rig(c.type, c.road);
        if (c.set)
            rig->SetText("version", c.set);
        EXPECT_THAT(rig.Ask({0}), ElementsAreArray(Text(0, c.told)));
    }
}

TEST(ColorimeterDialogue, CodeAndLengthHaveTheMeaningOfTheType)
{
    struct Case {
        const char* what;
        int type;
        Bytes command;
        std::size_t replySize; // 0: unknown
    };
    const Case cases[] = {
        {"the first generation has no fine period", 2, {9}, 0},
        {"nor edges", 2, {13, 1, 1, 1}, 0},
        {"a length that the code does not have", 4, {8}, 0},
        {"a code that nobody has", 4, {99}, 0},
        {"16 with a wide number of edges", 19, {16, 0, 1}, 5},
        {"which others lack", 4, {16, 0, 1}, 0},
        {"17 with a loop period", 10, {17, 0, 0, 0, 1}, 1},
        {"17 with wide edges", 21, {17, 0, 1}, 5},
        {"18 reads the loop period", 10, {18}, 5},
        {"which the loop with registers lacks", 11, {18}, 0},
        {"19 counts a channel", 20, {19, 1}, 5},
        {"19 writes an extended cell", 10, {19, 1, 0, 7}, 1},
        {"20 reads an extended cell", 11, {20, 1, 0}, 4},
        {"20 sets wide edges", 22, {20, 0, 5, 0}, 1},
        {"21 reads wide edges", 22, {21, 0}, 4},
        {"21 sets a dark value", 11, {21, 0, 0, 0, 5}, 1},
        {"trigger mode", 11, {29}, 2},
        {"which the fixed loop lacks", 10, {29}, 0},
        {"data format", 10, {27}, 2},
        {"lock detector", 11, {36}, 2},
        {"which the fixed loop lacks", 10, {36}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.what << ", type " << c.type);
        ColorimeterRig serial(c.type, Road::serial);
        EXPECT_EQ(serial.Ask(c.command).size(), c.replySize);
        ColorimeterRig usb(c.type, Road::usb);
        const Bytes reply = usb.Ask(c.command);
        if (c.replySize == 0)
            EXPECT_THAT(reply, ElementsAre(0xEE));
        else
            EXPECT_EQ(reply[0], c.command[0]);
    }
}

TEST(ColorimeterDialogue, TimeLimitedCommandsBelongToSomeRevisions)
{
    for (const auto& [version, known] : {std::pair{"4.40", false}, {"4.41", true}, {"4.49", true}, {"4.50", false}}) {
        SCOPED_TRACE(version);
        ColorimeterRig rig(4, Road::serial);
        rig->SetText("version", version);
        EXPECT_EQ(rig.Ask({16, 1, 1, 1, 255}).size(), known ? 6U : 0U);
        EXPECT_EQ(rig.Ask({17}).size(), known ? 6U : 0U);
    }
}

TEST(ColorimeterDialogue, MemoryKeepsWhatIsWritten)
{
    ColorimeterRig rig(4, Road::serial);
    EXPECT_THAT(rig.Ask({8, 121}), ElementsAre(8, 121, 'C'));
    EXPECT_THAT(rig.Ask({7, 10, 0x5A}), ElementsAre(7));
    EXPECT_EQ(rig.Cell(10), 0x5A);

    rig->ProtectMemory(10, true);
    rig.Ask({7, 10, 1});
    EXPECT_EQ(rig.Cell(10), 0x5A) << "one cell is held";
    rig.Ask({7, 11, 1});
    EXPECT_EQ(rig.Cell(11), 1);

    rig->SetNumber("memory-writable", 0);
    rig.Ask({7, 11, 2});
    EXPECT_EQ(rig.Cell(11), 1) << "all are held";

    rig->Unplug(0);
    rig.Start();
    EXPECT_EQ(rig.Cell(10), 0x5A) << "it needs no power";
    EXPECT_THAT(rig.Ask({8, 127}), ElementsAre(8, 127, 13));
    EXPECT_THAT(rig.Ask({8, 128}), IsEmpty()) << "there is no such cell";
    EXPECT_THAT(rig.Ask({7, 128, 3}), IsEmpty());
}

TEST(ColorimeterDialogue, OnlyTheOldestHeadCannotBeWritten)
{
    for (const int type : {5, 6, 13, 14}) {
        ColorimeterRig rig(type, Road::usb);
        const auto before = rig.Cell(0);
        rig.Ask({7, 0, 0xA5});
        EXPECT_EQ(rig.Cell(0), type == 5 ? before : 0xA5) << type;
    }
}

TEST(ColorimeterDialogue, ExtendedCellsReachBeyondTheFirst256)
{
    ColorimeterRig rig(11, Road::usb);
    EXPECT_THAT(rig.Ask({19, 0x1F, 0xFF, 7}), ElementsAre(19));
    EXPECT_THAT(rig.Ask({20, 0x1F, 0xFF}), ElementsAre(20, 0x1F, 0xFF, 7));
    EXPECT_THAT(rig.Ask({20, 0x20, 0x00}), ElementsAre(0xEE)) << "behind the last cell";
    EXPECT_THAT(rig.Ask({19, 0x20, 0x00, 1}), ElementsAre(0xEE));
    rig.Ask({7, 3, 0x77});
    EXPECT_EQ(rig.Ask({20, 0, 3})[3], 0x77) << "one memory for both commands";
}

TEST(ColorimeterDialogue, RegistersReadBack)
{
    ColorimeterRig rig(11, Road::serial);
    rig.Ask({32, 0x01, 0x77});
    rig.Ask({34, 0x00, 0x60});
    rig.Ask({30, 0xF1});
    rig.Ask({26, 3});
    rig.Ask({28, 4});
    EXPECT_THAT(rig.Ask({33}), ElementsAre(33, 0x01, 0x77));
    EXPECT_THAT(rig.Ask({35}), ElementsAre(35, 0x00, 0x60));
    EXPECT_THAT(rig.Ask({31}), ElementsAre(31, 0xF1));
    EXPECT_THAT(rig.Ask({27}), ElementsAre(27, 3));
    EXPECT_THAT(rig.Ask({29}), ElementsAre(29, 4));
    rig->Unplug(0);
    rig.Start();
    EXPECT_THAT(rig.Ask({29}), ElementsAre(29, 0)) << "without power they are forgotten";

    ColorimeterRig fixedLoop(10, Road::serial);
    fixedLoop.Ask({17, 1, 2, 3, 4});
    EXPECT_THAT(fixedLoop.Ask({18}), ElementsAre(18, 1, 2, 3, 4));
}

TEST(ColorimeterDialogue, LoopLocksAfterSomeReadings)
{
    ColorimeterRig rig(11, Road::usb);
    const auto locked = [&] { return rig.Ask({36})[1] >= 240; };
    EXPECT_FALSE(locked());
    EXPECT_FALSE(locked());
    EXPECT_TRUE(locked());
    rig.Ask({34, 0, 80});
    EXPECT_FALSE(locked()) << "a new register unlocks it";
    rig->SetNumber("lock-after", -1);
    for (int i = 0; i < 100; ++i)
        ASSERT_FALSE(locked());
    rig->SetNumber("lock-after", 0);
    EXPECT_TRUE(locked());
}

TEST(ColorimeterDialogue, DarkValuesLieInTheMemory)
{
    ColorimeterRig rig(11, Road::usb);
    EXPECT_EQ(rig.CellLong(103), 800U);
    rig.Ask({22, 0x00, 0x01, 0x02, 0x03});
    EXPECT_EQ(rig.CellLong(107), 0x00010203U);
    EXPECT_EQ(rig.CellLong(103), 800U);
}

TEST(ColorimeterDialogue, IntegrationTimeIsTakenWithinItsLimit)
{
    ColorimeterRig rig(4, Road::serial);
    const auto set = [&](std::uint8_t low) { return rig.Ask({5, 0, 0, 1, low}); };
    EXPECT_EQ(rig.AskLong({6}), 416667U);
    EXPECT_THAT(set(2), ElementsAre(5));
    EXPECT_EQ(rig.AskLong({6}), 0x102U);
    EXPECT_EQ(rig->GetNumber("integration-ticks"), 0x102);
    rig->SetNumber("ticks-limit", 100);
    set(3);
    EXPECT_EQ(rig.AskLong({6}), 100U);
    rig->SetNumber("ticks-limit", -1);
    EXPECT_THAT(set(4), ElementsAre(5));
    EXPECT_EQ(rig.AskLong({6}), 100U);
}

TEST(ColorimeterDialogue, EdgeCountsWaitToBeFetched)
{
    ColorimeterRig rig(4, Road::serial);
    const auto frequency = rig.AskLong({2});
    const auto edgeCounts = [&] { return rig.Ask({13, 1, 1, 1}); };
    edgeCounts();
    const auto waiting = rig.AskLong({2});
    EXPECT_NE(waiting, frequency);
    EXPECT_EQ(rig.busy, 0) << "it had been counted before";
    EXPECT_EQ(rig.AskLong({2}), frequency) << "fetched once";
    edgeCounts();
    rig.Ask({1});
    EXPECT_EQ(rig.AskLong({2}), frequency) << "a reading of red drops what waits";
}

TEST(ColorimeterDialogue, ALoneConverterLeavesNothingToBeFetched)
{
    for (const int type : {5, 6, 8, 13, 14, 21})
        for (const Bytes& edges : {Bytes{13, 9, 9, 9}, Bytes{22}}) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", command " << int{edges[0]});
            ColorimeterRig rig(type, Road::usb);
            const auto green = rig.AskLong({2}), blue = rig.AskLong({3});
            rig.Ask(edges);
            EXPECT_EQ(rig.AskLong({2}), green);
            rig.Ask(edges);
            EXPECT_EQ(rig.AskLong({3}), blue);
        }
}

TEST(ColorimeterDialogue, WideEdgesAreSetByChannel)
{
    ColorimeterRig rig(19, Road::usb);
    const auto one = rig.AskLong({22});
    rig.Ask({20, 0x01, 0x2C, 0});
    rig.Ask({20, 0xFF, 0xFF, 2});
    EXPECT_THAT(rig.Ask({21, 0}), ElementsAre(21, 0, 0x01, 0x2C));
    EXPECT_THAT(rig.Ask({21, 1}), ElementsAre(21, 1, 0x00, 0x01));
    EXPECT_THAT(rig.Ask({21, 2}), ElementsAre(21, 2, 0xFF, 0xFF));
    EXPECT_NEAR(rig.AskLong({22}), 300.0 * one, 300.0);
    for (const Bytes& command : {Bytes{20, 0, 9, 3}, Bytes{21, 3}, Bytes{19, 3}})
        EXPECT_THAT(rig.Ask(command), ElementsAre(0xEE)) << "no such channel";
}

TEST(ColorimeterDialogue, FramesAreFoundInTheStream)
{
    ColorimeterRig rig(4, Road::serial);
    const auto send = [&](const Bytes& bytes) {
        Bytes all;
        for (const auto& arrival : rig->Receive(bytes, 0))
            all.insert(all.end(), arrival.bytes.begin(), arrival.bytes.end());
        return all;
    };
    const Bytes reply{3, 8, 121, 'C'};
    EXPECT_EQ(send({2, 8, 121}), reply);
    EXPECT_THAT(send({2, 8}), IsEmpty());
    EXPECT_EQ(send({121}), reply) << "a frame in two writes";
    EXPECT_EQ(send({0x41, 0xFF, 0x41, 2, 8, 121}), reply) << "with a header";
    EXPECT_THAT(send({0x41}), IsEmpty());
    EXPECT_EQ(send({0xFF, 0x41, 2, 8, 121}), reply) << "with a header in two writes";
    EXPECT_EQ(send({2, 8, 121, 2, 8, 121}).size(), 2 * reply.size());
    const auto reopen = [&] {
        std::vector<Virtual::Arrival> junk;
        rig->Open(0, junk);
        rig.Start();
    };
    for (const Bytes& noise : {Bytes{0}, Bytes{9}, Bytes{200}, Bytes{0x41, 2}, Bytes{0x41, 0xFF, 2}, Bytes{2}}) {
        SCOPED_TRACE(Virtual::HexBytes(noise));
        EXPECT_THAT(send(noise), IsEmpty());
        EXPECT_THAT(send({2, 8, 121}), IsEmpty()) << "nothing is skipped";
        reopen();
        EXPECT_EQ(send({2, 8, 121}), reply) << "an opening brings it back into step";
    }
    EXPECT_EQ(send({2, 8, 121, 0, 0, 0, 0, 0}), reply);
    EXPECT_THAT(send({2, 8, 121}), IsEmpty()) << "the frame before was padded";
}

TEST(ColorimeterDialogue, AnImpossibleRequestIsStalled)
{
    for (const std::uint8_t length : {std::uint8_t{0}, std::uint8_t{8}, std::uint8_t{255}}) {
        ColorimeterRig rig(4, Road::usb);
        const std::array<std::uint8_t, 8> request = {length, 8, 121};
        EXPECT_EQ(rig->Exchange(request, 0).error, EPIPE);
        EXPECT_EQ(rig->CountPassings("command"), 0);
    }
}

TEST(ColorimeterDialogue, LivesOnTheControlLinesOfItsPort)
{
    using Virtual::ControlLine;
    ColorimeterRig rig(11, Road::serial);
    std::vector<Virtual::Arrival> junk;
    rig->Open(0, junk);
    const auto answers = [&](Virtual::Moment now) { return !rig->Receive(Bytes{1, 27}, now).empty(); };
    EXPECT_FALSE(answers(2'000'000));
    rig->SetControlLine(ControlLine::dtr, true, 0);
    EXPECT_FALSE(answers(2'000'000)) << "one line is not enough";
    rig->SetControlLine(ControlLine::rts, true, 100);
    EXPECT_FALSE(answers(1'000'099)) << "it still starts";
    EXPECT_TRUE(answers(1'000'100));
    rig.now = 2'000'000;
    EXPECT_THAT(rig.Ask({26, 7}), ElementsAre(26));
    for (const ControlLine line : {ControlLine::dtr, ControlLine::rts}) {
        rig->SetControlLine(line, false, 2'000'000);
        EXPECT_FALSE(answers(3'000'000));
        rig->SetControlLine(line, true, 2'000'000);
        EXPECT_FALSE(answers(2'999'999));
        EXPECT_TRUE(answers(3'000'000));
    }
    rig.now = 3'000'000;
    EXPECT_THAT(rig.Ask({27}), ElementsAre(27, 0)) << "without power the registers are forgotten";
    rig->Unplug(4'000'000);
    rig->Plug(4'000'000);
    EXPECT_FALSE(answers(4'999'999)) << "it starts anew behind a pulled cable";
    EXPECT_TRUE(answers(5'000'000));
    rig->Close(5'000'000);
    EXPECT_FALSE(answers(9'000'000)) << "a closed port drops its lines";

    ColorimeterRig terminal(4, Road::pty);
    terminal->Close(0);
    EXPECT_FALSE(terminal->Receive(Bytes{1, 6}, 0).empty()) << "a pseudo-terminal has no such lines";
}

TEST(ColorimeterDialogue, CommandsAreRunOneAfterTheOther)
{
    ColorimeterRig rig(4, Road::serial);
    const auto arrivals = rig->Receive(Bytes{1, 1, 1, 2}, 1000);
    ASSERT_EQ(arrivals.size(), 2U);
    EXPECT_NEAR(double(arrivals[0].due), 1000 + 1'666'668, 1);
    EXPECT_NEAR(double(arrivals[1].due), 1000 + 2 * 1'666'668, 2);
}

TEST(ColorimeterDialogue, ReplyDelayComesOnTop)
{
    ColorimeterRig rig(4, Road::usb);
    rig->SetNumber("reply-delay", 0.25);
    rig.Ask({6});
    EXPECT_EQ(rig.busy, 250'000);
}

TEST(ColorimeterDialogue, QueuedAnswersReplaceTheInstrumentsOwn)
{
    ColorimeterRig rig(4, Road::usb);
    rig->QueueAnswer("command:1", Bytes{1, 0, 0, 0, 75});
    rig->QueueAnswer("command:1", Bytes{1, 0, 0, 0, 76});
    rig->QueueAnswer("command:99", Bytes{99, 1});
    rig->SetFault("command:1", 1, 1, "fail", 0);
    EXPECT_EQ(rig.AskLong({1}), 75U) << "the answer wins over the fault";
    EXPECT_EQ(rig.AskLong({1}), 76U);
    EXPECT_GT(rig.AskLong({1}), 1000U);
    EXPECT_THAT(rig.Ask({99}), ElementsAre(99, 1)) << "also to a command that it does not know";
    EXPECT_THROW(rig->QueueAnswer("command:1", Bytes(7)), Virtual::Refusal);
    EXPECT_THROW(rig->QueueAnswer("open", Bytes(1)), Virtual::Refusal);
    ColorimeterRig serial(4, Road::serial);
    serial->QueueAnswer("command:1", Bytes(9));
    EXPECT_EQ(serial.Ask({1}).size(), 9U);
}

TEST(ColorimeterDialogue, TraceShowsBothDirections)
{
    ColorimeterRig rig(4, Road::serial);
    std::vector<Virtual::Arrival> junk;
    rig->Open(0, junk);
    EXPECT_EQ(rig->SetUp(0), 0);
    for (const bool up : {false, true})
        for (const auto line : {Virtual::ControlLine::dtr, Virtual::ControlLine::rts})
            rig->SetControlLine(line, up, 0);
    rig->Receive(Bytes{0x41, 0xFF, 0x41, 2, 8, 121, 0}, 2'000'000);
    rig->Close(0);
    EXPECT_EQ(rig->trace.Text(Virtual::Trace::Channel::main),
              "open\nsetup\ndtr down\nrts down\ndtr up\nrts up\n"
              "header 41 FF 41\ncommand 08 79\nreply 08 79 43\nno frame 00\nclose\n");
    EXPECT_EQ(rig->CountPassings("command:8"), 1);
    EXPECT_EQ(rig->CountPassings("any"), 4);
}

TEST(ColorimeterDialogue, MemoryIsLaidOutByType)
{
    struct Case {
        int type;
        std::size_t cells;
        std::uint32_t at, word; // four bytes somewhere, as the works left them
    };
    const Case cases[] = {
        {2, 128, 0, 20002},          {4, 128, 94, 0x34B2F4FC},         {4, 128, 98, 1000000002},
        {7, 128, 4, 0x3D4CCCCD},     {9, 128, 40, 4000U << 16 | 6000}, {14, 128, 8, 20014},
        {14, 128, 0, 0x3C23D70A},    {16, 128, 4, 0xFFFF0000 | 31250}, {11, 8192, 103, 800},
        {11, 8192, 144, 0x3F000000}, {19, 256, 44, 100U << 16 | 100},  {20, 256, 148, 0x3F19999A},
        {21, 256, 16, 0x3D23D70A},   {22, 256, 128, 0x3FC00000},       {22, 256, 124, 0xFFFF000D},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "type " << c.type << ", cell " << c.at);
        ColorimeterRig rig(c.type, Road::usb);
        Bytes all(c.cells);
        rig->ReadMemory(0, all);
        EXPECT_EQ(all[c.at] << 24 | all[c.at + 1] << 16 | all[c.at + 2] << 8 | all[c.at + 3], static_cast<int>(c.word));
        EXPECT_THROW(rig->ReadMemory(1, all), Virtual::Refusal);
    }
}

TEST(ColorimeterDialogue, AnyBytesAreTaken)
{
    std::mt19937 random(1);
    for (const int type : {2, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22}) {
        ColorimeterRig serial(type, Road::serial);
        ColorimeterRig usb(type, Road::usb);
        for (int i = 0; i < 2000; ++i) {
            Bytes bytes(8);
            for (auto& byte : bytes)
                byte = static_cast<std::uint8_t>(random() % (random() % 2 ? 6 : 256));
            for (const auto& arrival : serial->Receive(bytes, 0))
                ASSERT_LE(arrival.bytes.size(), 10U);
            ASSERT_LE(usb->Exchange(std::span<const std::uint8_t, 8>(bytes.data(), 8), 0).bytes[1], 6);
        }
    }
}

TEST(ColorimeterDialogue, BadNamesAndValuesAreRefused)
{
    ColorimeterRig rig(4, Road::usb);
    EXPECT_THROW(rig->SetNumber("X", -1), Virtual::Refusal);
    EXPECT_THROW(rig->SetNumber("integration-ticks", 5), Virtual::Refusal);
    EXPECT_THROW(rig->SetNumber("lock-after", 1.5), Virtual::Refusal);
    EXPECT_THROW(rig->SetText("version", "123456789"), Virtual::Refusal);
    EXPECT_THROW(rig->SetText("position", "diffuser"), Virtual::Refusal) << "only one type has an ambient head";
    EXPECT_THROW(rig->GetText("port"), Virtual::Refusal);
    EXPECT_THROW(rig->ProtectMemory(128, true), Virtual::Refusal);
    EXPECT_EQ(Virtual::MakeColorimeter(3), nullptr);
    EXPECT_EQ(Virtual::MakeColorimeter(12), nullptr);
}

}
