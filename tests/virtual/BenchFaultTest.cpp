#include "platform/Clock.h"
#include "tests/virtual/Host.h"
#include "virtual/orvex-virtual.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <functional>
#include <limits>

namespace {

using Platform::TransferKind;
using Platform::UsbTransfer;
using testing::ElementsAre;
using Bytes = Host::Bytes;

class BenchFaults : public testing::Test {
protected:
    void SetUp() override
    {
        oxv_reset();
        device = oxv_attach("spectrophotometer", "usb");
        ASSERT_GT(device, 0) << oxv_last_error();
        oxv_set_number(device, "strict", 0); // what is held here is the bench
        Reconnect();
    }

    void TearDown() override
    {
        host.reset();
        oxv_reset();
    }

    void Reconnect()
    {
        oxv_plug(device);
        oxv_faults_clear(device);
        host.reset();
        host = std::make_unique<Host>(Platform::UsbAddresses(1).at(0));
    }

    void Set(const char* point, const char* how, std::uint32_t nth = 1, std::uint32_t times = 1)
    {
        ASSERT_EQ(oxv_fault(device, point, nth, times, how), OXV_OK) << oxv_last_error();
    }

    oxv_device device = 0;
    std::unique_ptr<Host> host;
};

const char* const allFaults[] = {
    "fail",  "stall",   "denied",     "busy",      "timeout",     "short",      "one-short",
    "empty", "garbage", "wrong-echo", "echo-only", "length-zero", "length-ten", "close-after-length",
    "unplug"};

/// What a host does that passes a point once.
struct Passing {
    const char* point;
    std::function<void(Host&)> act;
};

const Passing passings[] = {
    {"control:C9", [](Host& host) { host.Ask(0xC9, 8); }},
    {"control", [](Host& host) { host.Send(0xC1, Bytes(8, 0)); }},
    {"reset", [](Host& host) { host.Send(0xCA, {31}); }},
    {"bulk-read",
     [](Host& host) {
         host.Send(0xC4, {0, 0, 0x12, 0, 0, 8, 0, 0});
         host.Read(8);
     }},
    {"bulk-write",
     [](Host& host) {
         host.Send(0xC3, {0, 0, 0, 0, 0, 8, 0, 0});
         host.Write(Bytes(8, 7));
     }},
};

}

TEST_F(BenchFaults, APairIsTakenIfItHasAMeaning)
{
    struct PointRow {
        const char* point;
        std::vector<std::string> taken;
    };
    const std::vector<std::string> opening = {"fail", "denied", "busy", "unplug"};
    const std::vector<std::string> transfer = {"fail",      "stall", "timeout", "short",
                                               "one-short", "empty", "garbage", "unplug"};
    const PointRow rows[] = {
        {"enumerate", {"fail", "unplug"}},
        {"open", opening},
        {"open:0", opening},
        {"open:3", opening},
        {"open:4", {}},
        {"close", {"unplug"}},
        {"reset", transfer},
        {"control", transfer},
        {"control:C9", transfer},
        {"control:d1", transfer},
        {"control:C0", {"fail", "stall", "timeout", "unplug"}},
        {"bulk-read", transfer},
        {"bulk-write", transfer},
        {"interrupt-read", transfer},
        {"any", {"fail", "stall", "denied", "busy", "timeout", "short", "one-short", "empty", "garbage", "unplug"}},
        {"command", {}},
        {"command:13", {}},
    };
    for (const auto& row : rows)
        for (const char* how : allFaults) {
            SCOPED_TRACE(std::string(row.point) + " " + how);
            const bool taken = std::ranges::find(row.taken, how) != row.taken.end();
            EXPECT_EQ(oxv_fault(device, row.point, 1, 1, how), taken ? OXV_OK : OXV_NOT_POSSIBLE);
            EXPECT_EQ(std::string(oxv_last_error()).empty(), taken);
        }

    for (const char* point :
         {"", "frobnicate", "control:", "control:G1", "control:1C9", "open:x", "open:", "bulk-read:1"})
        EXPECT_EQ(oxv_fault(device, point, 1, 1, "fail"), OXV_NO_SUCH_NAME) << point;
    EXPECT_EQ(oxv_fault(device, "control", 1, 1, "explode"), OXV_NO_SUCH_NAME);
    EXPECT_EQ(oxv_fault(device, "control", 0, 1, "fail"), OXV_BAD_VALUE);
    EXPECT_EQ(oxv_fault(device, nullptr, 1, 1, "fail"), OXV_BAD_VALUE);
    EXPECT_EQ(oxv_fault(device + 1, "control", 1, 1, "fail"), OXV_NO_SUCH_DEVICE);
}

