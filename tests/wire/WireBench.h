#pragma once

#include "Vondrel/DeviceDriver/GENERIC/Configuration/Properties.h"
#include "tests/support/Thrown.h"
#include "tests/wire/Samples.h"
#include "virtual/orvex-virtual.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

/// A bench with one spectrophotometer on its white tile, whose scans give 25 readings, in whole lines of one reading.
class WireBench : public testing::Test {
protected:
    using Bytes = std::vector<std::uint8_t>;

    WireBench();
    ~WireBench() override { oxv_reset(); }

    /// What went over the wire since the last call, joined by "; ". Transfers are not numbered, and of a write of more
    /// than four bytes only the size is told.
    std::string TakeTrace(const char* channel = "") const;
    std::vector<std::string> TakeLines(const char* channel = "") const;

    std::vector<std::string> Lines(const char* channel = "") const;

    /// How often a line that begins like this went over the wire since the last call.
    std::ptrdiff_t Count(const std::string& beginning) const;
    std::ptrdiff_t TakeCount(const std::string& beginning) const;

    void Fail(const char* point, const char* how = "fail", std::uint32_t nth = 1, std::uint32_t times = 1) const;
    void Repair() const { oxv_faults_clear(device); }
    void Answer(const char* point, const Bytes& bytes) const;
    void SetNumber(const char* name, double value) const;
    void SetModes(const Bytes& modes) const;

    /// The blocks that the next measurement delivers.
    void SetBlocks(const Bytes& blocks) const;

    Bytes Memory() const;
    void SetMemory(const Bytes& memory) const;

    const oxv_device device;

    /// A spot of one spectrum at 20 ms and high sensitivity, with the lamp, at once.
    Vondrel::DeviceDriver::Generic::Configuration::Properties conditions;
    template<typename Value>
    void Set(std::uint16_t id, Value value)
    {
        conditions.SetProperty(id, value);
    }
};

inline const std::string identified = "control C9 in 01 2E 00 00 EA 60 01 00";
