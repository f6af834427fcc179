#include "virtual/instrument/Faults.h"

#include <algorithm>
#include <utility>

namespace Virtual {

namespace {

struct FaultName {
    const char* name;
    Fault fault;
};

constexpr FaultName faultNames[] = {
    {"fail", Fault::fail},
    {"stall", Fault::stall},
    {"denied", Fault::denied},
    {"busy", Fault::busy},
    {"timeout", Fault::timeout},
    {"short", Fault::half},
    {"one-short", Fault::oneShort},
    {"empty", Fault::empty},
    {"garbage", Fault::garbage},
    {"wrong-echo", Fault::wrongEcho},
    {"echo-only", Fault::echoOnly},
    {"length-zero", Fault::lengthZero},
    {"length-ten", Fault::lengthTen},
    {"close-after-length", Fault::closeAfterLength},
    {"unplug", Fault::unplug},
};

}

Fault FaultNamed(std::string_view name)
{
    const auto* row = std::ranges::find(faultNames, name, &FaultName::name);
    return row == std::end(faultNames) ? Fault::none : row->fault;
}

std::size_t BytesUnder(Fault fault, std::size_t size)
{
    switch (fault) {
    case Fault::half:
        return size / 2;
    case Fault::oneShort:
        return size - std::min<std::size_t>(size, 1);
    case Fault::empty:
        return 0;
    default:
        return size;
    }
}

void FaultList::Add(std::string point, std::uint32_t nth, std::uint32_t times, Fault fault)
{
    entries.push_back({std::move(point), nth, times, fault, 0});
}

bool FaultList::Entry::CountsNow()
{
    ++passed;
    return passed >= nth && (times == 0 || passed - nth < times);
}

Fault FaultList::Pass(std::initializer_list<std::string_view> names)
{
    for (const auto name : names) {
        const auto count = counts.find(name);
        if (count == counts.end())
            counts.emplace(name, 1);
        else
            ++count->second;
    }

    Fault met = Fault::none;
    for (auto& entry : entries) {
        const bool concerned = std::ranges::find(names, entry.point) != names.end();
        if (concerned && entry.CountsNow() && met == Fault::none)
            met = entry.fault;
    }
    return met;
}

Fault FaultList::MeetNewest()
{
    if (entries.empty() || !entries.back().CountsNow())
        return Fault::none;
    return entries.back().fault;
}

std::int64_t FaultList::Count(std::string_view point) const
{
    const auto count = counts.find(point);
    return count == counts.end() ? 0 : count->second;
}

void FaultList::QueueAnswer(std::string point, Bytes answer)
{
    answers[std::move(point)].push_back(std::move(answer));
}

std::optional<Bytes> FaultList::TakeAnswer(std::string_view point)
{
    const auto queue = answers.find(point);
    if (queue == answers.end())
        return std::nullopt;
    Bytes answer = std::move(queue->second.front());
    queue->second.pop_front();
    if (queue->second.empty())
        answers.erase(queue);
    return answer;
}

void FaultList::Clear()
{
    entries.clear();
    answers.clear();
}

}
