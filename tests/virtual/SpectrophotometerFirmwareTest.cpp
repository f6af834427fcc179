#include "tests/virtual/Host.h"
#include "virtual/orvex-virtual.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <map>
#include <sstream>

namespace {

using Platform::TransferKind;
using testing::ElementsAre;
using Bytes = Host::Bytes;

class SpectrophotometerFirmware : public testing::Test {
protected:
    SpectrophotometerFirmware() { Connect(); }
    ~SpectrophotometerFirmware() override { oxv_reset(); }

    void Connect()
    {
        host.reset();
        host = std::make_unique<Host>(Platform::UsbAddresses(127).at(0));
        oxv_trace_clear(device);
    }

    std::string Trace()
    {
        std::string text(static_cast<std::size_t>(oxv_trace(device, "", nullptr, 0)), '\0');
        oxv_trace(device, "", text.data(), text.size() + 1);
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
        std::string what;
        words >> std::hex >> what;
        const bool isControl = what == "out" || what == "in";
        const bool inwards = what == "in" || what == "read";
        unsigned code = 0;
        unsigned type = 2, recipient = 0, value = 0, index = 0;
        if (isControl)
            words >> code;
        Bytes bytes;
        const std::map<std::string, unsigned*> fields = {
            {"type", &type}, {"recipient", &recipient}, {"value", &value}, {"index", &index}};
        for (std::string word; words >> word;)
            if (fields.contains(word))
                words >> *fields.at(word);
            else if (inwards)
                bytes.resize(std::stoul(word));
            else
                bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));

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
        EXPECT_EQ(result.number, result.kind == TransferKind::done ? 0 : EPIPE) << step;
        return result.kind == TransferKind::done;
    }

    /// What the steps take on the instrument's clock.
    double Milliseconds(const std::string& steps)
    {
        const auto before = oxv_clock_now();
        EXPECT_THAT(Taken(steps), testing::Not(testing::HasSubstr("-")));
        return static_cast<double>(oxv_clock_now() - before) / 1000.0;
    }

    const oxv_device device = (oxv_reset(), oxv_attach("spectrophotometer", "usb"));
    std::unique_ptr<Host> host;
};

const std::string parameters = "out C1 00 82 00 00 00 02 06 00"; // the shortest time of the first mode, two spectra
const std::string writeTwo = "out C3 00 00 01 00 00 02 00 00";

}

