#include "platform/Clock.h"
#include "tests/virtual/Host.h"
#include "virtual/orvex-virtual.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <limits>

namespace {

using Platform::TransferKind;
using Bytes = Host::Bytes;

/// A transfer's end in words: kind, bytes moved, error number.
std::string Words(const Platform::TransferResult& result)
{
    constexpr const char* kinds[] = {"done", "pending", "gone", "cancelled", "stalled", "denied", "failed"};
    return std::string(kinds[static_cast<int>(result.kind)]) + " " + std::to_string(result.moved) + " "
        + std::to_string(result.number);
}

class BenchFaults : public testing::Test {
protected:
    BenchFaults()
    {
        oxv_reset();
        device = oxv_attach("spectrophotometer", "usb");
        oxv_set_number(device, "strict", 0); // what is held here is the bench
        Reconnect();
    }

    ~BenchFaults() override
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

    void Set(const char* point, const char* how, std::uint32_t nth = 1, std::uint32_t times = 1) const
    {
        ASSERT_EQ(oxv_fault(device, point, nth, times, how), OXV_OK) << oxv_last_error();
    }

    static std::unique_ptr<Platform::UsbPipe> Open(unsigned pipe, Platform::TransferResult& result)
    {
        return Platform::OpenUsbPipe(Platform::UsbAddresses(1).at(0), pipe, result);
    }

    std::string Trace(const char* channel) const
    {
        std::string text(static_cast<std::size_t>(oxv_trace(device, channel, nullptr, 0)), '\0');
        oxv_trace(device, channel, text.data(), text.size() + 1);
        return text;
    }

    oxv_device device = 0;
    std::unique_ptr<Host> host;
    Platform::TransferResult opened;
};

}

TEST_F(BenchFaults, ATransferEndsAsTheFaultSaysAndTheNextOneWorks)
{
    const std::pair<const char*, std::function<void()>> passings[] = {
        {"control:C9", [&] { host->Ask(0xC9, 8); }},
        {"control", [&] { host->Send(0xC1, Bytes(8, 0)); }},
        {"bulk-read",
         [&] {
             host->Send(0xC4, {0, 0, 0x12, 0, 0, 8, 0, 0}), host->Read(8);
         }},
        {"bulk-write",
         [&] {
             host->Send(0xC3, {0, 0, 0, 0, 0, 8, 0, 0}), host->Write(Bytes(8, 7));
         }},
    };
    const std::pair<const char*, const char*> ends[] = {
        {"fail", "failed 0 5"}, {"stall", "stalled 0 32"}, {"timeout", "pending 0 110"}, {"short", "done 4 0"},
        {"empty", "done 0 0"},  {"one-short", "done 7 0"}, {"unplug", "gone 0 19"}};
    for (const auto& [point, act] : passings)
        for (const auto& [how, end] : ends) {
            SCOPED_TRACE(std::string(point) + " " + how);
            Set(point, how);
            act();
            EXPECT_EQ(Words(host->last), end);
            Reconnect();
            act();
            EXPECT_EQ(Words(host->last), "done 8 0");
        }
    Set("reset", "short");
    host->Send(0xCA, {31});
    EXPECT_EQ(Words(host->last), "done 0 0");
}

TEST_F(BenchFaults, GarbageIsRandomAndFollowsTheSeed)
{
    const auto garbled = [&] {
        oxv_seed(3);
        Set("control:C9", "garbage");
        return host->Ask(0xC9, 8);
    };
    const Bytes sound = host->Ask(0xC9, 8), first = garbled();
    EXPECT_EQ(first.size(), 8U);
    EXPECT_NE(first, sound);
    EXPECT_EQ(garbled(), first);
}

