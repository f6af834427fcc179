#include "Vondrel/DeviceDriver/GENERIC/Calculation/SensorData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/DarkData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/Truncate.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteData.h"
#include "tests/support/Thrown.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

using namespace Vondrel::DeviceDriver::Generic::Calculation;
using testing::ElementsAre;
using testing::FloatEq;

using Raw = std::vector<SensorData::RawVector>;
using Floats = std::vector<float>;
using Longs = std::vector<std::int32_t>;

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

template<typename Record = SensorData>
Record Measurement(const Floats& values, float time = 0.1F, std::int32_t gain = 1)
{
    Record record;
    record.SetSize(1);
    record.StoreData(values);
    record.SetIntegrationTime(time);
    record.SetGain(gain);
    return record;
}

SensorData Readings(const Raw& raw)
{
    SensorData data;
    data.StoreRawData(raw);
    return data;
}

}

TEST(BasicData, SelectsUpToTheLastMeasurement)
{
    BasicData data;
    EXPECT_EQ(Thrown([&] { data.LoadData(); }), "DataException: Data not valid");
    EXPECT_EQ(Thrown([&] { data.StoreData({1}); }), "DataException: Data not valid");
    data.SetSize(3);
    for (int i = 0; i < 5; ++i, data++)
        data.StoreData({static_cast<float>(i)});
    EXPECT_THAT(data.LoadData(), ElementsAre(4));
    data.SetSize(3);
    EXPECT_THAT(data.LoadData(), ElementsAre(0)) << "a new size selects the first";
    data++;
    data.Begin();
    EXPECT_THAT(data.LoadData(), ElementsAre(0));
}

TEST(BasicData, RefusesToCombineWhatDiffers)
{
    const std::string time = "CalculationException: Unable to calculate (different integration time)";
    const struct {
        BasicData right;
        std::string thrown;
    } cases[] = {
        {Measurement({1, 1}, 0.1009F), "nothing"},
        {Measurement({1, 1}, 0.0991F), "nothing"},
        {Measurement({1, 1}, 0.1011F), time},
        {Measurement({1, 1}, 0.0989F), time},
        {Measurement({1, 1}, notANumber), time},
        {Measurement({1, 1}, 9, 0), "CalculationException: Unable to calculate (different gain)"},
        {Measurement({1}, 9, 0), "CalculationException: Unable to calculate (different vector size)"},
        {BasicData(), "DataException: Data not valid"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.thrown);
        BasicData left = Measurement({5, 7}, 0.1F);
        EXPECT_EQ(Thrown([&] { left -= c.right; }), c.thrown);
        EXPECT_EQ(left.LoadData(), c.thrown == "nothing" ? Floats({4, 6}) : Floats({5, 7}));
        EXPECT_EQ(Thrown([&] { left *= c.right; }), c.thrown);
        EXPECT_EQ(Thrown([&] { left /= c.right; }), c.thrown);
    }
}

TEST(BasicData, CombinesTheTwoSelectedMeasurements)
{
    BasicData left = Measurement({5, 7}), right = Measurement({9, 9});
    right.SetSize(2);
    right++;
    right.StoreData({2, 4});
    left *= right;
    EXPECT_THAT(left.LoadData(), ElementsAre(10, 28));
    left /= right;
    EXPECT_THAT(left.LoadData(), ElementsAre(5, 7));
    EXPECT_THAT(right.LoadData(), ElementsAre(2, 4)) << "the cursor stays";
    right.StoreData({2, 0});
    EXPECT_EQ(Thrown([&] { left /= right; }), "CalculationException: Unable to divide (division by zero)");
    EXPECT_THAT(left.LoadData(), ElementsAre(2.5F, 7));
}

TEST(SensorData, MeanTruncatesTowardZero)
{
    const std::pair<Raw, Longs> cases[] = {
        {{{1, 2}, {2, 4}}, {1, 3}}, {{{-1}, {-2}}, {-1}},           {{{-7, 9}}, {-7, 9}},
        {{{-5}, {0}, {0}}, {-1}},   {{{most}, {1}}, {-1073741824}}, // the sum has 32 bits
    };
    for (const auto& [raw, mean] : cases) {
        SensorData data = Readings(raw);
        data.CreateMeanValue();
        EXPECT_EQ(data.LoadRawData(), Raw{mean});
        EXPECT_FALSE(data.DataIsValid()) << "the measurements are not touched";
    }
}

