// What only a mocked kernel can show: instruments of others, and refusals at opening.

#include "tests/wire/real/MockUsb.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "platform/Usb.h"
#include "tests/support/Thrown.h"

#include <gmock/gmock.h>
#include <malloc.h>

#include <cstdlib>
#include <stdexcept>

using namespace Vondrel::DeviceDriver::ox;
using testing::ElementsAre;

std::unique_ptr<WiredInstrument> PlugInInstrument()
{
    const char* const preloaded = std::getenv("LD_PRELOAD");
    if (preloaded == nullptr || std::string(preloaded).find("umockdev") == std::string::npos)
        throw std::runtime_error("to be run under umockdev-wrapper");
    return std::make_unique<MockUsb>(4);
}

namespace {

TEST(MockedUsb, ListsOnlyInstrumentsOfOurs)
{
    const auto first = PlugInInstrument();
    MockUsb mouse(3, 0x046D, 0xC077);
    MockUsb second(12);
    EXPECT_THAT(USBBrowser::Instance()->GetDevices(), ElementsAre("/dev/bus/usb/001/004", "/dev/bus/usb/001/012"));
    first->Unplug();
    EXPECT_THAT(USBBrowser::Instance()->GetDevices(), ElementsAre("/dev/bus/usb/001/012"));
}

TEST(MockedUsb, SaysThatAnotherProcessHasTheInstrumentAndGivesItBackItself)
{
    MockUsb instrument(4);
    instrument.SetFault("open", "busy");
    EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }),
              "IOException: could not open pipe: (Win32 Error (16) : device or resource busy)");
    instrument.ClearFaults();
    instrument.claims = 0;
    EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }), "nothing");
    EXPECT_EQ(instrument.claims, 0);
}

TEST(MockedUsb, ForgetsTheAddressesThatItWasAskedFor)
{
    const auto instrument = PlugInInstrument();
    const auto ask = [](int count) {
        for (int i = 0; i < count; ++i) {
            Platform::TransferResult result;
            EXPECT_EQ(Platform::OpenUsbPipe("/dev/bus/usb/009/" + std::to_string(1000000 + i), 0, result), nullptr);
            EXPECT_EQ(result.kind, Platform::TransferKind::gone);
        }
    };
    ask(20);
    const auto before = mallinfo2().uordblks; // 0 under a sanitizer
    ask(300);
    EXPECT_LT(mallinfo2().uordblks, before + 10000);
}

}
