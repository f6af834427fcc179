// The toolkit against the virtual colorimeters: what needs light, a cable or a clock.

#include "orvex/zelcal.h"
#include "tests/toolkit/OwnFolder.h"
#include "virtual/orvex-virtual.h"

#include <cmath>
#include <functional>
#include <set>
#include <vector>

namespace {

const int types[] = {2, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22};

char version[9];

class BenchTest : public testing::Test {
protected:
    BenchTest() { oxv_reset(); }

    ~BenchTest() override
    {
        AltrixClose_M(&device);
        oxv_reset();
    }

    oxv_device Attach(int type, const char* where)
    {
        instrument = oxv_attach(("colorimeter-" + std::to_string(type)).c_str(), where);
        EXPECT_GT(instrument, 0) << oxv_last_error();
        return instrument;
    }

    std::int32_t Open(bool usb) { return zelOpenCalibrator_M(&device, usb ? 0 : 1, version); }

    void Screen(double X, double Y, double Z) const
    {
        oxv_set_number(instrument, "X", X);
        oxv_set_number(instrument, "Y", Y);
        oxv_set_number(instrument, "Z", Z);
    }

    oxv_device instrument = 0;
    CalDataBlock device{};
};

}

TEST_F(BenchTest, EveryTypeOpensAndClosesOnBothTransports)
{
    for (const int type : types) {
        for (const bool usb : {true, false}) {
            SCOPED_TRACE(std::to_string(type) + (usb ? " usb" : " serial"));
            oxv_reset();
            Attach(type, usb ? "usb:0" : "serial:1");
            if (!usb)
                oxv_set_number(instrument, "junk-at-open", 1); // which the opening throws away
            const std::int64_t start = oxv_clock_now();
            ASSERT_EQ(ZEL_OK, Open(usb));
            EXPECT_EQ(type, zelGetCalibratorType_M(&device));
            EXPECT_GE(oxv_clock_now() - start, usb ? 10'000 : 1'510'000);
            ASSERT_EQ(ZEL_OK, zelCloseCalibrator_M(&device));
            EXPECT_EQ(oxv_count(instrument, "open"), oxv_count(instrument, "close"));
        }
    }
}

TEST_F(BenchTest, EveryExchangeMayBreakInEveryWay)
{
    const OwnFolder folder;
    const std::set<std::int32_t> documented = {0,    -1,   -67,  -112, -200, -501, -502, -503,
                                               -504, -506, -507, -509, -510, -513, -517, -600};
    const CalibrationRecord record = {{1, 2, 3, 4, 5, 6, 7, 8, 10}, 1234};
    const struct {
        int type;
        bool usb;
        std::function<std::int32_t(CalDataBlock*)> work;
    } journeys[] = {
        {4, false, [&](auto* d) { return zelStoreUserCalibrationDataToPodEx_M(d, &record); }},
        {19, true, [](auto* d) { return zelSetDarkCurrentEx_M(d); }},
        {14, true, [](auto* d) { return zelMeasureLuminance_M(d, 1, std::vector<double>(3).data()); }},
        {11, false, [](auto* d) { return zelAutoMeasureYxy_M(d, 1, std::vector<ZelYxyz>(1).data()); }},
    };
    const char* ways[] = {
        "fail",      "timeout",     "short",      "one-short",          "empty", "garbage", "wrong-echo",
        "echo-only", "length-zero", "length-ten", "close-after-length", "unplug"};
    for (const auto& journey : journeys) {
        for (const char* way : ways) {
            bool reached = true; // the journey is shorter than k exchanges otherwise
            for (std::uint32_t k = 1; reached; k += k < 12 ? 1 : 17) {
                SCOPED_TRACE(std::to_string(journey.type) + " " + way + " at " + std::to_string(k));
                oxv_reset();
                Attach(journey.type, journey.usb ? "usb:0" : "serial:1");
                if (oxv_fault(instrument, "command", k, 1, way) == OXV_NOT_POSSIBLE)
                    break;
                std::int32_t status = Open(journey.usb);
                if (status == ZEL_OK)
                    status = journey.work(&device);
                EXPECT_EQ(1U, documented.count(status)) << status;
                reached = oxv_count(instrument, "command") >= k;
                zelCloseCalibrator_M(&device);
                EXPECT_EQ(nullptr, device.comm.portHandle);
                EXPECT_EQ(nullptr, device.comm.usbHandle);

                oxv_faults_clear(instrument);
                oxv_unplug(instrument); // it may still be at a measurement of hours that a garbled time has started
                oxv_plug(instrument);
                status = Open(journey.usb);
                EXPECT_TRUE(status == ZEL_OK || status == ZEL_EEPROM_BLANK || status == ZEL_COUNTS_MISSING) << status;
                AltrixClose_M(&device);
            }
        }
    }
}

TEST_F(BenchTest, APulledCableIsFoundAgainOnTheSameIndex)
{
    ZelYxyz colour{};
    Attach(4, "usb:2");
    ASSERT_EQ(ZEL_OK, zelOpenUSBAltrix_M(&device, version, 1));
    EXPECT_EQ(2U, device.header.usbIndex);
    oxv_unplug(instrument);
    EXPECT_EQ(ZEL_USB_FAILED, zelMeasureYxy_M(&device, 1, &colour));
    EXPECT_EQ(ZEL_NOT_OPEN, zelMeasureYxy_M(&device, 1, &colour));
    EXPECT_EQ(ZEL_BAD_ARGUMENT, zelOpenUSBAltrix_M(&device, version, 1));
    oxv_plug(instrument);
    EXPECT_EQ(ZEL_OK, zelOpenUSBAltrix_M(&device, version, 1));
    EXPECT_EQ(ZEL_OK, zelMeasureYxy_M(&device, 1, &colour));
    EXPECT_EQ(ZEL_OK, zelCloseCalibrator_M(&device));
    EXPECT_EQ(nullptr, device.comm.usbHandle);
}

TEST_F(BenchTest, TheScanStopsAtTheFirstThatAnswers)
{
    Attach(7, "usb:0");
    const oxv_device altrix = Attach(4, "usb:1");
    EXPECT_EQ(ZEL_WRONG_INSTRUMENT, zelOpenUSBAltrix_M(&device, version, 1)) << "hidden behind the Heron";
    EXPECT_EQ(0, oxv_count(altrix, "open"));
    EXPECT_EQ(ZEL_OK, zelOpenUSBAltrixEx_M(&device, 1, version));
    EXPECT_EQ(ZEL_OK, zelInventoryCalibrators_M());
    std::int32_t count = 0;
    zelGetCalibratorCount_M(&count);
    EXPECT_EQ(2, count);
}

TEST_F(BenchTest, AMemoryThatCannotBeWrittenMakesAnotherType)
{
    Attach(14, "usb:0");
    oxv_memory_protect(instrument, 0, 1);
    ASSERT_EQ(ZEL_OK, Open(true));
    EXPECT_EQ(5, zelGetCalibratorType_M(&device));
    zelCloseCalibrator_M(&device);

    const std::uint8_t pattern = 0xA5;
    oxv_memory_write(instrument, 0, &pattern, 1);
    ASSERT_EQ(ZEL_OK, Open(true));
    EXPECT_EQ(14, zelGetCalibratorType_M(&device)) << "the cell holds what the test writes";
}

TEST_F(BenchTest, AUserCalibrationMakesTheInstrumentAgreeWithItsReference)
{
    const OwnFolder folder;
    constexpr double screens[][3] = {{95, 100, 109}, {41, 26, 6}, {36, 72, 12}, {20, 16, 95}};
    // What the reference instrument shows for the screen: a little more of everything, and some crosstalk.
    const auto reference = [](const double screen[3]) {
        const double X = (1.04 * screen[0] + 0.01 * screen[1]) / 3.425014379251237;
        const double Y = 1.03 * screen[1] / 3.425014379251237;
        const double Z = (0.97 * screen[2] + 0.02 * screen[0]) / 3.425014379251237;
        return ZelYxyz{Y, X / (X + Y + Z), Y / (X + Y + Z), Z / (X + Y + Z)};
    };
    for (const int type : {4, 9, 19, 22}) {
        SCOPED_TRACE(type);
        oxv_reset();
        Attach(type, "usb:0");
        ASSERT_EQ(ZEL_OK, Open(true));
        ZelYxyz before{};
        ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySeq_M(&device, 0, &before));
        std::vector<ZelYxyz> wanted;
        std::vector<ZelVector> vectors;
        for (const auto& screen : screens) {
            Screen(screen[0], screen[1], screen[2]);
            ZelYxyz ignored{};
            ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySeq_M(&device, 0, &ignored));
            const double* rgb = device.header.periodRGB;
            vectors.push_back({rgb[0], rgb[1], rgb[2]});
            wanted.push_back(reference(screen));
        }
        ASSERT_EQ(ZEL_OK, zelStoreUserCalibrationNColors_M(&device, wanted.data(), vectors.data(), 4));
        zelCloseCalibrator_M(&device);
        ASSERT_EQ(ZEL_OK, Open(true)) << "a new start keeps the calibration";
        for (std::size_t i = 0; i < 4; ++i) {
            Screen(screens[i][0], screens[i][1], screens[i][2]);
            ZelYxyz seen{};
            ASSERT_EQ(ZEL_OK, zelMeasureLCDYxySeq_M(&device, 0, &seen));
            EXPECT_NEAR(wanted[i].Y, seen.Y, wanted[i].Y * 2e-3);
            EXPECT_NEAR(wanted[i].x, seen.x, 5e-4);
            EXPECT_NEAR(wanted[i].y, seen.y, 5e-4);
        }
        zelCloseCalibrator_M(&device);
    }
}