TEST_F(BenchFaults, OpeningLookingAndClosingFailAsTold)
{
    const std::array<const char*, 3> openings[] = {{"open", "fail", "failed 0 5"},
                                                   {"open:1", "denied", "denied 0 13"},
                                                   {"open:1", "busy", "denied 0 16"},
                                                   {"open:1", "unplug", "gone 0 19"}};
    for (const auto& [point, how, end] : openings) {
        Set(point, how);
        EXPECT_EQ(Open(1, opened), nullptr);
        EXPECT_EQ(Words(opened), end);
        Reconnect();
    }
    Set("enumerate", "fail");
    EXPECT_TRUE(Platform::UsbAddresses(1).empty());
    EXPECT_EQ(Platform::UsbAddresses(1).size(), 1U);
    for (const char* point : {"enumerate", "close"}) {
        Set(point, "unplug");
        host->Pipe(2).Close();
        Platform::UsbAddresses(1);
        EXPECT_TRUE(Platform::UsbAddresses(1).empty()) << point;
        Reconnect();
    }
}

TEST_F(BenchFaults, CountTheirPassings)
{
    const auto passes = [&](int count) {
        std::string list;
        for (int i = 0; i < count; ++i)
            host->Ask(0xC9, 8), list += Words(host->last)[0];
        return list;
    };
    Set("control:C9", "fail", 2, 2);
    EXPECT_EQ(passes(5), "dffdd");
    Set("control", "fail", 3, 0);
    EXPECT_EQ(passes(5), "ddfff");
    oxv_faults_clear(device);
    EXPECT_EQ(passes(2), "dd");
    Set("any", "stall", 2, 1);
    Set("control:c9", "fail", 1, 2);
    EXPECT_EQ(passes(3), "fsd") << "the one set earlier wins, and the other's passing is over";
    Set("any", "denied", 1, 0);
    EXPECT_EQ(passes(2), "dd") << "without a meaning at this passing";

    const auto before = oxv_count(device, "any"), identified = oxv_count(device, "control:c9");
    Set("control:C9", "fail");
    passes(1);
    host->Send(0xCA, {31});
    EXPECT_EQ(oxv_count(device, "control:C9"), identified + 1) << "a passing with a fault counts";
    EXPECT_EQ(oxv_count(device, "reset"), 1);
    EXPECT_EQ(oxv_count(device, "any"), before + 2);
}

TEST_F(BenchFaults, QueuedAnswersComeFirst)
{
    const Bytes one = {9, 8, 7}, two = {1, 2, 3, 4, 5, 6, 7, 8};
    ASSERT_EQ(oxv_answer(device, "control:C9", one.data(), one.size()), OXV_OK);
    ASSERT_EQ(oxv_answer(device, "control:c9", two.data(), two.size()), OXV_OK);
    ASSERT_EQ(oxv_answer(device, "control:D1", nullptr, 0), OXV_OK);
    Set("control:C9", "fail", 1, 3);
    EXPECT_EQ(host->Ask(0xC9, 8), one) << "shorter than asked, and before the fault";
    EXPECT_EQ(host->Ask(0xC9, 4), Bytes(two.begin(), two.begin() + 4));
    EXPECT_TRUE(host->Ask(0xC9, 8).empty()) << "now the fault";
    EXPECT_EQ(host->Ask(0xC9, 8).size(), 8U);
    EXPECT_TRUE(host->Ask(0xD1, 6).empty());
    EXPECT_EQ(Words(host->last), "done 0 0");
    oxv_answer(device, "control:C9", one.data(), one.size());
    oxv_faults_clear(device);
    EXPECT_EQ(host->Ask(0xC9, 8).size(), 8U) << "cleared with the faults";
}

TEST_F(BenchFaults, AFaultOfTheInterruptPipeMeetsTheReadThatWaits)
{
    const std::pair<const char*, const char*> ends[] = {
        {"fail", "failed 0 5"},  {"stall", "stalled 0 32"},  {"empty", "done 0 0"},  {"short", "done 4 0"},
        {"garbage", "done 8 0"}, {"timeout", "pending 0 0"}, {"unplug", "gone 0 19"}};
    for (const auto& [how, end] : ends)
        for (const bool waits : {true, false}) {
            SCOPED_TRACE(std::string(how) + (waits ? " while it waits" : " before it is submitted"));
            const auto pipe = Open(3, opened);
            const auto read = pipe->MakeTransfer(8);
            if (waits)
                read->Submit(8);
            Set("interrupt-read", how);
            if (!waits)
                read->Submit(8);
            if (how == std::string("timeout"))
                oxv_press(device);
            EXPECT_EQ(Words(read->Result()), end);
            read->Cancel();
            Reconnect();
        }
    const auto pipe = Open(3, opened);
    const auto read = pipe->MakeTransfer(8);
    read->Submit(8);
    Set("interrupt-read", "fail", 2);
    oxv_press(device);
    EXPECT_EQ(Words(read->Result()), "done 8 0") << "the waiting one is the first";
    read->Submit(8);
    EXPECT_EQ(Words(read->Result()), "failed 0 5");
}

