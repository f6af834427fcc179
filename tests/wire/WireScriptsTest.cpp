// The sessions of tests/data/wire_sessions.txt.

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/USB/BrindleUSBDevice.h"
#include "Vondrel/DeviceDriver/ox/USB/RequestBlock.h"
#include "Vondrel/DeviceDriver/ox/USB/USBBrowser.h"
#include "tests/support/Sessions.h"
#include "tests/wire/WireBench.h"

#include <memory>

using namespace Vondrel::DeviceDriver::ox;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using Vondrel::Utilities::Tools::SmartPointer;

namespace {

std::uint16_t IdOf(const std::string& name)
{
    for (const PropertyRow& row : propertyTable)
        if (row.name == name)
            return row.id;
    throw std::invalid_argument("no property " + name);
}

std::string TextOf(const Property& value)
{
    std::ostringstream text;
    if (value.GetMemberType() == Property::LongScalar)
        text << value.AsLong();
    else
        text << value.AsFloat();
    return text.str();
}

class WireScripts : public WireBench, public testing::WithParamInterface<Session> {
protected:
    void SetUp() override { TakeTrace(); }
    void TearDown() override { BrindleUSBDevice::SetBeep(true); }

    static Bytes BytesOf(const std::string& hex)
    {
        std::istringstream stream(hex);
        Bytes bytes;
        for (std::string byte; stream >> byte;)
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(byte, nullptr, 16)));
        return bytes;
    }

    /// A condition, or a number of the bench, by the first word.
    std::string SetCondition(std::string name)
    {
        const std::string value = CutRest(name);
        if (value.find_first_not_of("-0123456789") == std::string::npos)
            Set(IdOf(name), std::stoi(value));
        else
            Set(IdOf(name), std::stof(value));
        return "nothing";
    }

    std::string SetFault(std::string point) const
    {
        std::istringstream words(CutRest(point));
        std::string how;
        std::uint32_t nth = 1, times = 1;
        words >> how >> nth >> times;
        return Fail(point.c_str(), how.c_str(), nth, times), "nothing";
    }

    void Order(const std::string& hex)
    {
        Bytes payload = BytesOf(hex);
        const std::uint8_t code = payload.at(0);
        payload.erase(payload.begin());
        transport->PerformDeviceIOControl(MakeRequest(Direction::toDevice, RequestType::vendor, code), payload);
    }

    void StartScan(const std::string& blocks)
    {
        SetBlocks(Blocks(std::stoul(blocks), 1));
        Order("C1 01 26 00 00 00 01 01 00");
        Order("C0");
        TakeTrace();
    }

    std::string ReadStrip(const std::string& sizes)
    {
        const std::vector<double> numbers = Numbers(sizes);
        return Thrown([&] {
            transport->ReadDataStrip(lines, static_cast<std::size_t>(numbers[0]),
                                     static_cast<std::int64_t>(numbers[1]));
        });
    }

    /// How many lines of the scan arrived, in their order, and how many reads were left in flight.
    std::string LinesLeft()
    {
        const std::size_t count = lines.Count();
        for (std::size_t i = 0; i < count; ++i, lines.DropFront())
            EXPECT_EQ(lines.Front()[1], i + 1) << "in the order of the scan";
        EXPECT_TRUE(lines.Front().empty());
        std::ptrdiff_t inFlight = Count("submit");
        for (const char* end : {"done", "cancel"})
            inFlight -= Count(end);
        return std::to_string(count) + (inFlight == 0 ? "" : ", reads in flight: " + std::to_string(inFlight));
    }

    template<typename Action>
    static StepTable::mapped_type Does(Action action)
    {
        return [action](auto& arguments) { return Thrown([&] { action(arguments); }); };
    }

    std::unique_ptr<BrindleLowLevelDriver> driver;
    SmartPointer<BrindleFunctionality> commands;
    SmartPointer<BrindleRAM> ram;
    std::unique_ptr<BrindleUSBDevice> transport;
    ScanQueue lines;
    std::vector<Vondrel::DeviceDriver::Generic::Calculation::SensorData> records;

    const StepTable steps = {
        // the bench
        {"number",
         [this](std::string name) {
             const std::string value = CutRest(name);
             return SetNumber(name.c_str(), std::stod(value)), "nothing";
         }},
        {"modes", Does([this](auto& hex) { SetModes(BytesOf(hex)); })},
        {"blocks", Does([this](auto& sizes) {
             const std::vector<double> n = Numbers(sizes);
             SetBlocks(Blocks(static_cast<std::size_t>(n[0]), static_cast<std::uint16_t>(n[1]),
                              static_cast<std::uint16_t>(n[2])));
         })},
        {"fail", [this](auto& fault) { return SetFault(fault); }},
        {"repair", Does([this](auto&) { Repair(); })},
        {"answer", Does([this](std::string point) {
             const Bytes bytes = BytesOf(CutRest(point));
             Answer(point.c_str(), bytes);
         })},
        {"pull", Does([this](auto&) { oxv_unplug(device); })},
        {"plug", Does([this](auto&) { oxv_plug(device); })},
        {"count", [this](auto& beginning) { return std::to_string(Count(beginning)); }},
        {"clear", Does([this](auto&) { TakeTrace(); })},
        // the transport
        {"transport", Does([this](auto&) {
             transport = std::make_unique<BrindleUSBDevice>(nullptr, USBBrowser::Instance()->GetDevices().at(0));
         })},
        {"order", Does([this](auto& hex) { Order(hex); })},
        {"read", Does([this](auto& size) {
             Bytes data(std::stoul(size));
             transport->ReadData(data, 0);
         })},
        {"write", Does([this](auto& size) { transport->WriteData(Bytes(std::stoul(size)), 0); })},
        {"scan", Does([this](auto& blocks) { StartScan(blocks); })},
        {"strip", [this](auto& sizes) { return ReadStrip(sizes); }},
        {"lines", [this](auto&) { return LinesLeft(); }},
        {"beep", Does([](auto& on) { BrindleUSBDevice::SetBeep(on == "on"); })},
        // the commands, and what is told before a measurement
        {"commands", Does([this](auto&) {
             commands = SmartPointer<BrindleFunctionality>(new BrindleFunctionality(nullptr, 0));
             ram = SmartPointer<BrindleRAM>(new BrindleRAM(commands));
         })},
        {"memory-read", Does([this](auto& size) {
             Bytes data(std::stoul(size));
             commands->ReadEEPROM(0, data);
         })},
        {"memory-write", Does([this](auto& size) { commands->WriteEEPROM(0, Bytes(std::stoul(size))); })},
        {"program", Does([this](auto& size) { commands->DownloadFirmware(0, Bytes(std::stoul(size)), true); })},
        {"set", [this](auto& condition) { return SetCondition(condition); }},
        {"store", Does([this](auto&) { ram->Store(conditions); })},
        {"load", [this](auto& name) { return TextOf(ram->Load(IdOf(name))); }},
        // the driver
        {"driver", Does([this](auto&) { driver = std::make_unique<BrindleLowLevelDriver>(nullptr, 0); })},
        {"close", Does([this](auto&) {
             driver.reset();
             transport.reset();
         })},
        {"measure", Does([this](auto& times) {
             for (int i = times.empty() ? 1 : std::stoi(times); i > 0; --i)
                 records = driver->ExecuteMeasurement(conditions);
         })},
        {"records",
         [this](auto&) {
             std::ostringstream text;
             text << records.size() << " of " << records.at(0).LoadRawData().size() << " from "
                  << records.front().LoadRawData().front()[5] << " to " << records.back().LoadRawData().back()[5]
                  << ", " << records.back().GetIntegrationTime() << " s, gain " << records.back().GetGain();
             return text.str();
         }},
        {"log", [this](auto& name) { return TextOf(driver->GetLogData(false).GetItem(IdOf(name))); }},
        {"property", [this](auto& name) { return TextOf(driver->LoadData(IdOf(name))); }},
    };
};

}

TEST_P(WireScripts, GoAsTheyAreTold)
{
    for (Row row : GetParam().rows) {
        SCOPED_TRACE(row[0]);
        row.resize(4);
        const auto before = oxv_clock_now();
        ExpectText(DoSteps(steps, row[0], "nothing"), row[1].empty() ? "nothing" : row[1]);
        if (!row[3].empty())
            ExpectText(std::to_string((oxv_clock_now() - before) / 1000), row[3]);
        if (!row[2].empty())
            ExpectText(TakeTrace(), row[2]);
    }
}

INSTANTIATE_TEST_SUITE_P(, WireScripts, testing::ValuesIn(ReadSessions(ORVEX_TEST_DATA "/wire_sessions.txt")),
                         TestNameOf);