TEST_F(BenchTest, TheTimeThatTheInstrumentTookScalesItsCounts)
{
    Attach(19, "serial:1");
    Screen(95, 100, 109);
    ASSERT_EQ(ZEL_OK, Open(false));
    ASSERT_EQ(ZEL_OK, zelSetIntegrationTime_M(&device, 1.0));
    for (const double limit : {400'000.0, -1.0}) { // clamped, ignored
        oxv_set_number(instrument, "ticks-limit", limit);
        ASSERT_EQ(ZEL_OK, zelSetIntegrationTime_M(&device, 2.0));
        EXPECT_EQ(400'000U, device.header.integrationTicks);
        ZelYxyz seen{};
        ASSERT_EQ(ZEL_OK, zelMeasureYxyEx_M(&device, 1, &seen));
        EXPECT_NEAR(100.0, seen.Y, 0.5);
    }
}

TEST_F(BenchTest, DarkReferencesSubtractWhatTheInstrumentShowsInTheDark)
{
    for (const int type : {4, 9, 19, 20, 22, 6, 13, 14, 11}) {
        SCOPED_TRACE(type);
        oxv_reset();
        Attach(type, "usb:0");
        Screen(0, 0, 0);
        ASSERT_EQ(ZEL_OK, Open(true));
        ASSERT_EQ(ZEL_OK, AltrixResetDarkCurrent_M(&device));
        ASSERT_EQ(ZEL_OK, zelSetDarkCurrentEx_M(&device));
        double dark[3] = {};
        ASSERT_EQ(ZEL_OK, zelGetDarkCurrentEx_M(&device, dark));
        double shown = 0;
        ASSERT_EQ(OXV_OK, oxv_get_number(instrument, "dark-red", &shown));
        EXPECT_GT(dark[0], 0.0);
        EXPECT_NEAR(shown, dark[0], shown * 2e-3);
        zelCloseCalibrator_M(&device);
        ASSERT_EQ(ZEL_OK, Open(true));
        double again[3] = {};
        ASSERT_EQ(ZEL_OK, zelGetDarkCurrentEx_M(&device, again));
        EXPECT_FLOAT_EQ(static_cast<float>(dark[0]), static_cast<float>(again[0])) << "after a new start";
        zelCloseCalibrator_M(&device);
    }
}

TEST_F(BenchTest, ALoopThatNeverLocksIsWaitedForFifteenSeconds)
{
    Attach(11, "usb:0");
    ASSERT_EQ(ZEL_OK, Open(true));
    oxv_set_number(instrument, "reply-delay", 0.01);
    oxv_set_number(instrument, "lock-after", -1);
    const std::int64_t start = oxv_clock_now();
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
    EXPECT_NEAR(15.0, static_cast<double>(oxv_clock_now() - start) * 1e-6, 1.1);
    oxv_set_number(instrument, "lock-after", 3);
    EXPECT_EQ(ZEL_OK, TenrixWaitForPLLToSettle_M(&device));
    std::uint8_t lock = 0;
    EXPECT_EQ(ZEL_OK, TenrixReadLockDetect_M(&device, &lock));
    EXPECT_GE(lock, 240);
}
