#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleEEPROM.h"
#include "tests/wire/WireBench.h"

#include <algorithm>
#include <limits>
#include <random>

using namespace Vondrel::DeviceDriver::ox;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using Vondrel::Utilities::Tools::SmartPointer;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t table = 0x1000;

void PutWord(Bytes& memory, std::size_t address, std::uint16_t value)
{
    EndianConversion::ShortToByteArray(value, memory.data() + address);
}

void PutLong(Bytes& memory, std::size_t address, std::int32_t value)
{
    EndianConversion::LongToByteArray(value, memory.data() + address);
}

std::int32_t LongAt(const Bytes& memory, std::size_t address)
{
    return EndianConversion::ByteArrayToLong(memory.data() + address);
}

/// Where the table has its entry of an id.
std::size_t EntryOf(const Bytes& memory, std::uint16_t id)
{
    for (std::size_t entry = table + 4; entry < table + 334; entry += 6)
        if (memory[entry] == id >> 8 && memory[entry + 1] == (id & 0xFF))
            return entry;
    throw std::logic_error("no such entry");
}

BrindleEAT TableOf(const Bytes& memory)
{
    return BrindleEAT(std::span(memory).subspan(table));
}

BrindleLog LogOf(const Bytes& memory)
{
    return BrindleLog(memory, TableOf(memory));
}

class Eeprom : public WireBench {
protected:
    static SmartPointer<BrindleFunctionality> Open() { return SmartPointer(new BrindleFunctionality(nullptr, 0)); }

    static void Change(BrindleEEPROM& eeprom, int times)
    {
        for (int change = 0; change < times; ++change)
            eeprom.GetLog().Increment(DarkMeasurementCount, 1);
    }

    const Bytes asBuilt = Memory();
};

TEST_F(Eeprom, ATableOfDefaultsHasThreeSectionsWithTheirMarkers)
{
    BrindleEAT eat;
    eat.InitializeEmtpyEAT();
    Bytes dump(0x200);
    eat.Dump(dump.begin(), dump.end());
    EXPECT_EQ(Hex(std::span(dump).first(10)), "00 01 01 4E 27 10 00 00 00 00"); // version 1, 334 bytes, 10000
    EXPECT_EQ(eat.GetDatastore().GetItemCount(), 55);
    for (const auto& [id, address] : {std::pair{1, 0x428}, {3, 0xC28}, {1000, 0x1200}, {11000, 0x800}, {11021, 0xC24}})
        EXPECT_EQ(eat.AddressOf(static_cast<std::uint16_t>(id)), address);
    EXPECT_EQ(eat.SizeOf(LastCalibrationDark), 512);
    EXPECT_TRUE(eat.IsLogEntry(11021, 0x1000 - 0xC24 - 1));
    EXPECT_FALSE(eat.IsLogEntry(11021, 0x1000 - 0xC24));
    EXPECT_EQ(Thrown([&] { eat.SizeOf(2); }), "ResourceException: id 2 doesn't exist") << "the last entry has no size";
    EXPECT_EQ(Thrown([&] { eat.SizeOf(7); }), "ResourceException: id 7 doesn't exist");
    for (const std::ptrdiff_t size : {0, 3, 333})
        EXPECT_EQ(Thrown([&] { eat.Dump(dump.begin(), dump.begin() + size); }),
                  "ResourceException: Configuration data dump target too small");
}

