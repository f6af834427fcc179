#include "tests/virtual/Host.h"
#include "virtual/orvex-virtual.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <sstream>

namespace {

using Platform::TransferKind;
using testing::ElementsAre;
using Bytes = Host::Bytes;

class SpectrophotometerFirmware : public testing::Test {
protected:
    void SetUp() override
    {
        oxv_reset();
        device = oxv_attach("spectrophotometer", "usb");
        ASSERT_GT(device, 0) << oxv_last_error();
        host = std::make_unique<Host>(Platform::UsbAddresses(127).at(0));
        oxv_trace_clear(device);
    }

    void TearDown() override
    {
        host.reset();
        oxv_reset();
    }

    std::string Trace(const char* channel = "")
    {
        std::string text(static_cast<std::size_t>(oxv_trace(device, channel, nullptr, 0)), '\0');
        oxv_trace(device, channel, text.data(), text.size() + 1);
        oxv_trace_clear(device);
        return text;
    }

    double Number(const char* name)
    {
        double value = -12345.0;
        EXPECT_EQ(oxv_get_number(device, name, &value), OXV_OK) << oxv_last_error();
        return value;
    }

    Bytes Memory(std::uint32_t offset, std::size_t size)
    {
        Bytes bytes(size);
        EXPECT_EQ(oxv_memory_read(device, offset, bytes.data(), size), OXV_OK) << oxv_last_error();
        return bytes;
    }

    /// Steps of a host, in the words of the trace: "out C1 00 83 ..", "in C9 8", "read 256", "write 00 ..". The code of
    /// a request may be followed by "recipient 1", "type 0", "value 0084", "index 0001".
    /// @return whether each was taken, as a row of '+' and '-'
    std::string Taken(const std::string& steps)
    {
        std::string taken;
        std::istringstream list(steps);
        for (std::string step; std::getline(list, step, ';');)
            taken += Take(step) ? '+' : '-';
        return taken;
    }

    bool Take(const std::string& step)
    {
        std::istringstream words(step);
        words >> std::hex;
        std::string what;
        unsigned code = 0;
        unsigned type = 2;
        unsigned recipient = 0;
        unsigned value = 0;
        unsigned index = 0;
        words >> what;
        const bool isControl = what == "out" || what == "in";
        if (isControl)
            words >> code;
        std::vector<unsigned> numbers;
        for (std::string word; words >> word;)
            if (word == "type" || word == "recipient" || word == "value" || word == "index")
                words >> (word == "type" ? type : word == "recipient" ? recipient : word == "value" ? value : index);
            else
                numbers.push_back(
                    static_cast<unsigned>(std::stoul(word, nullptr, what == "in" || what == "read" ? 10 : 16)));

        const bool inwards = what == "in" || what == "read";
        const Bytes bytes(inwards ? Bytes(numbers.at(0)) : Bytes(numbers.begin(), numbers.end()));
        const auto low = [](unsigned number) { return static_cast<std::uint8_t>(number & 0xFF); };
        const auto transfer = isControl
            ? host->Pipe(0).MakeControl({low(what == "in"), low(type), low(recipient), 0, low(code), 0, low(value),
                                         low(value >> 8), low(index), low(index >> 8)},
                                        bytes.size())
            : host->Pipe(inwards ? 1 : 2).MakeTransfer(bytes.size());
        std::ranges::copy(bytes, transfer->Buffer().begin());
        transfer->Submit(bytes.size());
        transfer->Wait(60000);
        const auto result = transfer->Result();
        EXPECT_TRUE(result.kind == TransferKind::done || result.kind == TransferKind::stalled) << step;
        return result.kind == TransferKind::done;
    }

    oxv_device device = 0;
    std::unique_ptr<Host> host;
};

}

