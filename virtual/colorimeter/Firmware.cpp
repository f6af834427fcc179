#include "virtual/colorimeter/Firmware.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

namespace Virtual::Colorimeter {
namespace {

constexpr double patience = 60.0;       // seconds after which a count of pulses is given up
constexpr double refreshPatience = 1.0; // the same for a refresh of the screen
constexpr std::size_t darkCell = 103;   // where the dark values held in the instrument lie
constexpr std::uint8_t notLocked = 100; // of the lock detector
constexpr std::uint8_t locked = 250;

std::uint32_t BigEndian(std::span<const std::uint8_t> bytes)
{
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

void AppendBigEndian(std::vector<std::uint8_t>& bytes, std::uint32_t value, unsigned size)
{
    for (unsigned shift = 8 * size; shift > 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> (shift - 8)));
}

std::uint32_t Rounded(double value)
{
    constexpr double most = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::clamp(std::round(value), 0.0, most));
}

}

void Memory::Write(std::size_t at, std::uint8_t value)
{
    if (writable && !held.at(at))
        cells.at(at) = value;
}

/// One command that some firmware knows. Code and length decide together, among those of the instrument's features.
struct Firmware::Command {
    std::uint8_t code;
    std::uint8_t length; // with the code
    std::uint16_t feature;
    Reply (Firmware::*run)(Parameters);
    enum class Names { nothing, cell, wideCell, channel, channelLast } names = Names::nothing;
};

const Firmware::Command Firmware::commands[] = {
    {0, 1, Basic, &Firmware::Version},
    {1, 1, Basic, &Firmware::ReadChannel},
    {2, 1, Basic, &Firmware::ReadChannel},
    {3, 1, Basic, &Firmware::ReadChannel},
    {4, 1, Basic, &Firmware::ReadRefresh},
    {5, 5, Basic, &Firmware::SetTicks},
    {6, 1, Basic, &Firmware::GetTicks},
    {7, 3, Basic, &Firmware::WriteCell, Command::Names::cell},
    {8, 2, Basic, &Firmware::ReadCell, Command::Names::cell},
    {9, 1, FinePeriod, &Firmware::ReadRefresh},
    {10, 2, Edges, &Firmware::ReadPeriods},
    {11, 2, Edges, &Firmware::ReadPeriods},
    {12, 2, Edges, &Firmware::ReadPeriods},
    {13, 4, Edges, &Firmware::ReadEdges},
    {16, 3, Wide, &Firmware::ReadWidePeriods},
    {17, 3, Wide, &Firmware::ReadWidePeriods},
    {18, 3, Wide, &Firmware::ReadWidePeriods},
    {19, 2, Wide, &Firmware::ReadWideChannel, Command::Names::channel},
    {20, 4, Wide, &Firmware::SetWideEdges, Command::Names::channelLast},
    {21, 2, Wide, &Firmware::GetWideEdges, Command::Names::channel},
    {22, 1, Wide, &Firmware::ReadWideEdges},
    {16, 5, TimeLimited, &Firmware::ReadLimitedEdges},
    {17, 1, TimeLimited, &Firmware::FetchLimited},
    {18, 1, TimeLimited, &Firmware::FetchLimited},
    {17, 5, LoopPeriod, &Firmware::SetRegister},
    {18, 1, LoopPeriod, &Firmware::GetRegister},
    {19, 4, Extended, &Firmware::WriteExtended, Command::Names::wideCell},
    {20, 3, Extended, &Firmware::ReadExtended, Command::Names::wideCell},
    {21, 5, Integration, &Firmware::SetDark},
    {22, 5, Integration, &Firmware::SetDark},
    {23, 5, Integration, &Firmware::SetDark},
    {26, 2, Integration, &Firmware::SetRegister},
    {27, 1, Integration, &Firmware::GetRegister},
    {28, 2, Trigger, &Firmware::SetRegister},
    {29, 1, Trigger, &Firmware::GetRegister},
    {30, 2, LoopRegisters, &Firmware::SetRegister},
    {31, 1, LoopRegisters, &Firmware::GetRegister},
    {32, 3, LoopRegisters, &Firmware::SetRegister},
    {33, 1, LoopRegisters, &Firmware::GetRegister},
    {34, 3, LoopRegisters, &Firmware::SetRegister},
    {35, 1, LoopRegisters, &Firmware::GetRegister},
    {36, 1, LoopRegisters, &Firmware::ReadLock},
};

