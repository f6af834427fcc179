#include "tests/toolkit/Calls.h"

#include "tests/support/Rows.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <type_traits>

namespace {

double NextNumber(Arguments& arguments)
{
    return arguments.taken < arguments.numbers.size() ? arguments.numbers[arguments.taken++] : 1.0;
}

/// What a pointer points at, number by number; records but the colour tell nothing.
template<typename T>
double NumberAt(const void* block, std::size_t place)
{
    if constexpr (std::is_same_v<T, ZelYxyz>)
        return static_cast<const double*>(block)[place];
    else if constexpr (std::is_arithmetic_v<T>)
        return static_cast<double>(static_cast<const T*>(block)[place]);
    else
        return 0.0;
}

template<typename T>
T Next(Arguments& arguments)
{
    if constexpr (std::is_pointer_v<T>) {
        using Pointee = std::remove_pointer_t<T>;
        if (arguments.pointers++ == arguments.nullAt)
            return nullptr;
        auto& block = arguments.blocks.emplace_back();
        if constexpr (std::is_same_v<Pointee, const double>) {
            std::generate_n(block.begin(), 3, [&] { return NextNumber(arguments); });
        } else if constexpr (std::is_same_v<Pointee, const std::uint8_t>) { // how many, then each
            const double count = arguments.taken < arguments.numbers.size() ? NextNumber(arguments) : 0.0;
            std::generate_n(reinterpret_cast<std::uint8_t*>(block.data()),
                            static_cast<int>(std::clamp(count, 0.0, 512.0)),
                            [&] { return static_cast<std::uint8_t>(NextNumber(arguments)); });
        } else if constexpr (!std::is_const_v<Pointee>) {
            block.fill(Arguments::unset);
            arguments.results.emplace_back(
                [at = block.data()](std::size_t place) { return NumberAt<Pointee>(at, place); });
        }
        return reinterpret_cast<T>(block.data());
    } else if constexpr (std::is_class_v<T>) {
        return T{};
    } else {
        return static_cast<T>(NextNumber(arguments));
    }
}

template<typename Result, typename... A>
std::int64_t Invoke(Result (*call)(A...), Arguments& arguments)
{
    return std::apply(call, std::tuple<A...>{Next<A>(arguments)...});
}

template<typename Result, typename... A>
std::int64_t Invoke(Result (*call)(CalDataBlock*, A...), CalDataBlock* device, Arguments& arguments)
{
    return std::apply(call, std::tuple<CalDataBlock*, A...>{device, Next<A>(arguments)...});
}

template<typename Result, typename... A>
constexpr int Pointers(Result (*)(CalDataBlock*, A...))
{
    return (0 + ... + (std::is_pointer_v<A> ? 1 : 0));
}

const Call calls[] = {
#define TWIN(result, name, parameters, ...)                                                                            \
    {#name, [](CalDataBlock* device, Arguments& a) { return Invoke(name##_M, device, a); },                            \
     [](Arguments& a) { return Invoke(name, a); }, Pointers(name##_M)},
#include "toolkit/Twins.def"
};

}

std::span<const Call> AllCalls()
{
    return calls;
}

bool IsCall(const std::string& name)
{
    return std::ranges::find(calls, name, &Call::name) != std::end(calls);
}

std::int64_t MakeCall(const std::string& text, CalDataBlock* device, Arguments& arguments)
{
    std::istringstream words(text);
    std::string name, numbers;
    words >> name;
    std::getline(words, numbers);
    arguments = Arguments(Numbers(numbers));
    const Call* call = std::ranges::find(calls, name, &Call::name);
    if (call == std::end(calls))
        throw std::invalid_argument("no call " + name);
    return device != nullptr ? call->onRecord(device, arguments) : call->onDefault(arguments);
}
