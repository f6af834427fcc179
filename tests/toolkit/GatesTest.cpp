#include "tests/toolkit/ScriptedSeam.h"

#include <functional>
#include <set>
#include <type_traits>

namespace {

const int assignedTypes[] = {2, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22};

// Room for whatever a pointer argument points at.
alignas(16) std::uint8_t scratch[4096];

template<typename T>
T Argument(bool null)
{
    if constexpr (std::is_pointer_v<T>)
        return null ? nullptr : reinterpret_cast<T>(scratch);
    else if constexpr (std::is_class_v<T>)
        return T{};
    else
        return static_cast<T>(1);
}

template<typename Result, typename... A>
std::int64_t Call(Result (*call)(CalDataBlock*, A...), CalDataBlock* device, [[maybe_unused]] bool null)
{
    std::fill(std::begin(scratch), std::end(scratch), std::uint8_t{0});
    return call(device, Argument<A>(null)...);
}

template<typename Result, typename... A>
constexpr bool HasPointer(Result (*)(CalDataBlock*, A...))
{
    return (std::is_pointer_v<A> || ...);
}

/// One row for each of the 220 pairs.
struct Twin {
    std::string name;
    std::function<std::int64_t(CalDataBlock*, bool)> call;
    bool hasPointer;
};

const Twin twins[] = {
#define TWIN(result, name, parameters, ...)                                                                            \
    {#name, [](CalDataBlock* device, bool null) { return Call(name##_M, device, null); }, HasPointer(name##_M)},
#include "toolkit/Twins.def"
};

using TypeList = std::set<int>;

TypeList AllBut(const TypeList& without)
{
    TypeList all(std::begin(assignedTypes), std::end(assignedTypes));
    for (const int type : without)
        all.erase(type);
    return all;
}

/// What each call accepts, of the types that exist. Calls that are not here accept all.
const std::map<std::string, TypeList> accepted = [] {
    std::map<std::string, TypeList> map;
    const auto add = [&](const TypeList& types, std::initializer_list<const char*> names) {
        for (const char* name : names)
            map[name] = types;
    };
    const TypeList lcd = {4, 9, 19, 20, 22};
    const TypeList user = {2, 4, 9, 11, 19, 20, 22};
    add({2, 4, 9, 10, 11, 19, 20, 22},
        {"zelAutoMeasureYxy", "zelMeasureYxyEx", "zelGetRGBvaluesFromYxy", "zelMeasureYxy",
         "zelGetRGBvaluesFromYxyEx"});
    add({4, 7, 9, 10, 11, 16, 19, 20}, {"zelMeasMonFreqAndSetIntTime", "zelMeasureMonitorFrequency"});
    add({2, 4, 5, 6, 7, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22}, {"zelSetIntegrationTime", "zelGetIntegrationTime"});
    add({4, 6, 9, 13, 14, 19, 20, 22}, {"zelSetNumPeriodsToMeasure", "zelGetNumPeriodsToMeasure"});
    add(lcd,
        {"zelDarkMeasureYxy", "zelMeasureLCDYxySeq", "zelMeasureLCDYxySim", "zelSetLCDDarkCurrentSeq",
         "zelSetLCDDarkCurrentSim", "zelSetLCDDarkCurrent", "zelSetAltrixDarkCurrent"});
    add({4, 9, 10, 11, 19, 20, 22}, {"zelMeasureLCDYxy"});
    add({2, 4, 6, 7, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22}, {"zelMeasureLuminance"});
    add({7, 16}, {"zelMeasureHeronLuminance", "zelReturnHeronCalFactors"});
    add(AllBut({21}), {"zelMeasureRawDataScaled"});
    add({5, 6, 8, 13, 14}, {"zelMeasureLCDRawDataScaled"});
    add({8}, {"zelReturnLumCalFactor", "zelSetLCDLumDarkCurrent"});
    add(AllBut({8, 13, 14}), {"zelMeasureRawData"});
    add(AllBut({2, 7, 8, 16}), {"zelGetDarkCurrentEx", "zelGetDarkCurrent"});
    add({10, 11},
        {"zelMeasureYxyAvg", "zelSetNumDarkMeas", "zelGetNumDarkMeas", "zelSetNumMeasToAvg", "zelGetNumMeasToAvg",
         "zelTenrixSetNumDarkMeas", "AltrixReadEEPROM", "AltrixReadExtendedEEPROMByte", "AltrixWriteExtendedEEPROMByte",
         "ZKParseExtendedEEPROM", "TenrixSetMeasDataFormat", "TenrixGetMeasDataFormat", "TenrixSetDarkCurrent",
         "TenrixGetDarkCurrent", "TenrixReadExtendedEEPROMByte", "TenrixWriteExtendedEEPROMByte"});
    add({6, 13, 14, 21},
        {"zelAutoMeasureLuminance", "zelMeasureLCDLuminanceEdge", "zelMeasureLCDLuminanceEdgeEx",
         "zelMeasureLCDLuminance", "zelSetBassixPlusDarkCurrentEdge", "zelSetBassixPlusDarkCurrent"});
    add({6, 13, 14}, {"zelMeasureLCDLuminancePeriod", "zelSetBassixPlusDarkCurrentPeriod"});
    add({9, 20, 22}, {"zelPelicanMeasure"});
    add({19, 20, 22}, {"zelOspreyMeasure", "zelMeasureLCDYxySimW"});
    add({20}, {"zelMeasureAmbient"});
    add(user,
        {"zelStoreUserCalibration", "zelStoreUserCalibrationEx", "zelStoreUserCalibrationRGB",
         "zelStoreUserCalibrationNColors", "zelStoreCalibrationData", "zelSelectCalibration",
         "zelRestoreFactoryCalibration", "zelStoreUserCalibrationDataToPod", "zelStoreUserCalibrationDataToPodEx",
         "zelStoreLCDCalibrationDataToPod", "zelStoreCRTCalibrationDataToPod", "zelRetrieveUserCalibrationDataFromPod",
         "zelRetrieveLCDCalibrationDataFromPod", "zelRetrieveCRTCalibrationDataFromPod"});
    add({5}, {"zelSetLCDBassixDarkCurrent"});
    add({4, 9}, {"zelMeasureYxyProgressive"});
    add({}, {"zelMeasureLCDYxySimTO"}); // revisions 441 to 449 only
    add({21}, {"zelChannel1Measure", "zelChannel1SetDarkCurrent"});
    add({19, 20, 21, 22}, {"zelSetSyncMode", "zelGetSyncMode"});
    add({2, 4, 9, 10, 11}, {"zelCloseSerialAltrix"});
    add({4, 6, 9, 10, 11, 13, 14, 19, 20, 22}, {"zelSetDarkCurrent"});
    add({4, 6, 8, 9, 10, 11, 13, 14, 19, 20, 21, 22}, {"zelSetDarkCurrentEx"});
    add({4, 5, 6, 9, 13, 14, 19, 20, 22}, {"AltrixStoreDarkCurrent"});
    add({4, 6, 9, 10, 11, 13, 14, 19, 20, 21, 22}, {"AltrixResetDarkCurrent"});
    add({10}, {"TenrixSetPLLPeriod", "TenrixGetPLLPeriod"});
    add({11},
        {"TenrixSetPLLPeriodEx", "TenrixSetPLLRegisterC", "TenrixGetPLLRegisterC", "TenrixSetPLLRegisterN",
         "TenrixGetPLLRegisterN", "TenrixSetPLLRegisterR", "TenrixGetPLLRegisterR", "TenrixReadLockDetect",
         "TenrixWaitForPLLToSettle", "TenrixSetTriggerMode", "TenrixGetTriggerMode", "TenrixReadEEPROM"});
    return map;
}();

/// What a closed record answers where that is not ZEL_NOT_OPEN, with nothing attached.
const std::map<std::string, std::int64_t> closedAnswers = [] {
    std::map<std::string, std::int64_t> map;
    for (const char* name :
         {"zelGetCalibratorSerialNumber", "zelGetCalibratorType", "zelGetToolkitRev", "zelSupportsFunction",
          "AltrixDetermineEquivalentRGBValues", "AltrixDetermineEquivalentRGBValuesEx", "AltrixExistingClose",
          "AltrixGetPortHandle", "AltrixGetTimeOut", "AltrixParseEEPROMStruct", "AltrixParseExtendedEEPROMStruct",
          "AltrixResetCalHeaderMeasData", "AltrixReturnCalHeader", "AltrixReturnEEPROMStructure",
          "AltrixSetMeasurementTimeOut", "AltrixSetTimeOut", "BassixInitialize"})
        map[name] = 0;
    map["AltrixConvertRGBToYxyThroughMatrix"] = ZEL_NO_COLOUR;
    for (const char* name : {"zelOpenExistingSerialAltrix", "zelOpenExistingSerialHeron", "AltrixOpenExistingDevice"})
        map[name] = ZEL_NO_REPLY;
    return map;
}();

bool IsOpening(const std::string& name)
{
    return name.find("Open") != std::string::npos || name == "zelFindUSBDevice";
}
bool IsClosing(const std::string& name)
{
    return name.find("Close") != std::string::npos;
}

}

class GatesTest : public ToolkitTest { };

TEST_F(GatesTest, EveryCallRefusesAClosedRecord)
{
    EXPECT_EQ(220U, std::size(twins));
    for (const Twin& twin : twins) {
        SCOPED_TRACE(twin.name);
        device = {};
        const auto answer = closedAnswers.find(twin.name);
        std::int64_t expected = ZEL_NOT_OPEN;
        if (answer != closedAnswers.end())
            expected = answer->second;
        else if (IsOpening(twin.name))
            expected = ZEL_BAD_ARGUMENT;
        EXPECT_EQ(expected, twin.call(&device, false));
        EXPECT_EQ(0, device.header.isOpen);
        EXPECT_EQ(nullptr, device.comm.usbHandle);
        EXPECT_EQ(nullptr, device.comm.portHandle);
    }
}

TEST_F(GatesTest, EveryCallAnswersEveryTypeByItsGate)
{
    for (const int type : assignedTypes) {
        for (const Twin& twin : twins) {
            SCOPED_TRACE(twin.name + " on type " + std::to_string(type));
            Open(type, true);
            instrument.usualCount = 20'000'000;
            const std::int64_t status = twin.call(&device, false);
            if (IsOpening(twin.name)) {
                EXPECT_EQ(ZEL_ALREADY_OPEN, status);
                EXPECT_EQ(1, device.header.isOpen);
                continue;
            }
            const auto row = accepted.find(twin.name);
            const bool listed = row == accepted.end() || row->second.count(type) != 0;
            EXPECT_EQ(listed, status != ZEL_NOT_AVAILABLE) << status;
            EXPECT_EQ(!(IsClosing(twin.name) && listed), device.header.isOpen == 1);
        }
    }
}

TEST_F(GatesTest, NullPointersAreRefusedAndSendNothing)
{
    for (const Twin& twin : twins) {
        SCOPED_TRACE(twin.name);
        const std::int64_t noRecord = twin.call(nullptr, false);
        const bool tellsNoStatus = twin.name == "zelGetCalibratorSerialNumber" || twin.name == "zelGetCalibratorType"
            || twin.name == "zelSupportsFunction";
        EXPECT_EQ(tellsNoStatus ? 0 : ZEL_BAD_ARGUMENT, noRecord);
        if (!twin.hasPointer || IsOpening(twin.name))
            continue;
        const auto row = accepted.find(twin.name);
        const int type = row == accepted.end() ? 4 : row->second.empty() ? 4 : *row->second.begin();
        Open(type, true);
        const std::int64_t status = twin.call(&device, true);
        const bool refusedBefore = status == ZEL_OUT_OF_RANGE || (row != accepted.end() && row->second.empty());
        EXPECT_TRUE(status == ZEL_BAD_ARGUMENT || refusedBefore) << status;
        EXPECT_EQ("", instrument.TakeFrames());
    }
}

TEST_F(GatesTest, NoOpeningAndNoSettingWaitsOnAPortWithoutALimit) // the seam looks at every read and write
{
    for (const Twin& twin : twins) {
        if (!IsOpening(twin.name))
            continue;
        for (const bool silent : {false, true}) {
            SCOPED_TRACE(twin.name + (silent ? ", silent" : ""));
            instrument = SoundInstrument(9);
            instrument.usbIndex = 1;
            attached = &instrument;
            device = {};
            if (silent)
                instrument.SetFault(ScriptedInstrument::Fault::silence, 1, 100);
            const std::int64_t status = twin.call(&device, false);
            EXPECT_TRUE(!silent || status != ZEL_OK || twin.name == "AltrixOpenComm");
            std::uint32_t ticks = 0;
            std::uint8_t reply[1024];
            for (const std::uint32_t seconds : {0U, 5U}) {
                AltrixSetTimeOut_M(&device, 1, seconds);
                AltrixGetIntegrationTime_M(&device, &ticks);
                AltrixClearBuffer_M(&device, 0, reply, &ticks);
            }
            AltrixExistingClose_M(&device);
        }
    }
}

TEST_F(GatesTest, FunctionsBelongToTypesAndRevisions)
{
    const struct {
        int function;
        TypeList types;
    } cases[] = {
        {0, {}},
        {1, {8, 9, 10, 11, 13, 14, 16}},
        {2, {4, 8, 9, 10, 11, 16, 19, 20}},
        {3, {2, 4, 5, 6, 13, 14, 16, 19, 20, 21, 22}},
        {4, {20}},
        {5, {19, 20, 21, 22}},
        {6, {}},
    };
    for (const auto& c : cases)
        for (const int type : assignedTypes) {
            Open(type, true);
            EXPECT_EQ(static_cast<int>(c.types.count(type)), zelSupportsFunction_M(&device, c.function))
                << c.function << " on " << type;
        }
}

TEST_F(GatesTest, TheSyncModeComesWithRevision601)
{
    Open(19, true, "6.00");
    EXPECT_EQ(0, zelSupportsFunction_M(&device, 5));
    EXPECT_EQ(ZEL_NOT_AVAILABLE, zelSetSyncMode_M(&device, 2));
    Open(19, true, "6.01");
    EXPECT_EQ(ZEL_OK, zelSetSyncMode_M(&device, 1));
    Open(22, true);
    int16_t mode = 0;
    EXPECT_EQ(ZEL_OUT_OF_RANGE, zelSetSyncMode_M(&device, 1));
    EXPECT_EQ(ZEL_OK, zelGetSyncMode_M(&device, &mode));
    EXPECT_EQ(2, mode);
}