namespace {

/// The registers that are only kept: the pair of commands for each, and its size on the wire.
struct RegisterRow {
    std::uint8_t set;
    std::uint8_t get;
    unsigned size; // bytes
    std::uint32_t atStart;
};

constexpr RegisterRow registerTable[] = {
    {17, 18, 4, 0},   // loop period
    {26, 27, 1, 0},   // data format
    {28, 29, 1, 0},   // trigger mode
    {30, 31, 1, 240}, // C
    {32, 33, 2, 376}, // N
    {34, 35, 2, 77},  // R
};

}

Firmware::Firmware(const Type& instrumentType)
    : memory(MakeMemory(instrumentType)), version(instrumentType.version), type(instrumentType), light(instrumentType)
{
    memory.writable = type.memoryWritable;
    scene.dark = MakeCalibration(type).dark;
    PowerOn(false);
}

void Firmware::PowerOn(bool usb)
{
    state = {};
    state.usb = usb;
    state.ticks = Rounded(MakeCalibration(type).seconds / TickSeconds());
    std::ranges::transform(registerTable, state.registers.begin(), &RegisterRow::atStart);
}

std::optional<Reply> Firmware::Answer(std::span<const std::uint8_t> frame)
{
    const auto* command = std::ranges::find_if(commands, [&](const Command& row) {
        return !frame.empty() && row.code == frame[0] && row.length == frame.size()
            && (row.feature == Basic || (row.feature & Features()) != 0) && Has(row, frame.subspan(1));
    });
    if (command == std::end(commands))
        return std::nullopt;
    code = command->code;
    return (this->*command->run)(frame.subspan(1));
}

/// Whether the cell or the channel that the command names is there.
bool Firmware::Has(const Command& command, Parameters given) const
{
    constexpr std::size_t channels = 3;
    switch (command.names) {
    case Command::Names::cell:
        return given[0] < memory.Size();
    case Command::Names::wideCell:
        return BigEndian(given.first(2)) < memory.Size();
    case Command::Names::channel:
        return given.front() < channels;
    case Command::Names::channelLast:
        return given.back() < channels;
    default:
        return true;
    }
}

int Firmware::Revision() const
{
    int revision = 0;
    for (const std::size_t at : {0U, 2U, 3U}) {
        if (at >= version.size() || version[at] < '0' || version[at] > '9')
            return 0;
        revision = 10 * revision + (version[at] - '0');
    }
    return revision;
}

std::uint16_t Firmware::Features() const
{
    const int revision = Revision();
    const bool limits = type.optics == Optics::ThreeFilters && revision >= 441 && revision <= 449;
    return static_cast<std::uint16_t>(type.features | (limits ? TimeLimited : 0));
}

double Firmware::TickSeconds() const
{
    return (state.usb ? type.usbTick : type.serialTick) * 1e-9;
}

Reply Firmware::Acknowledge() const
{
    return {{code}, 0.0};
}

Reply Firmware::WithLong(std::uint32_t value, double seconds) const
{
    Reply reply{{code}, seconds};
    AppendBigEndian(reply.bytes, value, 4);
    return reply;
}

Reply Firmware::Version(Parameters)
{
    Reply reply = Acknowledge();
    for (const char letter : std::string_view(version).substr(0, 8))
        reply.bytes.push_back(static_cast<std::uint8_t>(letter));
    return reply;
}

