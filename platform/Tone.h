#pragma once

#include <cstdint>

namespace Platform {

/// Sounds a short tone without blocking, best effort: silent where there is no sound.
/// @param frequency     hertz
/// @param milliseconds  length
void Beep(std::int32_t frequency, std::int32_t milliseconds) noexcept;

}
