#pragma once

#include "virtual/instrument/Instrument.h"
#include "virtual/spectrophotometer/Converter.h"
#include "virtual/spectrophotometer/Firmware.h"
#include "virtual/spectrophotometer/Memory.h"
#include "virtual/spectrophotometer/Optics.h"
#include "virtual/spectrophotometer/Scene.h"
#include "virtual/spectrophotometer/UsbPort.h"

#include <span>
#include <string>
#include <string_view>

namespace Virtual {

/// A spectrophotometer: its optics, memory and firmware, what lies before it, and its plug.
class Spectrophotometer : public Instrument, private MeasuringHead {
public:
    Spectrophotometer();

    UsbPort& Port() { return port; }

    /// How the host names it: by its place, so that it stays the same while it stands there.
    std::string Address() const;

    /// Whether the host finds it when it looks for instruments. Counts as a passing.
    bool Answers(Moment now);

    void TakePlace(const Place& where) override { place = where; }
    std::optional<Moment> NextMessage() const override { return port.NextMessage(); }
    bool IsSettled(Moment now) const override { return port.IsSettled(now); }
    void Seed(std::uint64_t seed) override;

    void SetText(std::string_view name, std::string_view value) override;
    std::string GetText(std::string_view name) const override;
    void SetBytes(std::string_view name, std::span<const std::uint8_t> bytes) override;

    void SetCurve(std::string_view name, const Curve& curve) override;
    void ClearStrip() override { scene.ClearStrip(); }
    void AddToStrip(const Curve& curve, double seconds, double edgeSeconds) override;
    void AddFlash(const Curve& curve, double start, double duration) override;
    void Press(Moment now) override;

private:
    double TellNumber(std::size_t row) const override;
    void NumberChanged(std::size_t row) override;
    double* PlainNumber(std::size_t row); // null: a change of this number is more than a new value
    void CableChanged(Moment now) override { port.CableChanged(now); }
    std::span<std::uint8_t> Memory() override { return memory; }
    bool TakesFault(std::string_view point, Fault fault) const override;
    void FaultSet(std::string_view point, Moment now) override;
    std::size_t LongestAnswer(std::string_view point) const override;

    MeasureStart Start(const MeasureOrder& order) override;
    std::size_t ReadingsOf(const MeasureOrder& order, const View& view) const;

    Place place;
    Optics optics;
    Converter converter;
    DarkRates darkness;
    Scene scene;
    MemoryImage memory;
    Firmware firmware;
    UsbPort port;
    Bytes preparedBlocks; // of the coming measurement
    double lampSeconds = 0.0;
};

/// A spectrophotometer as built, not yet at a place.
std::shared_ptr<Instrument> MakeSpectrophotometer();

}
