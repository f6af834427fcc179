// Every measuring path of every colorimeter, through the exported calls, gives back the screen that stands on the
// bench.

#include "orvex/platform.h"
#include "orvex/zelcal.h"
#include "virtual/orvex-virtual.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double candelas = 3.425014379251237; // cd/m2 in a foot-lambert
constexpr std::uint16_t metric = 1;            // unit argument: cd/m2

struct Screen {
    double Y, x, y;
};

/// An instrument on the bench and the device record that has it open.
class OpenColorimeter {
public:
    OpenColorimeter(int type, bool usb, const char* version)
    {
        oxv_reset();
        instrument = oxv_attach(("colorimeter-" + std::to_string(type)).c_str(), usb ? "usb" : "serial:1");
        EXPECT_GT(instrument, 0) << oxv_last_error();
        if (version)
            oxv_set_text(instrument, "version", version);
        std::array<char, 16> told{};
        EXPECT_EQ(zelOpenCalibrator_M(&device, usb ? 0 : 1, told.data()), 0);
        EXPECT_EQ(zelGetCalibratorType_M(&device), type);
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

using Types = std::vector<int>;

struct Range {
    double lowest, highest; // cd/m2
    double tolerance;       // relative
};

// Counts in the integration time carry their dark and their rounding; where the multiplier rule chooses how long to
// measure, both are gone.
constexpr Range counted = {5, 400, 5e-3};
constexpr Range multiplied = {0.05, 500, 1e-3};
constexpr Range fixedMultiplier = {5, 400, 1e-3};
constexpr Range keepsDark = {10, 400, 5e-3}; // counted, and the dark of few pulses stays in

constexpr Screen colours[] = {{1, 0.3127, 0.3290}, {1, 0.45, 0.41}, {1, 0.30, 0.45}, {1, 0.22, 0.25}};

using MeasureColour = std::int32_t (*)(CalDataBlock*, std::uint16_t unit, ZelYxyz*);

template<int mode>
std::int32_t Pelican(CalDataBlock* device, std::uint16_t unit, ZelYxyz* out)
{
    return zelPelicanMeasure_M(device, unit, mode, out);
}

template<int mode>
std::int32_t Osprey(CalDataBlock* device, std::uint16_t unit, ZelYxyz* out)
{
    return zelOspreyMeasure_M(device, unit, mode, out);
}

template<int edges>
std::int32_t FixedMultiplier(CalDataBlock* device, std::uint16_t unit, ZelYxyz* out)
{
    return zelDarkMeasureYxy_M(device, unit, 100, 100, 200, edges, out);
}

std::int32_t Average(CalDataBlock* device, std::uint16_t unit, ZelYxyz* out)
{
    double vector[3];
    return zelMeasureYxyAvg_M(device, unit, out, vector, 3);
}

/// The scaled channel values, turned into a colour by the matrix.
std::int32_t ScaledRaw(CalDataBlock* device, std::uint16_t, ZelYxyz* out)
{
    double vector[3];
    if (const std::int32_t status = zelMeasureRawDataScaled_M(device, vector); status != 0)
        return status;
    const std::int32_t status = AltrixConvertRGBToYxyThroughMatrix_M(device, vector, out);
    out->Y *= candelas;
    return status;
}

struct ColourPath {
    const char* name;
    Types types;
    Range range;
    MeasureColour measure;
    const char* version = nullptr;
};

const Types filters = {4, 9, 19, 20, 22};

const ColourPath colourPaths[] = {
    {"zelMeasureYxy, counted", {2, 4, 10, 11, 19}, counted, zelMeasureYxy_M},
    {"zelMeasureYxy, doubled counts", {4}, counted, zelMeasureYxy_M, "5.19"},
    {"zelMeasureYxy, edges", {9, 20, 22}, multiplied, zelMeasureYxy_M},
    {"zelAutoMeasureYxy, counted", {2, 4, 10, 11, 19}, counted, zelAutoMeasureYxy_M},
    {"zelAutoMeasureYxy, edges", {9, 20, 22}, multiplied, zelAutoMeasureYxy_M},
    {"zelMeasureYxyEx, counted", {2, 4, 10, 11, 19}, counted, zelMeasureYxyEx_M},
    {"zelMeasureYxyEx, edges", {9, 20, 22}, multiplied, zelMeasureYxyEx_M},
    {"zelMeasureYxyAvg", {10, 11}, counted, Average},
    {"zelMeasureLCDYxy, integrated", {10, 11}, counted, zelMeasureLCDYxy_M},
    {"zelMeasureLCDYxy", filters, multiplied, zelMeasureLCDYxy_M},
    {"zelMeasureLCDYxySeq", filters, multiplied, zelMeasureLCDYxySeq_M},
    {"zelMeasureLCDYxySim", filters, multiplied, zelMeasureLCDYxySim_M},
    {"zelMeasureLCDYxySim, time-limited", {4, 9}, multiplied, zelMeasureLCDYxySim_M, "4.45"},
    {"zelMeasureLCDYxySimTO", {4, 9}, multiplied, zelMeasureLCDYxySimTO_M, "4.41"},
    {"zelMeasureLCDYxySimW", {19, 20, 22}, multiplied, zelMeasureLCDYxySimW_M},
    {"zelMeasureYxyProgressive", {4, 9}, {0.05, 150, 1e-3}, zelMeasureYxyProgressive_M},
    {"zelDarkMeasureYxy, edges", filters, fixedMultiplier, FixedMultiplier<1>},
    {"zelDarkMeasureYxy, periods", filters, fixedMultiplier, FixedMultiplier<0>},
    {"zelPelicanMeasure 1", {9, 20, 22}, multiplied, Pelican<1>},
    {"zelPelicanMeasure 2", {9, 20, 22}, multiplied, Pelican<2>},
    {"zelPelicanMeasure 3", {9, 20, 22}, counted, Pelican<3>},
    {"zelPelicanMeasure 4", {9, 20, 22}, counted, Pelican<4>},
    {"zelPelicanMeasure 5", {9, 20, 22}, counted, Pelican<5>},
    {"zelOspreyMeasure 1", {19, 20, 22}, multiplied, Osprey<1>},
    {"zelOspreyMeasure 2", {19, 20, 22}, multiplied, Osprey<2>},
    {"zelOspreyMeasure 3", {19, 20, 22}, counted, Osprey<3>},
    {"zelOspreyMeasure 4", {19, 20, 22}, counted, Osprey<4>},
    {"zelOspreyMeasure 5", {19, 20, 22}, counted, Osprey<5>},
    {"zelMeasureRawDataScaled", {2, 4, 9, 10, 11, 19, 20, 22}, counted, ScaledRaw},
};

void ExpectScreen(const ZelYxyz& seen, const Screen& screen, double tolerance)
{
    ASSERT_NEAR(seen.Y / screen.Y, 1.0, tolerance);
    ASSERT_NEAR(seen.x / screen.x, 1.0, tolerance);
    ASSERT_NEAR(seen.y / screen.y, 1.0, tolerance);
    ASSERT_NEAR(seen.x + seen.y + seen.z, 1.0, 1e-12);
}

void TryColours(const ColourPath& path, OpenColorimeter& colorimeter)
{
    for (const double luminance : {path.range.lowest, 10 * path.range.lowest, 100.0, path.range.highest})
        for (Screen screen : colours) {
            SCOPED_TRACE(testing::Message() << luminance << " cd/m2, x " << screen.x);
            screen.Y = luminance;
            colorimeter.Light(screen);
            ZelYxyz seen{};
            ASSERT_EQ(path.measure(&colorimeter.device, metric, &seen), 0);
            ASSERT_NO_FATAL_FAILURE(ExpectScreen(seen, screen, path.range.tolerance));
        }
}

TEST(ColorimeterPaths, ColourComesBack)
{
    for (const auto& path : colourPaths)
        for (const int type : path.types)
            for (const bool usb : {false, true}) {
                SCOPED_TRACE(testing::Message() << path.name << ", type " << type << (usb ? ", usb" : ", serial"));
                OpenColorimeter colorimeter(type, usb, path.version);
                ASSERT_NO_FATAL_FAILURE(TryColours(path, colorimeter));
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
            OpenColorimeter colorimeter(type, true, nullptr);
            colorimeter.Light(primary);
            ZelYxyz seen{};
            ASSERT_EQ(zelAutoMeasureYxy_M(&colorimeter.device, metric, &seen), 0);
            EXPECT_NEAR(seen.Y / primary.Y, 1.0, 5e-3);
            EXPECT_NEAR(seen.x, primary.x, 1e-3);
            EXPECT_NEAR(seen.y, primary.y, 1e-3);
        }
}

using MeasureLuminance = std::int32_t (*)(CalDataBlock*, std::uint16_t unit, double*);

constexpr double headFactor = 0.010; // foot-lamberts per hertz of the luminance heads, which type 5 does not tell

/// A call that gives hertz.
template<std::int32_t (*measure)(CalDataBlock*, double*)>
std::int32_t Hertz(CalDataBlock* device, std::uint16_t, double* out)
{
    const std::int32_t status = measure(device, out);
    *out *= headFactor * candelas;
    return status;
}

std::int32_t HeronBlue(CalDataBlock* device, std::uint16_t unit, double* out)
{
    double ranges[3];
    const std::int32_t status = zelMeasureHeronLuminance_M(device, unit, ranges);
    *out = ranges[2];
    return status;
}

template<int mode>
std::int32_t Channel1(CalDataBlock* device, std::uint16_t unit, double* out)
{
    return zelChannel1Measure_M(device, unit, mode, 3, out);
}

struct LuminancePath {
    const char* name;
    Types types;
    Range range;
    MeasureLuminance measure;
};

const LuminancePath luminancePaths[] = {
    {"zelMeasureLuminance, counted", {2, 4, 6, 7, 10, 11, 13, 14, 16, 19, 21}, counted, zelMeasureLuminance_M},
    {"zelMeasureLuminance, edges", {9, 20, 22}, multiplied, zelMeasureLuminance_M},
    {"zelAutoMeasureLuminance", {6, 13, 14}, counted, zelAutoMeasureLuminance_M},
    {"zelAutoMeasureLuminance", {21}, keepsDark, zelAutoMeasureLuminance_M},
    {"zelMeasureLCDLuminance", {6, 13, 14, 21}, multiplied, zelMeasureLCDLuminance_M},
    {"zelMeasureLCDLuminancePeriod", {6, 13, 14}, multiplied, zelMeasureLCDLuminancePeriod_M},
    {"zelMeasureLCDLuminanceEdge", {6, 13, 14, 21}, multiplied, zelMeasureLCDLuminanceEdge_M},
    {"zelMeasureLCDLuminanceEdgeEx", {6, 13, 14, 21}, multiplied, zelMeasureLCDLuminanceEdgeEx_M},
    {"zelMeasureRawDataScaled", {5, 6, 8, 13, 14}, counted, Hertz<zelMeasureRawDataScaled_M>},
    {"zelMeasureLCDRawDataScaled", {6, 8, 13, 14}, multiplied, Hertz<zelMeasureLCDRawDataScaled_M>},
    {"zelMeasureLCDRawDataScaled, no dark kept", {5}, counted, Hertz<zelMeasureLCDRawDataScaled_M>},
    {"zelMeasureHeronLuminance", {7, 16}, {5, 300, 5e-3}, HeronBlue},
    {"zelChannel1Measure 1", {21}, multiplied, Channel1<1>},
    {"zelChannel1Measure 2", {21}, multiplied, Channel1<2>},
    {"zelChannel1Measure 3", {21}, counted, Channel1<3>},
    {"zelChannel1Measure 5", {21}, keepsDark, Channel1<5>},
};

TEST(ColorimeterPaths, LuminanceComesBack)
{
    for (const auto& path : luminancePaths)
        for (const int type : path.types)
            for (const bool usb : {false, true}) {
                SCOPED_TRACE(testing::Message() << path.name << ", type " << type << (usb ? ", usb" : ", serial"));
                OpenColorimeter colorimeter(type, usb, nullptr);
                if (type == 21) { // its pulses are few
                    ASSERT_EQ(zelSetIntegrationTime_M(&colorimeter.device, 10.0), 0);
                }
                for (const double luminance : {path.range.lowest, 10 * path.range.lowest, 100.0, path.range.highest}) {
                    SCOPED_TRACE(testing::Message() << luminance << " cd/m2");
                    colorimeter.Light({luminance, 0.3127, 0.3290});
                    double seen = 0;
                    ASSERT_EQ(path.measure(&colorimeter.device, metric, &seen), 0);
                    ASSERT_NEAR(seen / luminance, 1.0, path.range.tolerance);
                }
            }
}

double AnyLight(const Range& range, std::mt19937& random)
{
    return std::exp(std::uniform_real_distribution(std::log(range.lowest), std::log(range.highest))(random));
}

/// A measurement of a random path at a random light; does nothing where the path is not of this type.
void TryOnce(const ColourPath& path, int type, std::mt19937& random, OpenColorimeter& colorimeter)
{
    if (std::ranges::find(path.types, type) == path.types.end() || path.version != nullptr)
        return;
    SCOPED_TRACE(path.name);
    Screen screen = colours[random() % std::size(colours)];
    screen.Y = AnyLight(path.range, random);
    colorimeter.Light(screen);
    ZelYxyz seen{};
    ASSERT_EQ(path.measure(&colorimeter.device, metric, &seen), 0);
    ExpectScreen(seen, screen, path.range.tolerance);
}

void TryOnce(const LuminancePath& path, int type, std::mt19937& random, OpenColorimeter& colorimeter)
{
    if (std::ranges::find(path.types, type) == path.types.end())
        return;
    SCOPED_TRACE(path.name);
    const double luminance = AnyLight(path.range, random);
    colorimeter.Light({luminance, 0.3127, 0.3290});
    double seen = 0;
    ASSERT_EQ(path.measure(&colorimeter.device, metric, &seen), 0);
    ASSERT_NEAR(seen / luminance, 1.0, path.range.tolerance);
}

TEST(ColorimeterPaths, NoMeasurementLeavesAnythingToTheNext)
{
    std::mt19937 random(11);
    for (const int type : {2, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 19, 20, 21, 22})
        for (const bool usb : {false, true}) {
            OpenColorimeter colorimeter(type, usb, nullptr);
            if (type == 21) { // its pulses are few
                ASSERT_EQ(zelSetIntegrationTime_M(&colorimeter.device, 10.0), 0);
            }
            for (int step = 0; step < 400; ++step) {
                SCOPED_TRACE(testing::Message()
                             << "type " << type << (usb ? ", usb" : ", serial") << ", step " << step);
                const std::size_t place = random() % (std::size(colourPaths) + std::size(luminancePaths));
                if (place < std::size(colourPaths))
                    ASSERT_NO_FATAL_FAILURE(TryOnce(colourPaths[place], type, random, colorimeter));
                else
                    ASSERT_NO_FATAL_FAILURE(
                        TryOnce(luminancePaths[place - std::size(colourPaths)], type, random, colorimeter));
            }
        }
}

TEST(ColorimeterPaths, AmbientLightComesBack)
{
    for (const bool usb : {false, true}) {
        OpenColorimeter colorimeter(20, usb, nullptr);
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
                OpenColorimeter colorimeter(type, usb, nullptr);
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
        OpenColorimeter colorimeter(type, true, nullptr);
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
            OpenColorimeter colorimeter(type, false, nullptr);
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
