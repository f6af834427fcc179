#pragma once

#include "orvex/zelcal.h"
#include "tests/support/ToolkitSeam.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <string>

/// A colorimeter that answers by its wire protocol from a script: memory cells and the integration time work, counts
/// come from queues.
class ScriptedInstrument : public ToolkitSeam::Instrument {
public:
    enum class Fault { none, silence, wrongEcho, lengthZero, lengthTen, oneShort, threeBytes };

    ScriptedInstrument() { cells.fill(0xFF); }

    std::string version;
    std::array<std::uint8_t, 8192> cells{};
    std::uint32_t ticks = 416667;
    bool memoryWritable = true;
    std::uint8_t lockDetect = 255;
    std::int64_t exchangeMicroseconds = 1000;

    /// What the count commands answer, by code; the last one stays. Codes without a queue answer `usualCount`.
    std::map<int, std::deque<std::uint32_t>> counts;
    std::uint32_t usualCount = 4'000'000'000;
    std::deque<std::uint8_t> periodsLeft{0}; ///< behind the counts of time-limited commands; the last one stays

    int exchanges = 0;

    /// Queues from a text: "13:1000,2000 2:5", and behind "left:" the periods left.
    void Script(const std::string& text);

    /// What happens at which exchange from now on (1: the next), how many times. Code -1: to all commands.
    void SetFault(Fault how, int at, int times = 1, int code = -1);

    /// The frames since the last call in hex, joined by ", ".
    std::string TakeFrames();

    /// Writes a number of so many bytes into the memory, or a float.
    void Put(unsigned address, std::uint32_t value, unsigned width);
    void PutFloat(unsigned address, float value);

    ToolkitSeam::Reply Exchange(std::span<const std::uint8_t> frame) override;

private:
    ToolkitSeam::Reply Answer(std::span<const std::uint8_t> frame);
    Fault NextFault(std::uint8_t code);

    std::string frames;
    Fault fault = Fault::none;
    int faultAt = 0;
    int faultTimes = 1;
    int faultCode = -1;
};

/// All types that are ever assigned.
inline constexpr int assignedTypes[] = {2, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22};

/// An instrument with sound memory of a type: version, model letter and calibration that this type is recognised by.
ScriptedInstrument SoundInstrument(int type);

/// A test with an instrument on the seam and a device record.
class ToolkitTest : public ::testing::Test {
protected:
    ToolkitTest() { ToolkitSeam::state = {}; }
    ~ToolkitTest() override
    {
        EXPECT_FALSE(ToolkitSeam::state.unlimited) << "somebody waited on the port without a limit";
        ToolkitSeam::state.instrument = nullptr;
    }

    /// Puts a sound instrument on the seam, and a zeroed record before it.
    void Attach(int type);

    /// The same by a text: "4", "4 serial", with a version "4 5.19", with cells in hex "4 @126=0005".
    void AttachBy(const std::string& text);

    /// The same and opens it; what it said so far is forgotten.
    void Open(int type, bool usb = true, const std::string& itsVersion = "");

    /// Closes and opens the same instrument again.
    void Reopen();

    ScriptedInstrument instrument;
    CalDataBlock device{};
    bool onUsb = true;
    char version[9] = {};
};
