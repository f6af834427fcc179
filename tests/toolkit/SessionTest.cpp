// Whole sessions, step by step: the platform's calls, the frames, what a record holds in between.

#include "tests/support/Rows.h"
#include "tests/toolkit/Calls.h"
#include "tests/toolkit/Fields.h"
#include "tests/toolkit/ScriptedInstrument.h"

using ToolkitSeam::state;
using Fault = ScriptedInstrument::Fault;

namespace {

/// "..." at an end stands for anything.
bool IsLike(const std::string& text, const std::string& pattern)
{
    if (pattern.ends_with("..."))
        return text.starts_with(pattern.substr(0, pattern.size() - 3));
    return pattern.starts_with("...") ? text.ends_with(pattern.substr(3)) : text == pattern;
}

}

class SessionTest : public ToolkitTest {
protected:
    /// What a step gives; toolkit_sessions.txt has them.
    std::string Do(const std::string& step);
    void Take(const std::string& step);

    Arguments arguments;
};

std::string SessionTest::Do(const std::string& step)
{
    static const std::map<std::string, Fault> faults = {
        {"silence", Fault::silence},      {"wrong-echo", Fault::wrongEcho}, {"length-zero", Fault::lengthZero},
        {"length-ten", Fault::lengthTen}, {"one-short", Fault::oneShort},   {"three-bytes", Fault::threeBytes}};
    std::istringstream words(step);
    std::string verb, rest;
    words >> verb;
    std::getline(words >> std::ws, rest);
    const std::vector<double> numbers = verb == "fault" || verb == "failing" ? std::vector<double>() : Numbers(rest);
    const auto number = [&](std::size_t i) { return static_cast<int>(numbers.at(i)); };
    if (IsCall(verb))
        return std::to_string(MakeCall(step, &device, arguments));
    if (verb == "exchanges")
        return std::to_string(instrument.exchanges);
    if (verb == "log")
        return std::exchange(state.log, "");
    if (verb == "frames")
        return instrument.TakeFrames();
    if (verb == "left-open")
        return std::to_string(state.opened - state.closed);
    if (verb == "took")
        return std::to_string(std::exchange(state.clock, 0));
    if (verb == "port-name")
        return device.comm.portName;
    if (verb == "handles")
        return std::string(device.comm.portHandle != nullptr ? "port" : "")
            + (device.comm.usbHandle != nullptr ? "usb" : "");
    if (verb == "fault") {
        std::istringstream fault(rest);
        std::string kind;
        int at = 1, times = 1, code = -1;
        fault >> kind >> at >> times >> code;
        instrument.SetFault(faults.at(kind), at, times, fault ? code : -1);
    } else if (verb == "failing") {
        state.failing = rest;
    } else if (verb == "arrive") {
        ToolkitSeam::Arrive(std::vector<std::uint8_t>(numbers.begin(), numbers.end()));
    } else if (verb == "arrive-many") {
        ToolkitSeam::Arrive(std::vector<std::uint8_t>(static_cast<std::size_t>(number(0)), 9));
    } else if (verb == "unwritable") {
        instrument.memoryWritable = false;
    } else if (verb == "unplug") {
        state.instrument = nullptr;
    } else if (verb == "plug") {
        state.instrument = &instrument;
    } else if (verb == "usb-index") {
        state.usbIndex = static_cast<std::uint32_t>(number(0));
    } else if (verb == "lock") {
        instrument.lockDetect = static_cast<std::uint8_t>(number(0));
        instrument.exchangeMicroseconds = number(1);
    } else if (verb == "header") {
        AltrixSendSerialHeader(number(0));
    } else if (verb == "script") {
        instrument.Script(rest);
    } else if (verb == "lose-handle") {
        device.comm.usbHandle = nullptr;
    } else {
        ADD_FAILURE() << "no step";
    }
    return "";
}

void SessionTest::Take(const std::string& step)
{
    SCOPED_TRACE(step);
    const std::size_t arrow = step.find(" >");
    const std::string work = step.substr(0, arrow);
    const std::string expected = arrow == std::string::npos ? "" : step.substr(std::min(step.size(), arrow + 3));
    if (work.starts_with("field ")) {
        ExpectField(work.substr(6), expected, device);
    } else if (work.starts_with("set ")) {
        SetField(work.substr(4), device);
    } else {
        const bool isCall = IsCall(work.substr(0, work.find(' ')));
        const std::size_t colon = isCall ? expected.find(": ") : std::string::npos;
        const std::string told = Do(work);
        if (arrow != std::string::npos) {
            EXPECT_TRUE(IsLike(told, expected.substr(0, colon))) << told;
        } else if (isCall) {
            EXPECT_EQ(told, "0");
        }
        if (colon != std::string::npos)
            ExpectResults(expected.substr(colon + 2), arguments);
    }
}

TEST_F(SessionTest, EveryStepEndsAsWritten)
{
    const std::vector<Row> rows = ReadRows(ORVEX_TEST_DATA "/toolkit_sessions.txt");
    ASSERT_GT(rows.size(), 100U);
    for (const Row& row : rows) {
        SCOPED_TRACE(row[0] + " on " + row[1]);
        state = {};
        AttachBy(row[1]);
        if (row[1].find("closed") == std::string::npos) {
            ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, onUsb ? 0 : 1, version));
        }
        instrument.TakeFrames();
        state.keepsLog = true;
        std::istringstream steps(row[2]);
        for (std::string step; std::getline(steps >> std::ws, step, ';');)
            Take(step);
        EXPECT_FALSE(state.unlimited);
    }
}
