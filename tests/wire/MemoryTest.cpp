#include "Vondrel/DeviceDriver/GENERIC/Configuration/ConfigurationDataConverter.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/EndianConversion.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleEEPROM.h"
#include "tests/wire/FakeInstrument.h"
#include "tests/wire/Thrown.h"

#include <gmock/gmock.h>

#include <algorithm>
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

class Memory : public testing::Test {
protected:
    void SetUp() override { instrument.Reset(); }

    SmartPointer<BrindleFunctionality> Open() { return SmartPointer(new BrindleFunctionality(nullptr, 0)); }

    FakeInstrument& instrument = FakeInstrument::Get();
};

TEST_F(Memory, TableOfDefaultsIsTheOneOfANewInstrument)
{
    const auto memory = NewMemory();
    EXPECT_EQ(Hex(std::span(memory).subspan(table, 10)),
              "00 01 01 4E 27 10 00 00 00 00"); // version 1, 334 bytes, 10000
    const auto eat = TableOf(memory);
    EXPECT_EQ(eat.GetDatastore().GetItemCount(), 55);
    EXPECT_EQ(eat.AddressOf(1), 0x428);
    EXPECT_EQ(eat.AddressOf(3), 0xC28);
    EXPECT_EQ(eat.AddressOf(1000), 0x1200);
    EXPECT_EQ(eat.SizeOf(LastCalibrationDark), 512);
    EXPECT_EQ(Thrown([&] { eat.SizeOf(2); }), "ResourceException: id 2 doesn't exist") << "the last entry has no size";
    EXPECT_EQ(Thrown([&] { eat.SizeOf(7); }), "ResourceException: id 7 doesn't exist");
}

TEST_F(Memory, TakesOnlyTablesOfTheKnownVersionAndSize)
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
        auto memory = NewMemory();
        PutWord(memory, table, c.version);
        PutWord(memory, table + 2, c.size);
        EXPECT_EQ(Thrown([&] { TableOf(memory); }), c.taken ? "nothing" : "DataException: corrupt EAT detected!!");
    }
    const auto memory = NewMemory();
    EXPECT_EQ(Thrown([&] { BrindleEAT(std::span(memory).subspan(table, 333)); }),
              "DataException: corrupt EAT detected!!")
        << "cut off in the middle of an entry";
}

