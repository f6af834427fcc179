// Sound replies with any version string, any memory and any counts: recognition, parsing and what is made of them.

#include "orvex/zelcal.h"
#include "tests/fuzz/ToolkitSession.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedInstrument instrument(data, size);
    instrument.sound = true;
    for (std::size_t i = 0; i < 8; ++i)
        instrument.version[i] = static_cast<char>(instrument.Take());
    for (std::uint8_t& cell : instrument.memory)
        cell = instrument.Take();
    CalDataBlock record{};
    record.header.calibratorType = instrument.memory[121] % 32;
    ParsedEEPROMEx parsed{};
    AltrixParseExtendedEEPROMStruct_M(&record, &parsed, instrument.memory.data());
    RunSession(instrument);
    return 0;
}
