#pragma once

#include "virtual/colorimeter/Colorimeter.h"
#include "virtual/instrument/Refusal.h"
#include "virtual/instrument/WireInstrument.h"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <span>
#include <sstream>
#include <string>

using Bytes = std::vector<std::uint8_t>;
using Road = Virtual::Place::Road;

inline Bytes FromHex(const std::string& text)
{
    std::istringstream words(text);
    Bytes bytes;
    for (unsigned byte = 0; words >> std::hex >> byte;)
        bytes.push_back(static_cast<std::uint8_t>(byte));
    return bytes;
}

inline std::string ToHex(std::span<const std::uint8_t> bytes)
{
    return bytes.empty() ? "" : Virtual::HexBytes(bytes).substr(1);
}

/// A colorimeter on the workbench, without bench or clock: commands in, replies out, in hexadecimal.
class ColorimeterRig {
public:
    explicit ColorimeterRig(int type, Road road = Road::usb)
        : instrument(std::dynamic_pointer_cast<Virtual::WireInstrument>(Virtual::MakeColorimeter(type))),
          usb(road == Road::usb)
    {
        instrument->TakePlace({road, 1});
        Start();
    }

    Virtual::WireInstrument* operator->() { return instrument.get(); }

    /// Gives it its power, so that it has started by moment 0.
    void Start()
    {
        instrument->Plug(-1'000'000);
        instrument->SetControlLines(true, -1'000'000);
        instrument->trace.Clear();
    }

    /// All that comes back for these bytes of a serial line, lengths included, and how the line ends behind it.
    std::string Stream(const std::string& bytes)
    {
        constexpr const char* ends[] = {"", " failed read", " hang-up"};
        std::string all;
        for (const auto& arrival : instrument->Receive(FromHex(bytes), now)) {
            all += (all.empty() ? "" : " ") + ToHex(arrival.bytes) + ends[static_cast<std::size_t>(arrival.end)];
            busy = arrival.due - now;
        }
        now += busy;
        return all;
    }

    /// The reply to a command, both from the code on: "08 79" gives "08 79 43". "-" where the command is not known.
    std::string Ask(const std::string& command)
    {
        Bytes frame = FromHex(command);
        frame.insert(frame.begin(), static_cast<std::uint8_t>(frame.size()));
        busy = 0;
        if (!usb) {
            const std::string reply = Stream(ToHex(frame));
            return reply.empty() ? "-" : reply.substr(std::min<std::size_t>(reply.size(), 3));
        }
        frame.resize(8);
        const auto answer = instrument->Exchange(std::span<const std::uint8_t, 8>(frame.data(), 8), now);
        busy = answer.due - now;
        now = answer.due;
        const std::string reply = ToHex(std::span(answer.bytes).subspan(2, std::min<std::size_t>(answer.bytes[1], 6)));
        return answer.error != 0 ? "error " + std::to_string(answer.error) : reply == "EE" ? "-" : reply;
    }

    /// The number behind the echo; -1 without one.
    std::int64_t Count(const std::string& command)
    {
        const Bytes reply = FromHex(Ask(command));
        return reply.size() < 5 ? -1 : std::int64_t{reply[1]} << 24 | reply[2] << 16 | reply[3] << 8 | reply[4];
    }

    /// Goes through steps apart by ';', as colorimeter_dialogues.txt explains them.
    void Run(const std::string& script)
    {
        std::istringstream steps(script);
        for (std::string step; std::getline(steps >> std::ws, step, ';');) {
            SCOPED_TRACE(step);
            const auto arrow = step.find(" >"), equals = step.find('=');
            const std::string command = step.substr(0, arrow);
            const std::string reply = arrow == std::string::npos ? "" : step.substr(std::min(step.size(), arrow + 3));
            if (const auto told = Tell(command); told && arrow != std::string::npos)
                EXPECT_EQ(*told, reply);
            else if (step.starts_with("refused "))
                EXPECT_THROW(Run(step.substr(8)), Virtual::Refusal);
            else if (arrow == std::string::npos)
                Change(step.substr(0, equals), equals == std::string::npos ? "" : step.substr(equals + 1));
            else if (command.starts_with('~'))
                EXPECT_EQ(Stream(command.substr(1)), reply);
            else if (reply == "#?") // enough to tell it from nothing
                EXPECT_GT(Count(command), 10);
            else if (reply.starts_with('#'))
                EXPECT_EQ(Count(command), std::stoll(reply.substr(1)));
            else
                EXPECT_EQ(Ask(command).substr(0, reply == "*" ? 0 : std::string::npos), reply == "*" ? "" : reply);
        }
    }

    Virtual::Moment now = 0;
    Virtual::Moment busy = 0; ///< microseconds that the last command took

private:
    /// What the steps give that are no command.
    std::optional<std::string> Tell(const std::string& step)
    {
        if (step == "open") {
            std::vector<Virtual::Arrival> junk;
            const int status = instrument->Open(now, junk);
            return std::to_string(status) + (junk.empty() ? "" : " " + ToHex(junk[0].bytes));
        }
        if (step == "setup")
            return std::to_string(instrument->SetUp(now));
        if (step == "close")
            return std::to_string(instrument->Close(now));
        if (step == "busy") // the last command, in microseconds
            return std::to_string(busy);
        if (step == "trace") {
            std::string text = instrument->trace.Text(Virtual::Trace::Channel::main);
            std::ranges::replace(text, '\n', '/');
            return text;
        }
        return std::nullopt;
    }

    void Change(const std::string& name, const std::string& value)
    {
        const auto at = value.find(' ');
        if (name == "off")
            instrument->Unplug(0), Start();
        else if (name == "lines")
            instrument->SetControlLines(value == "1", now);
        else if (name == "wait")
            now += std::stoll(value);
        else if (name == "unplug")
            instrument->Unplug(now);
        else if (name == "plug")
            instrument->Plug(now);
        else if (name == "seed")
            instrument->Seed(std::stoull(value));
        else if (name == "protect")
            instrument->ProtectMemory(static_cast<std::uint32_t>(std::stoul(value)), true);
        else if (name == "answer")
            instrument->QueueAnswer("command:" + std::to_string(FromHex(value)[0]), FromHex(value));
        else if (name.starts_with("fault "))
            instrument->SetFault(name.substr(6), static_cast<std::uint32_t>(std::stoul(value)), 1, value.substr(at + 1),
                                 0);
        else if (name == "version" || name == "position")
            instrument->SetText(name, value);
        else
            instrument->SetNumber(name, std::stod(value));
    }

    std::shared_ptr<Virtual::WireInstrument> instrument;
    bool usb;
};
