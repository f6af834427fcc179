#pragma once

#include "Vondrel/DeviceDriver/ox/LowLevel/BrindleFunctionalityByte.h"

namespace Vondrel::DeviceDriver::ox {

/// What the instrument is told before a measurement.
struct MeasureParameters {
    std::uint16_t ticks = 0; ///< integration time
    std::uint16_t delay = 0; ///< before the first spectrum, in units of tick times tick multiplier
    std::uint16_t count = 0; ///< spectra
    std::uint8_t flags = 0;  ///< MeasureFlag
};

enum MeasureFlag : std::uint8_t { scanFlag = 1, darkFlag = 2, gainFlag = 4, skipDarkCycleFlag = 8 };

/// One of the measure modes of the firmware, as it is selected.
struct MeasureMode {
    std::uint8_t modeCount; ///< that the firmware offers
    std::uint8_t mode;      ///< counted from 1
    std::uint8_t notEvaluated;
    std::uint8_t tickMultiplier; ///< also the smallest usable number of ticks
    std::uint8_t tickLength;     ///< microseconds
    std::uint8_t flags;          ///< bit 0: perfect mode
};

/// Firmware from this version on offers measure modes; before, the tick is fixed.
inline constexpr std::int32_t firstVersionWithModes = 301;

/// How the instrument introduces itself.
struct Identification {
    std::uint16_t firmwareVersion;
    std::uint16_t word2006;
    std::uint16_t overflowThreshold; ///< counts; sensor words above it are negative
    std::uint8_t deviceType;
    std::uint8_t deviceStatus;
};

/// The commands with numbers instead of bytes.
class BrindleFunctionality {
public:
    /// Opens the instrument at this place of the list of attached instruments, and resets it.
    BrindleFunctionality(Generic::EventListener* listener, std::int32_t deviceIndex);

    void removeListener(Generic::EventListener* listener);

    /// @param data          receives one block of 256 bytes for each spectrum
    /// @param limitSeconds  plus 5
    void MeasureRequest(std::span<std::uint8_t> data, std::int64_t limitSeconds);
    void StartScan(std::size_t lineSize, std::int64_t limitSeconds);
    std::size_t GetScanData(std::span<std::uint8_t> line);

    void SetMeasureParameters(const MeasureParameters& parameters);
    /// @return the status byte
    std::uint8_t GetMeasureParameters(MeasureParameters& parameters);
    void SetMeasureMode(std::uint8_t mode);
    MeasureMode GetMeasureMode();
    Identification GetMISC();

    /// Writes in blocks of at most 256 bytes; nothing at all for no bytes.
    void WriteEEPROM(std::uint32_t address, std::span<const std::uint8_t> data);
    /// Reads in one request. @param data  at most 65535 bytes
    void ReadEEPROM(std::uint32_t address, std::span<std::uint8_t> data);

    void WriteCPLD(std::uint16_t word1, std::uint16_t word2, std::uint16_t word3);
    std::uint16_t ReadCPLD();

    /// @param data  at most 65535 bytes, else DataException "Firmware block is too large"
    void DownloadFirmware(std::uint16_t address, std::span<const std::uint8_t> data, bool toEEPROM);

    /// Only the low byte of the mask is sent.
    void Reset(std::uint16_t mask);

private:
    Utilities::Tools::SmartPointer<BrindleFunctionalityByte> functionality;
};

}
