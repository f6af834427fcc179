#pragma once

#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionality.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleLog.h"

namespace Vondrel::DeviceDriver::ox {

/// The instrument's EEPROM. It is read once, as a whole, and worked on as parsed copies; only the log is ever written
/// back. Not locked.
class BrindleEEPROM {
public:
    /// Reads and parses the image.
    /// @throws DataException "corrupt EAT detected!!"
    explicit BrindleEEPROM(const Utilities::Tools::SmartPointer<BrindleFunctionality>& functionality_);
    ~BrindleEEPROM(); ///< writes the log back; a failure is swallowed
    BrindleEEPROM(const BrindleEEPROM&) = delete;
    BrindleEEPROM& operator=(const BrindleEEPROM&) = delete;

    BrindleLog& GetLog() { return log; }
    /// @param dumpAllowed  write the log back first, if it recommends that
    BrindleLog& GetLog(bool dumpAllowed);

    /// @throws ResourceException "unknown property id = ", "id ... doesn't exist"
    Generic::Configuration::Property Load(std::uint16_t id) const;

    /// An empty container named "CalibrationData", "LogData" or "EATData" becomes a copy of these data; of any other,
    /// the values of the calibration and the log are filled in.
    void Load(Generic::Configuration::Properties& container) const;

    /// Keeps the values of the calibration (in memory only) and of the log. Property 20002 = 1 writes the log to the
    /// instrument, and so does 20001 = 1, which becomes 0 in the container.
    void Store(Generic::Configuration::Properties& container);

    /// A whole image of what is held now.
    std::vector<std::uint8_t> BuildImage();

    /// WriteThrough works between the two only.
    /// @throws ResourceException "EEPROM already unlocked", "EEPROM already locked"
    void Unlock();
    void Lock();

    /// Writes the log to the instrument.
    /// @throws ResourceException "EEPROM access denied"
    void WriteThrough();

private:
    BrindleEEPROM(const Utilities::Tools::SmartPointer<BrindleFunctionality>& functionality_,
                  const std::vector<std::uint8_t>& image);

    Generic::Configuration::Property GetProperty(std::uint16_t id) const;
    void SetProperty(std::uint16_t id, const Generic::Configuration::Property& value);
    void DumpLog();
    void ThrowIfLocked() const;

    Utilities::Tools::SmartPointer<BrindleFunctionality> functionality;
    bool locked = true;
    BrindleEAT eat;
    BrindleLog log;
    Generic::Configuration::Properties calibration;
};

}
