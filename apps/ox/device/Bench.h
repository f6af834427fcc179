#pragma once

#include "apps/ox/device/Stage.h"
#include "apps/ox/scene/Scene.h"

#include <vector>

namespace Ox {

/// The virtual bench, and its instruments brought to their places.
class Bench : public Stage {
public:
    /// Attaches the instruments of a scene. Where ORVEX_BENCH is set, it names the instruments of the plain scene.
    /// @param sceneName  shipped, or a file; "plain" for a spectrophotometer as the bench has it
    /// @throws Failure: what is named cannot be attached, or the scene is refused
    Bench(const Library& library, const std::string& sceneName);

    /// Shows a patch on the scene's display: red, green, blue from 0 to 1.
    /// @return false: the scene has none
    bool Show(const std::array<double, 3>& drive) const;

    void ForCalibration(const ModeRow& mode, const Instrument& instrument) override;
    bool ForMeasurement(const ModeRow& mode, const Instrument& instrument, std::size_t number, bool keyOnly) override;
    bool IsAutomatic() const override { return true; }

private:
    void Attach(const std::string& kind, const std::string& place);
    void Furnish(oxv_device device) const;
    void SetCurve(const char* name, const std::vector<Curve>& curves, std::size_t number) const;
    void PressKey(const Instrument& instrument) const;
    void SetPosition(const char* spectrophotometers, const char* colorimeters) const;
    void Check(int result) const;

    struct Device {
        oxv_device handle;
        bool isColorimeter;
    };
    const Library& library;
    Scene scene;
    std::vector<Device> devices;
};

}
