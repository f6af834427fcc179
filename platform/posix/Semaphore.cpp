#include "platform/Semaphore.h"

#include "platform/posix/ByName.h"
#include "platform/posix/Deadline.h"

namespace Platform {

namespace {

struct Units {
    std::mutex mutex;
    std::condition_variable changed;
    std::int32_t count;
    std::int32_t maximum;
};

class PosixSemaphore : public Semaphore {
public:
    explicit PosixSemaphore(std::shared_ptr<Units> units_) : units(std::move(units_)) { }

    Outcome Acquire(std::optional<std::int64_t> limitMs) override
    {
        std::unique_lock lock(units->mutex);
        if (!Posix::Deadline(limitMs).Wait(lock, units->changed, [this] { return units->count > 0; }))
            return Outcome::timedOut;
        --units->count;
        return Outcome::acquired;
    }

    bool Release() override
    {
        const std::lock_guard lock(units->mutex);
        if (units->count >= units->maximum)
            return false;
        ++units->count;
        units->changed.notify_one();
        return true;
    }

private:
    std::shared_ptr<Units> units;
};

}

std::unique_ptr<Semaphore> Semaphore::Make(const std::string& name, std::int32_t initial, std::int32_t maximum)
try {
    if (initial < 0 || maximum < 1 || initial > maximum)
        return nullptr;
    const auto make = [&] {
        auto units = std::make_shared<Units>();
        units->count = initial;
        units->maximum = maximum;
        return units;
    };
    static auto& named = *new Posix::ByName<Units>; // never destroyed: threads may outlive static objects
    return std::make_unique<PosixSemaphore>(name.empty() ? make() : named.Get(name, make));
} catch (const std::exception&) {
    return nullptr;
}

}