TEST_F(BenchFaults, ATransferEndsAsTheFaultSays)
{
    struct Outcome {
        const char* how;
        TransferKind kind;
        int number;
        double share; // of the bytes
    };
    const Outcome outcomes[] = {
        {"fail", TransferKind::failed, EIO, 0},           {"stall", TransferKind::stalled, EPIPE, 0},
        {"timeout", TransferKind::pending, ETIMEDOUT, 0}, {"short", TransferKind::done, 0, 0.5},
        {"one-short", TransferKind::done, 0, 7.0 / 8.0},  {"empty", TransferKind::done, 0, 0},
        {"unplug", TransferKind::gone, ENODEV, 0},
    };
    for (const auto& passing : passings)
        for (const auto& outcome : outcomes) {
            SCOPED_TRACE(std::string(passing.point) + " " + outcome.how);
            Set(passing.point, outcome.how);
            passing.act(*host);
            EXPECT_EQ(host->last.kind, outcome.kind);
            EXPECT_EQ(host->last.number, outcome.number);
            const std::size_t size = std::string(passing.point) == "reset" ? 1 : 8;
            EXPECT_EQ(host->last.moved, static_cast<std::size_t>(static_cast<double>(size) * outcome.share));
            Reconnect();
            passing.act(*host);
            EXPECT_EQ(host->last.kind, TransferKind::done) << "the next one works";
            EXPECT_EQ(host->last.moved, size);
        }
}

TEST_F(BenchFaults, GarbageIsRandomAndFollowsTheSeed)
{
    const auto garbled = [&] {
        oxv_seed(3);
        Set("control:C9", "garbage");
        return host->Ask(0xC9, 8);
    };
    const Bytes sound = host->Ask(0xC9, 8);
    const Bytes first = garbled();
    EXPECT_EQ(first.size(), 8U);
    EXPECT_NE(first, sound);
    EXPECT_EQ(garbled(), first);

    Set("bulk-write", "garbage");
    EXPECT_TRUE(host->WriteMemory(0x1F00, Bytes(16, 0x55)));
    Bytes written(16);
    oxv_memory_read(device, 0x1F00, written.data(), written.size());
    EXPECT_NE(written, Bytes(16, 0x55));
    EXPECT_NE(written, Bytes(16, 0xFF));
}

TEST_F(BenchFaults, OpeningAndLookingFailAsTold)
{
    const auto address = Platform::UsbAddresses(1).at(0);
    struct Outcome {
        const char* point;
        const char* how;
        TransferKind kind;
        int number;
    };
    for (const auto& outcome : {Outcome{"open", "fail", TransferKind::failed, EIO},
                                {"open:1", "denied", TransferKind::denied, EACCES},
                                {"open:1", "busy", TransferKind::denied, EBUSY},
                                {"open:1", "unplug", TransferKind::gone, ENODEV}}) {
        SCOPED_TRACE(outcome.how);
        Set(outcome.point, outcome.how);
        Platform::TransferResult result;
        EXPECT_EQ(Platform::OpenUsbPipe(address, 1, result), nullptr);
        EXPECT_EQ(result.kind, outcome.kind);
        EXPECT_EQ(result.number, outcome.number);
        Reconnect();
    }
    Set("enumerate", "fail");
    EXPECT_TRUE(Platform::UsbAddresses(1).empty());
    EXPECT_EQ(Platform::UsbAddresses(1).size(), 1U);
    Set("enumerate", "unplug");
    EXPECT_TRUE(Platform::UsbAddresses(1).empty());
    EXPECT_TRUE(Platform::UsbAddresses(1).empty());
    Reconnect();
    Set("close", "unplug");
    host->Pipe(2).Close();
    EXPECT_TRUE(Platform::UsbAddresses(1).empty());
}

