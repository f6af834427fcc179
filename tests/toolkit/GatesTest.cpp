#include "tests/support/Rows.h"
#include "tests/toolkit/Calls.h"
#include "tests/toolkit/ScriptedInstrument.h"

#include <set>

namespace {

using Types = std::set<int>;

Types TypesOf(const std::string& text)
{
    if (text == "all")
        return {std::begin(assignedTypes), std::end(assignedTypes)};
    const std::vector<double> numbers = Numbers(text);
    return {numbers.begin(), numbers.end()};
}

/// What each call accepts.
const std::map<std::string, Types> gates = [] {
    std::map<std::string, Types> map;
    for (const Row& row : ReadRows(ORVEX_TEST_DATA "/toolkit_gates.txt")) {
        std::istringstream names(row[1]);
        for (std::string name; names >> name;) {
            EXPECT_TRUE(IsCall(name)) << name;
            map[name] = TypesOf(row[0]);
        }
    }
    return map;
}();

Types Accepted(const std::string& name)
{
    const auto gate = gates.find(name);
    return gate == gates.end() ? TypesOf("all") : gate->second;
}

/// What a closed record answers where that is not ZEL_NOT_OPEN, with nothing attached.
std::int64_t ClosedAnswer(const std::string& name, bool opens)
{
    static const std::set<std::string> working = {"zelGetCalibratorSerialNumber",
                                                  "zelGetCalibratorType",
                                                  "zelGetToolkitRev",
                                                  "zelSupportsFunction",
                                                  "AltrixDetermineEquivalentRGBValues",
                                                  "AltrixDetermineEquivalentRGBValuesEx",
                                                  "AltrixExistingClose",
                                                  "AltrixGetPortHandle",
                                                  "AltrixGetTimeOut",
                                                  "AltrixParseEEPROMStruct",
                                                  "AltrixParseExtendedEEPROMStruct",
                                                  "AltrixResetCalHeaderMeasData",
                                                  "AltrixReturnCalHeader",
                                                  "AltrixReturnEEPROMStructure",
                                                  "AltrixSetMeasurementTimeOut",
                                                  "AltrixSetTimeOut",
                                                  "BassixInitialize"};
    if (working.contains(name))
        return ZEL_OK;
    if (name == "AltrixConvertRGBToYxyThroughMatrix")
        return ZEL_NO_COLOUR;
    if (name.find("OpenExisting") != std::string::npos)
        return ZEL_NO_REPLY;
    return opens ? ZEL_BAD_ARGUMENT : ZEL_NOT_OPEN;
}

bool Opens(const std::string& name)
{
    return name.find("Open") != std::string::npos || name == "zelFindUSBDevice";
}

}

class GatesTest : public ToolkitTest { };

TEST_F(GatesTest, EveryCallRefusesAClosedRecord)
{
    EXPECT_EQ(AllCalls().size(), 220U);
    for (const Call& call : AllCalls()) {
        SCOPED_TRACE(call.name);
        device = {};
        Arguments arguments;
        EXPECT_EQ(ClosedAnswer(call.name, Opens(call.name)), call.onRecord(&device, arguments));
        EXPECT_EQ(device.header.isOpen, 0);
        EXPECT_EQ(device.comm.usbHandle, nullptr);
        EXPECT_EQ(device.comm.portHandle, nullptr);
    }
}

TEST_F(GatesTest, EveryCallAnswersEveryTypeByItsGate)
{
    for (const int type : assignedTypes)
        for (const Call& call : AllCalls()) {
            SCOPED_TRACE(call.name + " on type " + std::to_string(type));
            Open(type);
            instrument.usualCount = 20'000'000;
            Arguments arguments;
            const std::int64_t status = call.onRecord(&device, arguments);
            const bool accepted = Accepted(call.name).contains(type);
            const bool closes = accepted && call.name.find("Close") != std::string::npos;
            EXPECT_EQ(!closes, device.header.isOpen == 1);
            if (Opens(call.name)) {
                EXPECT_EQ(ZEL_ALREADY_OPEN, status);
            } else {
                EXPECT_EQ(accepted, status != ZEL_NOT_AVAILABLE) << status;
            }
        }
}

