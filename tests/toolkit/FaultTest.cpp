#include "tests/toolkit/ScriptedSeam.h"

#include <functional>

namespace {

using Fault = ScriptedInstrument::Fault;

char version[9];
ZelYxyz yxyz;
double vector[3];
const CalibrationRecord record = {{1, 2, 3, 4, 5, 6, 7, 8, 10}, 1234};

/// The codes that a broken exchange may give, and what else a journey may say when a reply is cut or lost.
bool IsDocumented(int32_t status)
{
    for (const int32_t code :
         {0, -67, -112, -200, -500, -501, -502, -503, -504, -506, -507, -510, -513, -517, -600, -601, -1000})
        if (status == code)
            return true;
    return false;
}

}

class FaultTest : public ToolkitTest { };

TEST_F(FaultTest, EveryExchangeMayFailAndTheNextOpeningWorks)
{
    const struct {
        const char* what;
        int type;
        bool fromOpening; ///< break the opening too
        std::function<int32_t(CalDataBlock*)> work;
    } journeys[] = {
        {"automatic", 4, true, [](auto* d) { return zelAutoMeasureYxy_M(d, 1, &yxyz); }},
        {"simultaneous", 9, false, [](auto* d) { return zelMeasureLCDYxySim_M(d, 1, &yxyz); }},
        {"wide", 20, false, [](auto* d) { return zelMeasureAmbient_M(d, 1, &yxyz); }},
        {"Tenrix", 11, true, [](auto* d) { return zelAutoMeasureYxy_M(d, 1, &yxyz); }},
        {"dark", 4, false, [](auto* d) { return zelSetDarkCurrentEx_M(d); }},
        {"store", 4, false, [](auto* d) { return zelStoreUserCalibrationDataToPodEx_M(d, &record); }},
        {"Plover", 14, true, [](auto* d) { return zelMeasureLuminance_M(d, 1, vector); }},
    };
    const Fault faults[] = {Fault::fail,      Fault::wrongEcho, Fault::silence,   Fault::lengthZero,
                            Fault::lengthTen, Fault::oneShort,  Fault::threeBytes};
    for (const auto& journey : journeys) {
        for (const bool usb : {true, false}) {
            Open(journey.type, usb);
            const int first = journey.fromOpening ? 1 : instrument.exchanges + 1;
            journey.work(&device);
            const int exchanges = instrument.exchanges;
            for (const Fault fault : faults) {
                for (int k = first; k <= exchanges; ++k) {
                    SCOPED_TRACE(std::string(journey.what) + (usb ? " usb" : " serial") + " fault "
                                 + std::to_string(static_cast<int>(fault)) + " at " + std::to_string(k));
                    instrument = SoundInstrument(journey.type);
                    device = {};
                    instrument.SetFault(fault, k, journey.type == 14 ? 10 : 1);
                    int32_t status = zelOpenCalibrator_M(&device, usb ? 0 : 1, version);
                    EXPECT_TRUE(IsDocumented(status)) << status;
                    EXPECT_EQ(status == ZEL_OK ? 1 : 0, device.header.isOpen);
                    if (status == ZEL_OK) {
                        status = journey.work(&device);
                        EXPECT_TRUE(IsDocumented(status)) << status;
                        EXPECT_EQ(status == ZEL_USB_FAILED ? 0 : 1, device.header.isOpen);
                    }
                    instrument.faultAt = 0;
                    const bool open = device.header.isOpen != 0;
                    EXPECT_EQ(open ? ZEL_OK : ZEL_NOT_OPEN, zelCloseCalibrator_M(&device));
                    EXPECT_EQ(instrument.opened, instrument.closed) << "no handle stays behind";
                    instrument.cells = SoundInstrument(journey.type).cells;
                    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, usb ? 0 : 1, version));
                    zelCloseCalibrator_M(&device);
                }
            }
        }
    }
}

TEST_F(FaultTest, AUsbFailureClosesTheRecordAndKeepsNoHandleBeyondTheNextOpening)
{
    Open(4, true);
    attached = nullptr;
    EXPECT_EQ(ZEL_USB_FAILED, zelMeasureYxy_M(&device, 1, &yxyz));
    EXPECT_EQ(ZEL_NOT_OPEN, zelMeasureYxy_M(&device, 1, &yxyz));
    EXPECT_NE(nullptr, device.comm.usbHandle);
    attached = &instrument;
    EXPECT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
    EXPECT_EQ(1, instrument.closed);
    EXPECT_EQ(2, instrument.opened);
}

