#pragma once

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Virtual {

/// What can go wrong at a passing. The names are those of oxv_fault().
enum class Fault {
    none,
    fail,
    stall,
    denied,
    busy,
    timeout,
    half, ///< "short"
    oneShort,
    empty,
    garbage,
    wrongEcho,
    echoOnly,
    lengthZero,
    lengthTen,
    closeAfterLength,
    unplug
};

/// The fault of a name; none for a name that no fault has.
Fault FaultNamed(std::string_view name);

/// How many of `size` bytes a transfer moves under this fault: all of them under a fault that shortens nothing.
std::size_t BytesUnder(Fault fault, std::size_t size);

using Bytes = std::vector<std::uint8_t>;

/// The faults set on one instrument, the answers queued for it, and how often each of its points was passed.
///
/// A passing goes by several names at once, for example "control", "control:C9" and "any": it counts for each of them
/// and for every fault set on one of them.
class FaultList {
public:
    /// From now on, the `nth` passing of `point` meets the fault, and so do the `times` - 1 after it; 0: all after it.
    void Add(std::string point, std::uint32_t nth, std::uint32_t times, Fault fault);

    /// Counts one passing and says what happens at it. Of two faults the one set earlier.
    Fault Pass(std::initializer_list<std::string_view> names);

    /// Lets the fault set last count a passing that has already begun, without counting the passing itself.
    Fault MeetNewest();

    /// Passings of a point since the instrument was attached, faults included.
    std::int64_t Count(std::string_view point) const;

    void QueueAnswer(std::string point, Bytes answer);

    /// Takes the oldest answer queued for a point.
    std::optional<Bytes> TakeAnswer(std::string_view point);

    /// Forgets the faults and the queued answers; the counts stay.
    void Clear();

private:
    struct Entry {
        std::string point;
        std::uint32_t nth;
        std::uint32_t times;
        Fault fault;
        std::uint64_t passed;

        bool CountsNow();
    };

    std::deque<Entry> entries;
    std::map<std::string, std::deque<Bytes>, std::less<>> answers;
    std::map<std::string, std::int64_t, std::less<>> counts;
};

}
