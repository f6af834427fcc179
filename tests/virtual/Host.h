#pragma once

#include "platform/Usb.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// A small host of its own: it speaks to a spectrophotometer through the platform seam and computes in double precision
/// what lies before it. It shares nothing with the library's driver, nor with the instrument.
class Host {
public:
    using Bytes = std::vector<std::uint8_t>;
    using Counts = std::vector<double>;   // 128, pedestal taken off
    using Spectrum = std::vector<double>; // 36 bands

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

    /// The mean of the readings of a measurement, made linear.
    Counts MeasureLinear(const Order& order);

    void ReadCalibration();
    const std::vector<double>& Floats(std::uint16_t id) { return floats[id]; }
    const std::vector<std::int64_t>& Longs(std::uint16_t id) { return longs[id]; }

    Counts Linear(const Counts& counts, int gain);
    Spectrum ToBands(const Counts& counts);

    /// What lies before the aperture, given the dark and the white of the same conditions, all made linear.
    Spectrum Reflectance(const Counts& sample, const Counts& white, const Counts& dark);

    /// Radiance, W / (sr m2 nm).
    Spectrum Radiance(const Counts& light, const Counts& dark, double seconds, int gain);

    Platform::UsbPipe& Pipe(unsigned number) { return *pipes[number]; }

private:
    std::unique_ptr<Platform::UsbPipe> pipes[3];
    std::map<std::uint16_t, std::vector<double>> floats;
    std::map<std::uint16_t, std::vector<std::int64_t>> longs;
};
