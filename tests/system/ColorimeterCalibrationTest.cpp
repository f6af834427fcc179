// What a user does to a colorimeter over its life: matching it to a reference, taking its dark, going back to the
// works.

#include "orvex/zelcal.h"
#include "virtual/orvex-virtual.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr std::uint16_t metric = 1;
constexpr std::uint16_t plain = 0;

class Calibration : public testing::Test {
protected:
    void Attach(int type, const char* where = "usb")
    {
        if (device.header.isOpen)
            zelCloseCalibrator_M(&device);
        oxv_reset();
        instrument = oxv_attach(("colorimeter-" + std::to_string(type)).c_str(), where);
        ASSERT_GT(instrument, 0) << oxv_last_error();
        Open();
    }

    void Open()
    {
        std::array<char, 16> version{};
        ASSERT_EQ(zelOpenUSBCalibrator_M(&device, version.data(), 1), 0);
    }

    void Restart()
    {
        ASSERT_EQ(zelCloseCalibrator_M(&device), 0);
        ASSERT_EQ(oxv_unplug(instrument), 0);
        ASSERT_EQ(oxv_plug(instrument), 0);
        Open();
    }

    void Light(double X, double Y, double Z) const
    {
        oxv_set_number(instrument, "X", X);
        oxv_set_number(instrument, "Y", Y);
        oxv_set_number(instrument, "Z", Z);
    }

    ZelYxyz Measure(std::uint16_t unit = metric)
    {
        ZelYxyz seen{};
        EXPECT_EQ(zelMeasureLCDYxy_M(&device, unit, &seen), 0);
        return seen;
    }

    void TearDown() override
    {
        if (device.header.isOpen)
            zelCloseCalibrator_M(&device);
        oxv_reset();
    }

    oxv_device instrument = 0;
    CalDataBlock device{};
};

using Colour = std::array<double, 3>; // X, Y, Z

constexpr Colour primaries[] = {{42, 22, 3}, {35, 70, 12}, {18, 8, 92}, {95, 100, 107}};

/// What the reference instrument says of a colour.
ZelYxyz Reference(const ZelYxyz& seen)
{
    const double X = 1.10 * seen.Y * seen.x / seen.y;
    const double Y = 1.05 * seen.Y;
    const double Z = 0.95 * seen.Y * seen.z / seen.y;
    const double sum = X + Y + Z;
    return {Y, X / sum, Y / sum, Z / sum};
}

TEST_F(Calibration, AUserCalibrationMatchesTheReferenceAndOutlivesTheConnection)
{
    for (const int type : {4, 9, 19, 20, 22}) {
        SCOPED_TRACE(type);
        ASSERT_NO_FATAL_FAILURE(Attach(type));
        std::array<ZelYxyz, 4> measured{};
        std::array<ZelYxyz, 4> reference{};
        for (std::size_t i = 0; i < 4; ++i) {
            Light(primaries[i][0], primaries[i][1], primaries[i][2]);
            measured[i] = Measure(plain);
            reference[i] = Reference(measured[i]);
        }
        ASSERT_EQ(zelStoreUserCalibration_M(&device, reference.data(), measured.data()), 0);

        for (int session = 0; session < 2; ++session) {
            for (std::size_t i = 0; i < 4; ++i) {
                Light(primaries[i][0], primaries[i][1], primaries[i][2]);
                const ZelYxyz seen = Measure(plain);
                EXPECT_NEAR(seen.Y / reference[i].Y, 1, 1e-4);
                EXPECT_NEAR(seen.x, reference[i].x, 1e-4);
                EXPECT_NEAR(seen.y, reference[i].y, 1e-4);
            }
            ASSERT_NO_FATAL_FAILURE(Restart());
        }

        // The second slot as delivered is the first one times 1.05.
        ASSERT_EQ(zelRestoreFactoryCalibration_M(&device), 0);
        Light(95, 100, 107);
        EXPECT_NEAR(Measure().Y, 105, 0.1);
        ASSERT_NO_FATAL_FAILURE(Restart());
        EXPECT_NEAR(Measure().Y, 105, 0.1) << "the works' matrix has been copied";
        ASSERT_EQ(zelSelectCalibration_M(&device, 0), 0);
        EXPECT_NEAR(Measure().Y, 105, 0.1);
    }
}

