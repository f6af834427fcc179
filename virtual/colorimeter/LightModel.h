#pragma once

#include "virtual/colorimeter/Calibration.h"

namespace Virtual::Colorimeter {

/// What lies before the aperture.
struct Scene {
    Triple screenXYZ{};        ///< cd/m2
    double refreshHertz = 0.0; ///< 0: a screen that does not refresh
    Triple ambientXYZ{};       ///< lux
    bool diffuser = false;     ///< the ambient head looks at the surroundings, not at the screen
    Triple dark{}; ///< of each channel, in the unit that the type's calibration uses; a lone converter takes the first
};

/// Filters and light-to-frequency converters of one instrument. It knows its optics from the works, not from its
/// memory.
class LightModel {
public:
    explicit LightModel(const Type& type);

    /// Whether the scene is too bright to be counted. Types with three ranges have their own limit in each but the
    /// widest, as the host expects.
    bool IsTooBright(const Scene& scene) const;

    /// Pulses in the calibrated integration time, dark included, of each channel; never negative. Types with a matrix.
    Triple Pulses(const Scene& scene) const;

    /// Frequency of each converter in hertz, dark included; never negative. A channel that the type lacks stays at 0.
    Triple Hertz(const Scene& scene) const;

private:
    Triple LuminanceHertz(const Scene& scene) const;

    const Type& type;
    Calibration calibration;
    Matrix fromXYZ;        ///< XYZ in foot-lamberts to pulses
    Matrix fromAmbientXYZ; ///< XYZ in foot-candles to pulses
};

}