TEST_F(FaultTest, RetriesEndWithTheLastReply)
{
    const auto read = [](CalDataBlock* d, std::uint32_t* value) {
        std::uint8_t byte = 0;
        const int32_t status = AltrixReadEEPROMByte_M(d, 121, &byte);
        *value = byte;
        return status;
    };
    const auto raw = [](CalDataBlock* d, std::uint32_t* value) { return AltrixMeasureRawData_M(d, value); };
    const struct {
        const char* what;
        int type;
        std::function<int32_t(CalDataBlock*, std::uint32_t*)> call;
        int code;
        int wrong;
        int exchanges;
    } cases[] = {
        {"cell, echo comes at last", 4, read, 8, 4, 5},
        {"cell, echo never comes", 4, read, 8, 9, 5},
        {"period", 4, AltrixMeasurePeriodHighRes_M, 9, 9, 5},
        {"coarse period", 2, AltrixMeasurePeriod_M, 4, 1, 1},
        {"25 us period", 4, AltrixMeasurePeriod25uSecRes_M, 9, 1, 1},
        {"raw data of type 16", 16, raw, 2, 9, 7},
        {"raw data of others", 4, raw, 2, 9, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Open(c.type, false);
        const int before = instrument.exchanges;
        instrument.SetFault(Fault::wrongEcho, 1, c.wrong, c.code);
        std::uint32_t value[3] = {};
        EXPECT_EQ(ZEL_OK, c.call(&device, value));
        EXPECT_NE(0U, value[0]) << "taken as it is";
        EXPECT_EQ(c.exchanges, instrument.exchanges - before);
    }
}

TEST_F(FaultTest, TheEchoOfTheOlderElectronicsMayComeLate)
{
    std::uint32_t count = 0;
    for (const int wrong : {9, 10}) {
        Open(13, true);
        instrument.SetFault(Fault::wrongEcho, 1, wrong);
        const int before = instrument.exchanges;
        EXPECT_EQ(wrong == 9 ? ZEL_OK : ZEL_USB_FAILED, AltrixMeasureRedChannel_M(&device, &count));
        EXPECT_EQ(10, instrument.exchanges - before);
        EXPECT_EQ(wrong == 9, device.header.isOpen == 1);
    }
}

TEST_F(FaultTest, ShortRepliesHaveADefinedValue)
{
    std::uint32_t count = 5;
    for (const Fault fault : {Fault::lengthZero, Fault::lengthTen}) {
        Open(4, false);
        instrument.SetFault(fault, 1, 2);
        EXPECT_EQ(ZEL_SHORT_REPLY, AltrixMeasureRedChannel_M(&device, &count));
        EXPECT_EQ(ZEL_OK, AltrixMeasureGreenChannel_M(&device, &count));
        EXPECT_EQ(0xFFFFFFFFU, count);
        EXPECT_EQ(1, device.header.isOpen);
    }
    Open(4, true);
    instrument.SetFault(Fault::lengthTen, 1); // says 200 bytes
    char text[9];
    EXPECT_EQ(ZEL_OK, AltrixGetVersionString_M(&device, text));
    EXPECT_EQ(5U, std::string(text).size()) << "a payload has six bytes";
}

TEST_F(FaultTest, AStoreThatBreaksLeavesTheCellsWrittenSoFar)
{
    Open(4, false);
    instrument.SetFault(Fault::silence, 6, 1, 7);
    EXPECT_EQ(ZEL_NO_REPLY, AltrixStoreCalData_1_ToEEPROM_M(&device, &record));
    const ScriptedInstrument sound = SoundInstrument(4);
    int changed = 0;
    for (unsigned i = 4; i < 54; ++i)
        changed += instrument.cells[i] != sound.cells[i];
    EXPECT_EQ(6, changed) << "the sixth write arrived, its answer did not";
    EXPECT_EQ(4.0e-3F, device.eeprom.eepromMatrix1[0]) << "not read back";
    EXPECT_EQ(1, device.header.isOpen);
}

TEST_F(FaultTest, TwoRecordsDoNotMeet)
{
    Open(4, true);
    CalDataBlock other{};
    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&other, 1, version));
    EXPECT_EQ(0, other.header.portType);
    EXPECT_EQ(1, device.header.portType);
    EXPECT_EQ(ZEL_OK, zelCloseCalibrator_M(&other));
    EXPECT_EQ(ZEL_OK, zelMeasureYxy_M(&device, 1, &yxyz));
    EXPECT_EQ(ZEL_NOT_OPEN, zelCloseCalibrator()) << "the default device is a third one";
}
