#include "tests/wire/bench/Journey.h"

#include "Vondrel/DeviceDriver/GENERIC/Configuration/PropertyId.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleRAM.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/LowLevelDriver.h"

#include <sstream>
#include <stdexcept>

using namespace Vondrel::DeviceDriver::Generic;
using namespace Vondrel::DeviceDriver::Generic::Configuration;
using Vondrel::DeviceDriver::ox::BrindleRAM;
using Vondrel::DeviceDriver::ox::RawSpectrum;

oxv_device NewInstrument()
{
    oxv_reset();
    const auto device = oxv_attach("spectrophotometer", "usb");
    if (device <= 0 || oxv_set_number(device, "scan-readings", 25) < 0 || oxv_set_number(device, "scan-line", 1) < 0)
        throw std::runtime_error(oxv_last_error());
    return device;
}

Properties Conditions(std::int32_t spectra, bool scan)
{
    auto conditions = BrindleRAM::GetDefaultPhysicalConditons();
    for (const auto id : {DarkMeasurement, SkipDarkCycle, SimulateDark, LogMeasurement})
        conditions.SetProperty(id, std::int32_t{0});
    conditions.SetProperty(Gain, std::int32_t{1});
    conditions.SetProperty(FirmwareVersion, std::int32_t{302});
    conditions.SetProperty(IntegrationTime, 0.02F);
    conditions.SetProperty(TriggerDelay, 0.0F);
    conditions.SetProperty(ScanMode, std::int32_t{scan});
    conditions.SetProperty(SpectrumCount, spectra);
    return conditions;
}

std::vector<Vondrel::DeviceDriver::Generic::Calculation::SensorData> Measure(LowLevelDriver& driver,
                                                                             std::int32_t spectra, bool scan)
{
    Properties conditions = Conditions(spectra, scan);
    return driver.ExecuteMeasurement(conditions);
}

std::vector<RawSpectrum> Travel(EventListener* listener)
{
    std::vector<RawSpectrum> spectra;
    const auto driver = LowLevelDriver::Instance(listener, 0);
    for (const bool scan : {false, true})
        for (auto& record : Measure(*driver, scan ? 1 : 3, scan))
            spectra.insert(spectra.end(), record.LoadRawData().begin(), record.LoadRawData().end());
    Properties store;
    store.SetProperty(LogDumpRequest, std::int32_t{1});
    driver->StoreData(store);
    return spectra;
}

std::vector<std::string> TakeTrace(oxv_device device, const char* channel)
{
    std::string text(static_cast<std::size_t>(oxv_trace(device, channel, nullptr, 0)) + 1, '\0');
    oxv_trace(device, channel, text.data(), text.size());
    text.pop_back();
    oxv_trace_clear(device);
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}
