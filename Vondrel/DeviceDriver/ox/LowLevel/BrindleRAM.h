#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"
#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionality.h"

namespace Vondrel::DeviceDriver::ox {

/// The working settings in the instrument's RAM as properties: the measure parameters, and how the instrument
/// introduces itself. Times are seconds in the properties and ticks on the wire. Not locked.
class BrindleRAM {
public:
    explicit BrindleRAM(const Utilities::Tools::SmartPointer<BrindleFunctionality>& functionality_);

    /// Fills what the container has of these properties, with one command for each of the two groups; a group is read
    /// as a whole. An empty container named "PhysicalConditions" gets all conditions.
    void Load(Generic::Configuration::Properties& container);
    Generic::Configuration::Property Load(std::uint16_t id);

    /// Sends the measure parameters, if the container has any of them; it must then have all, and the firmware version.
    /// @throws ResourceException "Integration time too high", "Integration time too low"
    /// @throws DataException  a measure mode that cannot be, or more spectra than a scan can have
    void Store(const Generic::Configuration::Properties& container);
    void Store(std::uint16_t id, const Generic::Configuration::Property& value);

    /// Whether the measure mode of the last Store puts an offset word into each block.
    bool IsPerfectMode() const { return perfect; }

    /// "PhysicalConditions". Built at first use.
    static const Generic::Configuration::Properties& GetDefaultPhysicalConditons();

private:
    void LoadMiscParameters(Generic::Configuration::Properties& container);
    void LoadMeasureParameters(Generic::Configuration::Properties& container);
    void StoreMeasureParameters(const Generic::Configuration::Properties& container);
    void SwitchToPerfectMode(const Generic::Configuration::Properties& container);

    Utilities::Tools::SmartPointer<BrindleFunctionality> functionality;
    bool perfect = false;
    float tickLength;         ///< seconds
    std::uint16_t multiplier; ///< ticks in one unit of the trigger delay
};

}
