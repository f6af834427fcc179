// Two device records belong to two threads: nothing is shared between them.

#include "orvex/zelcal.h"
#include "virtual/orvex-virtual.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

void Work(std::uint32_t usbIndex, double expected)
{
    for (int session = 0; session < 3; ++session) {
        CalDataBlock device{};
        char version[9];
        ASSERT_EQ(ZEL_OK, zelOpenUSBAltrixEx_M(&device, usbIndex, version));
        for (int i = 0; i < 20; ++i) {
            ZelYxyz seen{};
            ASSERT_EQ(ZEL_OK, zelAutoMeasureYxy_M(&device, 1, &seen));
            ASSERT_NEAR(expected, seen.Y, expected * 5e-3);
            char date[32];
            ASSERT_EQ(ZEL_OK, zelGetCalibrationDate_M(&device, date));
        }
        const double dark[3] = {0.25, 0.3, 0.2};
        ASSERT_EQ(ZEL_OK, AltrixStoreDarkCurrent_M(&device, dark));
        ASSERT_EQ(ZEL_OK, zelCloseCalibrator_M(&device));
    }
}

}

TEST(TwoRecords, OfTwoThreadsDoNotMeet)
{
    oxv_reset();
    const oxv_device first = oxv_attach("colorimeter-4", "usb:0");
    const oxv_device second = oxv_attach("colorimeter-19", "usb:1");
    oxv_set_number(first, "Y", 80);
    oxv_set_number(second, "Y", 200);
    std::thread one(Work, 0, 80.0);
    std::thread other(Work, 1, 200.0);
    one.join();
    other.join();
    oxv_reset();
}
