#pragma once

#include "apps/ox/base/Words.h"

#include <array>

namespace Ox {

/// A way of measuring, as the program and the library call it, and what the person does for it.
struct ModeRow {
    const char* word;
    const char* mode;       ///< the library's text
    const char* darkOrTile; ///< position on the bench for the calibration
    const char* position;   ///< position on the bench for the measurement
    const char* toCalibrate;
    const char* toMeasure;
    const char* lightUnit; ///< of Y; "" for reflectances
};

inline constexpr std::array modeTable = {
    ModeRow{"reflectance", "SingleReflectance", "tile", "sample", "Put the instrument on its white tile",
            "Put the instrument on the sample", ""},
    ModeRow{"emission", "SingleEmission", "dark", "source", "Keep all light from the instrument",
            "Point the instrument at the light", "cd/m²"},
    ModeRow{"ambient", "SingleAmbientLight", "dark", "diffuser", "Keep all light from the diffuser",
            "Hold the diffuser into the light", "lx"},
    ModeRow{"scan", "ScanningReflectance", "tile", "strip", "Put the instrument on its white tile",
            "Put the instrument before the strip, hold its key and move it over the strip", ""},
    ModeRow{"flash", "ScanningAmbientLight", "dark", "diffuser", "Keep all light from the diffuser",
            "Hold the diffuser into the light and let it flash", "lx s"},
};

/// The row of a mode by the program's word or the library's text.
/// @throws Failure: it is none
const ModeRow& ModeOf(const std::string& word);

}