TEST_F(SpectrophotometerFirmware, RefusesWhatNoHostHasAReasonToAskFor)
{
    struct Refused {
        const char* what;
        std::string steps; ///< of which the last is refused, unless the instrument is told to be lenient
    };
    const std::string parameters = "out C1 00 82 00 00 00 02 06 00"; // the shortest time of the first mode, two spectra
    const std::string write = "out C3 00 00 01 00 00 02 00 00";
    const Refused refused[] = {
        {"recipient", "in C9 recipient 1 8"},
        {"value", "out CA value 0001 1F"},
        {"index", "in D1 index 0100 6"},
        {"value of closing", "out D0 value 0002 00 00 00 00 00 00 00 00"},
        {"value of the standard request", "out 00 type 0 00 00 00 00 00 00 00 00"},
        {"index of firmware", "out A0 value 1234 index 0001 01"},
        {"short reply", "in C9 7"},
        {"long reply", "in C8 3"},
        {"measuring without parameters", "out C0"},
        {"ticks below the multiplier", "out C1 00 81 00 00 00 01 06 00"},
        {"ticks below that of the mode chosen later", parameters + ";out CF 02;out C0"},
        {"no spectrum", "out C1 00 82 00 00 00 00 06 00"},
        {"257 spectra", "out C1 00 82 00 00 01 01 06 00"},
        {"reserved bit", "out C1 00 82 00 00 00 01 16 00"},
        {"write of 257 bytes", "out C3 00 00 00 00 01 01 00 00"},
        {"write behind the log", "out C3 00 00 10 00 00 01 00 00"},
        {"write over the log's end", "out C3 00 00 0F FF 00 02 00 00"},
        {"request before the data", write + ";in C9 8"},
        {"order before the zero bytes", write + ";write 01 02;out CF 01"},
        {"request before the second zero byte", write + ";write 01 02;write 00;in D1 6"},
        {"one of two spectra", parameters + ";out C0;read 256"},
        {"more than two spectra", parameters + ";out C0;read 768"},
        {"half a spectrum of a scan", "out C1 00 82 00 00 01 01 07 00;out C0;read 128"},
        {"another size of memory", "out C4 00 00 00 00 00 10 00 00;read 15"},
        {"reset mask", "out CA 02"},
    };
    for (const auto& row : refused) {
        SCOPED_TRACE(row.what);
        const auto before = static_cast<std::size_t>(std::ranges::count(row.steps, ';'));
        for (const bool strict : {true, false}) {
            oxv_set_number(device, "strict", strict);
            EXPECT_EQ(Taken(row.steps), std::string(before, '+') + (strict ? '-' : '+'))
                << (strict ? "strict" : "lenient");
            host.reset();
            oxv_unplug(device);
            oxv_plug(device);
            host = std::make_unique<Host>(Platform::UsbAddresses(127).at(0));
        }
    }
}

TEST_F(SpectrophotometerFirmware, TakesWhatAHostMayAskForAtTheLimits)
{
    EXPECT_EQ(Taken("out C1 00 82 00 00 01 00 00 FF;out C0;read 65536"), "+++") << "256 spectra, high sensitivity";
    EXPECT_EQ(Taken("out C1 00 82 00 00 01 01 0F 00;out C0;read 512;read 2560;read 2560;out CA 07"), "++++++")
        << "a scan";
    EXPECT_EQ(Taken("out C3 00 00 0F 00 01 00 00 00"), "+") << "the end of the log";
    EXPECT_EQ(Taken("out CA 01;read 256"), "++") << "a reset ends a write";
    EXPECT_EQ(Taken("out 00 type 0 value 0084 00 00 00 00 00 00 00 00;out D0 value 0003 00 00 00 00 00 00 00 00"),
              "++");

    const std::string write = "out C3 00 00 01 00 00 02 00 00";
    EXPECT_EQ(Taken(write + ";in C9 8;in C9 8;write 01 02"), "+-+-") << "the refused request has ended the write";
    oxv_fault(device, "bulk-write", 1, 1, "fail");
    Take(write);
    EXPECT_FALSE(host->Write({1, 2}));
    EXPECT_EQ(Taken("in C9 8"), "+") << "a write that broke on its way is over";

    oxv_set_number(device, "device-status", 8);
    EXPECT_EQ(Taken("out C1 00 82 00 00 00 01 02 00;out C0;out C1 00 82 00 00 00 01 00 00;out C0"), "+++-")
        << "the lamp needs its power";
    oxv_set_number(device, "device-status", 0);
    EXPECT_EQ(Taken("out C0"), "+");
}

TEST_F(SpectrophotometerFirmware, EachPipeIsOpenOnce)
{
    const auto address = Platform::UsbAddresses(1).at(0);
    Platform::TransferResult result;
    EXPECT_EQ(Platform::OpenUsbPipe(address, 1, result), nullptr);
    EXPECT_EQ(result.kind, TransferKind::denied);
    EXPECT_EQ(result.number, EBUSY);
    host->Pipe(1).Close();
    EXPECT_NE(Platform::OpenUsbPipe(address, 1, result), nullptr);

    const auto interrupt = Platform::OpenUsbPipe(address, 3, result);
    const auto read = interrupt->MakeTransfer(8);
    read->Submit(7);
    EXPECT_EQ(read->Result().kind, TransferKind::stalled) << "a message has eight bytes";
    read->Submit(8);
    EXPECT_EQ(read->Result().kind, TransferKind::pending);
}

