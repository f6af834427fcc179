#pragma once

#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"
#include "platform/Usb.h"
#include "tests/virtual/BenchCalls.h"

#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The virtual bench with a spectrophotometer on it and a host before it, by texts. The host speaks through the
/// platform seam and shares nothing with the library's driver, nor with the instrument.
class BenchScript {
public:
    /// An empty bench with one instrument whose first three pipes the host has open.
    BenchScript();
    ~BenchScript();

    /// Takes steps apart by ';' and expects of each what stands behind it; spectrophotometer_dialogues.txt has the
    /// language.
    void Run(const std::string& steps);

    Outcome Do(const std::string& step);

    /// The counts of each reading of a measurement, 128 pixels with the pedestal taken off. A tick has 68 microseconds,
    /// the delay before the first reading 23 units of 130 ticks.
    struct Order {
        unsigned ticks = 294;
        unsigned count = 1;
        unsigned flags = 4; ///< 1 scan, 2 lamp off, 4 normal gain
    };
    std::vector<std::vector<double>> Measure(const Order& order);

    std::unique_ptr<Platform::UsbPipe> OpenPipe(unsigned number);
    Platform::UsbPipe& Pipe(unsigned number) { return *pipes[number]; }

    oxv_device device;                     ///< the last one that was attached
    Platform::SerialHandle port = nullptr; ///< of the host of a colorimeter
    Platform::ChannelHandle channel = nullptr;

private:
    void Connect();
    void Take(const std::string& step);
    Outcome Control(bool in, std::istream& words);
    std::optional<Outcome> Wire(const std::string& verb, std::istream& words);
    std::string Receive(std::size_t size);
    std::string Exchange(std::vector<std::uint8_t> request);
    Outcome Move(Platform::UsbTransfer& transfer, std::size_t size, bool in);

    std::map<unsigned, std::unique_ptr<Platform::UsbPipe>> pipes;
    std::map<std::string, std::unique_ptr<Platform::UsbTransfer>> transfers; ///< in flight, by name
    std::string address;
    Platform::TransferResult opened;
    std::int64_t lookedAt = 0; ///< on the clock, by the last "took"
};
