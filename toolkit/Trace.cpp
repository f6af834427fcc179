#include "toolkit/Trace.h"

namespace Toolkit {

namespace {
bool tracing = false;
}

std::FILE* BeginTrace(CalDataBlock* device)
{
    std::FILE* trace = tracing ? std::fopen("zelio.txt", "a") : nullptr;
    device->comm.traceFile = trace;
    return trace;
}

void EndTrace(CalDataBlock* device)
{
    std::fclose(static_cast<std::FILE*>(device->comm.traceFile));
    device->comm.traceFile = nullptr;
}

void TraceBytes(std::FILE* trace, const std::uint8_t* bytes, std::uint32_t length, std::uint32_t shown)
{
    for (std::uint32_t i = 0; i < shown; ++i)
        std::fprintf(trace, "%02x ", i < length ? bytes[i] : 0U);
}

}

extern "C" int32_t ZELCAL_CALL AltrixSetCommDebugging(int32_t on)
{
    Toolkit::tracing = on != 0;
    return ZEL_OK;
}
