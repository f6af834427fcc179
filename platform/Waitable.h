#pragma once

#include <cstdint>
#include <optional>

namespace Platform {

/// What can be acquired within a time limit and given back. Limits are real monotonic time.
class Waitable {
public:
    enum class Outcome { acquired, timedOut, failed };

    virtual ~Waitable() = default;

    /// @param limitMs  milliseconds; none waits for ever; 0 looks once
    virtual Outcome Acquire(std::optional<std::int64_t> limitMs) = 0;

    /// Gives back what one Acquire took. False, and no harm done, if there is nothing to give back.
    virtual bool Release() = 0;
};

}
