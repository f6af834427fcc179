#include "apps/ox/device/Bench.h"

#include "apps/ox/base/Failure.h"
#include "apps/ox/base/Terminal.h"

#include <cstdlib>
#include <poll.h>

namespace Ox {

Bench::Bench(const Library& calls, const std::string& sceneName) : library(calls)
{
    const char* const variable = std::getenv("ORVEX_BENCH");
    if (sceneName != "plain")
        scene = ReadScene(sceneName);
    else
        scene.instruments = Split(variable == nullptr ? "spectrophotometer" : variable, ',');
    unsetenv("ORVEX_BENCH"); // attached here, where their handles are known
    for (const std::string& item : scene.instruments) {
        const auto at = item.find('@');
        Attach(item.substr(0, at), at == std::string::npos ? "usb" : item.substr(at + 1));
    }
}

void Bench::Attach(const std::string& kind, const std::string& place)
{
    const oxv_device handle = library.oxv_attach(kind.c_str(), place.c_str());
    Check(handle);
    devices.push_back({handle, kind != "spectrophotometer"});
    for (const auto& [name, value] : scene.numbers)
        Check(library.oxv_set_number(handle, name.c_str(), value));
    if (!devices.back().isColorimeter)
        Furnish(handle);
    Show({1, 1, 1});
}

void Bench::Furnish(oxv_device device) const
{
    for (const Scene::Patch& patch : scene.strip)
        Check(library.oxv_strip_add(device, patch.reflectance.values.data(), patch.reflectance.values.size(),
                                    patch.reflectance.firstNm, patch.reflectance.stepNm, patch.seconds,
                                    patch.edgeSeconds));
}

bool Bench::Show(const std::array<double, 3>& drive) const
{
    if (!scene.display)
        return false;
    const auto xyz = scene.display->Show(drive);
    constexpr const char* names[] = {"X", "Y", "Z"};
    for (const Device& device : devices)
        for (std::size_t i = 0; i < 3 && device.isColorimeter; ++i)
            Check(library.oxv_set_number(device.handle, names[i], xyz[i]));
    return true;
}

void Bench::SetCurve(const char* name, const std::vector<Curve>& curves, std::size_t number) const
{
    if (curves.empty())
        return;
    const Curve& curve = curves[number % curves.size()];
    for (const Device& device : devices)
        if (!device.isColorimeter)
            Check(library.oxv_set_curve(device.handle, name, curve.values.data(), curve.values.size(), curve.firstNm,
                                        curve.stepNm));
}

void Bench::PressKey(const Instrument& instrument) const
{
    constexpr int mostTries = 100;
    for (const Device& device : devices)
        if (!device.isColorimeter)
            Check(library.oxv_press(device.handle));
    for (int i = 0; i < mostTries && !instrument.WasKeyPressed(); ++i)
        poll(nullptr, 0, 10);
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

bool Bench::ForMeasurement(const ModeRow& mode, const Instrument& instrument, std::size_t number, bool keyOnly)
{
    SetCurve("sample", scene.samples, number);
    SetCurve("emission", scene.lights, number);
    SetCurve("ambient", scene.rooms, number);
    for (const Scene::Flash& flash : scene.flashes)
        for (const Device& device : devices)
            if (!device.isColorimeter && std::string("flash") == mode.word)
                Check(library.oxv_flash(device.handle, flash.start, flash.duration, flash.irradiance.values.data(),
                                        flash.irradiance.values.size(), flash.irradiance.firstNm,
                                        flash.irradiance.stepNm));
    SetPosition(mode.position, std::string("diffuser") == mode.position ? "diffuser" : "screen");
    if (keyOnly)
        PressKey(instrument);
    return !WasInterrupted();
}

}
