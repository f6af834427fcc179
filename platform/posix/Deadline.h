#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

namespace Platform::Posix {

/// The end of a wait in real monotonic time; none for a wait without a limit.
class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::optional<std::int64_t> limitMs)
    {
        if (limitMs)
            end = Clock::now() + std::chrono::milliseconds(std::clamp<std::int64_t>(*limitMs, 0, longest));
    }

    bool HasPassed() const { return end && Clock::now() >= *end; }

    /// What is left, at most `most`.
    Clock::duration Left(Clock::duration most) const
    {
        return end ? std::clamp(*end - Clock::now(), Clock::duration::zero(), most) : most;
    }

    /// Waits until the condition holds. False if the time ran out before.
    template<typename Condition>
    bool Wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, Condition condition) const
    {
        if (end)
            return changed.wait_until(lock, *end, condition);
        changed.wait(lock, condition);
        return true;
    }

private:
    static constexpr std::int64_t longest = std::int64_t(1000) * 60 * 60 * 24 * 365 * 10; // ten years, milliseconds

    std::optional<Clock::time_point> end;
};

}
