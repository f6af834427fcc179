// Replies that are nothing but bytes: short, long, empty, with the wrong echo.

#include "tests/fuzz/FuzzedSeam.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzzed = {};
    fuzzed.bytes = {data, size};
    const std::uint8_t how = fuzzed.bytes.Take();
    const std::uint8_t what = fuzzed.bytes.Take();
    RunSession(how, what);
    return 0;
}
