#include "virtual/colorimeter/Colorimeter.h"

#include "virtual/instrument/Refusal.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

namespace Virtual::Colorimeter {
namespace {

constexpr double mostTicks = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t longestVersion = 8;
constexpr std::size_t longestFrame = 8;
constexpr std::size_t longestSerialReply = 9;
constexpr std::size_t longestUsbReply = 6;
constexpr std::array<std::uint8_t, 3> frameHeader = {0x41, 0xFF, 0x41}; // some hosts send it before each frame
constexpr std::uint8_t behindTheReply = 0x5A; // fills a channel answer; not zero, so that nobody comes to rely on it
constexpr std::uint8_t unknownCommand = 0xEE; // the echo over USB
constexpr std::uint8_t junkByte = 0x55;
constexpr Moment driverPatience = 5'000'000; // after which the channel's driver gives an instrument up
constexpr Moment startUpTime = 1'000'000;    // on the power of a serial port

/// Places in the table of numbers below.
enum Row : std::size_t {
    rowX,
    rowY,
    rowZ,
    rowRefresh,
    rowDarkRed,
    rowDarkGreen,
    rowDarkBlue,
    rowAmbientX,
    rowAmbientY,
    rowAmbientZ,
    rowLock,
    rowDelay,
    rowWritable,
    rowTicks,
    rowTicksLimit,
    rowJunk,
    rowPeriodsLeft
};

constexpr NumberRow numberTable[] = {
    {"X", 95.047, 0, 1e6, false, false},
    {"Y", 100.0, 0, 1e6, false, false},
    {"Z", 108.883, 0, 1e6, false, false},
    {"refresh-hz", 60, 0, 1e4, false, false},
    {"dark-red", 0, 0, 1e9, false, false},
    {"dark-green", 0, 0, 1e9, false, false},
    {"dark-blue", 0, 0, 1e9, false, false},
    {"ambient-X", 95.047, 0, 1e7, false, false},
    {"ambient-Y", 100.0, 0, 1e7, false, false},
    {"ambient-Z", 108.883, 0, 1e7, false, false},
    {"lock-after", 2, -1, 1e6, true, false},
    {"reply-delay", 0, 0, 3600, false, false},
    {"memory-writable", 1, 0, 1, true, false},
    {"integration-ticks", 0, 0, mostTicks, true, true},
    {"ticks-limit", 0, -1, mostTicks, true, false},
    {"junk-at-open", 0, 0, 64, true, false},
    {"periods-left", 0, 0, 255, true, false},
};
static_assert(std::size(numberTable) == rowPeriodsLeft + 1);

Moment Microseconds(double seconds)
{
    return static_cast<Moment>(std::llround(seconds * 1e6));
}

/// What the host hears of a fault that ends the transfer; 0 for the others.
int ErrorOf(Fault fault)
{
    switch (fault) {
    case Fault::fail:
        return EIO;
    case Fault::stall:
        return EPIPE;
    case Fault::denied:
        return EACCES;
    case Fault::busy:
        return EBUSY;
    case Fault::timeout:
        return ETIMEDOUT;
    case Fault::unplug:
        return ENODEV;
    default:
        return 0;
    }
}

}

Instrument::Instrument(const Type& instrumentType)
    : WireInstrument(numberTable), type(instrumentType), firmware(instrumentType)
{
    for (std::size_t i = 0; i < 3; ++i)
        StoreNumber(rowDarkRed + i, firmware.scene.dark[i]);
    StoreNumber(rowWritable, type.memoryWritable ? 1 : 0);
    NumberChanged(rowX);
}

void Instrument::TakePlace(const Place& given)
{
    place = given;
}

void Instrument::Seed(std::uint64_t seed)
{
    noise.seed(seed);
}

// ---- names

void Instrument::NumberChanged(std::size_t row)
{
    Scene scene = firmware.scene;
    for (std::size_t i = 0; i < 3; ++i) {
        scene.screenXYZ[i] = Number(rowX + i);
        scene.ambientXYZ[i] = Number(rowAmbientX + i);
        scene.dark[i] = Number(rowDarkRed + i);
    }
    scene.refreshHertz = Number(rowRefresh);
    // Whoever lights a scene wants it looked at.
    if (row >= rowAmbientX && row <= rowAmbientZ)
        scene.diffuser = type.ambientHead;
    else if (row <= rowZ)
        scene.diffuser = false;
    if (firmware.Light().IsTooBright(scene))
        throw Refusal(OXV_BAD_VALUE, "this is too bright for the instrument: its converters could not follow");
    firmware.scene = scene;

    firmware.lockAfter = static_cast<std::int32_t>(Number(rowLock));
    firmware.memory.writable = Number(rowWritable) != 0.0;
    firmware.ticksLimit = static_cast<std::int64_t>(Number(rowTicksLimit));
    firmware.periodsLeft = static_cast<std::uint8_t>(Number(rowPeriodsLeft));
    StoreNumber(rowTicks, firmware.IntegrationTicks());
}

void Instrument::SetText(std::string_view name, std::string_view value)
{
    if (name == "version") {
        if (value.size() > longestVersion)
            throw Refusal(OXV_BAD_VALUE, "a version has at most 8 characters");
        firmware.version = value;
    } else if (name == "position") {
        if (value != "screen" && value != "diffuser")
            throw Refusal(OXV_BAD_VALUE, "a position is \"screen\" or \"diffuser\"");
        if (value == "diffuser" && !type.ambientHead)
            throw Refusal(OXV_NOT_POSSIBLE, "this instrument has no ambient head");
        firmware.scene.diffuser = value == "diffuser";
    } else {
        WireInstrument::SetText(name, value);
    }
}

std::string Instrument::GetText(std::string_view name) const
{
    if (name == "version")
        return firmware.version;
    if (name == "position")
        return firmware.scene.diffuser ? "diffuser" : "screen";
    if (name == "port" && !PortName().empty())
        return PortName();
    return WireInstrument::GetText(name);
}

void Instrument::ProtectMemory(std::uint32_t offset, bool on)
{
    if (offset >= firmware.memory.Cells().size())
        throw Refusal(OXV_BAD_VALUE, "beyond the end of the memory");
    firmware.memory.Hold(offset, on);
}

// ---- faults

bool Instrument::TakesFault(std::string_view point, Fault fault) const
{
    const bool exchange = point == "any" || point == "command" || point.starts_with("command:");
    switch (fault) {
    case Fault::fail:
    case Fault::unplug:
        return exchange || point == "open" || point == "close" || (point == "setup" && LivesOnThePort());
    case Fault::denied:
    case Fault::busy:
        return point == "open" || (exchange && OnUsb());
    case Fault::stall:
        return exchange && OnUsb();
    case Fault::lengthZero:
    case Fault::lengthTen:
    case Fault::closeAfterLength:
        return exchange && !OnUsb();
    default:
        return exchange;
    }
}

std::size_t Instrument::LongestAnswer(std::string_view point) const
{
    if (!point.starts_with("command:"))
        return 0;
    return OnUsb() ? longestUsbReply : longestSerialReply;
}

// ---- the wires

void Instrument::CableChanged(Moment now)
{
    CheckPower(now);
}

void Instrument::SetControlLines(bool up, Moment now)
{
    for (const char* line : {"dtr", "rts"})
        trace.Add(Trace::Channel::main, std::string(line) + (up ? " up" : " down"));
    linesUp = up;
    CheckPower(now);
}

/// Starts or ends the instrument's run where cable and control lines say so.
void Instrument::CheckPower(Moment now)
{
    const bool supplied = IsPlugged() && (!LivesOnThePort() || linesUp);
    if (supplied == powered)
        return;
    powered = supplied;
    received.clear();
    outOfStep = false;
    if (powered) {
        firmware.PowerOn(OnUsb());
        busyUntil = 0;
        readyAt = LivesOnThePort() ? now + startUpTime : 0;
    } else {
        NotePowerLoss(now);
    }
    StoreNumber(rowTicks, firmware.IntegrationTicks());
}

int Instrument::Open(Moment now, std::vector<Arrival>& junk)
{
    const Fault fault = faults.Pass({"open", "any"});
    if (fault == Fault::unplug)
        Unplug(now);
    if (const int error = ErrorOf(fault); error != 0 && !(fault == Fault::unplug && !OnUsb()))
        return error;
    if (OnUsb() && !IsPlugged())
        return ENODEV;
    trace.Add(Trace::Channel::main, "open");
    received.clear();
    outOfStep = false;
    linesUp = false;
    CheckPower(now);
    const auto count = static_cast<std::size_t>(Number(rowJunk));
    if (count > 0 && !OnUsb() && IsPlugged())
        junk.push_back({Bytes(count, junkByte), now + Microseconds(Number(rowDelay)), Arrival::End::none});
    return 0;
}

int Instrument::SetUp(Moment now)
{
    const Fault fault = faults.Pass({"setup", "any"});
    if (fault == Fault::unplug)
        Unplug(now);
    if (fault == Fault::fail)
        return ErrorOf(fault);
    trace.Add(Trace::Channel::main, "setup");
    return 0;
}

int Instrument::Close(Moment now)
{
    const Fault fault = faults.Pass({"close", "any"});
    if (fault == Fault::unplug)
        Unplug(now);
    trace.Add(Trace::Channel::main, "close");
    linesUp = false;
    CheckPower(now);
    return ErrorOf(fault);
}

/// Runs one command, unless a fault keeps it from reaching the firmware.
Instrument::Outcome Instrument::Run(std::span<const std::uint8_t> frame, Moment now)
{
    trace.Add(Trace::Channel::main, "command" + HexBytes(frame));
    const std::string point = "command:" + std::to_string(frame[0]);
    Outcome outcome{faults.Pass({"command", point, "any"}), std::nullopt, now};
    auto queued = faults.TakeAnswer(point);
    if (queued)
        outcome.fault = Fault::none;
    if (outcome.fault == Fault::unplug)
        Unplug(now);
    if (ErrorOf(outcome.fault) != 0)
        return outcome;

    outcome.reply = firmware.Answer(frame);
    StoreNumber(rowTicks, firmware.IntegrationTicks());
    if (queued)
        outcome.reply = Reply{std::move(*queued), outcome.reply ? outcome.reply->seconds : 0.0};
    else if (!outcome.reply && OnUsb())
        outcome.reply = Reply{{unknownCommand}, 0.0};
    if (outcome.reply)
        outcome.due += Microseconds(outcome.reply->seconds + Number(rowDelay));
    return outcome;
}

/// Faults that change the reply itself, not its way to the host.
void Instrument::Mangle(Outcome& outcome)
{
    Bytes& bytes = outcome.reply->bytes;
    if (outcome.fault == Fault::wrongEcho && !bytes.empty())
        bytes[0] ^= 0x55;
    if (outcome.fault == Fault::echoOnly)
        bytes.resize(std::min<std::size_t>(bytes.size(), 1));
    if (outcome.fault == Fault::garbage)
        std::ranges::generate(bytes, [this] { return static_cast<std::uint8_t>(noise() >> 56); });
}

/// The next whole frame that has come in over the serial line, without its length. Nothing is skipped: behind a byte
/// that cannot begin a frame the instrument is out of step, until it starts anew or its port is opened anew.
std::optional<Bytes> Instrument::NextFrame()
{
    const std::size_t have = std::min(received.size(), frameHeader.size());
    const bool header =
        have > 0 && std::equal(frameHeader.begin(), frameHeader.begin() + have, received.begin()); // or a part of it
    if (header && have < frameHeader.size())
        return std::nullopt;
    if (header) {
        trace.Add(Trace::Channel::main, "header" + HexBytes(frameHeader));
        received.erase(received.begin(), received.begin() + frameHeader.size());
    }
    if (received.empty())
        return std::nullopt;
    const std::size_t length = received[0];
    outOfStep = length == 0 || length > longestFrame;
    if (outOfStep)
        trace.Add(Trace::Channel::main, "no frame" + HexBytes(std::span(received).first(1)));
    if (outOfStep || received.size() <= length)
        return std::nullopt;
    const auto end = received.begin() + static_cast<std::ptrdiff_t>(length) + 1;
    Bytes frame(received.begin() + 1, end);
    received.erase(received.begin(), end);
    return frame;
}

std::vector<Arrival> Instrument::Receive(std::span<const std::uint8_t> bytes, Moment now)
{
    std::vector<Arrival> arrivals;
    if (!powered || outOfStep || now < readyAt)
        return arrivals;
    received.insert(received.end(), bytes.begin(), bytes.end());
    while (const auto frame = NextFrame()) {
        Outcome outcome = Run(*frame, std::max(now, busyUntil));
        busyUntil = outcome.due;
        if (outcome.fault == Fault::fail)
            arrivals.push_back({{}, outcome.due, Arrival::End::failedRead});
        else if (outcome.reply)
            arrivals.push_back(ToArrival(outcome));
    }
    return arrivals;
}

Arrival Instrument::ToArrival(Outcome& outcome)
{
    Mangle(outcome);
    Bytes payload = std::move(outcome.reply->bytes);
    Arrival arrival{{static_cast<std::uint8_t>(payload.size())}, outcome.due, Arrival::End::none};
    if (outcome.fault == Fault::lengthZero) {
        arrival.bytes = {0};
        payload.clear();
    } else if (outcome.fault == Fault::lengthTen) {
        arrival.bytes = {10};
        payload.resize(10, behindTheReply);
    } else if (outcome.fault == Fault::closeAfterLength) {
        arrival.end = Arrival::End::hangUp;
        payload.clear();
    }
    arrival.bytes.insert(arrival.bytes.end(), payload.begin(), payload.end());
    arrival.bytes.resize(BytesUnder(outcome.fault, arrival.bytes.size()));
    if (!arrival.bytes.empty())
        trace.Add(Trace::Channel::main, "reply" + HexBytes(std::span(arrival.bytes).subspan(1)));
    return arrival;
}

ChannelAnswer Instrument::Exchange(std::span<const std::uint8_t, 8> request, Moment now)
{
    ChannelAnswer answer{0, {}, now};
    if (!IsPlugged())
        return {ENODEV, {}, now};
    const std::size_t length = request[0];
    if (length == 0 || length >= request.size()) {
        trace.Add(Trace::Channel::main, "no frame" + HexBytes(request.first(1)));
        return {EPIPE, {}, now};
    }
    Outcome outcome = Run(request.subspan(1, length), now);
    answer.due = outcome.due;
    answer.error = ErrorOf(outcome.fault);
    if (outcome.fault == Fault::timeout)
        answer.due += driverPatience;
    if (!outcome.reply)
        return answer;

    Mangle(outcome);
    Bytes& payload = outcome.reply->bytes;
    payload.resize(BytesUnder(outcome.fault, std::min(payload.size(), longestUsbReply)));
    trace.Add(Trace::Channel::main, "reply" + HexBytes(payload));
    answer.bytes.fill(behindTheReply);
    answer.bytes[1] = static_cast<std::uint8_t>(payload.size());
    std::ranges::copy(payload, answer.bytes.begin() + 2);
    return answer;
}

}

namespace Virtual {

std::shared_ptr<Instrument> MakeColorimeter(int type)
{
    const auto* row = Colorimeter::FindType(type);
    return row ? std::make_shared<Colorimeter::Instrument>(*row) : nullptr;
}

}