TEST_F(Calibration, AnOldFormatKeepsTheWorksMatrixInTheSecondSlot)
{
    Attach(4);
    const std::uint8_t format[] = {0, 5};
    oxv_memory_write(instrument, 126, format, sizeof format);
    std::array<std::uint8_t, 36> works{};
    oxv_memory_read(instrument, 4, works.data(), works.size());
    ASSERT_NO_FATAL_FAILURE(Restart());

    CalibrationRecord record{};
    for (std::size_t i = 0; i < 9; ++i)
        record.matrix[i] = 0.5 * device.eeprom.eepromMatrix1[i];
    record.date = 1234567890;
    ASSERT_EQ(zelStoreUserCalibrationDataToPodEx_M(&device, &record), 0);
    EXPECT_EQ(device.eeprom.formatWord, 7);
    std::array<std::uint8_t, 36> second{};
    oxv_memory_read(instrument, 54, second.data(), second.size());
    EXPECT_EQ(second, works);
    EXPECT_NEAR(Measure().Y, 50, 0.5);
}

TEST_F(Calibration, ADarkReferenceFollowsTheInstrument)
{
    for (const int type : {4, 9, 19, 20, 22}) {
        SCOPED_TRACE(type);
        ASSERT_NO_FATAL_FAILURE(Attach(type));
        const char* names[] = {"dark-red", "dark-green", "dark-blue"};
        for (const char* name : names)
            oxv_set_number(instrument, name, 1.5); // it has warmed up
        Light(0.475, 0.5, 0.535);
        EXPECT_GT(Measure().Y, 0.51);

        Light(0, 0, 0);
        ASSERT_EQ(zelSetDarkCurrentEx_M(&device), 0);
        for (int session = 0; session < 2; ++session) {
            Light(0.475, 0.5, 0.535);
            EXPECT_NEAR(Measure().Y, 0.5, 5e-4);
            std::array<double, 3> dark{};
            ASSERT_EQ(zelGetDarkCurrentEx_M(&device, dark.data()), 0);
            for (const double value : dark)
                EXPECT_NEAR(value, 1.5, 1e-3);
            ASSERT_NO_FATAL_FAILURE(Restart());
        }

        Light(95, 100, 107);
        EXPECT_EQ(zelSetDarkCurrentEx_M(&device), -600) << "a lit screen is no dark";
    }
}

TEST_F(Calibration, LuminanceHeadsTakeTheirDark)
{
    for (const int type : {6, 13, 14, 21}) {
        SCOPED_TRACE(type);
        ASSERT_NO_FATAL_FAILURE(Attach(type));
        oxv_set_number(instrument, "dark-red", 3.0); // hertz
        Light(0, 0, 0);
        ASSERT_EQ(zelSetDarkCurrentEx_M(&device), 0);
        for (int session = 0; session < 2; ++session) {
            Light(0.95, 1, 1.07);
            double luminance = 0;
            ASSERT_EQ(zelMeasureLCDLuminanceEdge_M(&device, metric, &luminance), 0);
            EXPECT_NEAR(luminance, 1, 1e-3);
            ASSERT_NO_FATAL_FAILURE(Restart());
        }
    }
}

TEST_F(Calibration, IntegratorsKeepTheirDarkThemselves)
{
    for (const int type : {10, 11}) {
        SCOPED_TRACE(type);
        ASSERT_NO_FATAL_FAILURE(Attach(type));
        for (const char* name : {"dark-red", "dark-green", "dark-blue"})
            oxv_set_number(instrument, name, 50000);
        Light(0, 0, 0);
        ASSERT_EQ(zelSetDarkCurrent_M(&device, 5), 0);
        std::array<std::uint8_t, 4> held{};
        oxv_memory_read(instrument, 103, held.data(), held.size());
        EXPECT_EQ(held[0] << 24 | held[1] << 16 | held[2] << 8 | held[3], 50000);
        ASSERT_NO_FATAL_FAILURE(Restart());
        Light(0.95, 1, 1.07);
        ZelYxyz seen{};
        ASSERT_EQ(zelMeasureYxy_M(&device, metric, &seen), 0);
        EXPECT_NEAR(seen.Y, 1, 1e-3);
    }
}

}