TEST_F(BenchFaults, TheTraceTellsWhatWentOverTheWire)
{
    {
        const auto bulk = Open(1, opened), interrupt = Open(3, opened);
        host->Prepare({.seconds = 0.5, .count = 2});
        oxv_trace_clear(device);
        host->Send(0xC0, {});
        const auto first = bulk->MakeTransfer(256), second = bulk->MakeTransfer(256);
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
        interrupt->Close();
        bulk->Close();
    }
    Set("control:C9", "stall");
    host->Ask(0xC9, 8);
    Platform::SleepMicroseconds(1500000);
    Platform::SleepMicroseconds(2250);
    EXPECT_EQ(Trace(""),
              "control C0 out\nsubmit bulk-read 256 #1\nsubmit bulk-read 256 #2\ndone #1 256\n"
              "submit bulk-read 256 #3\ncancel #2\ncancel #3\nclose 1\ncontrol C9 in stalled\n"
              "sleep 1500 ms\nsleep 2.25 ms\n");
    EXPECT_EQ(Trace("interrupt"),
              "submit interrupt-read 8 #4\ndone #4 8\nsubmit interrupt-read 8 #5\ncancel #5\nclose 3\n");
    char three[4] = "xyz";
    EXPECT_EQ(oxv_trace(device, "", three, sizeof three), static_cast<std::int64_t>(Trace("").size()));
    EXPECT_STREQ(three, "con");
    for (int i = 0; i < 10003; ++i)
        Platform::SleepMicroseconds(i < 3 ? 1000 : 2000);
    EXPECT_EQ(std::ranges::count(Trace(""), '\n'), 10000);
    EXPECT_THAT(Trace(""), testing::Not(testing::HasSubstr("sleep 1 ms"))) << "the oldest lines go first";
}

