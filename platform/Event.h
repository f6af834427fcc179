#pragma once

#include <cstdint>
#include <memory>
#include <optional>

namespace Platform {

/// An auto-reset event on real monotonic time: one Set lets one Wait through, a second Set before that is not counted.
class Event {
public:
    virtual ~Event() = default;
    virtual void Set() = 0;

    /// @param limitMs  milliseconds of real time; none waits for ever
    /// @return true if the event was set, false if the time ran out
    virtual bool Wait(std::optional<std::int64_t> limitMs) = 0;

    /// Null if the platform has none left.
    static std::unique_ptr<Event> Make();
};

}