TEST(SensorData, LinearizesByAPolynomialInAscendingOrder)
{
    EXPECT_EQ(SensorData::LinearizeCore(41, {5}), 41.0F) << "one coefficient means identity";
    EXPECT_EQ(SensorData::LinearizeCore(3, {1, 2}), 7.0F);
    EXPECT_EQ(SensorData::LinearizeCore(-2, {1, 0, 0, 1}), -7.0F);
    EXPECT_EQ(SensorData::LinearizeCore(4097, {-16777216, 0, 1}), 8193.0F) << "rounded to float at the end only";
    EXPECT_EQ(Thrown([] { SensorData::LinearizeCore(3, {}); }), "CalculationException: Unable to linearize");
    SensorData data = Readings({{1, 2}, {3, 4}});
    data.Linearize({1, 2});
    ASSERT_EQ(data.GetSize(), 2U);
    data++;
    EXPECT_THAT(data.LoadData(), ElementsAre(7, 9));
    EXPECT_EQ(data.LoadRawData(), (Raw{{1, 2}, {3, 4}}));
}

TEST(SensorData, MapsPixelsToBandsOrRefusesAMatrixThatReachesOutside)
{
    SensorData two = Measurement({0, 0, 1, 3, 0, 4});
    two.SetSize(2);
    two++;
    two.StoreData({9, 9, 2, 2, 9, 1});
    two.DoMatrixMultiplication({2, 5}, {2, 1}, {0.5F, 0.5F, 2.0F});
    EXPECT_THAT(two.LoadData(), ElementsAre(2, 2)) << "the same weights for every measurement";
    two.Begin();
    EXPECT_THAT(two.LoadData(), ElementsAre(2, 8));
    SensorData large = Measurement({16777216, 1, -16777216});
    large.DoMatrixMultiplication({0}, {3}, {1, 1, 1});
    EXPECT_THAT(large.LoadData(), ElementsAre(1)) << "summed in double";

    const struct {
        Longs first, lengths;
        Floats matrix;
        bool fits;
    } cases[] = {
        {{0, 2}, {2, 1}, {1, 1, 1}, true}, // to the last pixel and weight
        {{3}, {0}, {}, true},              // an empty band behind the last pixel
        {{0, 2}, {2, 1}, {1, 1}, false},   // a weight too few
        {{2}, {2}, {1, 1}, false},         // a pixel too far
        {{-1}, {1}, {1}, false},
        {{1}, {-1}, {1}, false},
        {{0, 0}, {3, -3}, {1, 1}, false}, // a negative length that would make up for another
        {{most}, {most}, {1}, false},
    };
    for (const auto& c : cases) {
        SensorData data = Measurement({1, 2, 3});
        EXPECT_EQ(Thrown([&] { data.DoMatrixMultiplication(c.first, c.lengths, c.matrix); }),
                  c.fits ? "nothing" : "DataException: Invalid raw data for matrix multiplication");
        EXPECT_EQ(data.LoadData().size(), c.fits ? c.first.size() : 3);
    }
    SensorData none;
    EXPECT_EQ(Thrown([&] { none.DoMatrixMultiplication({0}, {0}, {}); }),
              "DataException: Invalid raw data for matrix multiplication");
    EXPECT_EQ(Thrown([&] {
                  none.DoMatrixMultiplication({0, 1}, {0}, {});
              }),
              "CalculationException: Different vector length in matrix multiplication");
}

TEST(SensorData, CountsSaturationOverAllPixelsAndLeavesPixelZeroOutOfTheRest)
{
    Raw raw(2, Longs(128, 100));
    raw[0][0] = raw[0][127] = 101; // the ends count too
    std::fill_n(raw[1].begin() + 10, 18, 101);
    EXPECT_FALSE(Readings(raw).SensorIsSaturated(100, 10)) << "20 of 20 allowed";
    raw[1][127] = 101;
    EXPECT_TRUE(Readings(raw).SensorIsSaturated(100, 10));
    EXPECT_FALSE(SensorData().SensorIsSaturated(0, 0));

    EXPECT_EQ(Readings({{9999, 4, 5}, {9999, 6, 2}}).HighestRawValue(), 6);
    EXPECT_EQ(Readings({{0, -200000}}).HighestRawValue(), -100000);
    EXPECT_EQ(Readings({{9999, 1, 2}, {9999, 1, 2}}).MeanRawValue(), 2) << "1.5 and a half";
    EXPECT_EQ(Readings({{9999, -2, -2, -3}}).MeanRawValue(), -1) << "-2.33 and a half, truncated toward zero";
    for (const auto& [value, truncated] : {std::pair{2147483647.5, most}, {-2147483648.5, -most - 1}, {-0.9, 0}})
        EXPECT_EQ(Truncate(value), truncated);
    for (const double value : {2147483648.0, -2147483649.0, double{notANumber}})
        EXPECT_NE(Thrown([&] { Truncate(value); }), "nothing") << value;
    EXPECT_NE(Thrown([] { Readings({{7}}).MeanRawValue(); }), "nothing");
    EXPECT_NE(Thrown([] { Readings({{}}).CopyRawToSpectrum(); }), "nothing");
    EXPECT_NE(Thrown([] { Readings({{1, 2}, {1}}); }), "nothing");
}

