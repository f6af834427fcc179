#pragma once

#include "platform/Usb.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A small host of its own: it speaks to a spectrophotometer through the platform seam. It shares nothing with the
/// library's driver, nor with the instrument.
class Host {
public:
    using Bytes = std::vector<std::uint8_t>;
    using Counts = std::vector<double>; // 128, pedestal taken off

    explicit Host(const std::string& address);

    /// The outcome of the last transfer.
    Platform::TransferResult last;

    bool Send(std::uint8_t code, Bytes data, std::uint16_t value = 0);
    Bytes Ask(std::uint8_t code, std::size_t size);
    Bytes Read(std::size_t size, std::int64_t limitMs = 60000);
    bool Write(const Bytes& data);

    Bytes ReadMemory(std::uint32_t address, std::uint16_t size);
    bool WriteMemory(std::uint32_t address, const Bytes& data);

    struct Order {
        double seconds = 0.02;
        int count = 1;
        bool scan = false;
        bool lampOff = false;
        int gain = 1;
        double delay = 0.2;
    };

    /// Selects a mode that can hold the time and sends the parameters.
    void Prepare(const Order& order);

    /// A spot or a scan: one vector of counts for each reading.
    std::vector<Counts> Measure(const Order& order);

    Platform::UsbPipe& Pipe(unsigned number) { return *pipes[number]; }

private:
    std::unique_ptr<Platform::UsbPipe> pipes[3];
};