TEST_F(BenchFaults, BadUseIsRefusedAndChangesNothing)
{
    constexpr float values[] = {0.5F, 0.6F}, bad[] = {0.5F, std::numeric_limits<float>::quiet_NaN()}, dark[] = {-0.1F};
    std::uint8_t byte = 0;
    double number = 0.0;
    const auto count = oxv_count(device, "any");
    const Bytes memory = host->ReadMemory(0, 8192);
    // clang-format off
    const std::pair<int, std::vector<std::function<std::int64_t()>>> misuses[] = {
        {OXV_NO_SUCH_DEVICE, {[] { return oxv_press(0); }, [&] { return oxv_fault(device + 1, "control", 1, 1, "fail"); }}},
        {OXV_NO_SUCH_NAME, {
            [] { return oxv_attach("densitometer", "usb"); }, [] { return oxv_attach("colorimeter-3", "usb"); },
            [] { return oxv_attach("colorimeter-4x", "usb"); }, [&] { return oxv_set_number(device, "weight", 1); },
            [&] { return oxv_get_number(device, "refresh-hz", &number); },
            [&] { return oxv_get_text(device, "version", nullptr, 0); }, [&] { return oxv_set_bytes(device, "cells", &byte, 1); },
            [&] { return oxv_set_curve(device, "shade", values, 2, 380, 10); }, [&] { return oxv_count(device, "nothing"); },
            [&] { return oxv_trace(device, "other", nullptr, 0); }, [&] { return oxv_fault(device, "", 1, 1, "fail"); },
            [&] { return oxv_fault(device, "control:1C9", 1, 1, "fail"); },
            [&] { return oxv_fault(device, "bulk-read:1", 1, 1, "fail"); },
            [&] { return oxv_fault(device, "open:x", 1, 1, "fail"); },
            [&] { return oxv_fault(device, "control", 1, 1, "explode"); }}},
        {OXV_BAD_VALUE, {
            [] { return oxv_attach(nullptr, "usb"); }, [] { return oxv_attach("spectrophotometer", "attic"); },
            [] { return oxv_attach("spectrophotometer", "usb:128"); }, [] { return oxv_attach("colorimeter-4", "serial:9"); },
            [&] { return oxv_set_number(device, "offset-word", 65536); },
            [&] { return oxv_set_number(device, "device-type", 1.5); },
            [&] { return oxv_set_number(device, "noise", std::nan("")); }, [&] { return oxv_get_number(device, "noise", nullptr); },
            [&] { return oxv_set_text(device, "position", "moon"); }, [&] { return oxv_memory_read(device, 8192, &byte, 1); },
            [&] { return oxv_memory_write(device, 0xFFFFFFFF, &byte, 1); },
            [&] { return oxv_memory_write(device, 0, nullptr, 1); },
            [&] { return oxv_set_curve(device, "sample", values, 0, 380, 10); },
            [&] { return oxv_set_curve(device, "sample", nullptr, 2, 380, 10); },
            [&] { return oxv_set_curve(device, "sample", bad, 2, 380, 10); },
            [&] { return oxv_set_curve(device, "sample", values, 2, 380, 0); },
            [&] { return oxv_strip_add(device, dark, 1, 380, 10, 1, 0); },
            [&] { return oxv_strip_add(device, values, 2, 380, 10, -1, 0); },
            [&] { return oxv_flash(device, 0, std::nan(""), values, 2, 380, 10); },
            [&] { return oxv_trace(device, "", nullptr, 5); }, [&] { return oxv_fault(device, "control", 0, 1, "fail"); },
            [&] { return oxv_fault(device, nullptr, 1, 1, "fail"); },
            [&] { return oxv_answer(device, "control:C9", Bytes(9).data(), 9); }}},
        {OXV_NOT_POSSIBLE, {
            [] { return oxv_attach("spectrophotometer", "serial:1"); }, [] { return oxv_attach("spectrophotometer", "usb:0"); },
            [&] { return oxv_set_number(device, "lamp-on-time", 1); }, [&] { return oxv_set_text(device, "address", "x"); },
            [&] { return oxv_memory_protect(device, 0, 1); }, [&] { return oxv_port_descriptor(device); },
            [&] { return oxv_fault(device, "command:13", 1, 1, "fail"); },
            [&] { return oxv_fault(device, "open:4", 1, 1, "fail"); }, [&] { return oxv_fault(device, "close", 1, 1, "fail"); },
            [&] { return oxv_fault(device, "control:C0", 1, 1, "short"); },
            [&] { return oxv_fault(device, "enumerate", 1, 1, "denied"); },
            [&] { return oxv_fault(device, "any", 1, 1, "wrong-echo"); },
            [&] { return oxv_answer(device, "control:C1", &byte, 1); }, [&] { return oxv_answer(device, "bulk-read", &byte, 1); }}},
    };
    // clang-format on
    for (const auto& [code, calls] : misuses)
        for (std::size_t i = 0; i < calls.size(); ++i) {
            EXPECT_EQ(calls[i](), code) << "call " << i;
            EXPECT_STRNE(oxv_last_error(), "");
        }
    EXPECT_EQ(oxv_unplug(device), OXV_OK);
    EXPECT_STREQ(oxv_last_error(), "") << "of the last call";
    EXPECT_EQ(oxv_press(device), OXV_NOT_POSSIBLE) << "unplugged";
    Reconnect();
    EXPECT_EQ(Platform::UsbAddresses(9).size(), 1U);
    EXPECT_EQ(host->ReadMemory(0, 8192), memory);
    EXPECT_GT(oxv_count(device, "any"), count);
}
