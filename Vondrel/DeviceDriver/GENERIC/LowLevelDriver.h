#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Calculation/SensorData.h"
#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"
#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "Vondrel/DeviceDriver/GENERIC/UsageLog.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace Vondrel::DeviceDriver::Generic {

/// One step in programming the instrument's CPLD.
struct CPLDStep {
    bool check = false;                   ///< read back after this step
    std::array<std::uint16_t, 3> words{}; ///< what is written
    std::uint16_t expected = 0;           ///< in the read-back
    std::uint16_t mask = 0;               ///< the bits of the read-back that count
    std::uint32_t delayMicroseconds = 0;  ///< after this step; at least a millisecond passes
};

/// What a reset of the instrument makes new, as the value of property 2007.
enum ResetBits : std::uint16_t { resetPower = 1, resetMeasurement = 7, resetAll = 31 };

/// The bytes for each load address.
using FirmwareBlocks = std::map<std::uint16_t, std::vector<std::uint8_t>>;

/// The way to the instrument for all that measures. Takes what is wanted as properties, and gives raw sensor data.
///
/// One thread at a time; not locked. USB failures pass as IOException and TimeoutException.
class LowLevelDriver {
public:
    virtual ~LowLevelDriver() = default;

    /// No message of the instrument reaches the listener after this.
    virtual void RemoveListener(EventListener* listener) = 0;

    /// Measures under these conditions. They hold 2000 to 2003, 2008 to 2010, 2013, 2014 and 2015. A request in them to
    /// write the log (20001) is answered once, and becomes 0.
    /// @return one record with all spectra; in a scan one record for each spectrum, in their order
    /// @throws DataException      the number of spectra is not 1 to 65535, or the data of the instrument are bad
    /// @throws ResourceException  "Integration time too high", "Integration time too low", a condition is missing
    virtual std::vector<Calculation::SensorData> ExecuteMeasurement(Configuration::Properties& conditions) = 0;

    /// The usage log.
    /// @param mayDump  write it to the instrument first, if it is time to
    virtual UsageLog& GetLogData(bool mayDump) = 0;

    /// Fills the values of what the container holds; an empty one, by its name: "CalibrationData", "LogData",
    /// "EATData", "PhysicalConditions".
    virtual void LoadData(Configuration::Properties& container) = 0;

    /// Sends what the container holds to where it belongs, and resets the instrument if it holds 2007.
    /// @throws DataException  20000 or 20003: these go by ProgramCPLD and DownloadFirmware
    virtual void StoreData(Configuration::Properties& container) = 0;

    /// @throws DataException "CPLD Error: Programming failed": a read-back differs
    virtual void ProgramCPLD(std::span<const CPLDStep> program) = 0;

    /// Sends every block, in the order of addresses.
    virtual void DownloadFirmware(const FirmwareBlocks& image) = 0;

    /// Opens an instrument.
    /// @param listener     for its messages; may be null
    /// @param deviceIndex  place in the list of attached instruments, from 0
    /// @throws IOException "No devices connected", "No such device connected"
    static Vondrel::Utilities::Tools::SmartPointer<LowLevelDriver> Instance(EventListener* listener,
                                                                            std::int32_t deviceIndex);
};

}
