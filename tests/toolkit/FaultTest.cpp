#include "tests/support/Rows.h"
#include "tests/toolkit/Calls.h"
#include "tests/toolkit/ScriptedInstrument.h"

using ToolkitSeam::state;
using Fault = ScriptedInstrument::Fault;

class FaultTest : public ToolkitTest { };

TEST_F(FaultTest, EachWayOfBreakingHasItsCode)
{
    constexpr std::uint32_t untouched = 4'000'000'000;
    constexpr std::uint32_t blank = 0xFFFFFFFF;
    const struct {
        const char* what;
        Fault fault;
        std::int32_t serial, usb; // status of a red count
        std::int32_t serialGreen, usbGreen;
        std::uint32_t serialCount, usbCount; // green
    } cases[] = {
        {"sound", Fault::none, 0, 0, 0, 0, untouched, untouched},
        {"silence", Fault::silence, -112, -510, -112, -510, 7, 7},
        {"another echo", Fault::wrongEcho, 0, -510, 0, -510, untouched, 7},
        {"length 0", Fault::lengthZero, -513, -513, 0, 0, blank, blank},
        {"length 10", Fault::lengthTen, -513, 0, 0, 0, blank, untouched},
        {"one byte short", Fault::oneShort, -112, 0, -112, 0, 7, 0xEE6B28CC},
        {"three bytes", Fault::threeBytes, -513, -513, 0, 0, 0xEE6BFFFF, 0xEE6BFFFF},
    };
    for (const auto& c : cases)
        for (const bool usb : {false, true}) {
            SCOPED_TRACE(c.what + std::string(usb ? ", usb" : ", serial"));
            std::uint32_t count = 7;
            Open(4, usb);
            instrument.SetFault(c.fault, 1);
            EXPECT_EQ(usb ? c.usb : c.serial, AltrixMeasureRedChannel_M(&device, &count));
            EXPECT_EQ(!usb || c.usb != -510, device.header.isOpen == 1) << "only USB closes";
            Open(4, usb);
            count = 7;
            instrument.SetFault(c.fault, 1);
            EXPECT_EQ(usb ? c.usbGreen : c.serialGreen, AltrixMeasureGreenChannel_M(&device, &count));
            EXPECT_EQ(usb ? c.usbCount : c.serialCount, count);
        }
    Open(4);
    instrument.SetFault(Fault::lengthTen, 1);
    EXPECT_EQ(ZEL_OK, AltrixGetVersionString_M(&device, version));
    EXPECT_EQ(std::string(version).size(), 5U) << "a payload has six bytes";
    const std::uint8_t command[] = {1, 6};
    std::uint8_t reply[9];
    std::uint32_t length = 7;
    Open(4, false);
    instrument.SetFault(Fault::lengthZero, 1);
    EXPECT_EQ(ZEL_OK, AltrixSendGetData_M(&device, 0, command, 2, reply, &length));
    EXPECT_EQ(length, 0U);
}

TEST_F(FaultTest, AUsbFailureClosesTheRecordAndKeepsNoHandleBeyondTheNextOpening)
{
    Open(4);
    state.opened = state.closed = 0;
    state.instrument = nullptr;
    std::uint32_t count = 0;
    EXPECT_EQ(ZEL_USB_FAILED, AltrixMeasureRedChannel_M(&device, &count));
    EXPECT_EQ(ZEL_NOT_OPEN, AltrixMeasureRedChannel_M(&device, &count));
    EXPECT_EQ(zelGetCalibratorType_M(&device), 4) << "what it was";
    EXPECT_NE(device.comm.usbHandle, nullptr);
    state.instrument = &instrument;
    EXPECT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, 0, version));
    EXPECT_EQ(state.closed, 1);
    EXPECT_EQ(state.opened, 1);
    device.comm.usbHandle = nullptr;
    EXPECT_EQ(ZEL_USB_FAILED, AltrixMeasureRedChannel_M(&device, &count)) << "no handle";
    Open(4);
    state.instrument = nullptr;
    AltrixMeasureRedChannel_M(&device, &count);
    EXPECT_EQ(ZEL_NOT_OPEN, zelCloseCalibrator_M(&device));
    EXPECT_EQ(device.comm.usbHandle, nullptr) << "closed all the same";
}

TEST_F(FaultTest, RetriesEndWithTheLastReply)
{
    const struct {
        const char* call;
        int type;
        int code;
        int wrong;
        int exchanges;
    } cases[] = {
        {"AltrixReadEEPROMByte 121", 4, 8, 4, 5},     {"AltrixReadEEPROMByte 121", 4, 8, 9, 5},
        {"AltrixMeasurePeriodHighRes", 4, 9, 9, 5},   {"AltrixMeasurePeriod", 2, 4, 1, 1},
        {"AltrixMeasurePeriod25uSecRes", 4, 9, 1, 1}, {"AltrixMeasureRawData", 16, 1, 9, 7},
        {"AltrixMeasureRawData", 16, 2, 9, 7},        {"AltrixMeasureRawData", 16, 3, 9, 7},
        {"AltrixMeasureRawData", 4, 2, 9, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.call);
        Open(c.type, false);
        const int before = instrument.exchanges;
        instrument.SetFault(Fault::wrongEcho, 1, c.wrong, c.code);
        Arguments arguments;
        EXPECT_EQ(ZEL_OK, MakeCall(c.call, &device, arguments));
        EXPECT_NE(Arguments::unset, arguments.results[0](0)) << "taken as it is";
        EXPECT_EQ(c.exchanges, instrument.exchanges - before);
    }
}

TEST_F(FaultTest, TheEchoOfTheOlderElectronicsMayComeLate)
{
    for (const int type : {13, 14})
        for (const Fault fault : {Fault::wrongEcho, Fault::silence})
            for (const int wrong : {9, 10}) {
                Open(type);
                instrument.SetFault(fault, 1, wrong);
                const int before = instrument.exchanges;
                std::uint32_t count = 0;
                EXPECT_EQ(wrong == 9 ? ZEL_OK : ZEL_USB_FAILED, AltrixMeasureRedChannel_M(&device, &count));
                EXPECT_EQ(instrument.exchanges - before, 10);
                EXPECT_EQ(wrong == 9, device.header.isOpen == 1);
            }
}
