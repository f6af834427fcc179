#pragma once

#include "orvex/zelcal.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <string>
#include <vector>

/// The arguments of one call, and what it has put into them.
struct Arguments {
    static constexpr double unset = 5.0; ///< what results hold before the call

    explicit Arguments(std::vector<double> theNumbers = {}) : numbers(std::move(theNumbers)) { }

    std::vector<double> numbers; ///< for numbers and vectors in the order of the parameters; 1 where there are no more
    int nullAt = -1;             ///< which pointer is null, if one is

    /// The results: of each pointer that is not const what it points at now, as numbers.
    std::vector<std::function<double(std::size_t)>> results;

    std::deque<std::array<double, 1024>> blocks; ///< what the pointers point at
    std::size_t taken = 0;
    int pointers = 0;
};

/// A pair of calls: on a record, and on the default device.
struct Call {
    std::string name;
    std::function<std::int64_t(CalDataBlock*, Arguments&)> onRecord;
    std::function<std::int64_t(Arguments&)> onDefault;
    int pointers; ///< among its parameters
};

/// All pairs of zelcal.h.
std::span<const Call> AllCalls();

/// Makes a call by a text: its name, then its numbers. Without a record on the default device.
std::int64_t MakeCall(const std::string& text, CalDataBlock* device, Arguments& arguments);

/// Whether there is a pair of that name.
bool IsCall(const std::string& name);
