// What each kind of colorimeter answers, byte by byte.

#include "tests/support/Rows.h"
#include "tests/virtual/ColorimeterRig.h"

#include <cerrno>
#include <random>

namespace {

TEST(ColorimeterDialogue, EveryCommandIsAnsweredAsWritten)
{
    const std::vector<Row> rows = ReadRows(ORVEX_TEST_DATA "/colorimeter_dialogues.txt");
    EXPECT_GE(rows.size(), 79U);
    for (const Row& row : rows)
        for (const double type : Numbers(row[1]))
            for (const Road road : {Road::serial, Road::usb}) {
                SCOPED_TRACE(testing::Message()
                             << row[0] << ", " << type << (road == Road::usb ? ", usb" : ", serial"));
                if (row[2] != (road == Road::usb ? "serial" : "usb"))
                    ColorimeterRig(static_cast<int>(type), row[2] == "pty" ? Road::pty : road).Run(row[3]);
            }
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

TEST(ColorimeterDialogue, RoundingIsCarriedFromReadingToReading)
{
    ColorimeterRig rig(4);
    double sum = 0;
    for (int i = 0; i < 1000; ++i)
        sum += static_cast<double>(rig.Count("0D 01 01 01"));
    EXPECT_NEAR(sum, 313'174.7, 0.6);
}

TEST(ColorimeterDialogue, WhatCannotBeCountedIsRefusedAndChangesNothing)
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

TEST(ColorimeterDialogue, TheMemoryTellsButDoesNotMakeTheOptics)
{
    ColorimeterRig rig(4);
    Bytes all(129);
    EXPECT_THROW(rig->ReadMemory(0, all), Virtual::Refusal);
    EXPECT_THROW(rig->GetText("port"), Virtual::Refusal);
    EXPECT_THROW(rig->QueueAnswer("open", Bytes(1)), Virtual::Refusal);
    rig->WriteMemory(0, Bytes(128, 0xFF));
    rig.Run("01 > #7983; 0A 0A > #6263");
}

}