TEST_F(BenchFaults, CountTheirPassings)
{
    const auto failures = [&](int passes) {
        std::string list;
        for (int i = 0; i < passes; ++i) {
            host->Ask(0xC9, 8);
            list += host->last.kind == TransferKind::done ? '.' : host->last.kind == TransferKind::stalled ? 's' : 'f';
        }
        return list;
    };
    Set("control:C9", "fail", 2, 2);
    EXPECT_EQ(failures(5), ".ff..");
    Set("control", "fail", 3, 0);
    EXPECT_EQ(failures(5), "..fff");
    oxv_faults_clear(device);
    EXPECT_EQ(failures(2), "..");

    Set("any", "stall", 2, 1);
    Set("control:c9", "fail", 1, 2);
    EXPECT_EQ(failures(3), "fs.") << "the one set earlier wins, and the other's passing is over";

    const auto before = oxv_count(device, "any");
    EXPECT_EQ(oxv_count(device, "control:C9"), oxv_count(device, "control:c9"));
    const auto identifications = oxv_count(device, "control:C9");
    Set("control:C9", "fail");
    host->Ask(0xC9, 8);
    host->Send(0xCA, {31});
    EXPECT_EQ(oxv_count(device, "control:C9"), identifications + 1) << "a passing with a fault counts";
    EXPECT_EQ(oxv_count(device, "reset"), 1);
    EXPECT_EQ(oxv_count(device, "any"), before + 2);
    EXPECT_EQ(oxv_count(device, "nothing"), OXV_NO_SUCH_NAME);
}

TEST_F(BenchFaults, AFaultWithoutMeaningAtAPassingLetsItPass)
{
    Set("any", "denied", 1, 0);
    EXPECT_EQ(host->Ask(0xC9, 8).size(), 8U);
    oxv_faults_clear(device);
    Set("any", "empty", 1, 0);
    EXPECT_EQ(Platform::UsbAddresses(1).size(), 1U);
    EXPECT_TRUE(host->Send(0xC0, {}));
}

TEST_F(BenchFaults, QueuedAnswersComeFirst)
{
    const Bytes one = {9, 8, 7};
    const Bytes two = {1, 2, 3, 4, 5, 6, 7, 8};
    ASSERT_EQ(oxv_answer(device, "control:C9", one.data(), one.size()), OXV_OK);
    ASSERT_EQ(oxv_answer(device, "control:c9", two.data(), two.size()), OXV_OK);
    ASSERT_EQ(oxv_answer(device, "control:D1", nullptr, 0), OXV_OK);
    Set("control:C9", "fail", 1, 3);
    EXPECT_EQ(host->Ask(0xC9, 8), one) << "shorter than asked, and before the fault";
    EXPECT_EQ(host->Ask(0xC9, 4), Bytes(two.begin(), two.begin() + 4));
    EXPECT_TRUE(host->Ask(0xC9, 8).empty());
    EXPECT_EQ(host->Ask(0xC9, 8).at(1), 302 & 0xFF);
    EXPECT_TRUE(host->Ask(0xD1, 6).empty());
    EXPECT_EQ(host->last.kind, TransferKind::done);

    const Bytes nine(9);
    EXPECT_EQ(oxv_answer(device, "control:C9", nine.data(), nine.size()), OXV_BAD_VALUE);
    for (const char* point : {"control:C1", "control", "bulk-read", "command:0", "any"})
        EXPECT_EQ(oxv_answer(device, point, one.data(), 1), OXV_NOT_POSSIBLE) << point;

    oxv_answer(device, "control:C9", one.data(), one.size());
    oxv_faults_clear(device);
    EXPECT_EQ(host->Ask(0xC9, 8).size(), 8U) << "cleared with the faults";
}

TEST_F(BenchFaults, AFaultOfTheInterruptPipeMeetsTheReadThatWaits)
{
    struct Outcome {
        const char* how;
        TransferKind kind;
        std::size_t moved;
    };
    const auto address = Platform::UsbAddresses(1).at(0);
    for (const auto& outcome : {Outcome{"fail", TransferKind::failed, 0},
                                {"stall", TransferKind::stalled, 0},
                                {"empty", TransferKind::done, 0},
                                {"short", TransferKind::done, 4},
                                {"garbage", TransferKind::done, 8},
                                {"timeout", TransferKind::pending, 0},
                                {"unplug", TransferKind::gone, 0}}) {
        for (const bool waits : {true, false}) {
            SCOPED_TRACE(std::string(outcome.how) + (waits ? " while it waits" : " before it is submitted"));
            Platform::TransferResult result;
            const auto pipe = Platform::OpenUsbPipe(address, 3, result);
            const auto read = pipe->MakeTransfer(8);
            if (waits)
                read->Submit(8);
            Set("interrupt-read", outcome.how);
            if (!waits)
                read->Submit(8);
            if (outcome.kind == TransferKind::pending)
                oxv_press(device);
            EXPECT_EQ(read->Result().kind, outcome.kind);
            EXPECT_EQ(read->Result().moved, outcome.moved);
            read->Cancel();
            Reconnect();
        }
    }

    Platform::TransferResult result;
    const auto pipe = Platform::OpenUsbPipe(address, 3, result);
    const auto read = pipe->MakeTransfer(8);
    read->Submit(8);
    Set("interrupt-read", "fail", 2);
    EXPECT_EQ(read->Result().kind, TransferKind::pending) << "the waiting one is the first";
    oxv_press(device);
    EXPECT_EQ(read->Result().kind, TransferKind::done);
    EXPECT_EQ(read->Result().moved, 8U);
    read->Submit(8);
    EXPECT_EQ(read->Result().kind, TransferKind::failed);
}

