#pragma once

#include "virtual/colorimeter/Firmware.h"
#include "virtual/instrument/WireInstrument.h"

#include <memory>
#include <optional>
#include <random>

namespace Virtual::Colorimeter {

/// A colorimeter on the bench: the firmware, its two wires with their faults, and the names under which a scene is set.
class Instrument final : public WireInstrument {
public:
    explicit Instrument(const Type& type);

    void TakePlace(const Place& place) override;
    void Seed(std::uint64_t seed) override;

    void SetText(std::string_view name, std::string_view value) override;
    std::string GetText(std::string_view name) const override;
    void ProtectMemory(std::uint32_t offset, bool on) override;

    int Open(Moment now, std::vector<Arrival>& junk) override;
    int SetUp(Moment now) override;
    void SetControlLines(bool up, Moment now) override;
    int Close(Moment now) override;
    std::vector<Arrival> Receive(std::span<const std::uint8_t> bytes, Moment now) override;
    ChannelAnswer Exchange(std::span<const std::uint8_t, 8> request, Moment now) override;

private:
    /// What a command comes to on either wire: the reply as it leaves the firmware, and what befalls it on its way.
    struct Outcome {
        Fault fault = Fault::none;
        std::optional<Reply> reply; ///< none: the instrument stays silent
        Moment due = 0;
    };

    void NumberChanged(std::size_t row) override;
    void CableChanged(Moment now) override;
    std::span<std::uint8_t> Memory() override { return firmware.memory.Cells(); }
    bool TakesFault(std::string_view point, Fault fault) const override;
    std::size_t LongestAnswer(std::string_view point) const override;

    Outcome Run(std::span<const std::uint8_t> frame, Moment now);
    Arrival ToArrival(Outcome& outcome);
    void Mangle(Outcome& outcome);
    std::optional<Bytes> NextFrame();
    void CheckPower(Moment now);
    bool OnUsb() const { return place.road == Place::Road::usb; }

    /// Without a supply of its own: it lives on the two control lines. A pseudo-terminal has none.
    bool LivesOnThePort() const { return place.road == Place::Road::serial; }

    const Type& type;
    Firmware firmware;
    Place place;
    Bytes received;       // over the serial line, not yet a whole frame
    Moment busyUntil = 0; // with the commands that came over the serial line
    Moment readyAt = 0;   // what comes in before is not heard
    bool linesUp = false;
    bool powered = false;
    bool outOfStep = false; // what came in cannot be a frame
    std::mt19937_64 noise;
};

}

namespace Virtual {

/// A colorimeter of a type as built, not yet at a place; null for a number that is no type.
std::shared_ptr<Instrument> MakeColorimeter(int type);

}
