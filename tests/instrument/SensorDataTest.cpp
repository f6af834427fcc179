#include "Vondrel/DeviceDriver/GENERIC/Calculation/SensorData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/DarkData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/SpectrumData.h"
#include "Vondrel/DeviceDriver/GENERIC/Calculation/WhiteData.h"
#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

using namespace Vondrel::DeviceDriver::Generic::Calculation;
using testing::ElementsAre;
using testing::FloatEq;
using testing::ThrowsMessage;

using Raw = std::vector<SensorData::RawVector>;
using Floats = std::vector<float>;
using Longs = std::vector<std::int32_t>;

namespace {

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

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

}

TEST(BasicData, SelectsUpToTheLastMeasurement)
{
    BasicData data;
    EXPECT_THAT([&] { data.LoadData(); }, ThrowsMessage<DataException>("Data not valid"));
    EXPECT_THAT([&] { data.StoreData({1}); }, ThrowsMessage<DataException>("Data not valid"));

    data.SetSize(3);
    for (int i = 0; i < 5; ++i) {
        data.StoreData({static_cast<float>(i)});
        data++;
    }
    EXPECT_THAT(data.LoadData(), ElementsAre(4));
    data.Begin();
    EXPECT_THAT(data.LoadData(), ElementsAre(0));

    data++;
    data.Invalidate();
    data.SetSize(0);
    EXPECT_FALSE(data.DataIsValid());
    data++;
    EXPECT_FALSE(data.DataIsValid());
}