// ---- counts in the integration time

Reply Firmware::ReadChannel(Parameters)
{
    const std::size_t channel = code - 1U;
    if (channel == 0)
        state.edgesPending = {};
    if (state.edgesPending[channel]) {
        state.edgesPending[channel] = false;
        return WithLong(state.edgeCounts[channel]);
    }
    return CountPulses(channel);
}

Reply Firmware::ReadWideChannel(Parameters)
{
    state.edgesPending = {};
    return CountPulses(type.optics == Optics::OneConverter ? static_cast<std::size_t>(type.lightChannel) : 0);
}

Reply Firmware::CountPulses(std::size_t channel)
{
    const double seconds = state.ticks * TickSeconds();
    if (type.optics == Optics::Integrator)
        return WithLong(IntegratedCount(channel), seconds);
    const int revision = Revision();
    const double pulsesPerPeriod = type.doublesCounts || revision == 519 || revision == 520 ? 2.0 : 1.0;
    return WithLong(Rounded(light.Hertz(scene)[channel] * seconds * pulsesPerPeriod), seconds);
}

std::uint32_t Firmware::IntegratedCount(std::size_t channel) const
{
    std::array<std::uint8_t, 4> cells{};
    for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = memory.Read(darkCell + 4 * channel + i);
    const std::uint32_t told = BigEndian(cells);
    const std::uint32_t dark = told == 0xFFFFFFFFU ? 0U : told; // never written
    return Rounded(light.Pulses(scene)[channel]) - dark;        // two's complement when darker than dark
}

Reply Firmware::SetTicks(Parameters given)
{
    const std::uint32_t wanted = BigEndian(given);
    if (ticksLimit >= 0)
        state.ticks = ticksLimit == 0 ? wanted : static_cast<std::uint32_t>(std::min<std::int64_t>(wanted, ticksLimit));
    return Acknowledge();
}

Reply Firmware::GetTicks(Parameters)
{
    return WithLong(state.ticks);
}

// ---- clock counts over a number of pulses

/// How long the converter needs for so many pulses; the instrument gives up in the end. A filter that is not fitted
/// costs no time.
double Firmware::SecondsFor(std::size_t channel, std::uint32_t pulses) const
{
    const bool fitted = type.optics != Optics::OneConverter || channel == static_cast<std::size_t>(type.lightChannel);
    return fitted && pulses > 0 ? pulses / light.Hertz(scene)[channel] : 0.0;
}

/// Clock counts of a duration; 0 if it is beyond the instrument's patience.
double Firmware::ClockCounts(double seconds) const
{
    const double counts = seconds / double{type.clock} * (state.usb && type.doublesPeriodsOnUsb ? 2.0 : 1.0);
    return seconds <= patience ? counts : 0.0;
}

Reply Firmware::CountPeriods(std::size_t channel, std::uint32_t periods)
{
    const double seconds = SecondsFor(channel, periods);
    return WithLong(Rounded(ClockCounts(seconds)), std::min(seconds, patience));
}

Reply Firmware::ReadPeriods(Parameters given)
{
    return CountPeriods(code - 10U, given[0]);
}

Reply Firmware::ReadWidePeriods(Parameters given)
{
    return CountPeriods(code - 16U, BigEndian(given));
}

/// Counts all channels together, gives the first one's count and leaves the others to be fetched; a lone converter
/// gives its count, and nothing is left. Each count is that of half the time that its edges take.
Reply Firmware::CountEdges(const Counts& edges)
{
    Counts counts{};
    double longest = 0.0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double seconds = SecondsFor(i, edges[i]);
        const double exact = 0.5 * ClockCounts(seconds);
        const double withRest = exact > 0.0 ? exact + state.carry[i] : 0.0;
        counts[i] = Rounded(withRest);
        state.carry[i] = withRest - counts[i];
        longest = std::max(longest, std::min(seconds, patience));
    }
    const bool alone = type.optics == Optics::OneConverter;
    if (alone)
        counts[0] = counts[static_cast<std::size_t>(type.lightChannel)];
    state.edgeCounts = counts;
    state.edgesPending = {false, !alone, !alone};
    return WithLong(counts[0], longest);
}