TEST_F(Eeprom, TakesOnlyTablesOfTheKnownVersionAndSize)
{
    struct Case {
        std::uint16_t version, size;
        bool taken;
    };
    for (const auto& c : {Case{1, 299, false},
                          {1, 300, true},
                          {1, 304, true},
                          {1, 512, true},
                          {1, 513, false},
                          {2, 334, false},
                          {0xFFFF, 0xFFFF, false},
                          {0, 0, false}}) {
        SCOPED_TRACE(testing::Message() << c.version << " " << c.size);
        auto memory = asBuilt;
        PutWord(memory, table, c.version);
        PutWord(memory, table + 2, c.size);
        EXPECT_EQ(Thrown([&] { TableOf(memory); }), c.taken ? "nothing" : "DataException: corrupt EAT detected!!");
    }
    for (const std::size_t size : {0U, 3U, 329U, 333U})
        EXPECT_EQ(Thrown([&] { BrindleEAT(std::span(asBuilt).subspan(table, size)); }),
                  "DataException: corrupt EAT detected!!");
    auto memory = asBuilt;
    PutWord(memory, EntryOf(memory, 3013), 1000); // the last property before the marker, at another address
    const auto eat = TableOf(memory);
    EXPECT_EQ(eat.GetDatastore().GetItemCount(), 54) << "a repeated id keeps its place, with the last address";
    EXPECT_EQ(eat.GetDatastore().GetPropertyKeys()[26], 1000);
    EXPECT_LT(eat.SizeOf(1000), 0);
}

