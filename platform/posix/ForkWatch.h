#pragma once

#include <mutex>

namespace Platform::Posix {

/// What a forked child must put right before it runs on. A child has but one thread: whatever another thread held when
/// the process forked, nobody gives back there.
class ForkWatch {
public:
    /// No fork comes while it is held.
    static std::mutex& Guard();

protected:
    ForkWatch();
    virtual ~ForkWatch();
    ForkWatch(const ForkWatch&) = delete;
    ForkWatch& operator=(const ForkWatch&) = delete;

    /// In the child, with the guard held.
    virtual void AfterFork() noexcept { }

private:
    struct All;
};

}
