// What only a real kernel can show.

#include "tests/wire/real/KernelUsb.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "tests/support/Thrown.h"

#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Vondrel::DeviceDriver::ox;

std::unique_ptr<WiredInstrument> PlugInInstrument()
{
    return std::make_unique<KernelUsb>();
}

namespace {

TEST(KernelUsbTest, SaysThatSomeoneElseHasTheInstrument)
{
    const auto instrument = PlugInInstrument();
    const int other = open(instrument->NodeFile().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(other, 0);
    unsigned interface = 0;
    ASSERT_EQ(ioctl(other, USBDEVFS_CLAIMINTERFACE, &interface), 0);
    EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }),
              "IOException: could not open pipe: (Win32 Error (16) : device or resource busy)");
    close(other);
    EXPECT_EQ(Thrown([] { BrindleLowLevelDriver(nullptr, 0); }), "nothing");
}

}
