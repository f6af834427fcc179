#include "apps/ox/device/Bench.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"

#include <cstdlib>

namespace Ox {

Bench::Bench(const Library& calls) : library(calls)
{
    const char* const variable = std::getenv("ORVEX_BENCH");
    const Words items = Split(variable == nullptr ? "spectrophotometer" : variable, ',');
    unsetenv("ORVEX_BENCH"); // attached here, where their handles are known
    for (const std::string& item : items) {
        const auto at = item.find('@');
        Attach(item.substr(0, at), at == std::string::npos ? "usb" : item.substr(at + 1));
    }
}

void Bench::Attach(const std::string& kind, const std::string& place)
{
    const oxv_device handle = library.oxv_attach(kind.c_str(), place.c_str());
    Check(handle);
    devices.push_back({handle, kind != "spectrophotometer"});
}

void Bench::Check(int result) const
{
    if (result < OXV_OK)
        throw Failure(Status::Refused, std::string("bench: ") + library.oxv_last_error());
}

void Bench::SetPosition(const char* spectrophotometers, const char* colorimeters) const
{
    for (const Device& device : devices) {
        const int result =
            library.oxv_set_text(device.handle, "position", device.isColorimeter ? colorimeters : spectrophotometers);
        if (!device.isColorimeter) // most colorimeters see a screen and nothing else
            Check(result);
    }
}

void Bench::ForCalibration(const ModeRow& mode, const Instrument&)
{
    SetPosition(mode.darkOrTile, "screen");
}

bool Bench::ForMeasurement(const ModeRow& mode, const Instrument&, std::size_t, bool)
{
    SetPosition(mode.position, std::string("diffuser") == mode.position ? "diffuser" : "screen");
    return !WasInterrupted();
}

}
