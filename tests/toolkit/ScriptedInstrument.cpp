#include "tests/toolkit/ScriptedInstrument.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <sstream>

using ToolkitSeam::Reply;

void ScriptedInstrument::Script(const std::string& text)
{
    counts.clear();
    periodsLeft = {0};
    std::istringstream queues(text);
    for (std::string queue; queues >> queue;) {
        const std::size_t colon = queue.find(':');
        std::istringstream values(queue.substr(colon + 1));
        std::vector<std::uint32_t> list;
        for (std::string value; std::getline(values, value, ',');)
            list.push_back(static_cast<std::uint32_t>(std::stoul(value)));
        if (queue.starts_with("left"))
            periodsLeft.assign(list.begin(), list.end());
        else
            counts[std::stoi(queue)].assign(list.begin(), list.end());
    }
}

void ScriptedInstrument::SetFault(Fault how, int at, int times, int code)
{
    fault = how;
    faultAt = at;
    faultTimes = times;
    faultCode = code;
}

std::string ScriptedInstrument::TakeFrames()
{
    return std::exchange(frames, "");
}

void ScriptedInstrument::Put(unsigned address, std::uint32_t value, unsigned width)
{
    for (unsigned i = 0; i < width; ++i)
        cells[address + i] = static_cast<std::uint8_t>(value >> 8 * (width - 1 - i));
}

void ScriptedInstrument::PutFloat(unsigned address, float value)
{
    Put(address, std::bit_cast<std::uint32_t>(value), 4);
}

ScriptedInstrument::Fault ScriptedInstrument::NextFault(std::uint8_t code)
{
    if (faultAt == 0 || (faultCode >= 0 && faultCode != code))
        return Fault::none;
    if (faultAt > 1) {
        --faultAt;
        return Fault::none;
    }
    if (--faultTimes == 0)
        faultAt = 0;
    return fault;
}

namespace {

/// The first of a queue; the last one stays.
template<typename T>
T Next(std::deque<T>& queue)
{
    const T value = queue.front();
    if (queue.size() > 1)
        queue.pop_front();
    return value;
}

}

Reply ScriptedInstrument::Answer(std::span<const std::uint8_t> frame)
{
    const std::uint8_t code = frame[0];
    const std::size_t size = frame.size();
    const auto cell = [&]() -> std::uint8_t& {
        return cells[code < 19 ? frame[1] : (frame[1] * 256U + frame[2]) % cells.size()];
    };
    Reply reply;
    reply.Add(code, 1);
    if (code == 0) {
        for (const char letter : version)
            reply.Add(static_cast<std::uint8_t>(letter), 1);
    } else if (code == 5) {
        ZKConvertToLong(frame.data() + 1, &ticks);
    } else if (code == 6) {
        reply.Add(ticks, 4);
    } else if (code == 7 || (code == 19 && size == 4)) {
        cell() = memoryWritable ? frame[size - 1] : cell();
    } else if (code == 8 || (code == 20 && size == 3)) {
        for (std::size_t i = 1; i < size; ++i)
            reply.Add(frame[i], 1);
        reply.Add(cell(), 1);
    } else if (code == 36) {
        reply.Add(lockDetect, 1);
    } else if ((size > 1 && code >= 20 && code != 21) || (size == 5 && code != 16)) {
        // the echo alone
    } else {
        reply.Add(counts.contains(code) ? Next(counts[code]) : usualCount, 4);
        if (code >= 16 && code <= 18)
            reply.Add(Next(periodsLeft), 1);
    }
    return reply;
}

Reply ScriptedInstrument::Exchange(std::span<const std::uint8_t> frame)
{
    frames += frames.empty() ? "" : ", ";
    for (std::size_t i = 0; i < frame.size(); ++i) {
        char hex[4];
        std::snprintf(hex, sizeof hex, i == 0 ? "%02X" : " %02X", frame[i]);
        frames += hex;
    }
    ++exchanges;
    ToolkitSeam::state.clock += exchangeMicroseconds;

    Reply reply = Answer(frame);
    switch (NextFault(frame[0])) {
    case Fault::none:
        break;
    case Fault::silence:
        reply.error = 5;
        break;
    case Fault::wrongEcho:
        reply.bytes[0] = 0xEE;
        break;
    case Fault::lengthZero:
        reply.length = 0;
        break;
    case Fault::lengthTen:
        reply.length = 10;
        break;
    case Fault::oneShort:
        --reply.size;
        break;
    case Fault::threeBytes:
        reply.size = reply.length = 3;
        break;
    }
    return reply;
}

// ---- sound instruments