TEST_F(BenchFaults, TheTraceTellsWhatWentOverTheWire)
{
    const auto trace = [&](const char* channel) {
        std::string text(static_cast<std::size_t>(oxv_trace(device, channel, nullptr, 0)), '\0');
        oxv_trace(device, channel, text.data(), text.size() + 1);
        return text;
    };
    const auto address = Platform::UsbAddresses(1).at(0);
    oxv_trace_clear(device);
    {
        Platform::TransferResult result;
        const auto bulk = Platform::OpenUsbPipe(address, 1, result);
        const auto interrupt = Platform::OpenUsbPipe(address, 3, result);
        host->Prepare({.seconds = 0.5, .count = 2});
        oxv_trace_clear(device);
        host->Send(0xC0, {});
        const auto first = bulk->MakeTransfer(256);
        const auto second = bulk->MakeTransfer(256);
        first->Submit(256);
        second->Submit(256);
        first->Wait(5000);
        first->Submit(256);
        second->Wait(400);
        second->Cancel();
        const auto message = interrupt->MakeTransfer(8);
        message->Submit(8);
        oxv_press(device);
        message->Wait(0);
        message->Submit(8);
        Platform::SleepMicroseconds(0);
        interrupt->Close();
        bulk->Close();
    }
    Set("control:C9", "stall");
    host->Ask(0xC9, 8);
    Platform::SleepMicroseconds(1500000);
    Platform::SleepMicroseconds(2250);
    EXPECT_EQ(trace(""),
              "control C0 out\nsubmit bulk-read 256 #1\nsubmit bulk-read 256 #2\ndone #1 256\n"
              "submit bulk-read 256 #3\ncancel #2\ncancel #3\nclose 1\ncontrol C9 in stalled\n"
              "sleep 1500 ms\nsleep 2.25 ms\n");
    EXPECT_EQ(trace("interrupt"),
              "submit interrupt-read 8 #4\ndone #4 8\nsubmit interrupt-read 8 #5\ncancel #5\nclose 3\n");

    char three[4] = "xyz";
    EXPECT_EQ(oxv_trace(device, "", three, sizeof three), static_cast<std::int64_t>(trace("").size()));
    EXPECT_STREQ(three, "con");
    EXPECT_EQ(oxv_trace(device, "other", nullptr, 0), OXV_NO_SUCH_NAME);
    EXPECT_EQ(oxv_trace(device, "", nullptr, 5), OXV_BAD_VALUE);

    for (int i = 0; i < 10003; ++i)
        Platform::SleepMicroseconds(i < 3 ? 1000 : 2000);
    const std::string longest = trace("");
    EXPECT_EQ(std::count(longest.begin(), longest.end(), '\n'), 10000);
    EXPECT_EQ(longest.find("sleep 1 ms"), std::string::npos) << "the oldest lines go first";
}

