#pragma once

#include "orvex/zelcal.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

/// A colorimeter behind the platform's seam that answers by its wire protocol from a script: memory cells and the
/// integration time work, counts come from queues. It is on both transports: serial port 1 and USB index `usbIndex`.
class ScriptedInstrument {
public:
    enum class Fault { none, fail, wrongEcho, silence, lengthZero, lengthTen, oneShort, threeBytes };

    std::string version = "4.10";
    std::array<std::uint8_t, 8192> cells{};
    std::uint32_t ticks = 416667;
    std::uint32_t usbIndex = 0;
    bool memoryWritable = true;
    std::uint8_t lockDetect = 255;
    std::int64_t exchangeMicroseconds = 1000;

    /// What the count commands answer, by code; the last one stays. Codes without a queue answer `usualCount`.
    std::map<int, std::deque<std::uint32_t>> counts;
    std::uint32_t usualCount = 1000;
    std::deque<std::uint8_t> periodsLeft; ///< behind the counts of time-limited commands

    // what happens at which exchange from now on (1: the next), how many times
    Fault fault = Fault::none;
    int faultAt = 0;
    int faultTimes = 1;
    int faultCode = -1; ///< only this command counts; -1: all

    // what was seen
    std::vector<std::string> frames;     ///< code and parameters in hex
    std::vector<std::uint8_t> lastWrite; ///< the last write to the serial port, as it went out
    int exchanges = 0;
    int opened = 0;
    int closed = 0;
    int forgotten = 0;
    std::vector<std::uint32_t> readConstants; ///< every read limit that was given to the port

    /// The frames since the last call, joined by ", ".
    std::string TakeFrames();

    void SetFault(Fault how, int at, int times = 1, int code = -1);

    void PutLong(unsigned address, std::uint32_t value);
    void PutWord(unsigned address, std::uint16_t value);
    void PutFloat(unsigned address, float value);

    std::vector<std::uint8_t> Answer(const std::vector<std::uint8_t>& frame);

    /// The fault of this exchange.
    Fault NextFault(std::uint8_t code);

private:
    std::uint32_t NextCount(std::uint8_t code);
};

/// The instrument on the seam; null while none is attached.
extern ScriptedInstrument* attached;

/// The seam's clock, microseconds.
extern std::int64_t seamClock;

/// An instrument with sound memory of a type: version, model letter and calibration that this type is recognised by.
ScriptedInstrument SoundInstrument(int type);

/// A test with an instrument on the seam and a device record.
class ToolkitTest : public ::testing::Test {
protected:
    ~ToolkitTest() override { attached = nullptr; }

    /// Puts a sound instrument on the seam and opens it; what it said so far is forgotten.
    void Open(int type, bool usb, const char* version = nullptr)
    {
        device = {};
        instrument = SoundInstrument(type);
        if (version != nullptr)
            instrument.version = version;
        attached = &instrument;
        char text[9];
        ASSERT_EQ(ZEL_OK, usb ? zelOpenUSBCalibrator_M(&device, text, 1) : zelOpenCalibrator_M(&device, 1, text));
        ASSERT_EQ(type, device.header.calibratorType);
        instrument.TakeFrames();
    }

    ScriptedInstrument instrument;
    CalDataBlock device{};
};
