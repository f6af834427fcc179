#include "virtual/spectrophotometer/Spectrophotometer.h"

#include "virtual/instrument/Refusal.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Virtual {

namespace {

/// The rows of the table of numbers, in its order.
enum Row : std::size_t {
    serialNumber,
    firmwareVersion,
    deviceType,
    deviceStatus,
    powerRecoversAfter,
    noise,
    gain,
    integrationTicks,
    spectrumCount,
    lead,
    trail,
    lampOnTime,
    buttonDelay,
    lampScale,
    lampTemperature,
    stray,
    offsetWord,
    clipLevel,
    overflowThreshold,
    scanReadings,
    scanLine,
    darkRate,
    hotPixelRate,
    uvCut,
    ambientHead,
    strict,
    shotNoise,
    rowCount
};

constexpr double mostSeconds = 3600.0;
constexpr double mostRate = 1e9;
constexpr double mostReadings = 1e6;

constexpr NumberRow numberTable[] = {
    {"serial-number", 100001, -2147483648.0, 2147483647.0, true, false},
    {"firmware-version", 302, 0, 65535, true, false},
    {"device-type", 1, 0, 255, true, false},
    {"device-status", 0, 0, 255, true, false},
    {"power-recovers-after", 3, -1, mostReadings, true, false},
    {"noise", 0, 0, 65535, false, false},
    {"gain", 0, 0, 1, true, true},
    {"integration-ticks", 0, 0, 65535, true, true},
    {"spectrum-count", 0, 0, 65535, true, true},
    {"lead", 0.5, 0, mostSeconds, false, false},
    {"trail", 0.5, 0, mostSeconds, false, false},
    {"lamp-on-time", 0, 0, mostRate, false, true},
    {"button-delay", 0, 0, mostSeconds, false, false},
    {"lamp-scale", 1, 0, 1000, false, false},
    {"lamp-temperature", 3000, 500, 50000, false, false},
    {"stray", 0, 0, mostRate, false, false},
    {"offset-word", 300, 0, 65535, true, false},
    {"clip-level", 57000, 0, 65535, true, false},
    {"overflow-threshold", 60000, 0, 65535, true, false},
    {"scan-readings", 0, 0, mostReadings, true, false},
    {"scan-line", 10, 1, 65535, true, false},
    {"dark-rate", 40, 0, mostRate, false, false},
    {"hot-pixel", 120, 0, mostRate, false, false},
    {"uv-cut", 0, 0, 1, true, false},
    {"ambient-head", 1, 0, 1, true, false},
    {"strict", 1, 0, 1, true, false},
    {"shot-noise", 0, 0, 100, false, false},
};
static_assert(std::size(numberTable) == rowCount);

std::uint16_t Word(double value)
{
    return static_cast<std::uint16_t>(value);
}

bool CutsShort(Fault fault)
{
    return fault == Fault::half || fault == Fault::oneShort || fault == Fault::empty || fault == Fault::garbage;
}

}

std::shared_ptr<Instrument> MakeSpectrophotometer()
{
    return std::make_shared<Spectrophotometer>();
}

Spectrophotometer::Spectrophotometer()
    : Instrument(numberTable), memory(BuiltMemory(optics)), firmware(memory, *this), port(*this, firmware)
{
}

std::string Spectrophotometer::Address() const
{
    return "virtual-usb-" + std::to_string(place.number);
}

bool Spectrophotometer::Answers(Moment now)
{
    if (!IsPlugged())
        return false;
    const Fault fault = faults.Pass({"enumerate", "any"});
    if (fault == Fault::unplug)
        Unplug(now);
    return fault != Fault::unplug && fault != Fault::fail;
}

void Spectrophotometer::Seed(std::uint64_t seed)
{
    converter.Seed(seed);
    port.Seed(seed);
}

double Spectrophotometer::TellNumber(std::size_t row) const
{
    switch (row) {
    case deviceStatus:
        return firmware.identity.status;
    case gain:
        return static_cast<double>(firmware.parameters.GainSetting());
    case integrationTicks:
        return firmware.parameters.ticks;
    case spectrumCount:
        return firmware.parameters.count;
    case lampOnTime:
        return lampSeconds;
    default:
        return Number(row);
    }
}

double* Spectrophotometer::PlainNumber(std::size_t row)
{
    switch (row) {
    case noise:
        return &converter.noise;
    case shotNoise:
        return &converter.shotNoise;
    case offsetWord:
        return &converter.pedestal;
    case clipLevel:
        return &converter.clipLevel;
    case lead:
        return &scene.leadSeconds;
    case trail:
        return &scene.trailSeconds;
    case darkRate:
        return &darkness.pixel;
    case hotPixelRate:
        return &darkness.hotPixel;
    case stray:
        return &darkness.stray;
    default:
        return nullptr;
    }
}

void Spectrophotometer::NumberChanged(std::size_t row)
{
    const double value = Number(row);
    if (double* const plain = PlainNumber(row)) {
        *plain = value;
        return;
    }
    auto& identity = firmware.identity;
    switch (row) {
    case serialNumber:
        return StoreSerialNumber(memory, static_cast<std::int32_t>(value));
    case firmwareVersion:
        identity.version = Word(value);
        return;
    case deviceType:
        identity.deviceType = static_cast<std::uint8_t>(value);
        return;
    case deviceStatus:
        identity.status = static_cast<std::uint8_t>(value);
        return;
    case powerRecoversAfter:
        identity.powerRecoversAfter = static_cast<int>(value);
        return;
    case overflowThreshold:
        identity.overflowThreshold = Word(value);
        return;
    case uvCut:
        StoreUvCut(memory, value != 0.0);
        [[fallthrough]];
    case lampScale:
    case lampTemperature:
        return optics.SetLamp(Number(lampTemperature), Number(lampScale), Number(uvCut) != 0.0);
    case strict:
        firmware.strict = value != 0.0;
        return;
    case ambientHead:
        StoreAmbientHead(memory, value != 0.0);
        scene.ambientHead = value != 0.0;
        return;
    default:
        return; // looked up where it is needed
    }
}

