#include "tests/virtual/BenchCalls.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <tuple>

using Bytes = std::vector<std::uint8_t>;

namespace {

/// The arguments of a call, word by word; what it writes into comes back.
struct Arguments {
    std::istream& words;
    std::vector<std::string> texts = {};
    Bytes bytes = Bytes(65536);
    std::vector<float> floats = {};
    double number = -12345.0;
    std::string text = {};
    bool writesBytes = false, writesNumber = false, writesText = false;

    std::string Word()
    {
        std::string word;
        words >> word;
        return word;
    }
};

template<typename T>
T Next(Arguments& a)
{
    std::string word = a.Word();
    if constexpr (std::is_pointer_v<T>) {
        if (word == "null")
            return nullptr;
        if constexpr (std::is_same_v<T, const char*>) {
            return a.texts.emplace_back(word == "''" ? "" : word).c_str();
        } else if constexpr (std::is_same_v<T, const float*>) {
            std::istringstream list(word);
            for (std::string value; std::getline(list, value, ',');)
                a.floats.push_back(std::stof(value));
            return a.floats.data();
        } else if constexpr (std::is_same_v<T, const std::uint8_t*>) { // "09.08.07"
            std::ranges::replace(word, '.', ' ');
            std::istringstream list(word);
            const Bytes given = HexBytes(list);
            std::ranges::copy(given, a.bytes.begin());
            return a.bytes.data();
        } else if constexpr (std::is_same_v<T, double*>) {
            a.writesNumber = true;
            return &a.number;
        } else if constexpr (std::is_same_v<T, char*>) {
            a.writesText = true;
            a.text.assign(65536, '\0');
            return a.text.data();
        } else {
            a.writesBytes = true;
            return a.bytes.data();
        }
    } else if constexpr (std::is_floating_point_v<T>) {
        return std::stod(word);
    } else {
        return static_cast<T>(std::stoll(word, nullptr, 0));
    }
}

using Call = std::function<std::int64_t(oxv_device, Arguments&)>;

template<typename Result, typename... A>
Call OnDevice(Result (*call)(oxv_device, A...))
{
    return [call](oxv_device device, Arguments& a) -> std::int64_t {
        a.texts.reserve(sizeof...(A));
        return std::apply(call, std::tuple<oxv_device, A...>{device, Next<A>(a)...});
    };
}

template<typename Result, typename... A>
Call OnBench(Result (*call)(A...))
{
    return [call](oxv_device, Arguments& a) -> std::int64_t {
        a.texts.reserve(sizeof...(A));
        return std::apply(call, std::tuple<A...>{Next<A>(a)...});
    };
}

const std::map<std::string, Call> calls = {
    {"attach", OnBench(oxv_attach)},
    {"clock_advance", OnBench(oxv_clock_advance)},
    {"clock_mode", OnBench(oxv_clock_mode)},
    {"seed", OnBench(oxv_seed)},
    {"settle", OnBench(oxv_settle)},
#define ON_DEVICE(name) {#name, OnDevice(oxv_##name)},
    ON_DEVICE(unplug) ON_DEVICE(plug) ON_DEVICE(remove) ON_DEVICE(set_number) ON_DEVICE(get_number) ON_DEVICE(set_text)
        ON_DEVICE(get_text) ON_DEVICE(set_bytes) ON_DEVICE(memory_read) ON_DEVICE(memory_write)
            ON_DEVICE(memory_protect) ON_DEVICE(port_descriptor) ON_DEVICE(set_curve) ON_DEVICE(strip_add)
                ON_DEVICE(flash) ON_DEVICE(press) ON_DEVICE(fault) ON_DEVICE(faults_clear) ON_DEVICE(answer)
                    ON_DEVICE(count) ON_DEVICE(trace) ON_DEVICE(trace_clear)
#undef ON_DEVICE
};

}

bool IsBenchCall(const std::string& name)
{
    return calls.contains(name);
}

Outcome MakeBenchCall(const std::string& name, oxv_device& device, std::istream& words)
{
    constexpr const char* codes[] = {"ok", "NO_SUCH_DEVICE", "NO_SUCH_NAME", "BAD_VALUE", "NOT_POSSIBLE"};
    Arguments a{words};
    const std::int64_t result = calls.at(name)(device, a);
    EXPECT_EQ(result < 0, *oxv_last_error() != '\0') << "of the last call";
    if (result < 0)
        return {codes[-result], ""};
    if (name == "attach")
        device = static_cast<oxv_device>(result);
    std::ostringstream told;
    if (a.writesNumber) {
        told << a.number;
    } else if (a.writesText) { // its lines between " / "
        std::string_view text = a.text.c_str();
        if (text.ends_with('\n'))
            text.remove_suffix(1);
        for (const char letter : text)
            told << (letter == '\n' ? " / " : std::string(1, letter));
    } else {
        told << (result == 0 ? codes[0] : std::to_string(result));
    }
    return {told.str(), a.writesBytes ? Hex(a.bytes.data(), 16) : ""};
}

std::string Hex(const std::uint8_t* bytes, std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char two[4];
        std::snprintf(two, sizeof two, i == 0 ? "%02X" : " %02X", bytes[i]);
        text += two;
    }
    return text;
}

std::vector<std::uint8_t> HexBytes(std::istream& words)
{
    Bytes bytes;
    for (unsigned byte = 0; words >> std::hex >> byte;)
        bytes.push_back(static_cast<std::uint8_t>(byte));
    return bytes;
}