TEST_F(SpectrophotometerFirmware, AnswersEachRequest)
{
    EXPECT_EQ(Taken("in C9 8;out CF 02;in D1 6;out C1 00 93 00 17 00 02 06 EE;in C2 8;out C7 01 02 03 04 AB CD;in C8 2;"
                    "out A0 value 1234 01 02 03;out CA 1F;in C9 type 1 recipient 2 index 0102 8"),
              "+++++++++-");
    EXPECT_EQ(Trace(),
              "control C9 in 01 2E 00 00 EA 60 01 00\ncontrol CF out 02\ncontrol D1 in 02 02 00 83 24 01\n"
              "control C1 out 00 93 00 17 00 02 06 EE\ncontrol C2 in 00 93 00 17 00 02 06 00\n"
              "control C7 out 01 02 03 04 AB CD\ncontrol C8 in AB CD\ncontrol A0 out value 1234 01 02 03\n"
              "control CA out 1F\ncontrol C9 in type 1 recipient 2 index 0102 stalled\n");
    EXPECT_EQ(Number("integration-ticks"), 147);
    EXPECT_EQ(Number("spectrum-count"), 2);
    EXPECT_EQ(Number("gain"), 1);

    const std::uint8_t three[] = {10, 20, 0, 11, 21, 1, 12, 22, 0};
    ASSERT_EQ(oxv_set_bytes(device, "modes", three, sizeof three), OXV_OK);
    EXPECT_EQ(Taken("out CF 03;out CF 04;out CF 00"), "+--");
    EXPECT_THAT(host->Ask(0xD1, 6), ElementsAre(3, 3, 0, 12, 22, 0));
    ASSERT_EQ(oxv_set_bytes(device, "modes", nullptr, 0), OXV_OK);
    EXPECT_EQ(Taken("out CF 01"), "+");
    EXPECT_THAT(host->Ask(0xD1, 6), ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_EQ(oxv_set_bytes(device, "modes", three, 4), OXV_BAD_VALUE);
    oxv_set_number(device, "firmware-version", 300);
    EXPECT_EQ(Taken("out CF 01;in D1 6"), "--") << "old firmware has no modes";
}

TEST_F(SpectrophotometerFirmware, RefusesWhatNoHostHasAReasonToAskFor)
{
    struct Refused {
        const char* what;
        std::string steps; ///< of which the last is refused, unless the instrument is told to be lenient
        bool always = false;
    };
    const Refused refused[] = {
        {"recipient", "in C9 recipient 1 8"},
        {"value", "out CA value 0001 1F"},
        {"index", "in D1 index 0100 6"},
        {"value of closing", "out D0 value 0002 00 00 00 00 00 00 00 00"},
        {"value of the standard request", "out 00 type 0 00 00 00 00 00 00 00 00"},
        {"index of firmware", "out A0 value 1234 index 0001 01"},
        {"short reply", "in C9 7"},
        {"long reply", "in C8 3"},
        {"unknown request", "out C5", true},
        {"parameters too short", "out C1 00 82 00 00 00 01 06", true},
        {"an answer as an order", "out C9 00 00 00 00 00 00 00 00", true},
        {"an order as an answer", "in CA 1", true},
        {"another type", "in C9 type 1 8", true},
        {"a measurement with data", parameters + ";out C0 00", true},
        {"measuring without parameters", "out C0"},
        {"ticks below the multiplier", "out C1 00 81 00 00 00 01 06 00"},
        {"ticks below that of the mode chosen later", parameters + ";out CF 02;out C0"},
        {"no spectrum", "out C1 00 82 00 00 00 00 06 00"},
        {"257 spectra", "out C1 00 82 00 00 01 01 06 00"},
        {"reserved bit", "out C1 00 82 00 00 00 01 16 00"},
        {"write of 257 bytes", "out C3 00 00 00 00 01 01 00 00"},
        {"write behind the log", "out C3 00 00 10 00 00 01 00 00"},
        {"write over the log's end", "out C3 00 00 0F FF 00 02 00 00"},
        {"write beyond the memory", "out C3 00 00 1F FF 00 02 00 00", true},
        {"read beyond the memory", "out C4 00 00 1F FF 00 02 00 00", true},
        {"write without an order", "write 00", true},
        {"request before the data", writeTwo + ";in C9 8"},
        {"order before the zero bytes", writeTwo + ";write 01 02;out CF 01"},
        {"request before the second zero byte", writeTwo + ";write 01 02;write 00;in D1 6"},
        {"too little data", writeTwo + ";write 01", true},
        {"too much data", writeTwo + ";write 01 02 03", true},
        {"no zero byte", writeTwo + ";write 01 02;write 00;write 01", true},
        {"two zero bytes in one", writeTwo + ";write 01 02;write 00 00", true},
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
            EXPECT_EQ(Taken(row.steps), std::string(before, '+') + (strict || row.always ? '-' : '+'))
                << (strict ? "strict" : "lenient");
            oxv_unplug(device); // and everything but the memory is forgotten
            oxv_plug(device);
            Connect();
        }
    }
}