TEST_F(SpectrophotometerFirmware, ALampMeasurementBeginsWithADarkCycle)
{
    const auto milliseconds = [&](const std::string& flags) {
        const auto before = oxv_clock_now();
        EXPECT_EQ(Taken("out C1 03 E8 00 01 00 02 " + flags + " 00;out C0;read 512"), "+++");
        return static_cast<double>(oxv_clock_now() - before) / 1000.0;
    };
    EXPECT_DOUBLE_EQ(milliseconds("04"), 8.84 + 3 * 68.0);
    EXPECT_DOUBLE_EQ(milliseconds("0C"), 8.84 + 2 * 68.0) << "told to skip it";
    EXPECT_DOUBLE_EQ(milliseconds("06"), 8.84 + 2 * 68.0) << "dark anyway";
}

TEST_F(SpectrophotometerFirmware, TheMemoryTakesItsTime)
{
    const auto milliseconds = [&](const std::string& steps) {
        const auto before = oxv_clock_now();
        Taken(steps);
        return static_cast<double>(oxv_clock_now() - before) / 1000.0;
    };
    EXPECT_EQ(milliseconds("out C4 00 00 00 00 01 01 00 00;read 257"), 10.0);
    EXPECT_EQ(milliseconds("out C3 00 00 00 00 00 01 00 00;write 07;write 00;write 00"), 5.0);
}

TEST_F(SpectrophotometerFirmware, AnswersEachRequest)
{
    EXPECT_THAT(host->Ask(0xC9, 8), ElementsAre(0x01, 0x2E, 0, 0, 0xEA, 0x60, 1, 0));
    EXPECT_TRUE(host->Send(0xCF, {2}));
    EXPECT_THAT(host->Ask(0xD1, 6), ElementsAre(2, 2, 0, 131, 36, 1));
    EXPECT_TRUE(host->Send(0xC1, {0, 147, 0, 23, 0, 2, 6, 0xEE}));
    EXPECT_THAT(host->Ask(0xC2, 8), ElementsAre(0, 147, 0, 23, 0, 2, 6, 0));
    EXPECT_TRUE(host->Send(0xC7, {1, 2, 3, 4, 0xAB, 0xCD}));
    EXPECT_THAT(host->Ask(0xC8, 2), ElementsAre(0xAB, 0xCD));
    EXPECT_TRUE(host->Send(0xA0, {1, 2, 3}, 0x1234));
    EXPECT_TRUE(host->Send(0xCA, {31}));
    EXPECT_TRUE(host->Send(0xD0, Bytes(8), 3));
    EXPECT_EQ(Trace(),
              "control C9 in 01 2E 00 00 EA 60 01 00\n"
              "control CF out 02\n"
              "control D1 in 02 02 00 83 24 01\n"
              "control C1 out 00 93 00 17 00 02 06 EE\n"
              "control C2 in 00 93 00 17 00 02 06 00\n"
              "control C7 out 01 02 03 04 AB CD\n"
              "control C8 in AB CD\n"
              "control A0 out value 1234 01 02 03\n"
              "control CA out 1F\n"
              "control D0 out value 0003 00 00 00 00 00 00 00 00\n");
    EXPECT_EQ(Taken("in C9 type 1 recipient 2 index 0102 8"), "-");
    EXPECT_EQ(Trace(), "control C9 in type 1 recipient 2 index 0102 stalled\n");
    EXPECT_EQ(Number("integration-ticks"), 147);
    EXPECT_EQ(Number("spectrum-count"), 2);
    EXPECT_EQ(Number("gain"), 1);
}

TEST_F(SpectrophotometerFirmware, StallsWhatItDoesNotKnow)
{
    struct Refused {
        const char* what;
        std::uint8_t code;
        std::size_t size;
    };
    for (const auto& refused : {Refused{"unknown request", 0xC5, 0},
                                {"parameters too short", 0xC1, 7},
                                {"an answer asked as an order", 0xC9, 8},
                                {"a mode that is not there", 0xCF, 1},
                                {"a measurement with data", 0xC0, 1}}) {
        SCOPED_TRACE(refused.what);
        EXPECT_FALSE(host->Send(refused.code, Bytes(refused.size)));
        EXPECT_EQ(host->last.kind, TransferKind::stalled);
        EXPECT_EQ(host->last.number, EPIPE);
    }
    EXPECT_THAT(host->ReadMemory(8000, 200), ElementsAre()) << "beyond the memory";
    EXPECT_EQ(host->last.kind, TransferKind::stalled);

    oxv_set_number(device, "firmware-version", 300);
    EXPECT_FALSE(host->Send(0xCF, {1})) << "old firmware has no modes";
    EXPECT_THAT(host->Ask(0xD1, 6), ElementsAre());
}

