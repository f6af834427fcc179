#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Exported calls that keep what they were called with, in the place of the library's own.
struct RecordingLibrary {
    std::vector<std::string> calls;    ///< "OX_SetOption(Beep, yes)"; floats as the first one, a null pointer as "null"
    std::vector<const void*> pointers; ///< of the last call, in order
    std::int32_t result = 0;           ///< of every call with a number
    std::string text;                  ///< of the calls with a text
    std::function<void()> during = [] {}; ///< runs in every call
};

RecordingLibrary& Library();
