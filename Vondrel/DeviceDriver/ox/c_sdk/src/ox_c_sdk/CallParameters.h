#pragma once

#include <cstdint>

namespace OrvexSDK {

/// The arguments of an exported call, as they go to the validator. Everything is the caller's; nothing is owned.
struct CallParameters {
    const char* key = nullptr;   ///< option key
    const char* value = nullptr; ///< option value
    std::int32_t index = 0;      ///< sample index, or the number of readings of a counted scan
    std::int32_t limit = 0;      ///< samples available when the call began; 0 where not used
    void* extra = nullptr;       ///< second pointer argument
    float* buffer = nullptr;     ///< the caller's array
    std::int32_t bufferSize = 0; ///< floats in `buffer`; 0 where the validator shall not touch it
};

}