TEST_F(SpectrophotometerFirmware, OffersTheModesThatItIsGiven)
{
    const std::uint8_t three[] = {10, 20, 0, 11, 21, 1, 12, 22, 0};
    ASSERT_EQ(oxv_set_bytes(device, "modes", three, sizeof three), OXV_OK);
    EXPECT_TRUE(host->Send(0xCF, {3}));
    EXPECT_THAT(host->Ask(0xD1, 6), ElementsAre(3, 3, 0, 12, 22, 0));
    ASSERT_EQ(oxv_set_bytes(device, "modes", nullptr, 0), OXV_OK);
    EXPECT_TRUE(host->Send(0xCF, {1}));
    EXPECT_THAT(host->Ask(0xD1, 6), ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_EQ(oxv_set_bytes(device, "modes", three, 4), OXV_BAD_VALUE);
}

TEST_F(SpectrophotometerFirmware, TellsItsPedestalInPerfectModeOnly)
{
    oxv_set_number(device, "offset-word", 512);
    const auto lastWord = [&](std::uint8_t flags) {
        const std::uint8_t mode[] = {130, 68, flags};
        oxv_set_bytes(device, "modes", mode, sizeof mode);
        host->Prepare({.lampOff = true});
        host->Send(0xC0, {});
        const Bytes block = host->Read(256);
        EXPECT_EQ(block.size(), 256U);
        EXPECT_GT(block.at(0) * 256 + block.at(1), 511) << "the words carry it in any case";
        return block.at(254) * 256 + block.at(255);
    };
    EXPECT_EQ(lastWord(1), 512);
    EXPECT_EQ(lastWord(0), 0);
}

TEST_F(SpectrophotometerFirmware, MeasuresInItsOwnTime)
{
    host->Prepare({.seconds = 0.5, .count = 2, .lampOff = true, .delay = 0.2});
    const auto before = oxv_clock_now();
    host->Send(0xC0, {});
    EXPECT_EQ(oxv_clock_now(), before) << "the request itself takes no time";
    oxv_set_number(device, "strict", 0);
    EXPECT_EQ(host->Read(256).size(), 256U);
    EXPECT_NEAR(static_cast<double>(oxv_clock_now() - before), 0.7e6, 0.01e6);
    EXPECT_EQ(host->Read(1000).size(), 256U) << "what is not there is left out";
    EXPECT_NEAR(static_cast<double>(oxv_clock_now() - before), 1.2e6, 0.01e6);
    const auto after = oxv_clock_now();
    EXPECT_EQ(host->Read(256).size(), 0U);
    EXPECT_EQ(host->last.kind, TransferKind::done);
    EXPECT_EQ(oxv_clock_now(), after) << "nothing more: at once";
}

TEST_F(SpectrophotometerFirmware, ResetDropsDataAndKeepsParameters)
{
    host->Prepare({.count = 3});
    host->Send(0xCF, {2});
    host->Send(0xC0, {});
    host->Send(0xCA, {7});
    EXPECT_EQ(host->Read(256).size(), 0U);
    EXPECT_EQ(host->Ask(0xC2, 8).at(5), 3);
    EXPECT_EQ(host->Ask(0xD1, 6).at(1), 2);

    host->Send(0xC0, {});
    host->Send(0xC0, {});
    EXPECT_EQ(host->Read(768).size(), 768U) << "a new measurement discards the unread one";
}

TEST_F(SpectrophotometerFirmware, MemoryChangesByWholeWritesOnly)
{
    const Bytes old = Memory(0x100, 4);
    EXPECT_TRUE(host->WriteMemory(0x100, {1, 2, 3, 4}));
    EXPECT_THAT(Memory(0x100, 4), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(host->ReadMemory(0x102, 2), ElementsAre(3, 4));
    EXPECT_EQ(Trace(),
              "control C3 out 00 00 01 00 00 04 00 00\nwrite 4 01 02 03 04\nwrite 1 00\nwrite 1 00\n"
              "control C4 out 00 00 01 02 00 02 00 00\nsubmit bulk-read 2 #1\ndone #1 2\n");

    const Bytes request = {0, 0, 1, 0, 0, 4, 0, 0};
    struct Broken {
        const char* what;
        std::vector<Bytes> writes;
    };
    const Broken broken[] = {
        {"too short", {{9, 9, 9}}},
        {"too long", {{9, 9, 9, 9, 9}}},
        {"one zero byte", {{9, 9, 9, 9}, {0}}},
        {"not zero", {{9, 9, 9, 9}, {0}, {1}}},
        {"two zero bytes in one", {{9, 9, 9, 9}, {0, 0}}},
    };
    for (const auto& attempt : broken) {
        SCOPED_TRACE(attempt.what);
        host->Send(0xC3, request);
        for (const auto& data : attempt.writes)
            host->Write(data);
        host->Send(0xCA, {31});
        EXPECT_THAT(Memory(0x100, 4), ElementsAre(1, 2, 3, 4));
        EXPECT_FALSE(host->Write({0})) << "nothing is expected after a reset";
    }
    EXPECT_FALSE(host->Send(0xC3, {0, 0, 0x1F, 0xFF, 0, 2, 0, 0})) << "beyond the end";
    EXPECT_TRUE(host->Send(0xCB, {0, 0, 1, 0, 0, 1, 0, 0}) && host->Write({9}) && host->Write({0}) && host->Write({0}));
    EXPECT_THAT(Memory(0x100, 4), ElementsAre(1, 2, 3, 4)) << "a program goes elsewhere";

    ASSERT_EQ(oxv_unplug(device), OXV_OK);
    ASSERT_EQ(oxv_plug(device), OXV_OK);
    EXPECT_THAT(Memory(0x100, 4), ElementsAre(1, 2, 3, 4)) << "it outlives the cable";
}

TEST_F(SpectrophotometerFirmware, MemoryAsBuilt)
{
    EXPECT_THAT(Memory(0, 1064), testing::Each(0)) << "a fresh log";
    EXPECT_THAT(Memory(0x800, 1064), testing::Each(0));
    EXPECT_THAT(Memory(1064, 16), testing::Each(0xFF));
    EXPECT_THAT(Memory(0x1000, 10), ElementsAre(0, 1, 0x01, 0x4E, 0x27, 0x10, 0, 0, 0, 0)) << "version, size, log";
    EXPECT_THAT(Memory(0x1004 + 6 * 12, 6), ElementsAre(0, 1, 0, 0, 0x04, 0x28)) << "end of the first log";
    EXPECT_THAT(Memory(0x1004 + 6 * 25, 6), ElementsAre(0, 3, 0, 0, 0x0C, 0x28)) << "end of the second log";
    EXPECT_THAT(Memory(0x1004 + 6 * 26, 6), ElementsAre(0x03, 0xE8, 0, 0, 0x12, 0)) << "calibration";
    EXPECT_THAT(Memory(0x1004 + 6 * 54, 2), ElementsAre(0, 2)) << "end of the calibration";
    EXPECT_THAT(Memory(0x1004 + 6 * 55, 2), ElementsAre(0xFF, 0xFF));

    const auto serialNumber = [&] {
        host.reset();
        host = std::make_unique<Host>(Platform::UsbAddresses(1).at(0));
        host->ReadCalibration();
        return host->Longs(1211).at(0);
    };
    EXPECT_EQ(serialNumber(), 100001);
    oxv_set_number(device, "serial-number", 777);
    EXPECT_EQ(serialNumber(), 777);
    EXPECT_EQ(host->Longs(3010).at(0), 0x6000);
    oxv_set_number(device, "ambient-head", 0);
    EXPECT_EQ(serialNumber(), 777);
    EXPECT_EQ(host->Longs(3010).at(0), 0);
}

TEST_F(SpectrophotometerFirmware, PowerRecoversAfterTheReset)
{
    const auto status = [&] { return host->Ask(0xC9, 8).at(7); };
    oxv_set_number(device, "device-status", 8);
    host->Send(0xCA, {31});
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(status(), 8) << "not without the reset for power";
    host->Send(0xCA, {1});
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(status(), 8);
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(Number("device-status"), 0);

    oxv_set_number(device, "device-status", 8);
    oxv_set_number(device, "power-recovers-after", -1);
    host->Send(0xCA, {1});
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(status(), 8);

    const std::uint8_t list[] = {5, 6};
    oxv_set_bytes(device, "status-list", list, sizeof list);
    EXPECT_EQ(status(), 5);
    EXPECT_EQ(status(), 6);
    EXPECT_EQ(status(), 8);
}

TEST_F(SpectrophotometerFirmware, PreparedBlocksComeOnceAsTheyStand)
{
    Bytes blocks(512);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        blocks[i] = static_cast<std::uint8_t>(i * 7);
    ASSERT_EQ(oxv_set_bytes(device, "blocks", blocks.data(), blocks.size()), OXV_OK);
    EXPECT_EQ(oxv_set_bytes(device, "blocks", blocks.data(), 255), OXV_BAD_VALUE);
    host->Prepare({.count = 5});
    host->Send(0xC0, {});
    EXPECT_EQ(host->Read(5 * 256), blocks);
    host->Send(0xC0, {});
    EXPECT_EQ(host->Read(5 * 256).size(), 5 * 256U);
}

TEST_F(SpectrophotometerFirmware, TheLampBurnsInMeasurementsWithLight)
{
    host->Measure({.seconds = 0.5, .count = 2, .lampOff = true});
    EXPECT_EQ(Number("lamp-on-time"), 0.0);
    host->Measure({.seconds = 0.5, .count = 2, .delay = 0.2});
    EXPECT_NEAR(Number("lamp-on-time"), 1.2, 0.01);
}

TEST_F(SpectrophotometerFirmware, SeveralInstrumentsStandSideBySide)
{
    const auto second = oxv_attach("spectrophotometer", "usb:4");
    const auto third = oxv_attach("spectrophotometer", "usb");
    oxv_set_number(second, "firmware-version", 299);
    oxv_set_number(third, "firmware-version", 305);
    const auto addresses = Platform::UsbAddresses(127);
    ASSERT_EQ(addresses.size(), 3U);
    EXPECT_EQ(Platform::UsbAddresses(2).size(), 2U);
    host.reset();
    const auto version = [&](std::size_t index) { return Host(addresses.at(index)).Ask(0xC9, 8).at(1); };
    EXPECT_EQ(version(0), 302 & 0xFF);
    EXPECT_EQ(version(1), 305 & 0xFF) << "the order is that of the places";
    EXPECT_EQ(version(2), 299 & 0xFF);

    char address[64];
    EXPECT_GT(oxv_get_text(second, "address", address, sizeof address), 0);
    EXPECT_EQ(addresses[2], address);
    oxv_unplug(third);
    EXPECT_EQ(Platform::UsbAddresses(127), (std::vector{addresses[0], addresses[2]}));
    oxv_plug(third);
    EXPECT_EQ(Platform::UsbAddresses(127), addresses);
    EXPECT_EQ(oxv_attach("spectrophotometer", "usb:4"), OXV_NOT_POSSIBLE) << "taken";
}

TEST_F(SpectrophotometerFirmware, APulledCableEndsEverythingAndReturns)
{
    const auto address = Platform::UsbAddresses(1).at(0);
    host->Prepare({.seconds = 1.0});
    host->Send(0xC0, {});
    const auto read = host->Pipe(1).MakeTransfer(256);
    ASSERT_EQ(read->Submit(256).kind, TransferKind::done);
    EXPECT_EQ(read->Result().kind, TransferKind::pending);
    ASSERT_EQ(oxv_unplug(device), OXV_OK);
    EXPECT_EQ(read->Wait(1000), Platform::UsbTransfer::WaitEnd::completed);
    EXPECT_EQ(read->Result().kind, TransferKind::gone);
    EXPECT_EQ(read->Result().number, ENODEV);
    EXPECT_EQ(read->Submit(256).kind, TransferKind::gone);
    Platform::TransferResult result;
    EXPECT_EQ(Platform::OpenUsbPipe(address, 0, result), nullptr);
    EXPECT_EQ(result.kind, TransferKind::gone);

    ASSERT_EQ(oxv_plug(device), OXV_OK);
    EXPECT_EQ(read->Submit(256).kind, TransferKind::gone) << "an opening does not live again";
    EXPECT_EQ(Host(address).Ask(0xC9, 8).size(), 8U);
    ASSERT_EQ(oxv_remove(device), OXV_OK);
    EXPECT_EQ(oxv_plug(device), OXV_NO_SUCH_DEVICE);
    EXPECT_EQ(read->Submit(256).kind, TransferKind::gone);
}
