#include "tests/fuzz/ToolkitSession.h"

#include "tests/toolkit/Calls.h"

using ToolkitSeam::Reply;

Reply FuzzedInstrument::Exchange(std::span<const std::uint8_t> frame)
{
    ToolkitSeam::state.clock += 1000;
    Reply reply;
    if (left == 0) {
        reply.error = 5;
        return reply;
    }
    const std::uint8_t code = frame.empty() ? std::uint8_t{0} : frame[0];
    if (!sound) { // a wrong echo ends a session on USB, so it must be rare to be worth trying
        const std::uint8_t control = Take();
        reply.Add((control & 0x80U) != 0 ? Take() : code, 1);
        for (int i = 0; i < 8; ++i)
            reply.Add(Take(), 1);
        reply.length = (control & 0x40U) != 0 ? Take() : std::uint8_t{6};
        reply.size = (control & 0x20U) != 0 ? Take() % 10U : 6U;
        reply.error = control == 0x3F ? 5 : 0;
        return reply;
    }
    reply.Add(code, 1);
    if (code == 0) {
        for (std::size_t i = 0; version[i] != '\0'; ++i)
            reply.Add(static_cast<std::uint8_t>(version[i]), 1);
    } else if ((code == 8 && frame.size() == 2) || (code == 20 && frame.size() == 3)) {
        for (const std::uint8_t byte : frame.subspan(1))
            reply.Add(byte, 1);
        reply.Add(memory[frame.back()], 1);
    } else {
        if (code == 7 && frame.size() == 3)
            memory[frame[1]] = frame[2];
        for (int i = 1; i < 6; ++i)
            reply.Add(Take(), 1);
    }
    return reply;
}

void RunSession(FuzzedInstrument& instrument)
{
    static const char* const openings[] = {
        "zelOpenCalibrator 0",           "zelOpenCalibrator 1",   "zelOpenUSBBassix",  "zelOpenSerialBassix 1",
        "zelOpenExistingSerialAltrix 1", "zelOpenUSBLCDAltrix 0", "zelOpenDevice 1 0", "AltrixOpenComm 0 1"};
    ToolkitSeam::state = {};
    ToolkitSeam::state.instrument = &instrument;
    CalDataBlock device{};
    Arguments arguments;
    MakeCall(openings[instrument.Take() % std::size(openings)], &device, arguments);
    for (int i = 0; i < 3 && device.header.isOpen != 0; ++i) {
        const Call& call = AllCalls()[instrument.Take() % AllCalls().size()];
        arguments = Arguments({double(instrument.Take() % 8), double(instrument.Take() % 8)});
        call.onRecord(&device, arguments);
    }
    AltrixClose_M(&device);
    if (device.header.isOpen != 0 || device.comm.usbHandle != nullptr || device.comm.portHandle != nullptr
        || ToolkitSeam::state.unlimited)
        __builtin_trap();
}