TEST_F(BenchFaults, BadUseIsRefusedAndChangesNothing)
{
    const float values[] = {0.5F, 0.6F};
    const float bad[] = {0.5F, std::numeric_limits<float>::quiet_NaN()};
    const float negative[] = {-0.1F};
    std::uint8_t byte = 0;
    double number = 0.0;
    struct Misuse {
        const char* what;
        std::function<std::int64_t()> call;
        int code;
    };
    const Misuse misuses[] = {
        {"kind", [] { return oxv_attach("densitometer", "usb"); }, OXV_NO_SUCH_NAME},
        {"type", [] { return oxv_attach("colorimeter-3", "usb"); }, OXV_NO_SUCH_NAME},
        {"type text", [] { return oxv_attach("colorimeter-4x", "usb"); }, OXV_NO_SUCH_NAME},
        {"null kind", [] { return oxv_attach(nullptr, "usb"); }, OXV_BAD_VALUE},
        {"place", [] { return oxv_attach("spectrophotometer", "attic"); }, OXV_BAD_VALUE},
        {"place number", [] { return oxv_attach("spectrophotometer", "usb:128"); }, OXV_BAD_VALUE},
        {"port", [] { return oxv_attach("colorimeter-4", "serial:9"); }, OXV_BAD_VALUE},
        {"road", [] { return oxv_attach("spectrophotometer", "serial:1"); }, OXV_NOT_POSSIBLE},
        {"taken", [] { return oxv_attach("spectrophotometer", "usb:0"); }, OXV_NOT_POSSIBLE},
        {"number", [&] { return oxv_set_number(device, "weight", 1); }, OXV_NO_SUCH_NAME},
        {"range", [&] { return oxv_set_number(device, "offset-word", 65536); }, OXV_BAD_VALUE},
        {"whole", [&] { return oxv_set_number(device, "device-type", 1.5); }, OXV_BAD_VALUE},
        {"not a number", [&] { return oxv_set_number(device, "noise", std::nan("")); }, OXV_BAD_VALUE},
        {"read only", [&] { return oxv_set_number(device, "lamp-on-time", 1); }, OXV_NOT_POSSIBLE},
        {"null value", [&] { return oxv_get_number(device, "noise", nullptr); }, OXV_BAD_VALUE},
        {"other kind", [&] { return oxv_get_number(device, "refresh-hz", &number); }, OXV_NO_SUCH_NAME},
        {"position", [&] { return oxv_set_text(device, "position", "moon"); }, OXV_BAD_VALUE},
        {"address", [&] { return oxv_set_text(device, "address", "x"); }, OXV_NOT_POSSIBLE},
        {"text", [&] { return oxv_get_text(device, "version", nullptr, 0); }, OXV_NO_SUCH_NAME},
        {"bytes", [&] { return oxv_set_bytes(device, "cells", &byte, 1); }, OXV_NO_SUCH_NAME},
        {"memory end", [&] { return oxv_memory_read(device, 8192, &byte, 1); }, OXV_BAD_VALUE},
        {"memory wrap", [&] { return oxv_memory_write(device, 0xFFFFFFFF, &byte, 1); }, OXV_BAD_VALUE},
        {"memory null", [&] { return oxv_memory_write(device, 0, nullptr, 1); }, OXV_BAD_VALUE},
        {"protect", [&] { return oxv_memory_protect(device, 0, 1); }, OXV_NOT_POSSIBLE},
        {"descriptor", [&] { return oxv_port_descriptor(device); }, OXV_NOT_POSSIBLE},
        {"curve", [&] { return oxv_set_curve(device, "shade", values, 2, 380, 10); }, OXV_NO_SUCH_NAME},
        {"no points", [&] { return oxv_set_curve(device, "sample", values, 0, 380, 10); }, OXV_BAD_VALUE},
        {"null points", [&] { return oxv_set_curve(device, "sample", nullptr, 2, 380, 10); }, OXV_BAD_VALUE},
        {"bad point", [&] { return oxv_set_curve(device, "sample", bad, 2, 380, 10); }, OXV_BAD_VALUE},
        {"dark point", [&] { return oxv_strip_add(device, negative, 1, 380, 10, 1, 0); }, OXV_BAD_VALUE},
        {"step", [&] { return oxv_set_curve(device, "sample", values, 2, 380, 0); }, OXV_BAD_VALUE},
        {"patch time", [&] { return oxv_strip_add(device, values, 2, 380, 10, -1, 0); }, OXV_BAD_VALUE},
        {"flash time", [&] { return oxv_flash(device, 0, std::nan(""), values, 2, 380, 10); }, OXV_BAD_VALUE},
        {"handle", [] { return oxv_press(0); }, OXV_NO_SUCH_DEVICE},
    };
    const auto count = oxv_count(device, "any");
    const Bytes memory = host->ReadMemory(0, 8192);
    host->Prepare({});
    host->Send(0xC0, {});
    const Bytes block = host->Read(256);
    for (const auto& misuse : misuses) {
        SCOPED_TRACE(misuse.what);
        EXPECT_EQ(misuse.call(), misuse.code);
        EXPECT_STRNE(oxv_last_error(), "");
    }
    EXPECT_EQ(oxv_unplug(device), OXV_OK);
    EXPECT_STREQ(oxv_last_error(), "") << "of the last call";
    EXPECT_EQ(oxv_press(device), OXV_NOT_POSSIBLE) << "unplugged";
    Reconnect();
    EXPECT_EQ(Platform::UsbAddresses(9).size(), 1U);
    EXPECT_EQ(host->ReadMemory(0, 8192), memory);
    host->Prepare({});
    host->Send(0xC0, {});
    EXPECT_EQ(host->Read(256), block);
    EXPECT_GT(oxv_count(device, "any"), count);
}
