// Every measuring path of every colorimeter, through the exported calls, gives back the screen that stands on the
// bench.

#include "orvex/platform.h"
#include "orvex/zelcal.h"
#include "tests/support/Rows.h"
#include "tests/toolkit/Calls.h"
#include "virtual/orvex-virtual.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::uint16_t metric = 1; // unit argument: cd/m2

struct Screen {
    double Y, x, y;
};

/// An instrument on the bench and the device record that has it open.
class OpenColorimeter {
public:
    OpenColorimeter(int type, bool usb, const std::string& version = "")
    {
        oxv_reset();
        instrument = oxv_attach(("colorimeter-" + std::to_string(type)).c_str(), usb ? "usb" : "serial:1");
        EXPECT_GT(instrument, 0) << oxv_last_error();
        if (!version.empty())
            oxv_set_text(instrument, "version", version.c_str());
        std::array<char, 16> told{};
        EXPECT_EQ(zelOpenCalibrator_M(&device, usb ? 0 : 1, told.data()), 0);
        EXPECT_EQ(zelGetCalibratorType_M(&device), type);
        if (type == 21) { // its pulses are few
            EXPECT_EQ(zelSetIntegrationTime_M(&device, 10.0), 0);
        }
    }

    ~OpenColorimeter()
    {
        zelCloseCalibrator_M(&device);
        oxv_reset();
    }

    OpenColorimeter(const OpenColorimeter&) = delete;
    OpenColorimeter& operator=(const OpenColorimeter&) = delete;

    void Light(const Screen& screen, const std::string& prefix = "") const
    {
        const auto set = [&](const char* name, double value) {
            EXPECT_EQ(oxv_set_number(instrument, (prefix + name).c_str(), value), 0) << oxv_last_error();
        };
        set("X", screen.Y * screen.x / screen.y);
        set("Y", screen.Y);
        set("Z", std::max(0.0, 1 - screen.x - screen.y) * screen.Y / screen.y);
    }

    oxv_device instrument = 0;
    CalDataBlock device{};
};

constexpr Screen colours[] = {{1, 0.3127, 0.3290}, {1, 0.45, 0.41}, {1, 0.30, 0.45}, {1, 0.22, 0.25}};

/// A row of colorimeter_paths.txt.
struct Path {
    std::string call;
    bool givesColour;
    std::vector<double> types;
    double lowest, highest; ///< cd/m2
    double tolerance;       ///< relative
    std::string version;    ///< the instrument's own where there is none
    std::size_t place = 0;  ///< of the luminance in the result
    double factor = 1;      ///< to cd/m2

    explicit Path(const Row& row) : call(row[0]), givesColour(row[1] == "colour"), types(Numbers(row[2]))
    {
        const std::vector<double> range = Numbers(row[3]);
        lowest = range.at(0);
        highest = range.at(1);
        tolerance = range.at(2);
        version = row.size() > 4 ? row[4] : "";
        if (row.size() > 5)
            place = std::stoul(row[5]);
        if (row.size() > 6)
            factor = std::stod(row[6]);
    }
};

const std::vector<Path> paths = [] {
    std::vector<Path> all;
    for (const Row& row : ReadRows(ORVEX_TEST_DATA "/colorimeter_paths.txt"))
        all.emplace_back(row);
    return all;
}();

void ExpectScreen(const ZelYxyz& seen, const Screen& screen, double tolerance)
{
    ASSERT_NEAR(seen.Y / screen.Y, 1.0, tolerance);
    ASSERT_NEAR(seen.x / screen.x, 1.0, tolerance);
    ASSERT_NEAR(seen.y / screen.y, 1.0, tolerance);
    ASSERT_NEAR(seen.x + seen.y + seen.z, 1.0, 1e-12);
}

void TryPath(const Path& path, const Screen& screen, OpenColorimeter& colorimeter)
{
    SCOPED_TRACE(testing::Message() << path.call << " at " << screen.Y << " cd/m2, x " << screen.x);
    colorimeter.Light(screen);
    Arguments arguments;
    ASSERT_EQ(MakeCall(path.call, &colorimeter.device, arguments), 0);
    const auto& seen = arguments.results.at(0);
    if (path.givesColour)
        ExpectScreen({seen(0), seen(1), seen(2), seen(3)}, screen, path.tolerance);
    else
        ASSERT_NEAR(seen(path.place) * path.factor / screen.Y, 1.0, path.tolerance);
}