namespace {

struct Kind {
    int type;
    const char* version;
    char letter;
    std::uint16_t tickWord;
    float clock;
};
constexpr Kind kinds[] = {
    {2, "3.50", 'C', 1000, 1e-6F},          {4, "4.10", 'C', 4000, 3.3333333e-7F},
    {5, "1.20", 'B', 32000, 1e-6F},         {6, "1.20", 'B', 32000, 1e-6F},
    {7, "5.12", 'W', 3750, 3.3333333e-7F},  {8, "5.12", 'l', 4000, 3.3333333e-7F},
    {9, "5.01", 'L', 4000, 3.3333333e-7F},  {10, "3.01", 'C', 2500, 2.5e-7F},
    {11, "3.10", 'C', 2500, 3.3333333e-7F}, {13, "1.20", 'F', 32000, 1e-6F},
    {14, "1.20", 'D', 32000, 1e-6F},        {16, "1.50", 'D', 32000, 1e-6F},
    {19, "6.05", 'X', 1000, 8.3333333e-8F}, {20, "6.05", 'L', 1000, 8.3333333e-8F},
    {21, "6.05", 'U', 1000, 1e-6F},         {22, "6.05", 'T', 1000, 8.3333333e-8F},
};

void PutMainLayout(ScriptedInstrument& instrument, const Kind& kind)
{
    constexpr float matrix[] = {4.0e-3F, 1.2e-3F, 3e-4F, 2.1e-3F, 3.6e-3F, 1e-4F, 2e-5F, 4e-4F, 5.9e-3F};
    instrument.Put(0, 20000U + static_cast<unsigned>(kind.type), 4);
    for (unsigned i = 0; i < 9; ++i) {
        instrument.PutFloat(4 + 4 * i, matrix[i]);
        instrument.PutFloat(54 + 4 * i, matrix[i] * 1.05F);
    }
    instrument.Put(40, kind.tickWord, 2);
    instrument.Put(42, 6000, 2);
    for (unsigned i = 0; i < 3; ++i) {
        instrument.Put(44 + 2 * i, 100, 2);
        instrument.PutFloat(103 + 4 * i, 0.251F + 0.05F * static_cast<float>(i));
        instrument.PutFloat(128 + 4 * i, 1.5F + static_cast<float>(i));
        instrument.PutFloat(144 + 4 * i, 0.5F + 0.1F * static_cast<float>(i));
    }
    instrument.Put(50, 1'000'000'000, 4);
    instrument.Put(90, 1'000'000'001, 4);
    instrument.PutFloat(94, kind.clock);
    instrument.Put(98, 1'000'000'002, 4);
    instrument.Put(102, 1, 1);
    instrument.Put(115, 2, 1);
}

void PutPloverLayout(ScriptedInstrument& instrument)
{
    for (const unsigned address : {0U, 16U, 28U, 32U, 36U, 40U})
        instrument.PutFloat(address, 0.01F * static_cast<float>(address + 1));
    instrument.Put(6, 31250, 2);
    instrument.Put(8, 14014, 4);
    instrument.Put(12, 1'000'000'000, 4);
    instrument.Put(24, 1'000'000'001, 4);
    for (unsigned i = 0; i < 3; ++i)
        instrument.PutFloat(44 + 4 * i, 0.25F + 0.05F * static_cast<float>(i));
}

}

ScriptedInstrument SoundInstrument(int type)
{
    const Kind& kind = *std::ranges::find(kinds, type, &Kind::type);
    ScriptedInstrument instrument;
    instrument.version = kind.version;
    if (type == 14 || type == 16)
        PutPloverLayout(instrument);
    else
        PutMainLayout(instrument, kind);
    instrument.Put(121, static_cast<std::uint8_t>(kind.letter), 1);
    instrument.Put(126, 13, 2);
    instrument.memoryWritable = type != 5;
    return instrument;
}

void ToolkitTest::Attach(int type)
{
    device = {};
    instrument = SoundInstrument(type);
    ToolkitSeam::state.instrument = &instrument;
}

void ToolkitTest::AttachBy(const std::string& text)
{
    std::istringstream words(text);
    int type = 0;
    words >> type;
    Attach(type);
    onUsb = true;
    for (std::string word; words >> word;) {
        if (word == "serial")
            onUsb = false;
        else if (word == "closed")
            continue;
        else if (word[0] != '@')
            instrument.version = word;
        else
            for (std::size_t at = word.find('=') + 1, cell = std::stoul(word.substr(1)); at < word.size(); at += 2)
                instrument.cells[cell++] = static_cast<std::uint8_t>(std::stoul(word.substr(at, 2), nullptr, 16));
    }
}

void ToolkitTest::Open(int type, bool usb, const std::string& itsVersion)
{
    Attach(type);
    onUsb = usb;
    if (!itsVersion.empty())
        instrument.version = itsVersion;
    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, onUsb ? 0 : 1, version));
    ASSERT_EQ(type, device.header.calibratorType);
    instrument.TakeFrames();
}

void ToolkitTest::Reopen()
{
    AltrixClose_M(&device);
    ASSERT_EQ(ZEL_OK, zelOpenCalibrator_M(&device, onUsb ? 0 : 1, version));
    instrument.TakeFrames();
}
