// Every measuring path and every single command: what goes over the wire to the byte, the status, and what comes out.

#include "tests/support/Rows.h"
#include "tests/toolkit/Fields.h"
#include "tests/toolkit/ScriptedInstrument.h"

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

/// Fields and their numbers stand between ";".
void ExpectRecord(const std::string& expected, const CalDataBlock& device)
{
    std::istringstream parts(expected);
    for (std::string part; std::getline(parts, part, ';');) {
        std::istringstream words(part);
        std::string name, numbers;
        words >> name;
        std::getline(words, numbers);
        ExpectField(name, numbers, device);
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