Reply Firmware::ReadEdges(Parameters given)
{
    return CountEdges({given[0], given[1], given[2]});
}

Reply Firmware::ReadWideEdges(Parameters)
{
    return CountEdges(state.wideEdges);
}

Reply Firmware::SetWideEdges(Parameters given)
{
    state.wideEdges[given[2]] = BigEndian(given.first(2));
    return Acknowledge();
}

Reply Firmware::GetWideEdges(Parameters given)
{
    Reply reply = Acknowledge();
    reply.bytes.push_back(given[0]);
    AppendBigEndian(reply.bytes, state.wideEdges[given[0]], 2);
    return reply;
}

Reply Firmware::ReadLimitedEdges(Parameters given)
{
    Counts edges{};
    for (std::size_t i = 0; i < 3; ++i)
        edges[i] = given[i] > periodsLeft ? static_cast<std::uint32_t>(given[i] - periodsLeft) : 0U;
    Reply reply = CountEdges(edges);
    state.limitedCounts = state.edgeCounts;
    state.edgesPending = {};
    reply.bytes.push_back(periodsLeft);
    return reply;
}

Reply Firmware::FetchLimited(Parameters)
{
    Reply reply = WithLong(state.limitedCounts[code - 16U]);
    reply.bytes.push_back(periodsLeft);
    return reply;
}

Reply Firmware::ReadRefresh(Parameters)
{
    const bool refreshes = scene.refreshHertz > 0.0;
    const double seconds = refreshes ? 1.0 / scene.refreshHertz : refreshPatience;
    return WithLong(refreshes ? Rounded(seconds / double{type.clock}) : 0U, seconds);
}

// ---- memory

Reply Firmware::WriteCell(Parameters given)
{
    memory.Write(given[0], given[1]);
    return Acknowledge();
}

Reply Firmware::ReadCell(Parameters given)
{
    return {{code, given[0], memory.Read(given[0])}, 0.0};
}

Reply Firmware::WriteExtended(Parameters given)
{
    memory.Write(BigEndian(given.first(2)), given[2]);
    return Acknowledge();
}

Reply Firmware::ReadExtended(Parameters given)
{
    return {{code, given[0], given[1], memory.Read(BigEndian(given))}, 0.0};
}

Reply Firmware::SetDark(Parameters given)
{
    const std::size_t at = darkCell + 4 * (code - 21U);
    for (std::size_t i = 0; i < given.size(); ++i)
        memory.Write(at + i, given[i]);
    return Acknowledge();
}

// ---- registers

std::size_t Firmware::RegisterIndex() const
{
    const auto* row = std::ranges::find_if(
        registerTable, [this](const RegisterRow& candidate) { return candidate.set == code || candidate.get == code; });
    return static_cast<std::size_t>(row - std::begin(registerTable));
}

Reply Firmware::SetRegister(Parameters given)
{
    state.registers[RegisterIndex()] = BigEndian(given);
    if (code >= 30)
        state.lockReadings = 0; // the loop has to find its place again
    return Acknowledge();
}

Reply Firmware::GetRegister(Parameters)
{
    const std::size_t index = RegisterIndex();
    Reply reply = Acknowledge();
    AppendBigEndian(reply.bytes, state.registers[index], registerTable[index].size);
    return reply;
}

Reply Firmware::ReadLock(Parameters)
{
    const bool reached = lockAfter >= 0 && state.lockReadings >= lockAfter;
    if (!reached && state.lockReadings < std::numeric_limits<std::int32_t>::max())
        ++state.lockReadings;
    return {{code, reached ? locked : notLocked}, 0.0};
}

}