TEST_F(GatesTest, NullPointersAreRefusedAndSendNothing)
{
    for (const Call& call : AllCalls()) {
        SCOPED_TRACE(call.name);
        Arguments good;
        const bool tellsNoStatus = call.name == "zelGetCalibratorSerialNumber" || call.name == "zelGetCalibratorType"
            || call.name == "zelSupportsFunction";
        EXPECT_EQ(tellsNoStatus ? 0 : ZEL_BAD_ARGUMENT, call.onRecord(nullptr, good));
        const Types accepted = Accepted(call.name);
        if (accepted.empty())
            continue;
        for (int pointer = 0; pointer < call.pointers; ++pointer) {
            SCOPED_TRACE(pointer);
            if (Opens(call.name))
                Attach(*accepted.begin());
            else
                Open(*accepted.begin());
            Arguments arguments;
            arguments.nullAt = pointer;
            const std::int64_t status = call.onRecord(&device, arguments);
            EXPECT_TRUE(status == ZEL_BAD_ARGUMENT || status == ZEL_OUT_OF_RANGE
                        || (status == ZEL_NULL_HANDLE && Opens(call.name)))
                << status;
            EXPECT_EQ(instrument.TakeFrames(), "");
            EXPECT_EQ(device.header.isOpen, Opens(call.name) ? 0 : 1);
        }
    }
}

TEST_F(GatesTest, FunctionsBelongToTypes)
{
    const char* const functions[] = {
        "", "8 9 10 11 13 14 16", "4 8 9 10 11 16 19 20", "2 4 5 6 13 14 16 19 20 21 22", "20", "19 20 21 22", ""};
    for (const int type : assignedTypes)
        for (int function = 0; function <= 6; ++function) {
            Open(type);
            EXPECT_EQ(TypesOf(functions[function]).contains(type), zelSupportsFunction_M(&device, function) == 1)
                << function << " on " << type;
        }
}

TEST_F(GatesTest, OpeningCallsTakeTheirKindOnlyAndLeaveNothingOpen)
{
    for (const Row& row : ReadRows(ORVEX_TEST_DATA "/toolkit_openings.txt"))
        for (const int type : assignedTypes)
            for (const bool blank : {false, true}) {
                SCOPED_TRACE(row[0] + (blank ? ", blank, type " : ", type ") + std::to_string(type));
                Attach(type);
                if (blank)
                    instrument.Put(126, 0xFFFF, 2);
                const bool accepted = TypesOf(row[2]).contains(type);
                const bool saysBlank = blank && type != 5 && (row[3] == "last" || (row[3] == "first" && accepted));
                const std::int32_t expected = saysBlank ? ZEL_EEPROM_BLANK : accepted ? ZEL_OK : ZEL_WRONG_INSTRUMENT;

                const int before = ToolkitSeam::state.opened - ToolkitSeam::state.closed;
                Arguments arguments;
                EXPECT_EQ(expected, MakeCall(row[0], &device, arguments));
                EXPECT_EQ(expected == ZEL_OK, device.header.isOpen == 1);
                EXPECT_EQ(expected == ZEL_OK ? type : 0, device.header.calibratorType);
                EXPECT_EQ(row[1] == "usb", device.header.portType == 1);
                const int open = row[1] == "port" ? 0 : device.header.isOpen;
                EXPECT_EQ(before + open, ToolkitSeam::state.opened - ToolkitSeam::state.closed);
                if (expected != ZEL_OK) {
                    EXPECT_EQ(device.comm.portHandle, nullptr);
                    EXPECT_EQ(saysBlank ? 1 : 0, device.header.eepromState);
                    continue;
                }
                if (row[0].starts_with("zelOpenDevice")) {
                    EXPECT_EQ(type, arguments.results[1](0));
                    EXPECT_EQ(arguments.results[2](0), 0);
                }
                EXPECT_EQ(ZEL_ALREADY_OPEN, MakeCall(row[0], &device, arguments));
                EXPECT_EQ(ZEL_OK, row[1] == "port" ? zelCloseExistingCalibrator_M(&device) : zelCloseBassix_M(&device));
                EXPECT_EQ(before, ToolkitSeam::state.opened - ToolkitSeam::state.closed);
                EXPECT_EQ(device.header.calibratorType, 0);
            }
}

TEST_F(GatesTest, NoOpeningAndNoSettingWaitsOnAPortWithoutALimit) // the seam looks at every read and write
{
    for (const Row& row : ReadRows(ORVEX_TEST_DATA "/toolkit_openings.txt"))
        for (const bool silent : {false, true}) {
            SCOPED_TRACE(row[0] + (silent ? ", silent" : ""));
            Attach(9);
            if (silent)
                instrument.SetFault(ScriptedInstrument::Fault::silence, 1, 100);
            Arguments arguments;
            EXPECT_FALSE(MakeCall(row[0], &device, arguments) == ZEL_OK && silent);
            for (const std::uint32_t seconds : {0U, 5U}) {
                std::uint32_t ticks = 0;
                std::uint8_t reply[1024];
                AltrixSetTimeOut_M(&device, 1, seconds);
                AltrixGetIntegrationTime_M(&device, &ticks);
                AltrixClearBuffer_M(&device, 0, reply, &ticks);
            }
            EXPECT_FALSE(ToolkitSeam::state.unlimited);
        }
}
