#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleRAM.h"
#include "tests/wire/FakeInstrument.h"
#include "tests/wire/Thrown.h"

#include <gmock/gmock.h>

#include <limits>

using namespace Vondrel::DeviceDriver::ox;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using testing::ElementsAre;
using Vondrel::Utilities::Tools::SmartPointer;

namespace {

class Ram : public testing::Test {
protected:
    Ram()
    {
        instrument.Reset();
        functionality = SmartPointer(new BrindleFunctionality(nullptr, 0));
        ram = SmartPointer(new BrindleRAM(functionality));
        instrument.TakeTrace();
        conditions = BrindleRAM::GetDefaultPhysicalConditons();
        for (const auto id : {ScanMode, DarkMeasurement, Gain, SkipDarkCycle})
            conditions.SetProperty(id, std::int32_t{0});
        conditions.SetProperty(FirmwareVersion, std::int32_t{302});
        conditions.SetProperty(IntegrationTime, 0.02F);
        conditions.SetProperty(TriggerDelay, 0.0F);
        conditions.SetProperty(SpectrumCount, std::int32_t{1});
    }

    FakeInstrument& instrument = FakeInstrument::Get();
    SmartPointer<BrindleFunctionality> functionality;
    SmartPointer<BrindleRAM> ram;
    Properties conditions;
};

using Reply = std::vector<std::uint8_t>;
const Reply longTick{2, 1, 0, 130, 68, 1};
const Reply shortTick{2, 2, 0, 131, 36, 1};

TEST_F(Ram, TakesTheFirstModeThatHoldsTheTime)
{
    const std::string tooHigh = "ResourceException: Integration time too high";
    const std::string tooLow = "ResourceException: Integration time too low";
    struct Case {
        const char* what;
        std::vector<Reply> modes;
        float time;
        std::string thrown;
        std::size_t tried;
        std::string sent; ///< the ticks
    };
    const Case cases[] = {
        {"the first", {longTick, shortTick}, 0.02F, "nothing", 1, "01 26"},
        {"at the first's shortest", {longTick, shortTick}, 0.00884F, "nothing", 1, "00 82"},
        {"below it the second", {longTick, shortTick}, 0.0088F, "nothing", 2, "00 F4"},
        {"at the second's shortest", {longTick, shortTick}, 0.004716F, "nothing", 2, "00 83"},
        {"below all", {longTick, shortTick}, 0.0047F, tooLow, 2, ""},
        {"no time at all", {longTick, shortTick}, 0.0F, tooLow, 2, ""},
        {"the first's end", {longTick, shortTick}, 4.45638F, tooHigh, 1, ""},
        {"a short tick in front refuses what the next would hold", {shortTick, longTick}, 3.0F, tooHigh, 1, ""},
        {"beyond all numbers", {longTick, shortTick}, 1e30F, tooHigh, 1, ""},
        {"no number", {longTick}, std::numeric_limits<float>::quiet_NaN(), "DataException: Number out of range", 0, ""},
        {"no mode", {{0, 0, 0, 130, 68, 0}}, 0.001F, tooLow, 1, ""},
        {"255 modes of which none fits", {{255, 0, 0, 130, 68, 0}}, 0.001F, tooLow, 255, ""},
        {"a tick without length", {{1, 1, 0, 130, 0, 0}}, 0.02F, tooHigh, 1, ""},
        {"no delay unit", {{1, 1, 0, 0, 68, 0}}, 0.02F, "DataException: Measure mode without a delay unit", 1, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        instrument.replies[0xD1] = c.modes;
        conditions.SetProperty(IntegrationTime, c.time);
        EXPECT_EQ(Thrown([&] { ram->Store(conditions); }), c.thrown);
        const auto trace = instrument.TakeTrace();
        ASSERT_EQ(trace.size(), 2 * c.tried + (c.sent.empty() ? 0 : 1));
        for (std::size_t mode = 0; mode < c.tried; ++mode) {
            const auto number = static_cast<std::uint8_t>(mode + 1);
            EXPECT_EQ(trace[2 * mode], "control CF out " + Hex(std::span(&number, 1)));
        }
        if (!c.sent.empty()) {
            EXPECT_EQ(trace.back(), "control C1 out " + c.sent + " 00 00 00 01 00 00");
        }
    }
}

TEST_F(Ram, KnowsNoModesBelowVersion301)
{
    conditions.SetProperty(FirmwareVersion, std::int32_t{300});
    conditions.SetProperty(IntegrationTime, 5.0F); // 73529 ticks, of which 16 bits go out
    ram->Store(conditions);
    EXPECT_THAT(instrument.TakeTrace(), ElementsAre("control C1 out 1F 39 00 00 00 01 00 00"));
    EXPECT_FALSE(ram->IsPerfectMode());
}

TEST_F(Ram, SendsCountDelayAndFlags)
{
    struct Case {
        const char* what;
        std::vector<std::pair<std::uint16_t, Property>> set;
        const char* sent;
    };
    const std::int32_t one = 1;
    const Case cases[] = {
        {"delay in units of 8.84 ms", {{TriggerDelay, 0.0177F}}, "01 26 00 02 00 01 00 00"},
        {"up to 256 spectra", {{SpectrumCount, std::int32_t{300}}}, "01 26 00 02 01 00 00 00"},
        {"an override needs a scan", {{ScanCountOverride, std::int32_t{300}}}, "01 26 00 02 01 00 00 00"},
        {"and then passes 256", {{ScanMode, one}}, "01 26 00 02 01 2C 01 00"},
        {"an override of 0 does nothing", {{ScanCountOverride, std::int32_t{0}}}, "01 26 00 02 01 00 01 00"},
        {"flags", {{ScanMode, std::int32_t{0}}, {DarkMeasurement, one}}, "01 26 00 02 01 00 02 00"},
        {"more flags", {{Gain, one}, {SkipDarkCycle, one}}, "01 26 00 02 01 00 0E 00"},
    };
    for (const auto& c : cases) { // each on top of those before
        SCOPED_TRACE(c.what);
        for (const auto& [id, value] : c.set)
            conditions.SetProperty(id, value);
        ram->Store(conditions);
        EXPECT_EQ(instrument.TakeTrace().back(), std::string("control C1 out ") + c.sent);
    }
    conditions.SetProperty(ScanMode, one);
    conditions.SetProperty(ScanCountOverride, std::int32_t{65536});
    EXPECT_EQ(Thrown([&] { ram->Store(conditions); }), "DataException: Number of spectra too high");
}

TEST_F(Ram, ReadsBackWithTheTickThatWasSent)
{
    instrument.replies[0xD1] = {shortTick};
    ram->Store(conditions);
    EXPECT_TRUE(ram->IsPerfectMode());
    EXPECT_FLOAT_EQ(ram->Load(IntegrationTime).AsFloat(), 130 * 36e-6F);
    EXPECT_FLOAT_EQ(ram->Load(TriggerDelay).AsFloat(), 2 * 131 * 36e-6F);
    EXPECT_EQ(ram->Load(Gain).AsLong(), 1);
    EXPECT_EQ(ram->Load(DarkMeasurement).AsLong(), 0);
    EXPECT_EQ(ram->Load(DeviceReply2021).AsLong(), 0x77);
}

TEST_F(Ram, LoadsOnlyTheGroupsThatAreAskedFor)
{
    Properties unnamed;
    ram->Load(unnamed);
    EXPECT_EQ(unnamed.GetItemCount(), 0);
    EXPECT_TRUE(instrument.TakeTrace().empty());

    EXPECT_EQ(ram->Load(DeviceType).AsLong(), 1);
    EXPECT_THAT(instrument.TakeTrace(), ElementsAre("control C9 in"));

    Properties all("PhysicalConditions");
    ram->Load(all);
    EXPECT_THAT(instrument.TakeTrace(), ElementsAre("control C9 in", "control C2 in"));
    EXPECT_THAT(all.GetPropertyKeys(),
                ElementsAre(2000, 2001, 2002, 2003, 2008, 2009, 2010, 2004, 2005, 2006, 2012, 2013, 2020, 2011, 2014,
                            2015, 2016, 2017, 9189, 2021));
    EXPECT_EQ(all.GetProperty(ScanLevelFactor).AsFloat(), 0.25F);
    EXPECT_EQ(all.GetProperty(ScanMinIntegrationTime).AsFloat(), 0.005F);

    instrument.replies[0xC9] = {{0x01, 0x2C, 0, 0, 0, 0, 1, 0}}; // version 300
    EXPECT_EQ(ram->Load(ScanLevelFactor).AsFloat(), 0.5F);
    EXPECT_EQ(ram->Load(ScanMinIntegrationTime).AsFloat(), 0.012F);
}

}