void Spectrophotometer::SetText(std::string_view name, std::string_view value)
{
    if (name == "address")
        throw Refusal(OXV_NOT_POSSIBLE, "\"address\" can only be read");
    if (name != "position")
        return Instrument::SetText(name, value);
    if (!Scene::IsPosition(value))
        throw Refusal(OXV_BAD_VALUE, "there is no position \"" + std::string(value) + "\"");
    scene.SetPosition(value);
}

std::string Spectrophotometer::GetText(std::string_view name) const
{
    if (name == "position")
        return scene.Position();
    if (name == "address")
        return Address();
    return Instrument::GetText(name);
}

void Spectrophotometer::SetBytes(std::string_view name, std::span<const std::uint8_t> bytes)
{
    if (name == "modes") {
        if (bytes.size() % 3 != 0 || bytes.size() > 3 * std::size_t{255})
            throw Refusal(OXV_BAD_VALUE, "\"modes\" takes three bytes for each of at most 255 modes");
        firmware.modes.clear();
        for (std::size_t i = 0; i < bytes.size(); i += 3)
            firmware.modes.push_back({bytes[i], bytes[i + 1], bytes[i + 2]});
    } else if (name == "status-list") {
        firmware.identity.comingStatus.assign(bytes.begin(), bytes.end());
    } else if (name == "blocks") {
        if (bytes.size() % blockSize != 0)
            throw Refusal(OXV_BAD_VALUE, "\"blocks\" takes a multiple of 256 bytes");
        preparedBlocks.assign(bytes.begin(), bytes.end());
    } else {
        Instrument::SetBytes(name, bytes);
    }
}

void Spectrophotometer::SetCurve(std::string_view name, const Curve& curve)
{
    if (!scene.HasCurve(name))
        return Instrument::SetCurve(name, curve);
    scene.SetCurve(name, curve);
}

void Spectrophotometer::AddToStrip(const Curve& curve, double seconds, double edgeSeconds)
{
    scene.AddPatch(curve, seconds, edgeSeconds);
}

void Spectrophotometer::AddFlash(const Curve& curve, double start, double duration)
{
    scene.AddFlash(curve, start, duration);
}

void Spectrophotometer::Press(Moment now)
{
    if (!IsPlugged())
        throw Refusal(OXV_NOT_POSSIBLE, "an unplugged instrument sends no message");
    port.SendMessage(now + std::llround(Number(buttonDelay) * 1e6));
}

bool Spectrophotometer::TakesFault(std::string_view point, Fault fault) const
{
    const bool opening = fault == Fault::fail || fault == Fault::denied || fault == Fault::busy;
    const bool transfer = fault == Fault::fail || fault == Fault::stall || fault == Fault::timeout || CutsShort(fault);

    if (fault == Fault::unplug)
        return !point.starts_with("command") && (!point.starts_with("open:") || PointNumber(point) <= 3);
    if (point == "enumerate")
        return fault == Fault::fail;
    if (point == "open" || (point.starts_with("open:") && PointNumber(point) <= 3))
        return opening;
    if (point == "control:C0" || point == "control:c0") // has no data that could be cut short
        return transfer && !CutsShort(fault);
    if (point == "any")
        return opening || transfer;
    return transfer
        && (point == "reset" || point == "control" || point.starts_with("control:") || point == "bulk-read"
            || point == "bulk-write" || point == "interrupt-read");
}

void Spectrophotometer::FaultSet(std::string_view point, Moment now)
{
    if (point == "interrupt-read")
        port.MeetFaultWhileWaiting(now);
}

std::size_t Spectrophotometer::LongestAnswer(std::string_view point) const
{
    if (!point.starts_with("control:"))
        return 0;
    switch (PointNumber(point)) {
    case 0xC2:
    case 0xC9:
        return 8;
    case 0xC8:
        return 2;
    case 0xD1:
        return 6;
    default:
        return 0;
    }
}

std::size_t Spectrophotometer::ReadingsOf(const MeasureOrder& order, const View& view) const
{
    if (!order.parameters.Scan())
        return order.parameters.count;
    const double asLongAsTheStrip = std::ceil(view.Duration() / order.exposure.integrationTime - 1e-9);
    const double told = Number(scanReadings);
    const double line = Number(scanLine);
    const double readings = told > 0.0 ? told : std::min(asLongAsTheStrip, mostReadings);
    return static_cast<std::size_t>(std::ceil(readings / line) * line);
}

MeasureStart Spectrophotometer::Start(const MeasureOrder& order)
{
    MeasureStart start;
    View view = scene.Look(optics, !order.parameters.LampOff());
    start.readings = ReadingsOf(order, view);
    if (!order.parameters.LampOff())
        lampSeconds += order.delay + static_cast<double>(start.readings) * order.exposure.integrationTime;
    if (preparedBlocks.empty())
        start.running.emplace(std::move(view), order.exposure, darkness, converter);
    else
        start.prepared = std::exchange(preparedBlocks, {});
    return start;
}

}