TEST_F(Eeprom, LeavesOutWhatHasNoPlaceInTheImage)
{
    struct Case {
        const char* what;
        std::uint16_t movedId;
        std::int32_t address;
        std::vector<std::uint16_t> lost; ///< calibration properties
    };
    // 3012 is followed by 3013 and the marker 2.
    const Case cases[] = {
        {"at the end of the image", 3012, 0x2000, {3012}},
        {"behind the image", 3012, 0x2001, {3011, 3012}},
        {"far behind", 3012, 0x7FFFFFFF, {3011, 3012}},
        {"negative", 3012, -4, {3011, 3012}},
        {"a size past the end", 2, 0x2001, {3013}},
        {"the smallest number", 2, std::numeric_limits<std::int32_t>::min(), {3013}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        auto memory = asBuilt;
        PutLong(memory, EntryOf(memory, c.movedId) + 2, c.address);
        SetMemory(memory);
        BrindleEEPROM eeprom(Open());
        Properties calibration("CalibrationData");
        eeprom.Load(calibration);
        for (const auto id : ConfigurationDataConverter::GetDefaultCalibrationData().GetPropertyKeys())
            EXPECT_EQ(calibration.Contains(id), std::ranges::count(c.lost, id) == 0) << id;
    }
}

TEST_F(Eeprom, SurvivesAnyTable)
{
    std::mt19937 random(20100);
    for (int round = 0; round < 150; ++round) {
        auto memory = asBuilt;
        for (int change = 0; change < 1 + round % 40; ++change)
            memory[table + 4 + random() % 330] = static_cast<std::uint8_t>(random());
        for (int change = 0; change < round % 3; ++change)
            memory[random() % 0x1000] = static_cast<std::uint8_t>(random());
        SetMemory(memory);
        {
            BrindleEEPROM eeprom(Open());
            for (const char* name : {"CalibrationData", "LogData", "EATData"}) {
                Properties container(name);
                eeprom.Load(container);
            }
            Thrown([&] { eeprom.GetLog().Increment(LampMeasurementCount, 1); });
        }
        EXPECT_TRUE(std::equal(memory.begin() + table, memory.end(), Memory().begin() + table));
        EXPECT_THAT(TakeTrace(), testing::Not(testing::HasSubstr("stalled"))) << "a log stays within its sections";
    }
}

TEST_F(Eeprom, LogComesFromTheFirstGoodCopy)
{
    struct Case {
        const char* what;
        std::int32_t firstSum, secondSum, read;
    };
    for (const auto& c : {Case{"both good", 5, 7, 5}, {"first bad", 6, 7, 7}, {"both bad", 6, 6, 0}}) {
        SCOPED_TRACE(c.what);
        auto memory = asBuilt;
        for (const auto& [copy, count, sum] : {std::tuple{0x000U, 5, c.firstSum}, {0x800U, 7, c.secondSum}}) {
            PutLong(memory, copy, sum);
            PutLong(memory, copy + 8, count); // LampMeasurementCount is the third long
        }
        EXPECT_EQ(LogOf(memory).GetItem(LampMeasurementCount).AsLong(), c.read);
        EXPECT_EQ(LogOf(memory).GetItem(LastCalibrationDark).AsLongVector().size(), 128U);
    }
}

TEST_F(Eeprom, ChecksumAddsTheBitsOfFloatsAndWraps)
{
    auto log = LogOf(asBuilt);
    log.SetItem(LampOnTime, 1.0F);
    log.SetItem(LampMeasurementCount, std::int32_t{0x7FFFFFFF});
    Bytes dump(log.GetDumpSize());
    log.Store(dump.begin(), dump.end());
    EXPECT_EQ(Hex(std::span(dump).first(4)), "BF 7F FF FF"); // 0x3F800000 + 0x7FFFFFFF
    EXPECT_EQ(Thrown([&] { log.Store(dump.begin(), dump.end() - 1); }),
              "ResourceException: Configuration data dump target too small");
    log.Increment(LampMeasurementCount, 1);
    EXPECT_EQ(log.GetItem(LampMeasurementCount).AsLong(), std::numeric_limits<std::int32_t>::min()) << "it wraps";
    log.Increment(LampOnTime, 0.5F);
    EXPECT_EQ(log.GetItem(LampOnTime).AsFloat(), 1.5F);
}

TEST_F(Eeprom, RecommendsADumpAfterTwentyChangesOrAWholeCalibration)
{
    auto log = LogOf(asBuilt);
    Bytes dump(log.GetDumpSize());
    const auto setCalibration = [&](std::initializer_list<std::uint16_t> ids) {
        for (const auto id : ids)
            log.SetItem(id, ConfigurationDataConverter::GetDataType(id));
    };
    for (int change = 1; change <= 20; ++change) {
        EXPECT_FALSE(log.IsDumpRecommended()) << change;
        log.Increment(DarkMeasurementCount, 1);
    }
    EXPECT_TRUE(log.IsDumpRecommended());
    log.Store(dump.begin(), dump.end());
    EXPECT_FALSE(log.IsDumpRecommended());
    for (int round = 0; round < 2; ++round) { // the list is filled again
        setCalibration({10021, 10020, 10013});
        log.Store(dump.begin(), dump.end()); // the pending items stay so
        setCalibration({10012, 10012, 10011});
        EXPECT_FALSE(log.IsDumpRecommended());
        setCalibration({10010});
        EXPECT_TRUE(log.IsDumpRecommended());
        log.Store(dump.begin(), dump.end());
    }
}

TEST_F(Eeprom, WritesTheLogOnRequestAndAtTheEnd)
{
    {
        BrindleEEPROM eeprom(Open());
        const auto store = [&](std::int32_t writeThrough, std::int32_t dump) {
            Properties container;
            container.SetProperty(LampMeasurementCount, std::int32_t{9});
            container.SetProperty(EEPROMWriteThrough, writeThrough);
            container.SetProperty(LogDumpRequest, dump);
            TakeTrace();
            eeprom.Store(container);
            return std::pair(TakeCount("control C3"), container.GetProperty(EEPROMWriteThrough).AsLong());
        };
        EXPECT_EQ(store(1, 1), std::pair(std::ptrdiff_t{10}, 1)) << "1064 bytes in blocks of 256, twice";
        EXPECT_EQ(store(0, 0), std::pair(std::ptrdiff_t{0}, 0));
        Fail("bulk-write");
        EXPECT_THAT(Thrown([&] { store(1, 0); }), testing::StartsWith("IOException: write data failed"));
        EXPECT_EQ(store(1, 0), std::pair(std::ptrdiff_t{10}, 0)) << "the failure left it locked";
        EXPECT_EQ(LongAt(Memory(), 0x08), 9);

        Change(eeprom, 20);
        EXPECT_EQ(store(0, 0), std::pair(std::ptrdiff_t{10}, 0)) << "what waits to be written goes first";
        Properties others;
        others.SetProperty(IntegrationTime, 1.0F);
        others.SetProperty(PhysicalFilter, std::int32_t{77});
        eeprom.Store(others);
        EXPECT_EQ(eeprom.Load(PhysicalFilter).AsLong(), 77);
        eeprom.GetLog().Increment(LampMeasurementCount, 1);
        TakeTrace();
    }
    EXPECT_EQ(TakeCount("control C3"), 10);
    EXPECT_EQ(LongAt(Memory(), 0x08), 10);
    EXPECT_EQ(LongAt(Memory(), 0x808), 10);
    EXPECT_TRUE(std::equal(asBuilt.begin() + table, asBuilt.end(), Memory().begin() + table));
}

TEST_F(Eeprom, AFailingDumpFailsOnceAndTheChangesAreCountedAnew)
{
    // The dark of the last calibration ends far behind: its section has no room for that.
    auto memory = asBuilt;
    std::fill_n(memory.begin(), table, 0); // a good log all the same
    PutLong(memory, EntryOf(memory, LastCalibrationWhite) + 2, 0x0FFC);
    for (const bool roomless : {true, false}) {
        SetMemory(roomless ? memory : asBuilt);
        const auto before = Memory();
        {
            BrindleEEPROM eeprom(Open());
            Fail("bulk-write", "fail", 1, 0);
            for (int round = 0; round < 2; ++round) {
                Change(eeprom, 20);
                EXPECT_THAT(Thrown([&] { eeprom.GetLog(true); }),
                            testing::StartsWith(roomless ? "DataException: Log is larger than its section"
                                                         : "IOException: write data failed"));
                EXPECT_EQ(Thrown([&] { eeprom.GetLog(true); }), "nothing");
            }
        }
        EXPECT_EQ(Memory(), before);
        Repair();
    }
}

TEST_F(Eeprom, GuardsWriteThroughAndUnknownIds)
{
    BrindleEEPROM eeprom(Open());
    EXPECT_EQ(Thrown([&] { eeprom.WriteThrough(); }), "ResourceException: EEPROM access denied");
    EXPECT_EQ(Thrown([&] { eeprom.Lock(); }), "ResourceException: EEPROM already locked");
    eeprom.Unlock();
    EXPECT_EQ(Thrown([&] { eeprom.Unlock(); }), "ResourceException: EEPROM already unlocked");
    eeprom.Lock();
    EXPECT_EQ(Thrown([&] { eeprom.WriteThrough(); }), "ResourceException: EEPROM access denied");
    EXPECT_EQ(Thrown([&] { eeprom.Load(2000); }), "ResourceException: unknown property id = 2000");
    for (const auto id : {EEPROMWriteThrough, LogDumpRequest}) {
        Properties container;
        container.SetProperty(id, std::int32_t{0});
        EXPECT_THAT(Thrown([&] { eeprom.Load(container); }),
                    testing::StartsWith("ResourceException: unknown property"));
    }
    Properties named("LogData");
    eeprom.Load(named);
    EXPECT_EQ(named.GetItemCount(), 12);
    Properties others("LogData");
    others.SetProperty(IntegrationTime, 1.0F);
    eeprom.Load(others);
    EXPECT_EQ(others.GetItemCount(), 1) << "a name counts for an empty container only";
    Properties entries("EATData");
    eeprom.Load(entries);
    EXPECT_EQ(entries.GetProperty(1000).AsLong(), 0x1200);
}

TEST_F(Eeprom, BuildsTheImageThatItWasReadFrom)
{
    EXPECT_EQ(BrindleEEPROM(Open()).BuildImage(), asBuilt);
    BrindleEEPROM eeprom(Open());
    const auto keys = ConfigurationDataConverter::GetDefaultCalibrationData().GetPropertyKeys();
    const auto old = eeprom.Load(keys[0]).AsFloatVector().size();
    Properties longer;
    longer.SetProperty(keys[0], std::vector<float>(old + 2, 1.0F));
    eeprom.Store(longer);
    const auto image = eeprom.BuildImage();
    EXPECT_EQ(LongAt(image, EntryOf(image, keys[1]) + 2), LongAt(asBuilt, EntryOf(asBuilt, keys[1]) + 2) + 8)
        << "what lies behind moves";
    EXPECT_EQ(LongAt(image, EntryOf(image, keys.back()) + 2), LongAt(asBuilt, EntryOf(asBuilt, keys.back()) + 2) + 8);
}

}
