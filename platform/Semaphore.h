#pragma once

#include "platform/Waitable.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Platform {

/// A counting semaphore: Acquire takes one unit, Release gives one back and fails beyond the maximum.
class Semaphore : public Waitable {
public:
    /// Shared by all holders of a name in this process; with an empty name the caller's alone. The first holder's
    /// counts hold. Null if the platform has none left.
    static std::unique_ptr<Semaphore> Make(const std::string& name, std::int32_t initial, std::int32_t maximum);
};

}
