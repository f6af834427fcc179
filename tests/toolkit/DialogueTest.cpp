// Every measuring path and every single command: what goes over the wire to the byte, the status, and what comes out.

#include "tests/support/Rows.h"
#include "tests/toolkit/Calls.h"
#include "tests/toolkit/ScriptedInstrument.h"

#include <cmath>
#include <functional>
#include <type_traits>

namespace {

/// A row of the file: its columns in their order.
struct Dialogue {
    std::string what, instrument, counts, calls, status, frames, results, limits, record;

    explicit Dialogue(const Row& row)
    {
        std::string* const columns[] = {&what,   &instrument, &counts, &calls, &status,
                                        &frames, &results,    &limits, &record};
        for (std::size_t i = 0; i < row.size(); ++i)
            *columns[i] = row[i];
    }
};

/// Makes the calls of a row, which stand between ";". The status and the results are those of the last.
std::int64_t MakeCalls(const std::string& row, CalDataBlock* device, Arguments& arguments)
{
    std::int64_t status = ZEL_OK;
    std::istringstream calls(row);
    for (std::string call; status == ZEL_OK && std::getline(calls, call, ';');)
        status = MakeCall(call, device, arguments);
    return status;
}

template<typename NumberAt>
void ExpectNumbers(const std::string& expected, NumberAt numberAt)
{
    const std::vector<double> numbers = Numbers(expected);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        EXPECT_NEAR(numbers[i], numberAt(i), std::fabs(numbers[i]) * 1e-10) << expected << ", " << i;
}

/// Results of several pointers stand between "/", those of an array behind each other.
void ExpectResults(const std::string& expected, const Arguments& arguments)
{
    std::istringstream groups(expected);
    std::size_t pointer = 0;
    for (std::string group; std::getline(groups, group, '/'); ++pointer)
        ExpectNumbers(group, arguments.results.at(pointer));
}

/// The constants of the read limits that the port was given.
std::string Limits()
{
    std::string limits;
    std::istringstream log(ToolkitSeam::state.log);
    for (std::string entry; std::getline(log, entry, ',');)
        if (entry.find("limits") != std::string::npos) {
            std::istringstream words(entry);
            std::string word, interval, multiplier, constant;
            words >> word >> interval >> multiplier >> constant;
            limits += (limits.empty() ? "" : " ") + constant;
        }
    return limits;
}

/// Fields of the record by their names.
using ReadField = std::function<double(const CalDataBlock&, std::size_t)>;
const std::map<std::string, ReadField> fields = {
#define FIELD(part, name)                                                                                              \
    {                                                                                                                  \
#name, [](const CalDataBlock& d, std::size_t i) {                                                                 \
         using Number = std::remove_cvref_t<std::remove_all_extents_t<decltype(d.part.name)>>;                         \
         return static_cast<double>(reinterpret_cast<const Number*>(&d.part.name)[i]);                                 \
     }    \
    }
    FIELD(header, activeCalibration), FIELD(header, ambientMatrix),    FIELD(header, blueFactor),
    FIELD(header, calCount),          FIELD(header, calMatrix),        FIELD(header, calTime),
    FIELD(header, channel1Factors),   FIELD(header, clockPeriod),      FIELD(header, darkCurrent),
    FIELD(header, eepromState),       FIELD(header, edgeRGB),          FIELD(header, frequencySamples),
    FIELD(header, greenFactor),       FIELD(header, integrationTicks), FIELD(header, lumFactor),
    FIELD(header, monitorFrequency),  FIELD(header, numDarkMeas),      FIELD(header, numMeasToAvg),
    FIELD(header, numPeriods),        FIELD(header, redFactor),        FIELD(header, repeatCount),
    FIELD(header, sweepCount),        FIELD(header, syncMode),         FIELD(header, targetCount),
    FIELD(header, tickLength),        FIELD(header, timingFlags),      FIELD(comm, timeOutApplied),
    FIELD(header, lumChannel),        FIELD(header, periodsLeft),      FIELD(header, wideCount),
#undef FIELD
};

/// Fields and their numbers stand between ";".
void ExpectRecord(const std::string& expected, const CalDataBlock& device)
{
    std::istringstream parts(expected);
    for (std::string part; std::getline(parts, part, ';');) {
        std::istringstream words(part);
        std::string name, numbers;
        words >> name;
        std::getline(words, numbers);
        SCOPED_TRACE(name);
        ExpectNumbers(numbers, [&](std::size_t i) { return fields.at(name)(device, i); });
    }
}

}

class DialogueTest : public ToolkitTest { };

TEST_F(DialogueTest, EachSendsItsCommandsAndNoOthersAndGivesItsNumbers)
{
    const std::vector<Row> rows = ReadRows(ORVEX_TEST_DATA "/toolkit_dialogues.txt");
    ASSERT_GT(rows.size(), 400U);
    for (const Row& row : rows) {
        const Dialogue dialogue(row);
        for (const bool byDefault : {false, true}) {
            SCOPED_TRACE(dialogue.what + ": " + dialogue.calls + " on " + dialogue.instrument);
            CalDataBlock& record = byDefault ? *zelGetCaldataBlockAddress() : device;
            AttachBy(dialogue.instrument);
            ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&record, onUsb ? 0 : 1, version));
            instrument.TakeFrames();
            instrument.Script(dialogue.counts);
            ToolkitSeam::state.keepsLog = true;
            ToolkitSeam::state.log.clear();
            Arguments arguments;
            EXPECT_EQ(std::stoi(dialogue.status), MakeCalls(dialogue.calls, byDefault ? nullptr : &device, arguments));
            const std::string frames = instrument.TakeFrames();
            EXPECT_EQ(dialogue.frames, frames);
            ExpectResults(dialogue.results, arguments);
            if (!dialogue.limits.empty()) {
                EXPECT_EQ(dialogue.limits, Limits());
            }
            ExpectRecord(dialogue.record, record);
            AltrixClose_M(&record);
        }
    }
}