TEST_F(SpectrophotometerFirmware, TakesWhatAHostMayAskForAtTheLimits)
{
    EXPECT_EQ(Taken("out C1 00 82 00 00 01 00 00 FF;out C0;read 65536"), "+++") << "256 spectra, high sensitivity";
    EXPECT_EQ(Taken("out C1 00 82 00 00 01 01 0F 00;out C0;read 512;read 2560;read 2560;out CA 07"), "++++++");
    EXPECT_EQ(Taken("out C3 00 00 0F 00 01 00 00 00;out CA 01;read 256;write 00"), "+++-") << "a reset ends a write";
    EXPECT_EQ(Taken("out 00 type 0 value 0084 00 00 00 00 00 00 00 00;out D0 value 0003 00 00 00 00 00 00 00 00"),
              "++");
    EXPECT_EQ(Taken(writeTwo + ";in C9 8;in C9 8;write 01 02"), "+-+-") << "the refused request has ended the write";
    oxv_fault(device, "bulk-write", 1, 1, "stall");
    EXPECT_EQ(Taken(writeTwo + ";write 01 02;in C9 8"), "+-+") << "a write that broke on its way is over";

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

TEST_F(SpectrophotometerFirmware, MeasuringAndRememberingTakeTheirTime)
{
    // 1000 ticks of 68 ms each, a delay of one unit of 130 ticks
    const std::string measure = ";out C0;read 512;read 512";
    EXPECT_EQ(Milliseconds("out C1 03 E8 00 01 00 02 0C 00"), 0.0);
    EXPECT_DOUBLE_EQ(Milliseconds("out C1 03 E8 00 01 00 02 0C 00" + measure), 8.84 + 2 * 68.0) << "no dark cycle";
    EXPECT_DOUBLE_EQ(Milliseconds("out C1 03 E8 00 01 00 02 04 00" + measure), 8.84 + 3 * 68.0) << "one before";
    EXPECT_NEAR(Number("lamp-on-time"), 2 * (0.00884 + 0.136), 1e-9);
    EXPECT_DOUBLE_EQ(Milliseconds("out C1 03 E8 00 01 00 02 06 00" + measure), 8.84 + 2 * 68.0) << "dark anyway";
    EXPECT_NEAR(Number("lamp-on-time"), 2 * (0.00884 + 0.136), 1e-9);
    EXPECT_EQ(Milliseconds("out C4 00 00 00 00 01 01 00 00;read 257"), 10.0);
    EXPECT_EQ(Milliseconds("out C3 00 00 00 00 00 01 00 00;write 07;write 00;write 00"), 5.0);

    host->Prepare({.seconds = 1.0, .count = 3, .lampOff = true, .delay = 0.0});
    oxv_set_number(device, "strict", 0);
    EXPECT_NEAR(Milliseconds("out C0;read 256"), 1000.0, 0.1) << "what is asked for earlier comes earlier";
    EXPECT_NEAR(Milliseconds("read 2560"), 2000.0, 0.1);
    host->Send(0xC0, {});
    EXPECT_EQ(host->Read(2560).size(), 768U) << "what is not there is left out";
}

TEST_F(SpectrophotometerFirmware, ResetDropsDataAndKeepsParameters)
{
    EXPECT_EQ(Taken("out CF 02;out C1 00 93 00 00 00 03 04 00;out C0;out CA 07"), "++++");
    EXPECT_EQ(host->Read(256).size(), 0U);
    EXPECT_EQ(host->Ask(0xC2, 8).at(5), 3);
    EXPECT_EQ(host->Ask(0xD1, 6).at(1), 2);
    EXPECT_EQ(Taken("out C0;out C0"), "++");
    EXPECT_EQ(host->Read(768).size(), 768U) << "a new measurement discards the unread one";
    EXPECT_EQ(host->Read(256).size(), 0U);

    for (const char* order : {"out C0", "out CA 1F"}) {
        EXPECT_EQ(Taken("out C0"), "+");
        const auto read = host->Pipe(1).MakeTransfer(768);
        read->Submit(768);
        EXPECT_EQ(read->Result().kind, TransferKind::pending);
        EXPECT_EQ(Taken(order), "+");
        EXPECT_EQ(read->Result().kind, TransferKind::done) << order << " leaves nothing to wait for";
        EXPECT_EQ(read->Result().moved, 0U);
    }
    oxv_unplug(device);
    oxv_plug(device);
    Connect();
    EXPECT_THAT(host->Ask(0xC2, 8), testing::Each(0)) << "the cable takes everything";
    EXPECT_EQ(host->Ask(0xD1, 6).at(1), 1);
}

TEST_F(SpectrophotometerFirmware, MemoryChangesByWholeWritesOnly)
{
    EXPECT_TRUE(host->WriteMemory(0x100, {1, 2, 3, 4}));
    EXPECT_THAT(Memory(0x100, 4), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(host->ReadMemory(0x102, 2), ElementsAre(3, 4));
    EXPECT_EQ(Trace(),
              "control C3 out 00 00 01 00 00 04 00 00\nwrite 4 01 02 03 04\nwrite 1 00\nwrite 1 00\n"
              "control C4 out 00 00 01 02 00 02 00 00\nsubmit bulk-read 2 #1\ndone #1 2\n");
    for (const char* broken : {"write 09", "write 09 09 09", "write 09 09;write 00", "write 09 09;write 00;write 01"}) {
        Taken(writeTwo + ";" + broken + ";out CA 1F");
        EXPECT_THAT(Memory(0x100, 4), ElementsAre(1, 2, 3, 4)) << broken;
    }
    EXPECT_EQ(Taken("out CB 00 00 01 00 00 01 00 00;write 09;write 00;write 00"), "++++");
    EXPECT_THAT(Memory(0x100, 4), ElementsAre(1, 2, 3, 4)) << "a program goes elsewhere";
    oxv_unplug(device);
    oxv_plug(device);
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
}

TEST_F(SpectrophotometerFirmware, PowerRecoversAfterTheReset)
{
    const auto statuses = [&](int count) {
        std::string digits;
        while (count-- > 0)
            digits += std::to_string(host->Ask(0xC9, 8).at(7));
        return digits;
    };
    oxv_set_number(device, "device-status", 8);
    host->Send(0xCA, {31});
    EXPECT_EQ(statuses(5), "88888") << "not without the reset for power";
    host->Send(0xCA, {1});
    EXPECT_EQ(statuses(5), "88800");
    EXPECT_EQ(Number("device-status"), 0);

    oxv_set_number(device, "device-status", 8);
    oxv_set_number(device, "power-recovers-after", -1);
    host->Send(0xCA, {1});
    EXPECT_EQ(statuses(30), std::string(30, '8'));
    const std::uint8_t list[] = {5, 6};
    oxv_set_bytes(device, "status-list", list, sizeof list);
    EXPECT_EQ(statuses(3), "568");
}

TEST_F(SpectrophotometerFirmware, BlocksCarryThePedestalOrComeAsTheyStand)
{
    oxv_set_number(device, "offset-word", 512);
    for (const bool perfect : {true, false}) {
        const std::uint8_t mode[] = {130, 68, static_cast<std::uint8_t>(perfect)};
        oxv_set_bytes(device, "modes", mode, sizeof mode);
        EXPECT_EQ(Taken("out C1 00 82 00 00 00 01 06 00;out C0"), "++");
        const Bytes block = host->Read(256);
        EXPECT_GT(block.at(0) * 256 + block.at(1), 511) << "the words carry it in any case";
        EXPECT_EQ(block.at(254) * 256 + block.at(255), perfect ? 512 : 0);
    }
    Bytes blocks(512);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        blocks[i] = static_cast<std::uint8_t>(i * 7);
    ASSERT_EQ(oxv_set_bytes(device, "blocks", blocks.data(), blocks.size()), OXV_OK);
    EXPECT_EQ(oxv_set_bytes(device, "blocks", blocks.data(), 255), OXV_BAD_VALUE);
    EXPECT_EQ(Taken("out C1 00 82 00 00 00 05 06 00;out C0"), "++");
    EXPECT_EQ(host->Read(5 * 256), blocks);
    EXPECT_EQ(Taken("out C0;read 1280"), "++") << "once";
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
    EXPECT_EQ(Taken(parameters + ";out C0"), "++");
    const auto read = host->Pipe(1).MakeTransfer(512);
    ASSERT_EQ(read->Submit(512).kind, TransferKind::done);
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
