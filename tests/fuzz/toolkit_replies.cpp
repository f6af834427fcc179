// Replies that are nothing but bytes: short, long, empty, with the wrong echo.

#include "tests/fuzz/ToolkitSession.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedInstrument instrument(data, size);
    RunSession(instrument);
    return 0;
}