TEST_F(Memory, LeavesOutWhatHasNoPlaceInTheImage)
{
    struct Case {
        const char* what;
        std::uint16_t movedId;
        std::int32_t address;
        std::vector<std::uint16_t> lost; ///< calibration properties
    };
    // 3012 is followed by 3013 and the marker 2.
    const Case cases[] = {
        {"sound", 3012, 0, {}},
        {"at the end of the image", 3012, 0x2000, {3012}},
        {"behind the image", 3012, 0x2001, {3011, 3012}},
        {"far behind", 3012, 0x7FFFFFFF, {3011, 3012}},
        {"negative", 3012, -4, {3011, 3012}},
        {"a size past the end", 2, 0x2001, {3013}},
        {"the smallest number", 2, std::numeric_limits<std::int32_t>::min(), {3013}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        instrument.Reset();
        if (c.address != 0)
            PutLong(instrument.memory, EntryOf(instrument.memory, c.movedId) + 2, c.address);
        BrindleEEPROM eeprom(Open());
        Properties calibration("CalibrationData");
        eeprom.Load(calibration);
        for (const auto id : ConfigurationDataConverter::GetDefaultCalibrationData().GetPropertyKeys())
            EXPECT_EQ(calibration.Contains(id), std::ranges::count(c.lost, id) == 0) << id;
    }
}

TEST_F(Memory, ARepeatedIdKeepsItsPlaceWithTheLastAddress)
{
    auto memory = NewMemory();
    PutWord(memory, EntryOf(memory, 3013), 1000); // the last property before the marker, at another address
    const auto eat = TableOf(memory);
    EXPECT_EQ(eat.GetDatastore().GetItemCount(), 54);
    EXPECT_EQ(eat.GetDatastore().GetPropertyKeys()[26], 1000);
    EXPECT_LT(eat.SizeOf(1000), 0);
}

TEST_F(Memory, SurvivesAnyTable)
{
    std::mt19937 random(20100);
    for (int round = 0; round < 300; ++round) {
        instrument.Reset();
        for (int change = 0; change < 1 + round % 40; ++change)
            instrument.memory[table + 4 + random() % 330] = static_cast<std::uint8_t>(random());
        for (int change = 0; change < round % 3; ++change)
            instrument.memory[random() % 0x1000] = static_cast<std::uint8_t>(random());
        const auto before = instrument.memory;
        {
            BrindleEEPROM eeprom(Open());
            for (const char* name : {"CalibrationData", "LogData", "EATData"}) {
                Properties container(name);
                eeprom.Load(container);
            }
            Thrown([&] { eeprom.GetLog().Increment(LampMeasurementCount, 1); });
        }
        EXPECT_TRUE(std::equal(before.begin() + table, before.end(), instrument.memory.begin() + table))
            << "whatever the table says, a log never reaches beyond its sections";
    }
}

TEST_F(Memory, LogComesFromTheFirstGoodCopy)
{
    constexpr std::size_t count = 0x08; // LampMeasurementCount is the third long
    const auto write = [](Bytes& memory, std::size_t copy, std::int32_t value, std::int32_t checksum) {
        PutLong(memory, copy, checksum);
        PutLong(memory, copy + count, value);
    };
    auto memory = NewMemory();
    EXPECT_EQ(LogOf(memory).GetItem(LampMeasurementCount).AsLong(), 0) << "all zero is valid";
    write(memory, 0, 5, 5);
    write(memory, 0x800, 7, 7);
    EXPECT_EQ(LogOf(memory).GetItem(LampMeasurementCount).AsLong(), 5);
    write(memory, 0, 5, 6);
    EXPECT_EQ(LogOf(memory).GetItem(LampMeasurementCount).AsLong(), 7);
    write(memory, 0x800, 7, 6);
    EXPECT_EQ(LogOf(memory).GetItem(LampMeasurementCount).AsLong(), 0) << "it starts anew";
    EXPECT_EQ(LogOf(memory).GetItem(LastCalibrationDark).AsLongVector().size(), 128U);
}

TEST_F(Memory, ChecksumAddsTheBitsOfFloatsAndWraps)
{
    auto memory = NewMemory();
    auto log = LogOf(memory);
    log.SetItem(LampOnTime, 1.0F);
    log.SetItem(LampMeasurementCount, std::int32_t{0x7FFFFFFF});
    Bytes dump(log.GetDumpSize());
    log.Store(dump.begin(), dump.end());
    EXPECT_EQ(Hex(std::span(dump).first(4)), "BF 7F FF FF"); // 0x3F800000 + 0x7FFFFFFF
    EXPECT_EQ(Thrown([&] { log.Store(dump.begin(), dump.end() - 1); }),
              "ResourceException: Configuration data dump target too small");
}

TEST_F(Memory, RecommendsADumpAfterTwentyChangesOrAWholeCalibration)
{
    auto log = LogOf(NewMemory());
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

    setCalibration({10021, 10020, 10013});
    log.Store(dump.begin(), dump.end()); // the pending items stay so
    setCalibration({10012, 10012, 10011});
    EXPECT_FALSE(log.IsDumpRecommended());
    setCalibration({10010});
    EXPECT_TRUE(log.IsDumpRecommended());
}

TEST_F(Memory, WritesTheLogOnRequestAndAtTheEnd)
{
    const auto logWrites = [&] {
        const auto trace = instrument.TakeTrace();
        return std::ranges::count_if(trace, [](const auto& line) { return line.starts_with("control C3"); });
    };
    {
        BrindleEEPROM eeprom(Open());
        Properties container;
        container.SetProperty(LampMeasurementCount, std::int32_t{9});
        container.SetProperty(EEPROMWriteThrough, std::int32_t{1});
        container.SetProperty(LogDumpRequest, std::int32_t{1});
        eeprom.Store(container);
        EXPECT_EQ(logWrites(), 10) << "1064 bytes in blocks of 256, twice";
        EXPECT_EQ(container.GetProperty(EEPROMWriteThrough).AsLong(), 1);

        container.SetProperty(LogDumpRequest, std::int32_t{0});
        instrument.fault = [](const std::string& point) {
            return Platform::TransferResult{point == "write" ? Platform::TransferKind::failed
                                                             : Platform::TransferKind::done};
        };
        EXPECT_NE(Thrown([&] { eeprom.Store(container); }), "nothing");
        instrument.fault = nullptr;
        container.SetProperty(EEPROMWriteThrough, std::int32_t{1});
        eeprom.Store(container); // the failure left it locked
        EXPECT_EQ(container.GetProperty(EEPROMWriteThrough).AsLong(), 0);
        EXPECT_EQ(LongAt(instrument.memory, 0x08), 9);
        eeprom.GetLog().Increment(LampMeasurementCount, 1);
        logWrites();
    }
    EXPECT_EQ(logWrites(), 10);
    EXPECT_EQ(LongAt(instrument.memory, 0x08), 10);
    EXPECT_EQ(LongAt(instrument.memory, 0x808), 10);
}

TEST_F(Memory, AFailingDumpFailsOnceAndTheChangesAreCountedAnew)
{
    const auto changeTwentyTimes = [](BrindleEEPROM& eeprom) {
        for (int change = 0; change < 20; ++change)
            eeprom.GetLog().Increment(DarkMeasurementCount, 1);
    };
    // The dark of the last calibration ends far behind: its section has no room for that.
    PutLong(instrument.memory, EntryOf(instrument.memory, LastCalibrationWhite) + 2, 0x0FFC);
    const auto before = instrument.memory;
    {
        BrindleEEPROM eeprom(Open());
        for (int round = 0; round < 2; ++round) {
            changeTwentyTimes(eeprom);
            EXPECT_EQ(Thrown([&] { eeprom.GetLog(true); }), "DataException: Log is larger than its section");
            EXPECT_EQ(Thrown([&] { eeprom.GetLog(true); }), "nothing");
        }
    }
    EXPECT_EQ(instrument.memory, before);

    instrument.Reset();
    BrindleEEPROM eeprom(Open());
    changeTwentyTimes(eeprom);
    instrument.fault = [](const std::string& point) {
        return Platform::TransferResult{point == "write" ? Platform::TransferKind::failed
                                                         : Platform::TransferKind::done};
    };
    EXPECT_THAT(Thrown([&] { eeprom.GetLog(true); }), testing::StartsWith("IOException: write data failed"));
    EXPECT_EQ(Thrown([&] { eeprom.GetLog(true); }), "nothing");
    instrument.fault = nullptr;
}

TEST_F(Memory, GuardsWriteThroughAndUnknownIds)
{
    BrindleEEPROM eeprom(Open());
    EXPECT_EQ(Thrown([&] { eeprom.WriteThrough(); }), "ResourceException: EEPROM access denied");
    EXPECT_EQ(Thrown([&] { eeprom.Lock(); }), "ResourceException: EEPROM already locked");
    eeprom.Unlock();
    EXPECT_EQ(Thrown([&] { eeprom.Unlock(); }), "ResourceException: EEPROM already unlocked");
    EXPECT_EQ(Thrown([&] { eeprom.Load(2000); }), "ResourceException: unknown property id = 2000");
    Properties container;
    container.SetProperty(EEPROMWriteThrough, std::int32_t{0});
    EXPECT_EQ(Thrown([&] { eeprom.Load(container); }), "ResourceException: unknown property id = 20001");
}

TEST_F(Memory, BuildsTheImageThatItWasReadFrom)
{
    const auto size = ConfigurationDataConverter::GetDefaultCalibrationData().GetDumpSize(true);
    for (std::size_t address = 0x1200; address < 0x1200 + size; ++address)
        instrument.memory[address] = static_cast<std::uint8_t>(address);
    const std::pair<std::size_t, std::size_t> unused[] = {
        {0x0428, 0x0800}, {0x0C28, 0x1000}, {0x114E, 0x1200}, {0x1200 + size, 0x2000}};
    for (const auto& [from, to] : unused)
        std::fill_n(instrument.memory.begin() + static_cast<std::ptrdiff_t>(from), to - from, 0xFF);
    EXPECT_EQ(BrindleEEPROM(Open()).BuildImage(), instrument.memory);
}

}
