#pragma once

#include "apps/ox/device/Stage.h"

#include <vector>

namespace Ox {

/// The virtual bench, and its instruments brought to their places.
class Bench : public Stage {
public:
    /// Attaches what the environment variable ORVEX_BENCH names, a spectrophotometer where it is not set.
    /// @throws Failure: what is named cannot be attached
    explicit Bench(const Library& library);

    void ForCalibration(const ModeRow& mode, const Instrument& instrument) override;
    bool ForMeasurement(const ModeRow& mode, const Instrument& instrument, std::size_t number, bool keyOnly) override;
    bool IsAutomatic() const override { return true; }

private:
    void Attach(const std::string& kind, const std::string& place);
    void SetPosition(const char* spectrophotometers, const char* colorimeters) const;
    void Check(int result) const;

    struct Device {
        oxv_device handle;
        bool isColorimeter;
    };
    const Library& library;
    std::vector<Device> devices;
};

}