TEST(BasicData, RefusesToCombineWhatDiffers)
{
    struct Case {
        const char* what;
        BasicData right;
        const char* text;
    };
    const Case cases[] = {
        {"0.9 ms longer", Measurement({1, 1}, 0.1009F), nullptr},
        {"0.9 ms shorter", Measurement({1, 1}, 0.0991F), nullptr},
        {"1.1 ms longer", Measurement({1, 1}, 0.1011F), "Unable to calculate (different integration time)"},
        {"1.1 ms shorter", Measurement({1, 1}, 0.0989F), "Unable to calculate (different integration time)"},
        {"a time that is no number", Measurement({1, 1}, notANumber),
         "Unable to calculate (different integration time)"},
        {"gain before time", Measurement({1, 1}, 9, 0), "Unable to calculate (different gain)"},
        {"size before gain", Measurement({1}, 9, 0), "Unable to calculate (different vector size)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        BasicData left = Measurement({5, 7}, 0.1F);
        if (c.text == nullptr) {
            left -= c.right;
            EXPECT_THAT(left.LoadData(), ElementsAre(4, 6));
        } else {
            EXPECT_THAT([&] { left -= c.right; }, ThrowsMessage<CalculationException>(c.text));
            EXPECT_THAT([&] { left *= c.right; }, ThrowsMessage<CalculationException>(c.text));
            EXPECT_THAT([&] { left /= c.right; }, ThrowsMessage<CalculationException>(c.text));
            EXPECT_THAT(left.LoadData(), ElementsAre(5, 7));
        }
    }
    BasicData left = Measurement({5, 7});
    EXPECT_THAT([&] { left -= BasicData(); }, ThrowsMessage<DataException>("Data not valid"));
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
    EXPECT_THAT([&] { left /= right; }, ThrowsMessage<CalculationException>("Unable to divide (division by zero)"));
    EXPECT_THAT(left.LoadData(), ElementsAre(2.5F, 7));
}

TEST(SensorData, MeanTruncatesTowardZero)
{
    struct Case {
        const char* what;
        Raw raw;
        Longs mean;
    };
    const Case cases[] = {
        {"down for positive counts", {{1, 2}, {2, 4}}, {1, 3}},
        {"up for negative counts", {{-1}, {-2}}, {-1}},
        {"one reading stays", {{-7, 9}}, {-7, 9}},
        {"a negative sum over three", {{-5}, {0}, {0}}, {-1}},
        {"the sum has 32 bits", {{std::numeric_limits<std::int32_t>::max()}, {1}}, {-1073741824}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SensorData data = Readings(c.raw);
        data.CreateMeanValue();
        EXPECT_EQ(data.LoadRawData(), Raw{c.mean});
        EXPECT_FALSE(data.DataIsValid()) << "the measurements are not touched";
    }
}

TEST(SensorData, LinearizesByAPolynomialInAscendingOrder)
{
    EXPECT_EQ(SensorData::LinearizeCore(41, {5}), 41.0F) << "one coefficient means identity";
    EXPECT_EQ(SensorData::LinearizeCore(3, {1, 2}), 7.0F);
    EXPECT_EQ(SensorData::LinearizeCore(-2, {1, 0, 0, 1}), -7.0F);
    EXPECT_EQ(SensorData::LinearizeCore(16777217, {0, 1}), 16777216.0F) << "rounded to float at the end only";
    EXPECT_THAT([] { SensorData::LinearizeCore(3, {}); }, ThrowsMessage<CalculationException>("Unable to linearize"));

    SensorData data = Readings({{1, 2}, {3, 4}});
    data.Linearize({1, 2});
    ASSERT_EQ(data.GetSize(), 2U);
    data++;
    EXPECT_THAT(data.LoadData(), ElementsAre(7, 9));
    EXPECT_EQ(data.LoadRawData(), (Raw{{1, 2}, {3, 4}}));
}

TEST(SensorData, MapsPixelsToBandsWithTheSameWeightsForEveryMeasurement)
{
    SensorData data = Measurement({0, 0, 1, 3, 0, 4});
    data.SetSize(2);
    data++;
    data.StoreData({9, 9, 2, 2, 9, 1});
    data.DoMatrixMultiplication({2, 5}, {2, 1}, {0.5F, 0.5F, 2.0F});
    EXPECT_THAT(data.LoadData(), ElementsAre(2, 2));
    data.Begin();
    EXPECT_THAT(data.LoadData(), ElementsAre(2, 8));
}

TEST(SensorData, RefusesAMatrixThatReachesOutside)
{
    struct Case {
        const char* what;
        Longs first, lengths;
        Floats matrix;
        bool fits;
    };
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const Case cases[] = {
        {"to the last pixel and weight", {0, 2}, {2, 1}, {1, 1, 1}, true},
        {"an empty band behind the last pixel", {3}, {0}, {}, true},
        {"a weight too few", {0, 2}, {2, 1}, {1, 1}, false},
        {"a pixel too far", {2}, {2}, {1, 1}, false},
        {"in front of the first pixel", {-1}, {1}, {1}, false},
        {"a negative length", {1}, {-1}, {1}, false},
        {"a negative length that would make up for another", {0, 0}, {3, -3}, {1, 1}, false},
        {"far outside", {most}, {most}, {1}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        SensorData data = Measurement({1, 2, 3});
        if (c.fits) {
            data.DoMatrixMultiplication(c.first, c.lengths, c.matrix);
            EXPECT_EQ(data.LoadData().size(), c.first.size());
        } else {
            EXPECT_THAT([&] { data.DoMatrixMultiplication(c.first, c.lengths, c.matrix); },
                        ThrowsMessage<DataException>("Invalid raw data for matrix multiplication"));
            EXPECT_THAT(data.LoadData(), ElementsAre(1, 2, 3));
        }
    }
    SensorData data;
    EXPECT_THAT([&] { data.DoMatrixMultiplication({0}, {0}, {}); },
                ThrowsMessage<DataException>("Invalid raw data for matrix multiplication"));
    EXPECT_THAT(
        [&] {
            data.DoMatrixMultiplication({0, 1}, {0}, {});
        },
        ThrowsMessage<CalculationException>("Different vector length in matrix multiplication"));
}

TEST(SensorData, CountsSaturationOverAllReadingsAndPixels)
{
    Raw raw(2, Longs(128, 100));
    raw[0][0] = raw[0][127] = 101; // the ends count too
    for (std::size_t pixel = 10; pixel < 28; ++pixel)
        raw[1][pixel] = 101;
    EXPECT_FALSE(Readings(raw).SensorIsSaturated(100, 10)) << "20 of 20 allowed";
    raw[1][127] = 101;
    EXPECT_TRUE(Readings(raw).SensorIsSaturated(100, 10));
    EXPECT_FALSE(SensorData().SensorIsSaturated(0, 0));
}

TEST(SensorData, LeavesPixelZeroOutOfTheStatistics)
{
    EXPECT_EQ(Readings({{9999, 4, 5}, {9999, 6, 2}}).HighestRawValue(), 6);
    EXPECT_EQ(Readings({{0, -200000}}).HighestRawValue(), -100000);
    EXPECT_EQ(Readings({{9999, 1, 2}, {9999, 1, 2}}).MeanRawValue(), 2) << "1.5 and a half";
    EXPECT_EQ(Readings({{9999, -2, -3}}).MeanRawValue(), -2) << "-2.5 and a half";
    EXPECT_THROW(Readings({{7}}).MeanRawValue(), DataException);
    EXPECT_THROW(Readings({{}}).CopyRawToSpectrum(), DataException);
    EXPECT_THROW(Readings({{1, 2}, {1}}), DataException);
}

TEST(SensorData, WithoutReadingsFailsByName)
{
    SensorData data;
    EXPECT_THAT([&] { data.LoadRawData(); }, ThrowsMessage<DataException>("Unable to load raw data"));
    for (void (*operation)(SensorData&) : {
             +[](SensorData& d) { d.CreateMeanValue(); },
             +[](SensorData& d) {
                 d.Linearize({1, 2});
             },
             +[](SensorData& d) { d.HighestRawValue(); },
             +[](SensorData& d) { d.MeanRawValue(); },
             +[](SensorData& d) { d.CopyRawToSpectrum(); },
             +[](SensorData& d) { d.ThrowIfDataNotValid(); },
         })
        EXPECT_THAT([&] { operation(data); }, ThrowsMessage<DataException>("Raw data is not valid"));
}

TEST(SensorData, CopiesReadingsAsTheyAre)
{
    SensorData data = Measurement({1});
    data.StoreRawData({{7, 1, 2}, {8, 3, 4}});
    data.SetSize(2);
    data++;
    data.CopyRawToSpectrum();
    EXPECT_THAT(data.LoadData(), ElementsAre(3, 3, 4)) << "the cursor stays";
}

TEST(InternalDarkData, MayBeBrighterTheLongerItIntegrated)
{
    struct Case {
        const char* what;
        float time;
        std::int32_t gain, level;
        bool valid;
    };
    const Case cases[] = {
        {"below the limit", 0, 1, 499, true},
        {"at the limit", 0, 1, 500, false},
        {"900 counts a second: 112.5, truncated", 0.125F, 1, 611, true},
        {"and no more", 0.125F, 1, 612, false},
        {"ten times the whole sum at gain 0", 0.125F, 0, 6119, true},
        {"and no more at gain 0", 0.125F, 0, 6120, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto dark = Measurement<InternalDarkData>({1}, c.time, c.gain);
        EXPECT_FALSE(dark.DataIsValid(500)) << "no level yet";
        dark.SetHighestSensorValue(c.level);
        EXPECT_EQ(dark.DataIsValid(500), c.valid);
        dark.Invalidate();
        EXPECT_FALSE(dark.DataIsValid(500));
    }
    EXPECT_THROW(Measurement<InternalDarkData>({1}, notANumber).DataIsValid(500), DataException);
}

TEST(DarkData, LiesOnTheLineThroughTheBaseDarksOfItsGain)
{
    DarkData dark;
    dark.SetHighestSensorValue(77);
    EXPECT_THAT([&] { dark.Interpolate(1, 0.5F); }, ThrowsMessage<CalculationException>("Division by zero"));

    dark.SetBaseDark(Measurement<InternalDarkData>({10, 100}, 0.25F), false, false);
    dark.SetBaseDark(Measurement<InternalDarkData>({20, 60}, 0.75F), false, true);
    dark.SetBaseDark(Measurement<InternalDarkData>({0, 0}, 0.25F, 0), true, false);
    dark.SetBaseDark(Measurement<InternalDarkData>({1}, 0.75F, 0), true, true);
    struct Case {
        float time;
        Floats values;
    };
    for (const Case& c : {Case{0.25F, {10, 100}}, Case{0.5F, {15, 80}}, Case{1.25F, {30, 20}}, Case{0, {5, 120}}}) {
        dark.Interpolate(1, c.time);
        EXPECT_EQ(dark.LoadData(), c.values);
        EXPECT_EQ(dark.GetIntegrationTime(), c.time);
        EXPECT_EQ(dark.GetGain(), 1);
    }
    EXPECT_THAT([&] { dark.Interpolate(0, 0.5F); },
                ThrowsMessage<CalculationException>("Unable to calculate (different vector size)"));
    EXPECT_EQ(dark.GetHighestSensorValue(), 77);

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

    EXPECT_THAT([] { WhiteData().CalculateCorrection({1}); }, ThrowsMessage<DataException>("Invalid white data"));
    EXPECT_THAT([&] { white.CalculateCorrection({1}); },
                ThrowsMessage<CalculationException>("Unable to calculate white correction"));
    white.StoreData({1, 0});
    EXPECT_THAT(
        [&] {
            white.CalculateCorrection({1, 1});
        },
        ThrowsMessage<CalculationException>("Unable to calculate white correction (division by zero)"));
}
