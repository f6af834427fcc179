#pragma once

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"
#include "Vondrel/Utilities/Exceptions/Location.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "platform/Waitable.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Vondrel::Utilities::Multithreading {

/// A lock that is an object of the platform with a name. `Base` is the interface to implement.
template<typename Base>
class Win32Lockable : public Base {
public:
    /// @throws InvalidArgumentException "handle is NULL"
    Win32Lockable(std::unique_ptr<Platform::Waitable> handle_, std::string name_)
    try : handle(std::move(handle_)), name(std::move(name_)) {
        if (!handle)
            throw Exceptions::InvalidArgumentException("handle is NULL",
                                                       THROW_LOCATION("Win32Lockable", "Win32Lockable"));
    }
    TRACE_GUARD("Win32Lockable", "Win32Lockable")

    void Lock() override { Acquire(std::nullopt); }

    bool TryLock(std::int32_t timeoutMilliseconds) override
    {
        return Acquire(timeoutMilliseconds < 0 ? std::optional<std::int64_t>() : timeoutMilliseconds);
    }

    void Unlock() override { handle->Release(); }

    Platform::Waitable* Handle() override { return handle.get(); }

private:
    bool Acquire(std::optional<std::int64_t> limitMs)
    try {
        const auto outcome = handle->Acquire(limitMs);
        if (outcome == Platform::Waitable::Outcome::failed)
            throw Exceptions::InvalidArgumentException("invalid mutex", THROW_LOCATION("Win32Lockable", "Acquire"));
        return outcome == Platform::Waitable::Outcome::acquired;
    }
    TRACE_GUARD("Win32Lockable", "Acquire")

    const std::unique_ptr<Platform::Waitable> handle;
    const std::string name;
};

}
