// What each kind of colorimeter answers, byte by byte.

#include "tests/virtual/ColorimeterRig.h"

#include <cerrno>
#include <fstream>
#include <random>

namespace {

TEST(ColorimeterDialogue, EveryCommandIsAnsweredAsWritten)
{
    std::ifstream file(ORVEX_TEST_DATA "/colorimeter_dialogues.txt");
    int rows = 0;
    for (std::string row; std::getline(file, row);) {
        if (row.empty() || row[0] == '#')
            continue;
        std::istringstream fields(row);
        std::string what, types, road, script;
        std::getline(std::getline(std::getline(std::getline(fields, what, '|'), types, '|'), road, '|'), script);
        ++rows;
        std::istringstream numbers(types);
        for (int type = 0; numbers >> type;)
            for (const Road each : {Road::serial, Road::usb}) {
                SCOPED_TRACE(what + std::to_string(type) + (each == Road::usb ? ", usb" : ", serial"));
                if (road != (each == Road::usb ? " serial " : " usb "))
                    ColorimeterRig(type, each).Run(script);
            }
    }
    EXPECT_GE(rows, 79);
}

TEST(ColorimeterDialogue, FramesAreFoundInTheStreamAndNothingIsSkipped)
{
    ColorimeterRig rig(4, Road::serial);
    const std::string ask = "02 08 79", reply = "03 08 79 43";
    for (const std::string sound : {"02 08 79", "41 FF 41 02 08 79"})
        for (std::size_t cut = 2; cut < sound.size(); cut += 3) {
            const std::string first = rig.Stream(sound.substr(0, cut));
            EXPECT_EQ(first + rig.Stream(sound.substr(cut)), reply) << sound << " at " << cut;
        }
    EXPECT_EQ(rig.Stream(ask + " " + ask), reply + " " + reply);
    for (const std::string noise : {"00", "09", "C8", "41 02", "41 FF 02", "02", "02 08 79 00"}) {
        SCOPED_TRACE(noise);
        rig.Stream(noise);
        EXPECT_EQ(rig.Stream(ask + " " + ask), "");
        std::vector<Virtual::Arrival> junk;
        rig->Open(0, junk);
        rig.Start();
        EXPECT_EQ(rig.Stream(ask), reply) << "an opening brings it back into step";
    }
    for (const char* length : {"00", "08", "FF"}) {
        ColorimeterRig usb(4);
        std::array<std::uint8_t, 8> request = {FromHex(length)[0], 8, 121};
        EXPECT_EQ(usb->Exchange(request, 0).error, EPIPE);
        EXPECT_EQ(usb->CountPassings("command"), 0);
    }
}

TEST(ColorimeterDialogue, LivesOnTheControlLinesOfItsPort)
{
    ColorimeterRig rig(11, Road::serial);
    std::vector<Virtual::Arrival> junk;
    rig->Open(0, junk);
    const auto answers = [&](Virtual::Moment now) { return !rig->Receive(Bytes{1, 27}, now).empty(); };
    EXPECT_FALSE(answers(2'000'000)) << "it has no power";
    rig->SetControlLines(true, 100);
    EXPECT_FALSE(answers(1'000'099)) << "it still starts";
    EXPECT_TRUE(answers(1'000'100));
    rig.now = 2'000'000;
    rig.Run("1A 07 > 1A; 1B > 1B 07");
    rig->SetControlLines(false, 2'000'000);
    EXPECT_FALSE(answers(3'000'000));
    rig->SetControlLines(true, 2'000'000);
    EXPECT_FALSE(answers(2'999'999));
    rig.now = 3'000'000;
    rig.Run("1B > 1B 00");
    rig->Unplug(4'000'000);
    rig->Plug(4'000'000);
    EXPECT_FALSE(answers(4'999'999)) << "it starts anew behind a pulled cable";
    EXPECT_TRUE(answers(5'000'000));
    rig->Close(5'000'000);
    EXPECT_FALSE(answers(9'000'000)) << "a closed port drops its lines";

    ColorimeterRig terminal(4, Road::pty);
    terminal->Close(0);
    EXPECT_TRUE(!terminal->Receive(Bytes{1, 6}, 0).empty()) << "a pseudo-terminal has no such lines";
}

TEST(ColorimeterDialogue, CommandsAreRunOneAfterTheOther)
{
    ColorimeterRig rig(4, Road::serial);
    rig->SetNumber("reply-delay", 0.25);
    const auto arrivals = rig->Receive(FromHex("01 01 01 02"), 1000);
    ASSERT_EQ(arrivals.size(), 2U);
    EXPECT_EQ(arrivals[0].due, 1000 + 1'666'668 + 250'000);
    EXPECT_EQ(arrivals[1].due, 1000 + 2 * (1'666'668 + 250'000));
}

TEST(ColorimeterDialogue, TraceShowsBothDirections)
{
    ColorimeterRig rig(4, Road::serial);
    std::vector<Virtual::Arrival> junk;
    rig->Open(0, junk);
    EXPECT_EQ(rig->SetUp(0), 0);
    for (const bool up : {false, true})
        rig->SetControlLines(up, 0);
    rig->Receive(FromHex("41 FF 41 02 08 79 00"), 2'000'000);
    rig->Close(0);
    EXPECT_EQ(rig->trace.Text(Virtual::Trace::Channel::main),
              "open\nsetup\ndtr down\nrts down\ndtr up\nrts up\n"
              "header 41 FF 41\ncommand 08 79\nreply 08 79 43\nno frame 00\nclose\n");
    EXPECT_EQ(rig->CountPassings("command:8"), 1);
    EXPECT_EQ(rig->CountPassings("any"), 4);
}

TEST(ColorimeterDialogue, AnyBytesAreTaken)
{
    std::mt19937 random(1);
    for (const int type : {2, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22}) {
        ColorimeterRig serial(type, Road::serial), usb(type);
        for (int i = 0; i < 2000; ++i) {
            Bytes bytes = {static_cast<std::uint8_t>(1 + random() % 6), 0, 0, 0, 0, 0, 0, 0};
            for (std::size_t at = 1; at < bytes.size(); ++at)
                bytes[at] = static_cast<std::uint8_t>(random() % (random() % 2 ? 6 : 256));
            for (const auto& arrival : serial->Receive(std::span(bytes).first(bytes[0] + 1U), 0))
                ASSERT_LE(arrival.bytes.size(), 10U);
            ASSERT_LE(usb->Exchange(std::span<const std::uint8_t, 8>(bytes.data(), 8), 0).bytes[1], 6);
        }
    }
}

TEST(ColorimeterDialogue, ThereIsNothingBehindTheEnd)
{
    ColorimeterRig rig(4);
    EXPECT_THROW(rig->GetText("port"), Virtual::Refusal);
    EXPECT_THROW(rig->QueueAnswer("open", Bytes(1)), Virtual::Refusal);
    EXPECT_THROW(ColorimeterRig(4, Road::pty)->SetFault("setup", 1, 1, "fail", 0), Virtual::Refusal);
    EXPECT_THROW(rig->ProtectMemory(128, true), Virtual::Refusal);
    Bytes all(129);
    EXPECT_THROW(rig->ReadMemory(0, all), Virtual::Refusal);
    rig->ProtectMemory(10, true);
    rig.Run("07 0A 00 > 07; 08 0A > 08 0A B7; 07 0B 00 > 07; 08 0B > 08 0B 00");
    EXPECT_EQ(Virtual::MakeColorimeter(3), nullptr);
    EXPECT_EQ(Virtual::MakeColorimeter(12), nullptr);
}

}
