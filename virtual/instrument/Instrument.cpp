#include "virtual/instrument/Instrument.h"

#include "virtual/instrument/Refusal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <utility>

namespace Virtual {

namespace {

/// The points that an instrument can pass. One that ends in a colon carries a number behind it.
constexpr std::string_view pointNames[] = {
    "enumerate", "open",      "open:",      "setup",          "close",   "reset",    "control",
    "control:",  "bulk-read", "bulk-write", "interrupt-read", "command", "command:", "any",
};

void RequireKnownPoint(std::string_view point)
{
    const auto colon = point.find(':');
    const bool numbered = colon != std::string_view::npos;
    const auto stem = numbered ? point.substr(0, colon + 1) : point;
    const bool known = std::ranges::find(pointNames, stem) != std::end(pointNames);
    if (!known || (numbered && PointNumber(point) < 0))
        throw Refusal(OXV_NO_SUCH_NAME, "unknown fault point \"" + std::string(point) + "\"");
}

[[noreturn]] void RefuseName(const char* what, std::string_view name)
{
    throw Refusal(OXV_NO_SUCH_NAME, std::string("this instrument has no ") + what + " \"" + std::string(name) + "\"");
}

[[noreturn]] void RefuseNumber(const NumberRow& row)
{
    char words[128];
    std::snprintf(words, sizeof words, "\"%s\" takes %s from %g to %g", row.name,
                  row.whole ? "whole numbers" : "numbers", row.lowest, row.highest);
    throw Refusal(OXV_BAD_VALUE, words);
}

[[noreturn]] void RefuseAction(const char* what)
{
    throw Refusal(OXV_NOT_POSSIBLE, std::string("this instrument has no ") + what);
}

}

int PointNumber(std::string_view point)
{
    const auto colon = point.find(':');
    if (colon == std::string_view::npos)
        return -1;
    const int base = point.substr(0, colon) == "control" ? 16 : 10;
    const char* first = point.data() + colon + 1;
    const char* last = point.data() + point.size();
    std::uint8_t number = 0;
    const auto [end, error] = std::from_chars(first, last, number, base);
    return error == std::errc() && end == last ? number : -1;
}

std::string PointName(std::string_view point)
{
    const int number = PointNumber(point);
    if (number < 0)
        return std::string(point);
    const std::string stem(point.substr(0, point.find(':') + 1));
    const auto byte = static_cast<std::uint8_t>(number);
    return stem == "control:" ? stem + HexBytes({&byte, 1}).substr(1) : stem + std::to_string(number);
}

Instrument::Instrument(std::span<const NumberRow> numberTable) : table(numberTable)
{
    for (const auto& row : table)
        numbers.push_back(row.initial);
}

void Instrument::Unplug(Moment now)
{
    if (!plugged)
        return;
    plugged = false;
    CableChanged(now);
}

void Instrument::Plug(Moment now)
{
    if (plugged)
        return;
    plugged = true;
    ++session;
    CableChanged(now);
}

std::optional<Moment> Instrument::NextMessage() const
{
    return std::nullopt;
}

bool Instrument::IsSettled(Moment) const
{
    return true;
}

std::size_t Instrument::RowOf(std::string_view name) const
{
    const auto row = std::ranges::find(table, name, &NumberRow::name);
    if (row == table.end())
        RefuseName("number", name);
    return static_cast<std::size_t>(row - table.begin());
}

void Instrument::SetNumber(std::string_view name, double value)
{
    const std::size_t index = RowOf(name);
    const NumberRow& row = table[index];
    if (row.readOnly)
        throw Refusal(OXV_NOT_POSSIBLE, "\"" + std::string(name) + "\" can only be read");
    if (!(value >= row.lowest && value <= row.highest) || (row.whole && value != std::floor(value)))
        RefuseNumber(row);
    const double before = std::exchange(numbers[index], value);
    try {
        NumberChanged(index);
    } catch (const Refusal&) {
        numbers[index] = before;
        throw;
    }
}

double Instrument::GetNumber(std::string_view name) const
{
    return TellNumber(RowOf(name));
}

void Instrument::SetText(std::string_view name, std::string_view)
{
    RefuseName("text", name);
}

std::string Instrument::GetText(std::string_view name) const
{
    RefuseName("text", name);
}

void Instrument::SetBytes(std::string_view name, std::span<const std::uint8_t>)
{
    RefuseName("bytes", name);
}

void Instrument::ReadMemory(std::uint32_t offset, std::span<std::uint8_t> bytes)
{
    const auto memory = Memory();
    if (offset > memory.size() || bytes.size() > memory.size() - offset)
        throw Refusal(OXV_BAD_VALUE, "beyond the end of the memory");
    std::ranges::copy(memory.subspan(offset, bytes.size()), bytes.begin());
}

void Instrument::WriteMemory(std::uint32_t offset, std::span<const std::uint8_t> bytes)
{
    const auto memory = Memory();
    if (offset > memory.size() || bytes.size() > memory.size() - offset)
        throw Refusal(OXV_BAD_VALUE, "beyond the end of the memory");
    std::ranges::copy(bytes, memory.subspan(offset).begin());
}

void Instrument::ProtectMemory(std::uint32_t, bool)
{
    RefuseAction("cells that can be protected");
}

void Instrument::SetCurve(std::string_view name, const Curve&)
{
    RefuseName("curve", name);
}

void Instrument::ClearStrip()
{
    RefuseAction("strip");
}

void Instrument::AddToStrip(const Curve&, double, double)
{
    RefuseAction("strip");
}

void Instrument::AddFlash(const Curve&, double, double)
{
    RefuseAction("flash");
}

void Instrument::Press(Moment)
{
    RefuseAction("key");
}

void Instrument::SetFault(std::string_view point, std::uint32_t nth, std::uint32_t times, std::string_view how,
                          Moment now)
{
    RequireKnownPoint(point);
    const Fault fault = FaultNamed(how);
    if (fault == Fault::none)
        throw Refusal(OXV_NO_SUCH_NAME, "unknown fault \"" + std::string(how) + "\"");
    if (nth == 0)
        throw Refusal(OXV_BAD_VALUE, "passings are counted from 1");
    if (!TakesFault(point, fault))
        throw Refusal(OXV_NOT_POSSIBLE,
                      "\"" + std::string(how) + "\" has no meaning at \"" + std::string(point) + "\"");
    faults.Add(PointName(point), nth, times, fault);
    FaultSet(point, now);
}

void Instrument::FaultSet(std::string_view, Moment) { }

void Instrument::QueueAnswer(std::string_view point, std::span<const std::uint8_t> bytes)
{
    RequireKnownPoint(point);
    const std::size_t longest = LongestAnswer(point);
    if (longest == 0)
        throw Refusal(OXV_NOT_POSSIBLE, "\"" + std::string(point) + "\" gives no answer that could be replaced");
    if (bytes.size() > longest)
        throw Refusal(OXV_BAD_VALUE, "the answer is longer than \"" + std::string(point) + "\" can give");
    faults.QueueAnswer(PointName(point), Bytes(bytes.begin(), bytes.end()));
}

std::int64_t Instrument::CountPassings(std::string_view point) const
{
    RequireKnownPoint(point);
    return faults.Count(PointName(point));
}

}
