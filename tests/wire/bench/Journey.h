#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"
#include "Vondrel/DeviceDriver/GENERIC/Utilities/EventListener.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/LowLevelDriver.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/RawTransform.h"
#include "virtual/orvex-virtual.h"

#include <string>
#include <vector>

/// A new bench with one spectrophotometer on its white tile, whose scans give 25 readings.
oxv_device NewInstrument();

/// Conditions of a measurement at 20 ms and normal gain.
Vondrel::DeviceDriver::Generic::Configuration::Properties Conditions(std::int32_t spectra, bool scan);

/// Measures under these conditions.
std::vector<Vondrel::DeviceDriver::Generic::Calculation::SensorData>
Measure(Vondrel::DeviceDriver::Generic::LowLevelDriver& driver, std::int32_t spectra, bool scan);

/// Opens the instrument, measures three spectra on the spot and a scan, stores the log, and closes.
/// @return all raw spectra
std::vector<Vondrel::DeviceDriver::ox::RawSpectrum>
Travel(Vondrel::DeviceDriver::Generic::EventListener* listener = nullptr);

/// What went over the wire, and forgets it.
std::vector<std::string> TakeTrace(oxv_device device, const char* channel = "");