void TryPath(const Path& path, OpenColorimeter& colorimeter)
{
    for (const double luminance : {path.lowest, 10 * path.lowest, 100.0, path.highest})
        for (Screen screen : colours) {
            screen.Y = luminance;
            ASSERT_NO_FATAL_FAILURE(TryPath(path, screen, colorimeter));
            if (!path.givesColour)
                break;
        }
}

TEST(ColorimeterPaths, TheScreenComesBack)
{
    EXPECT_GT(paths.size(), 40U);
    for (const Path& path : paths)
        for (const double type : path.types)
            for (const bool usb : {false, true}) {
                SCOPED_TRACE(testing::Message() << "type " << type << (usb ? ", usb" : ", serial"));
                OpenColorimeter colorimeter(static_cast<int>(type), usb, path.version);
                ASSERT_NO_FATAL_FAILURE(TryPath(path, colorimeter));
            }
}

TEST(ColorimeterPaths, ThePrimariesOfDisplaysComeBack)
{
    // IEC 61966-2-1 (sRGB) and SMPTE RP 431-2 (DCI-P3), with their shares of a white of 200 cd/m2.
    constexpr Screen primaries[] = {{42.5, 0.640, 0.330}, {143.0, 0.300, 0.600}, {14.4, 0.150, 0.060},
                                    {41.9, 0.680, 0.320}, {144.3, 0.265, 0.690}, {13.8, 0.150, 0.060}};
    for (const int type : {2, 4, 9, 10, 11, 19, 20, 22})
        for (const Screen& primary : primaries) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", x " << primary.x);
            OpenColorimeter colorimeter(type, true);
            colorimeter.Light(primary);
            ZelYxyz seen{};
            ASSERT_EQ(zelAutoMeasureYxy_M(&colorimeter.device, metric, &seen), 0);
            EXPECT_NEAR(seen.Y / primary.Y, 1.0, 5e-3);
            EXPECT_NEAR(seen.x, primary.x, 1e-3);
            EXPECT_NEAR(seen.y, primary.y, 1e-3);
        }
}

TEST(ColorimeterPaths, NoMeasurementLeavesAnythingToTheNext)
{
    std::mt19937 random(11);
    for (const int type : {2, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22})
        for (const bool usb : {false, true}) {
            OpenColorimeter colorimeter(type, usb);
            for (int step = 0; step < 400; ++step) {
                SCOPED_TRACE(testing::Message()
                             << "type " << type << (usb ? ", usb" : ", serial") << ", step " << step);
                const Path& path = paths[random() % paths.size()];
                Screen screen = colours[path.givesColour ? random() % std::size(colours) : 0];
                screen.Y =
                    std::exp(std::uniform_real_distribution(std::log(path.lowest), std::log(path.highest))(random));
                if (std::ranges::find(path.types, type) != path.types.end() && path.version.empty()) {
                    ASSERT_NO_FATAL_FAILURE(TryPath(path, screen, colorimeter));
                }
            }
        }
}

TEST(ColorimeterPaths, AmbientLightComesBack)
{
    for (const bool usb : {false, true}) {
        OpenColorimeter colorimeter(20, usb);
        for (Screen ambient : colours)
            for (const double lux : {1.0, 100.0, 1500.0}) {
                SCOPED_TRACE(testing::Message() << lux << " lx, x " << ambient.x);
                ambient.Y = lux;
                colorimeter.Light(ambient, "ambient-");
                ZelYxyz seen{};
                ASSERT_EQ(zelMeasureAmbient_M(&colorimeter.device, metric, &seen), 0);
                ASSERT_NO_FATAL_FAILURE(ExpectScreen(seen, ambient, 1e-3));
            }
    }
}

TEST(ColorimeterPaths, RefreshRateComesBackAndSetsTheTime)
{
    for (const int type : {4, 7, 9, 10, 11, 16, 19, 20})
        for (const bool usb : {false, true})
            for (const double rate : {50.0, 60.0, 75.0, 143.9}) {
                SCOPED_TRACE(testing::Message() << "type " << type << (usb ? ", usb, " : ", serial, ") << rate);
                OpenColorimeter colorimeter(type, usb);
                oxv_set_number(colorimeter.instrument, "refresh-hz", rate);
                double seen = 0;
                ASSERT_EQ(zelMeasureMonitorFrequency_M(&colorimeter.device, &seen), 0);
                ASSERT_NEAR(seen / rate, 1.0, 1e-4);
                ASSERT_EQ(zelMeasMonFreqAndSetIntTime_M(&colorimeter.device, 100, &seen), 0);
                ASSERT_NEAR(seen / rate, 1.0, 1e-4);
                double ticks = 0;
                ASSERT_EQ(oxv_get_number(colorimeter.instrument, "integration-ticks", &ticks), 0);
                ASSERT_NEAR(ticks * colorimeter.device.header.tickLength * rate / 100, 1.0, 2e-4);
            }
}

