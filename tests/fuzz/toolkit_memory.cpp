// Sound replies with any version string, any memory and any counts: recognition, parsing and what is made of them.

#include "tests/fuzz/FuzzedSeam.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzzed = {};
    fuzzed.bytes = {data, size};
    fuzzed.sound = true;
    const std::uint8_t how = fuzzed.bytes.Take();
    const std::uint8_t what = fuzzed.bytes.Take();
    for (int i = 0; i < 8; ++i)
        fuzzed.version[i] = static_cast<char>(fuzzed.bytes.Take());
    for (std::uint8_t& cell : fuzzed.memory)
        cell = fuzzed.bytes.Take();

    CalDataBlock record{};
    record.header.calibratorType = how % 32;
    ParsedEEPROMEx parsed{};
    AltrixParseExtendedEEPROMStruct_M(&record, &parsed, fuzzed.memory);
    RunSession(how, what);
    return 0;
}
