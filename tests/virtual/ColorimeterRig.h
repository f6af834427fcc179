#pragma once

#include "virtual/bench/Kinds.h"
#include "virtual/bench/WireInstrument.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A colorimeter on the workbench, without bench or clock: commands in, replies out.
class ColorimeterRig {
public:
    ColorimeterRig(int type, Virtual::Place::Road road)
        : instrument(std::dynamic_pointer_cast<Virtual::WireInstrument>(Virtual::MakeColorimeter(type))),
          usb(road == Virtual::Place::Road::usb)
    {
        instrument->TakePlace({road, 1});
        Start();
    }

    /// Gives it its power, so that it has started by moment 0.
    void Start()
    {
        instrument->Plug(-1'000'000);
        instrument->SetControlLine(Virtual::ControlLine::dtr, true, -1'000'000);
        instrument->SetControlLine(Virtual::ControlLine::rts, true, -1'000'000);
        instrument->trace.Clear();
    }

    Virtual::WireInstrument* operator->() { return instrument.get(); }
    Virtual::WireInstrument& Get() { return *instrument; }

    /// The payload of the reply to one command (code, then parameters), from the echo on; empty for silence.
    std::vector<std::uint8_t> Ask(std::vector<std::uint8_t> command)
    {
        command.insert(command.begin(), static_cast<std::uint8_t>(command.size()));
        if (usb) {
            command.resize(8);
            const auto answer = instrument->Exchange(std::span<const std::uint8_t, 8>(command.data(), 8), now);
            busy = answer.due - now;
            now = answer.due;
            const auto* payload = answer.bytes.data() + 2;
            return answer.error == 0 ? std::vector<std::uint8_t>(payload, payload + std::min<int>(answer.bytes[1], 6))
                                     : std::vector<std::uint8_t>{};
        }
        const auto arrivals = instrument->Receive(command, now);
        if (arrivals.empty() || arrivals[0].bytes.empty())
            return {};
        busy = arrivals[0].due - now;
        now = arrivals[0].due;
        return {arrivals[0].bytes.begin() + 1, arrivals[0].bytes.end()};
    }

    /// The number behind the echo, most significant byte first.
    std::uint32_t AskLong(std::vector<std::uint8_t> command)
    {
        const auto reply = Ask(std::move(command));
        return reply.size() >= 5 ? Long({reply[1], reply[2], reply[3], reply[4]}) : 0xDEADBEEFU;
    }

    std::uint8_t Cell(std::uint8_t at) { return Ask({8, at})[2]; }
    std::uint16_t CellWord(std::uint8_t at) { return static_cast<std::uint16_t>(Cell(at) << 8 | Cell(next(at, 1))); }
    std::uint32_t CellLong(std::uint8_t at)
    {
        return Long({Cell(at), Cell(next(at, 1)), Cell(next(at, 2)), Cell(next(at, 3))});
    }
    double CellFloat(std::uint8_t at) { return std::bit_cast<float>(CellLong(at)); }

    void Light(double X, double Y, double Z)
    {
        instrument->SetNumber("X", X);
        instrument->SetNumber("Y", Y);
        instrument->SetNumber("Z", Z);
    }

    Virtual::Moment now = 0;
    Virtual::Moment busy = 0; ///< microseconds that the last command took

private:
    static std::uint8_t next(std::uint8_t at, int by) { return static_cast<std::uint8_t>(at + by); }
    static std::uint32_t Long(std::array<std::uint32_t, 4> bytes)
    {
        return bytes[0] << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
    }

    std::shared_ptr<Virtual::WireInstrument> instrument;
    bool usb;
};
