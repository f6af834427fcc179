#pragma once

#include "Vondrel/DeviceDriver/GENERIC/EventListener.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Vondrel::DeviceDriver::ox {

/// The data stage of a control request, in wire order: numbers stand most significant byte first.
template<std::size_t Size>
using Payload = std::array<std::uint8_t, Size>;

/// Every command of the instrument, with all arguments as bytes in wire order. Not locked: one command at a time.
///
/// Every operation either returns or throws what the transport threw; none retries.
class BrindleFunctionalityByte {
public:
    virtual ~BrindleFunctionalityByte() = default;

    virtual void RemoveListener(Generic::EventListener* listener) = 0;

    /// Runs a scan to its end; its lines wait in a queue then, which is empty after a failure.
    virtual void StartScan(std::size_t lineSize, std::int64_t limitSeconds) = 0;
    /// Copies the oldest line and drops it.
    /// @return bytes of the line; 0 when the queue is empty
    /// @throws DataException  the line does not fit
    virtual std::size_t GetScanData(std::span<std::uint8_t> line) = 0;
    /// Measures with the parameters set last, and fills the destination.
    virtual void MeasureRequest(std::span<std::uint8_t> data, std::int64_t limitSeconds) = 0;

    virtual void SetMeasureParameters(const Payload<8>& parameters) = 0;
    virtual void GetMeasureParameters(Payload<8>& parameters) = 0;
    virtual void SetMeasureMode(const Payload<1>& mode) = 0;
    virtual void GetMeasureMode(Payload<6>& mode) = 0;

    /// @param place  address in 4 bytes, number of bytes in 2, and 2 that are not used
    virtual void WriteEEPROM(const Payload<8>& place, std::span<const std::uint8_t> data) = 0;
    virtual void ReadEEPROM(const Payload<8>& place, std::span<std::uint8_t> data) = 0;

    virtual void WriteCPLD(const Payload<6>& words) = 0;
    virtual void ReadCPLD(Payload<2>& word) = 0;

    virtual void DownloadRAMFirmware(std::uint16_t address, std::span<const std::uint8_t> data) = 0;
    virtual void DownloadEEPROMFirmware(const Payload<8>& place, std::span<const std::uint8_t> data) = 0;

    virtual void GetMISC(Payload<8>& misc) = 0;
    virtual void Reset(const Payload<1>& mask) = 0;

    /// Opens the instrument at this place of the list of attached instruments, from 0.
    /// @throws IOException "No devices connected", "No such device connected"
    static Utilities::Tools::SmartPointer<BrindleFunctionalityByte> Instance(Generic::EventListener* listener,
                                                                             std::int32_t deviceIndex);
};

}
