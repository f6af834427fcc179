#include "tests/wire/WireBench.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleRAM.h"

#include <algorithm>
#include <sstream>

using namespace Vondrel::DeviceDriver::Generic::Configuration;

namespace {

oxv_device NewInstrument()
{
    oxv_reset();
    return oxv_attach("spectrophotometer", "usb");
}

}

WireBench::WireBench() : device(NewInstrument())
{
    EXPECT_GT(device, 0) << oxv_last_error();
    SetNumber("scan-readings", 25);
    SetNumber("scan-line", 1);
    conditions = Vondrel::DeviceDriver::ox::BrindleRAM::GetDefaultPhysicalConditons();
    for (const auto id : {ScanMode, DarkMeasurement, Gain, SkipDarkCycle, SimulateDark, LogMeasurement})
        Set(id, 0);
    Set(FirmwareVersion, 302);
    Set(SpectrumCount, 1);
    Set(IntegrationTime, 0.02F);
    Set(TriggerDelay, 0.0F);
}

std::vector<std::string> WireBench::Lines(const char* channel) const
{
    std::string text(static_cast<std::size_t>(oxv_trace(device, channel, nullptr, 0)) + 1, '\0');
    oxv_trace(device, channel, text.data(), text.size());
    text.pop_back();
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line); lines.push_back(line)) {
        if (const auto number = line.find(" #"); number != std::string::npos)
            line.erase(number, line.find(' ', number + 1) - number);
        if (line.starts_with("write ") && line.size() > 19)
            line.erase(line.find(' ', 6));
    }
    return lines;
}

std::vector<std::string> WireBench::TakeLines(const char* channel) const
{
    auto lines = Lines(channel);
    oxv_trace_clear(device);
    return lines;
}

std::string WireBench::TakeTrace(const char* channel) const
{
    std::string joined;
    for (const auto& line : TakeLines(channel))
        joined += (joined.empty() ? "" : "; ") + line;
    return joined;
}

std::ptrdiff_t WireBench::Count(const std::string& beginning) const
{
    return std::ranges::count_if(Lines(), [&](const auto& line) { return line.starts_with(beginning); });
}

std::ptrdiff_t WireBench::TakeCount(const std::string& beginning) const
{
    const auto count = Count(beginning);
    oxv_trace_clear(device);
    return count;
}

void WireBench::Fail(const char* point, const char* how, std::uint32_t nth, std::uint32_t times) const
{
    EXPECT_EQ(oxv_fault(device, point, nth, times, how), OXV_OK) << oxv_last_error();
}

void WireBench::Answer(const char* point, const Bytes& bytes) const
{
    EXPECT_EQ(oxv_answer(device, point, bytes.data(), bytes.size()), OXV_OK) << oxv_last_error();
}

void WireBench::SetNumber(const char* name, double value) const
{
    EXPECT_EQ(oxv_set_number(device, name, value), OXV_OK) << oxv_last_error();
}

void WireBench::SetModes(const Bytes& modes) const
{
    EXPECT_EQ(oxv_set_bytes(device, "modes", modes.data(), modes.size()), OXV_OK) << oxv_last_error();
}

void WireBench::SetBlocks(const Bytes& blocks) const
{
    EXPECT_EQ(oxv_set_bytes(device, "blocks", blocks.data(), blocks.size()), OXV_OK) << oxv_last_error();
}

WireBench::Bytes WireBench::Memory() const
{
    Bytes memory(0x2000);
    EXPECT_EQ(oxv_memory_read(device, 0, memory.data(), memory.size()), OXV_OK);
    return memory;
}

void WireBench::SetMemory(const Bytes& memory) const
{
    EXPECT_EQ(oxv_memory_write(device, 0, memory.data(), memory.size()), OXV_OK);
}
