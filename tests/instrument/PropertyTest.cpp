#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "tests/support/Thrown.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <random>

using namespace Vondrel::DeviceDriver::Generic::Configuration;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Bytes = std::vector<std::uint8_t>;
using Longs = std::vector<std::int32_t>;
using Floats = std::vector<float>;

namespace {

std::vector<std::uint16_t> AllIdsWhere(bool (*predicate)(std::uint16_t))
{
    std::vector<std::uint16_t> ids;
    for (std::uint32_t id = 0; id <= 0xFFFF; ++id)
        if (predicate(static_cast<std::uint16_t>(id)))
            ids.push_back(static_cast<std::uint16_t>(id));
    return ids;
}

}

TEST(Property, KeepsOneKindOfValueAndItsTag)
{
    const struct {
        Property property;
        Property::MemberType type;
        Longs longs;
        Floats floats;
    } cases[] = {
        {{}, Property::NoValue, {}, {}},
        {std::int32_t{7}, Property::LongScalar, {7}, {}},
        {std::int16_t{-2}, Property::LongScalar, {-2}, {}},
        {std::int8_t{-3}, Property::LongScalar, {-3}, {}},
        {Longs{1, 2}, Property::LongVector, {1, 2}, {}},
        {1.5F, Property::FloatScalar, {}, {1.5F}},
        {Property(9).Assign(Floats{1, 2, 3}), Property::FloatVector, {}, {1, 2, 3}},
        {Property(Floats{1, 2}).Assign(9), Property::LongScalar, {9}, {}},
        {Property(1.0F).Assign(Longs{4}), Property::LongVector, {4}, {}},
        {Property(Longs{1, 2}).Assign(2.5F), Property::FloatScalar, {}, {2.5F}},
        {Property(1.0F).Assign(std::int16_t{-4}), Property::LongScalar, {-4}, {}},
        {Property(1.0F).Assign(std::int8_t{-5}), Property::LongScalar, {-5}, {}},
        // bytes are decoded by the type that is there, as many as make whole numbers
        {Property(Floats{}).Assign(Bytes{0x3F, 0x80, 0, 0, 1, 2, 3}), Property::FloatVector, {}, {1.0F}},
        {Property(0).Assign(Bytes{0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 1, 0}), Property::LongScalar, {-2, 256}, {}},
        {Property(Longs{1, 2}).Assign(Bytes{}), Property::LongVector, {}, {}},
        {Property(0.0F).Assign(Bytes{0xBF, 0x80, 0, 0}), Property::FloatScalar, {}, {-1.0F}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(c.property.GetMemberType(), c.type);
        EXPECT_EQ(c.property.AsLongVector(), c.longs);
        EXPECT_EQ(c.property.AsFloatVector(), c.floats);
        EXPECT_EQ(c.property.GetSize(), 4 * (c.longs.size() + c.floats.size()));
        if (c.type != Property::NoValue) {
            EXPECT_EQ(Property(c.property).Assign(c.property.AsByteVector()).AsLongVector(), c.longs);
        }
    }
    const std::string noType = "DataException: Invalid configuration data type.";
    Property none;
    EXPECT_EQ(Thrown([&] { none.Assign(Bytes(4)); }), noType);
    EXPECT_EQ(Thrown([&] { none.AsByteVector(); }), noType);
    for (const Property& property : {none, Property(1.0F)}) // no conversion between the kinds
        EXPECT_EQ(Thrown([&] { property.AsLong(); }), "DataException: Configuration data holds no integer");
    for (const Property& property : {Property(Floats{}), Property(1)})
        EXPECT_EQ(Thrown([&] { property.AsFloat(); }), "DataException: Configuration data holds no float");
}

TEST(EndianConversion, MovesEveryBitOfEveryNumber)
{
    std::mt19937 random(1);
    for (int i = 0; i < 10000; ++i) {
        const auto bits = static_cast<std::uint32_t>(random());
        Bytes bytes(4), asFloat(4);
        EndianConversion::LongToByteArray(bits, bytes.data());
        EXPECT_EQ(bytes[0], bits >> 24);
        EXPECT_EQ(static_cast<std::uint32_t>(EndianConversion::ByteArrayToLong(bytes.data())), bits);
        EXPECT_EQ(static_cast<std::uint16_t>(EndianConversion::ByteArrayToShort(bytes.data())), bits >> 16);
        EndianConversion::FloatToByteArray(std::bit_cast<float>(bits | 1U), asFloat.data());
        EXPECT_EQ(EndianConversion::ByteArrayToLong(asFloat.data()), static_cast<std::int32_t>(bits | 1U));
        EXPECT_EQ(std::bit_cast<std::uint32_t>(EndianConversion::ByteArrayToFloat(asFloat.data())), bits | 1U);
    }
}

TEST(Properties, KeepTheOrderOfInsertionAndReplaceInPlace)
{
    Properties set("PhysicalConditions");
    set.SetProperty(2010, Longs{1, 2});
    set.SetProperty(2000, 5);
    set.SetProperty(2009, Floats{1, 2, 3});
    set.SetProperty(2010, 1.0F);
    set.SetProperty(2000, set.GetProperty(2000));

    EXPECT_THAT(set.GetPropertyKeys(), ElementsAre(2010, 2000, 2009));
    EXPECT_EQ(set.GetProperty(2010).GetMemberType(), Property::FloatScalar);
    EXPECT_THAT(set.GetProperty(2010).AsLongVector(), IsEmpty());
    EXPECT_EQ(set.GetItemCount(), 3);
    EXPECT_FALSE(set.Contains(2001));
    EXPECT_EQ(Thrown([&] { set.GetProperty(2001); }), "ResourceException: id 2001 doesn't exist");
    EXPECT_EQ(set.GetExceptionText(2001), "Requested data is not available (ID 2001)");
}

TEST(Properties, DumpInOrderOrNotAtAll)
{
    Properties set;
    set.SetProperty(0x1234, -2);
    set.SetProperty(0x0102, Floats{1.0F, 0, 0});
    EXPECT_EQ(set.GetDumpSize(false), 20U);
    EXPECT_EQ(set.GetDumpSize(true), 16U);

    Bytes target(22, 0xEE);
    EXPECT_EQ(Thrown([&] { set.DumpWithId(target.begin(), target.begin() + 19, false); }),
              "ResourceException: Configuration data dump target too small");
    EXPECT_EQ(target, Bytes(22, 0xEE));
    set.DumpWithId(target.begin(), target.end(), false);
    EXPECT_EQ(target, (Bytes{0x12, 0x34, 0xFF, 0xFF, 0xFF, 0xFE, 0x01, 0x02, 0x3F, 0x80, 0,
                             0,    0,    0,    0,    0,    0,    0,    0,    0,    0xEE, 0xEE}))
        << "what lies behind stays";
    set.DumpWithId(target.begin(), target.begin() + 16, true);
    EXPECT_EQ(Bytes(target.begin(), target.begin() + 6), (Bytes{0xFF, 0xFF, 0xFF, 0xFE, 0x3F, 0x80}));
    set.SetProperty(1, Property());
    EXPECT_NE(Thrown([&] { set.DumpWithId(target.begin(), target.end(), false); }), "nothing");
    EXPECT_EQ(target[0], 0xFF) << "all or nothing";
}

TEST(ConfigurationDataConverter, PutsEveryIdIntoItsCategory)
{
    using namespace ConfigurationDataConverter;
    EXPECT_THAT(AllIdsWhere(IsMiscParameter), ElementsAre(2004, 2006, 2012, 2013, 2016, 2017, 2020));
    EXPECT_THAT(AllIdsWhere(IsMeasureParameter), ElementsAre(2000, 2001, 2002, 2003, 2008, 2009, 2010, 2021));
    EXPECT_THAT(AllIdsWhere(IsModeDependent),
                ElementsAre(2000, 2001, 2002, 2003, 2008, 2009, 2010, 2011, 2014, 2015, 2021, 7014));
    EXPECT_THAT(AllIdsWhere(IsSpecialParameter), ElementsAre(3009, 3010));
    EXPECT_THAT(AllIdsWhere(IsResetParameter), ElementsAre(2007));
    EXPECT_THAT(AllIdsWhere(IsCPLDParameter), ElementsAre(20000));
    EXPECT_THAT(AllIdsWhere(IsFirmwareDownloadParameter), ElementsAre(20003));
    EXPECT_THAT(AllIdsWhere(IsCalibrationParameter), SizeIs(28));
    EXPECT_THAT(AllIdsWhere(IsLogParameter), SizeIs(12));
}

TEST(ConfigurationDataConverter, GivesTheEmptyValueOfAnId)
{
    using ConfigurationDataConverter::GetDataType;
    for (const int id : {2018, 2019, 20003, 9189, 0, 65535})
        EXPECT_EQ(Thrown([&] { GetDataType(static_cast<std::uint16_t>(id)); }),
                  "DataException: invalid property id " + std::to_string(id));
    for (const int id : {2005, 2007, 2011, 2014, 2015, 2021})
        EXPECT_EQ(GetDataType(static_cast<std::uint16_t>(id)).AsByteVector(), Bytes(4));
    EXPECT_EQ(GetDataType(MatrixCounts).AsLongVector(), Longs(2));
    EXPECT_EQ(GetDataType(SpectralCorrection).AsFloatVector(), Floats(2));
    EXPECT_EQ(GetDataType(LastCalibrationWhite).AsLongVector(), Longs(128));
    EXPECT_EQ(GetDataType(GainRatio).GetMemberType(), Property::FloatScalar);
}

TEST(ConfigurationDataConverter, KnowsWhichIdsHoldFloatsAndVectors)
{
    const auto isOf = [](Property::MemberType type) {
        std::vector<std::uint16_t> ids;
        for (const PropertyRow& row : propertyTable)
            if ((row.flags & PropertyRow::Untyped) == 0
                && ConfigurationDataConverter::GetDataType(row.id).GetMemberType() == type)
                ids.push_back(row.id);
        return ids;
    };
    using testing::UnorderedElementsAre;
    EXPECT_THAT(isOf(Property::FloatScalar),
                UnorderedElementsAre(1213, 1221, 1222, 2001, 2009, 2016, 2017, 3014, 10001, 10004, 10013));
    EXPECT_THAT(isOf(Property::FloatVector), UnorderedElementsAre(1000, 1001, 1004, 1100, 1101, 1102, 7014));
    EXPECT_THAT(isOf(Property::LongVector), UnorderedElementsAre(1002, 1003, 3009, 10010, 10011));
}

TEST(ConfigurationDataConverter, BuildsTheDefaultContainersInTheOrderOfTheirSections)
{
    using namespace ConfigurationDataConverter;
    const Properties& calibration = GetDefaultCalibrationData();
    EXPECT_EQ(calibration.GetName(), "CalibrationData");
    EXPECT_THAT(calibration.GetPropertyKeys(),
                ElementsAre(1000, 1001, 1002, 1003, 1004, 3001, 1100, 1101, 3002, 1102, 1221, 1222, 1204, 1205, 1207,
                            1208, 1213, 1211, 4000, 1212, 3007, 3014, 3008, 3009, 3010, 3011, 3012, 3013));
    EXPECT_EQ(calibration.GetProperty(EmissionCalibration).AsFloatVector(), Floats(2, -1.0F));

    const Properties& log = GetDefaultLogData();
    EXPECT_EQ(log.GetName(), "LogData");
    EXPECT_THAT(log.GetPropertyKeys(),
                ElementsAre(10000, 10001, 10002, 10003, 10004, 10005, 10010, 10011, 10012, 10013, 10020, 10021));
    EXPECT_EQ(log.GetProperty(LastCalibrationDark).AsLongVector(), Longs(128, 0));

    const Properties conditions = BuildDefaultContainer("PhysicalConditions", PropertyRow::Store::Conditions);
    EXPECT_THAT(conditions.GetPropertyKeys(),
                ElementsAre(2000, 2001, 2002, 2003, 2008, 2009, 2010, 2004, 2005, 2006, 2012, 2013, 2020, 2011, 2014,
                            2015, 2016, 2017, 9189));
    EXPECT_EQ(conditions.GetProperty(IntegrationTime).AsFloat(), -1.0F);
    EXPECT_EQ(conditions.GetProperty(ScanCountOverride).AsLong(), -1);
}
