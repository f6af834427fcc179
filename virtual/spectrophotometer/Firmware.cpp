#include "virtual/spectrophotometer/Firmware.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Virtual {

namespace {

constexpr std::uint8_t standardType = 0;
constexpr std::uint8_t vendorType = 2;
constexpr std::uint8_t resetRequest = 0xCA;
constexpr std::uint8_t weakPower = 8;
constexpr std::uint8_t resetForPower = 1;
constexpr std::uint8_t resetMasks[] = {resetForPower, 7, 31};

constexpr std::uint16_t mostSpectra = 256; ///< of one order, but for a scan
constexpr std::size_t longestMemoryWrite = 256;
constexpr std::size_t endOfLogs = 0x1000; ///< of the memory that a host may write
constexpr Moment memoryTime = 5000;       ///< of a block of 256 bytes, read or written

constexpr MeasureMode fixedMode = {130, 68, 0}; ///< of firmware that offers no choice

std::uint16_t WordAt(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

/// Blocks that so many bytes fill or begin.
std::size_t BlocksOf(std::size_t bytes)
{
    return (bytes + blockSize - 1) / blockSize;
}

std::size_t Answer(std::span<std::uint8_t> data, std::initializer_list<int> reply)
{
    const std::size_t size = std::min(data.size(), reply.size());
    std::ranges::transform(reply.begin(), reply.begin() + size, data.begin(),
                           [](int byte) { return static_cast<std::uint8_t>(byte & 0xFF); });
    return size;
}

}

const Firmware::Command Firmware::commands[] = {
    {0x00, standardType, false, 8, 0x84, &Firmware::Acknowledge},
    {0xA0, vendorType, false, -1, -1, &Firmware::Acknowledge},
    {0xC0, vendorType, false, 0, 0, &Firmware::Measure},
    {0xC1, vendorType, false, 8, 0, &Firmware::SetParameters},
    {0xC2, vendorType, true, 8, 0, &Firmware::TellParameters},
    {0xC3, vendorType, false, 8, 0, &Firmware::ExpectWrite},
    {0xC4, vendorType, false, 8, 0, &Firmware::ReadCells},
    {0xC7, vendorType, false, 6, 0, &Firmware::WriteLogic},
    {0xC8, vendorType, true, 2, 0, &Firmware::ReadLogic},
    {0xC9, vendorType, true, 8, 0, &Firmware::Identify},
    {0xCA, vendorType, false, 1, 0, &Firmware::Reset},
    {0xCB, vendorType, false, 8, 0, &Firmware::ExpectWrite},
    {0xCF, vendorType, false, 1, 0, &Firmware::SelectMode},
    {0xD0, vendorType, false, 8, 3, &Firmware::Acknowledge},
    {0xD1, vendorType, true, 6, 0, &Firmware::TellMode},
};

Firmware::Firmware(MemoryImage& cells, MeasuringHead& measuringHead)
    : modes{{130, 68, 1}, {131, 36, 1}}, memory(cells), head(measuringHead)
{
}

std::optional<std::size_t> Firmware::Control(const ControlSetup& setup, std::span<std::uint8_t> data, Moment now)
{
    if (strict && pendingWrite && setup.request != resetRequest) {
        pendingWrite.reset();
        return std::nullopt;
    }
    const auto* command = std::ranges::find(commands, setup.request, &Command::request);
    if (command == std::end(commands) || !Takes(*command, setup, data.size()))
        return std::nullopt;
    return (this->*command->handler)(setup, data, now);
}

bool Firmware::Takes(const Command& command, const ControlSetup& setup, std::size_t size) const
{
    if (setup.type != command.type || setup.fromDevice != command.fromDevice)
        return false;
    const bool fits = command.length < 0 || size == static_cast<std::size_t>(command.length);
    if (!strict)
        return fits || command.fromDevice; // a reply may be cut, the bytes of an order may not
    return fits && setup.recipient == 0 && setup.index == 0 && (command.value < 0 || setup.value == command.value);
}

/// Whether the instrument can measure with these parameters in its present mode.
bool Firmware::Suits(const MeasureParameters& told) const
{
    const bool countable = told.count > 0 && (told.Scan() || told.count <= mostSpectra);
    return told.ticks >= PresentMode().tickMultiplier && countable && !told.HasUnknownFlags();
}

std::optional<std::size_t> Firmware::Measure(const ControlSetup&, std::span<std::uint8_t>, Moment now)
{
    const bool lampLacksPower = identity.status == weakPower && !parameters.LampOff();
    if (strict && (!hasParameters || !Suits(parameters) || lampLacksPower))
        return std::nullopt;
    DropData();
    const MeasureMode present = PresentMode();
    const double tick = present.tickLength * 1e-6;

    MeasureOrder order;
    order.parameters = parameters;
    order.exposure.integrationTime = std::max<int>(parameters.ticks, 1) * std::max(tick, 1e-6);
    order.exposure.gain = parameters.GainSetting();
    order.exposure.tellsPedestal = (present.flags & 1) != 0;

    order.delay = parameters.delay * present.tickMultiplier * tick;

    MeasureStart start = head.Start(order);
    delivery.blockTime = order.exposure.integrationTime * 1e6;
    const double darkCycle = parameters.DarkCycleFirst() ? delivery.blockTime : 0.0;
    delivery.start = now + std::llround(darkCycle + order.delay * 1e6);
    delivery.announced = parameters.Scan() ? 0 : parameters.count * blockSize;
    delivery.ready = std::move(start.prepared);
    delivery.running = std::move(start.running);
    delivery.blocksToCome = delivery.running ? start.readings : 0;
    return 0;
}

std::optional<std::size_t> Firmware::SetParameters(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    const MeasureParameters told = {WordAt(data, 0), WordAt(data, 2), WordAt(data, 4), data[6]};
    if (strict && !Suits(told))
        return std::nullopt;
    parameters = told;
    hasParameters = true;
    return data.size();
}

std::optional<std::size_t> Firmware::TellParameters(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    const auto& [ticks, delay, count, flags] = parameters;
    constexpr int status = 0;
    return Answer(data, {ticks >> 8, ticks, delay >> 8, delay, count >> 8, count, flags, status});
}

std::optional<std::size_t> Firmware::ExpectWrite(const ControlSetup& setup, std::span<std::uint8_t> data, Moment)
{
    const bool intoFirmware = setup.request == 0xCB;
    const std::uint32_t address = static_cast<std::uint32_t>(WordAt(data, 0)) << 16 | WordAt(data, 2);
    const std::size_t size = WordAt(data, 4);
    const std::size_t end = strict ? endOfLogs : memory.size();
    const bool fits = address <= end && size <= end - address && (!strict || size <= longestMemoryWrite);
    pendingWrite.reset();
    if (!intoFirmware && !fits)
        return std::nullopt;
    pendingWrite = PendingWrite{intoFirmware, address, size, {}};
    return data.size();
}

std::optional<std::size_t> Firmware::ReadCells(const ControlSetup&, std::span<std::uint8_t> data, Moment now)
{
    const std::size_t address = static_cast<std::size_t>(WordAt(data, 0)) << 16 | WordAt(data, 2);
    const std::size_t size = WordAt(data, 4);
    if (address > memory.size() || size > memory.size() - address)
        return std::nullopt;
    DropData();
    const auto first = memory.begin() + static_cast<std::ptrdiff_t>(address);
    delivery.ready.assign(first, first + static_cast<std::ptrdiff_t>(size));
    delivery.announced = size;
    delivery.start = now;
    delivery.blockTime = memoryTime;
    return data.size();
}

std::optional<std::size_t> Firmware::WriteLogic(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    logicWord = WordAt(data, 4);
    return data.size();
}

std::optional<std::size_t> Firmware::ReadLogic(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    return Answer(data, {logicWord >> 8, logicWord});
}

std::uint8_t Firmware::NextStatus()
{
    if (!identity.comingStatus.empty()) {
        const std::uint8_t next = identity.comingStatus.front();
        identity.comingStatus.pop_front();
        return next;
    }
    if (identity.status == weakPower && weakReplies >= 0 && weakReplies-- == 0)
        identity.status = 0;
    return identity.status;
}

std::optional<std::size_t> Firmware::Identify(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    const auto& [version, word, threshold, type, status, coming, recovers] = identity;
    return Answer(data, {version >> 8, version, word >> 8, word, threshold >> 8, threshold, type, NextStatus()});
}

std::optional<std::size_t> Firmware::Reset(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    if (strict && std::ranges::find(resetMasks, data[0]) == std::end(resetMasks))
        return std::nullopt;
    DropData();
    pendingWrite.reset();
    if (data[0] == resetForPower)
        weakReplies = identity.powerRecoversAfter;
    return data.size();
}

std::optional<std::size_t> Firmware::SelectMode(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    if (!HasModes() || data[0] == 0 || data[0] > std::max<std::size_t>(modes.size(), 1))
        return std::nullopt;
    mode = data[0];
    return data.size();
}

std::optional<std::size_t> Firmware::TellMode(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    if (!HasModes())
        return std::nullopt;
    if (modes.empty())
        return Answer(data, {0, 0, 0, 0, 0, 0});
    const MeasureMode present = PresentMode();
    const auto count = static_cast<int>(modes.size());
    return Answer(data, {count, mode, 0, present.tickMultiplier, present.tickLength, present.flags});
}

std::optional<std::size_t> Firmware::Acknowledge(const ControlSetup&, std::span<std::uint8_t> data, Moment)
{
    return data.size();
}

MeasureMode Firmware::PresentMode() const
{
    if (!HasModes() || modes.empty())
        return fixedMode;
    return modes[std::min<std::size_t>(mode, modes.size()) - 1];
}

std::optional<Moment> Firmware::BulkWrite(std::span<const std::uint8_t> data, Moment now)
{
    if (!pendingWrite)
        return std::nullopt;
    PendingWrite& write = *pendingWrite;
    const bool wanted = write.data.size() < write.size ? data.size() == write.size : data.size() == 1 && data[0] == 0;
    if (!wanted) {
        pendingWrite.reset();
        return std::nullopt;
    }
    if (write.data.size() < write.size) {
        write.data.assign(data.begin(), data.end());
        return now + static_cast<Moment>(BlocksOf(write.size)) * memoryTime;
    }
    if (++write.zeros == 2) {
        if (!write.intoFirmware)
            std::ranges::copy(write.data, memory.begin() + static_cast<std::ptrdiff_t>(write.address));
        pendingWrite.reset();
    }
    return now;
}

void Firmware::Render(std::size_t upTo)
{
    while (delivery.ready.size() < upTo && delivery.blocksToCome > 0) {
        const std::size_t end = delivery.ready.size();
        delivery.ready.resize(end + blockSize);
        delivery.running->Next(std::span<std::uint8_t, blockSize>(delivery.ready.data() + end, blockSize));
        --delivery.blocksToCome;
    }
}

bool Firmware::Delivery::IsOwedTo(std::size_t askedFor) const
{
    const bool isOver = blocksToCome == 0 && taken == ready.size();
    return isOver || (announced == 0 ? askedFor % blockSize == 0 : askedFor == announced);
}

std::optional<Firmware::BulkData> Firmware::BulkRead(std::span<std::uint8_t> data, Moment now)
{
    if (strict && !delivery.IsOwedTo(data.size()))
        return std::nullopt;
    Render(delivery.taken + data.size());
    const std::size_t moved = std::min(data.size(), delivery.ready.size() - delivery.taken);
    const auto first = delivery.ready.begin() + static_cast<std::ptrdiff_t>(delivery.taken);
    std::copy_n(first, moved, data.begin());
    delivery.taken += moved;

    // A read that asks for more than there will be ends with the last block, or at once if that was taken long ago.
    const auto blocks = static_cast<double>(BlocksOf(delivery.taken));
    const Moment due = delivery.start + std::llround(blocks * delivery.blockTime);
    return BulkData{moved, std::max(now, due)};
}

void Firmware::DropData()
{
    delivery = {};
}

void Firmware::PowerUp()
{
    DropData();
    pendingWrite.reset();
    parameters = {};
    hasParameters = false;
    mode = 1;
    weakReplies = -1;
}

}