TEST(SensorData, WithoutReadingsFailsByName)
{
    SensorData data;
    EXPECT_EQ(Thrown([&] { data.LoadRawData(); }), "DataException: Unable to load raw data");
    void (*const operations[])(SensorData&) = {
        [](SensorData& d) { d.CreateMeanValue(); },   [](SensorData& d) { d.Linearize({1, 2}); },
        [](SensorData& d) { d.HighestRawValue(); },   [](SensorData& d) { d.MeanRawValue(); },
        [](SensorData& d) { d.CopyRawToSpectrum(); }, [](SensorData& d) { d.ThrowIfDataNotValid(); },
    };
    for (const auto operation : operations)
        EXPECT_EQ(Thrown([&] { operation(data); }), "DataException: Raw data is not valid");
    data.StoreRawData({{7, 1, 2}, {8, 3, 4}});
    data.SetSize(2);
    data++;
    data.CopyRawToSpectrum();
    EXPECT_THAT(data.LoadData(), ElementsAre(3, 3, 4)) << "the cursor stays";
}

TEST(InternalDarkData, MayBeBrighterTheLongerItIntegrated)
{
    const struct {
        float time;
        std::int32_t gain, level;
        bool valid;
    } cases[] = {
        {0, 1, 499, true},       {0, 1, 500, false},
        {0.125F, 1, 611, true},  {0.125F, 1, 612, false},  // 900 counts a second: 112.5, truncated
        {0.125F, 0, 6119, true}, {0.125F, 0, 6120, false}, // ten times the whole sum
    };
    for (const auto& c : cases) {
        auto dark = Measurement<InternalDarkData>({1}, c.time, c.gain);
        EXPECT_FALSE(dark.DataIsValid(500)) << "no level yet";
        dark.SetHighestSensorValue(c.level);
        EXPECT_EQ(dark.DataIsValid(500), c.valid) << c.level;
        dark.Invalidate();
        EXPECT_FALSE(dark.DataIsValid(500));
    }
    EXPECT_NE(Thrown([] { Measurement<InternalDarkData>({1}, notANumber).DataIsValid(500); }), "nothing");
}

TEST(DarkData, LiesOnTheLineThroughTheBaseDarksOfItsGain)
{
    DarkData dark;
    dark.SetHighestSensorValue(77);
    EXPECT_EQ(Thrown([&] { dark.Interpolate(1, 0.5F); }), "CalculationException: Division by zero");
    dark.SetBaseDark(Measurement<InternalDarkData>({10, 100}, 0.25F), false, false);
    dark.SetBaseDark(Measurement<InternalDarkData>({20, 60}, 0.75F), false, true);
    dark.SetBaseDark(Measurement<InternalDarkData>({0, 0}, 0.25F, 0), true, false);
    dark.SetBaseDark(Measurement<InternalDarkData>({1}, 0.75F, 0), true, true);
    const std::pair<float, Floats> cases[] = {
        {0.25F, {10, 100}}, {0.5F, {15, 80}}, {1.25F, {30, 20}}, {0.0F, {5, 120}}};
    for (const auto& [time, values] : cases) {
        dark.Interpolate(1, time);
        EXPECT_EQ(dark.LoadData(), values);
        EXPECT_EQ(dark.GetIntegrationTime(), time);
        EXPECT_EQ(dark.GetGain(), 1);
    }
    EXPECT_EQ(Thrown([&] { dark.Interpolate(0, 0.5F); }),
              "CalculationException: Unable to calculate (different vector size)");
    dark = Measurement({1, 2}, 9.0F); // a record of another kind leaves level and base darks
    EXPECT_EQ(dark.GetHighestSensorValue(), 77);
    dark.Interpolate(1, 0.5F);
    EXPECT_THAT(dark.LoadData(), ElementsAre(15, 80));
}

TEST(WhiteData, BecomesTheFactorsOfEveryMeasurement)
{
    auto white = Measurement<WhiteData>({2, 4});
    white.SetSize(2);
    white++;
    white.StoreData({8, 5});
    white.CalculateCorrection({1, 1});
    EXPECT_THAT(white.LoadData(), ElementsAre(0.125F, FloatEq(0.2F)));
    white.Begin();
    EXPECT_THAT(white.LoadData(), ElementsAre(0.5F, 0.25F));
    EXPECT_EQ(Thrown([] { WhiteData().CalculateCorrection({1}); }), "DataException: Invalid white data");
    EXPECT_EQ(Thrown([&] { white.CalculateCorrection({1}); }),
              "CalculationException: Unable to calculate white correction");
    white.StoreData({1, 0});
    EXPECT_EQ(Thrown([&] {
                  white.CalculateCorrection({1, 1});
              }),
              "CalculationException: Unable to calculate white correction (division by zero)");
}
