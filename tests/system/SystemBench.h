#pragma once

#include "orvex/ox.h"
#include "virtual/orvex-virtual.h"

#include <array>
#include <gmock/gmock.h>
#include <iosfwd>
#include <string>
#include <vector>

using Spectrum = std::array<float, OX_SPECTRUM_SIZE>;

/// A spectrum of the same value in every band.
Spectrum Flat(float value);

/// What the application's error handler was called with.
struct Report {
    std::string function;
    std::int32_t code;
    std::string text;

    bool operator==(const Report&) const = default;
};
void PrintTo(const Report& report, std::ostream* stream);

/// What the application's message handler was called with.
struct Message {
    std::int32_t message;
    std::string text;

    bool operator==(const Message&) const = default;
};

/// An application before the virtual bench: the library has just been started, handlers that write down are registered.
class SystemBench : public testing::Test {
protected:
    SystemBench();
    ~SystemBench() override;

    /// Puts a spectrophotometer on the bench and registers the handlers.
    void Plug();

    /// What a new start of the application's process would find: everything forgotten but the instruments.
    void Restart();

    static void RegisterHandlers();
    static std::vector<Report> TakeReports();
    /// @return the code of the last call of the error handler
    static std::int32_t LastCode();
    static std::vector<Message> TakeMessages();

    /// Waits, in real time, until the message handler has been called so often.
    /// @return whether it was
    static bool AwaitMessages(std::size_t count);

    static void Show(oxv_device shown, const std::string& position);
    void Show(const std::string& position) const { Show(device, position); }
    void ShowSample(const Spectrum& reflectance) const;

    /// Selects a mode and calibrates, with what the mode wants before the instrument.
    void CalibrateIn(const std::string& mode) const;

    /// What passed between library and instrument since the trace was cleared; without the interrupt pipe.
    static std::vector<std::string> Trace(oxv_device traced);

    /// What was measured and waited for since the trace was cleared: "on 1 at 20.0 ms" (lamp on, one reading), "off 2
    /// at 500.0 ms", "on scan 10 at 5.0 ms", with " high" behind it for the high sensitivity; "sleep 1500 ms", "reset
    /// 1F", "open 0", "close 0".
    std::vector<std::string> MeasuringSteps() const;

    oxv_device device = 0;
};

std::string Option(const char* key);
OX_Result Set(const char* key, const char* value);

using Steps = std::vector<std::string>;

#define EXPECT_OK(call) EXPECT_EQ((call), OX_NoError) << Option("LastError")
#define ASSERT_OK(call) ASSERT_EQ((call), OX_NoError) << Option("LastError")