TEST(ColorimeterPaths, BlackIsAResult)
{
    for (const int type : {4, 9, 19, 20, 22}) {
        SCOPED_TRACE(type);
        OpenColorimeter colorimeter(type, true);
        for (const char* name : {"X", "Y", "Z"})
            oxv_set_number(colorimeter.instrument, name, 0);
        ZelYxyz black{};
        EXPECT_EQ(zelMeasureLCDYxy_M(&colorimeter.device, 0, &black), 0);
        EXPECT_NEAR(black.Y, 3.2e-7, 1e-12);
        EXPECT_NEAR(black.x, 0.2873563, 1e-7);
        EXPECT_NEAR(black.y, 0.2627258, 1e-7);
    }
}

/// A session's numbers, over a port that is open already.
std::vector<double> Session(CalDataBlock& device, oxv_device instrument)
{
    std::vector<double> numbers;
    for (const double luminance : {0.5, 20.0, 300.0}) {
        oxv_set_number(instrument, "Y", luminance);
        ZelYxyz colour{};
        double value = 0;
        numbers.push_back(zelAutoMeasureYxy_M(&device, metric, &colour));
        numbers.insert(numbers.end(), {colour.Y, colour.x, colour.y});
        numbers.push_back(zelMeasureLCDLuminanceEdge_M(&device, metric, &value));
        numbers.push_back(value);
        numbers.push_back(zelMeasureLuminance_M(&device, metric, &value));
        numbers.push_back(value);
    }
    numbers.push_back(zelSetDarkCurrentEx_M(&device));
    numbers.push_back(device.eeprom.darkFloats[0]);
    return numbers;
}

TEST(ColorimeterPaths, APseudoTerminalGivesTheNumbersOfThePortInMemory)
{
    for (const int type : {4, 14}) {
        SCOPED_TRACE(type);
        std::vector<double> inMemory;
        {
            OpenColorimeter colorimeter(type, false);
            inMemory = Session(colorimeter.device, colorimeter.instrument);
            EXPECT_EQ(inMemory[type == 4 ? 0 : 4], 0) << "the path of this type";
        }
        oxv_reset();
        const oxv_device instrument = oxv_attach(("colorimeter-" + std::to_string(type)).c_str(), "pty");
        std::array<char, 128> name{};
        ASSERT_GT(oxv_get_text(instrument, "port", name.data(), name.size()), 0);
        ASSERT_EQ(orvex_set_serial_port_name(6, name.data()), 0);
        CalDataBlock device{};
        std::array<char, 16> version{};
        ASSERT_EQ(zelOpenCalibrator_M(&device, 6, version.data()), 0);
        EXPECT_EQ(Session(device, instrument), inMemory);
        EXPECT_EQ(zelCloseCalibrator_M(&device), 0);
        oxv_reset();
    }
}

TEST(ColorimeterPaths, APortOfTheApplicationIsTakenOverAndLeftOpen)
{
    for (const char* where : {"serial:2", "pty"}) {
        SCOPED_TRACE(where);
        oxv_reset();
        const oxv_device instrument = oxv_attach("colorimeter-4", where);
        const auto port = reinterpret_cast<ZelHandle>(static_cast<std::intptr_t>(oxv_port_descriptor(instrument)));
        CalDataBlock device{};
        std::array<char, 16> version{};
        for (int session = 0; session < 2; ++session) {
            ASSERT_EQ(zelOpenExistingSerialAltrix_M(&device, port, version.data()), 0);
            ZelYxyz seen{};
            EXPECT_EQ(zelMeasureYxy_M(&device, metric, &seen), 0);
            EXPECT_NEAR(seen.Y, 100, 0.5);
            EXPECT_EQ(zelCloseExistingCalibrator_M(&device), 0);
        }
        EXPECT_EQ(oxv_count(instrument, "close"), 0);
        oxv_reset();
    }
}

}
