#pragma once

#include "Vondrel/CMetry/VDSpectrum.h"

#include <string>

namespace Vondrel::CMetry {

class Weightfactors;

/// The general colour rendering index in the way of CIE 13.3: eight test samples under the source and under a
/// reference. From 5000 K on the reference is the nearest of D50, D55, D65 and D75, below it is the Planck radiator of
/// the same temperature. The temperature is that of the spectrum under its own conditions; all else is computed for the
/// 2 degree observer.
class ColorRenderingIndex {
public:
    /// @param spectrum   relative spectral power, at any scale
    /// @param valid      receives whether the source lies within 0.0054 of the reference (u, v of CIE 1960)
    /// @param reference  receives the name of the daylight; empty for a Planck radiator
    /// @return the index, whole; 0 and not valid for a spectrum without a colour temperature, or with so much negative
    ///         power that a sample has no colour under it
    float GetColorRenderingIndex(const VDSpectrum& spectrum, bool& valid, std::string& reference) const;

    /// The same of 36 values.
    /// @param emission     the weights of emission for the 2 degree observer
    /// @param temperature  kelvin; not above 0 for a light without one
    /// @param daylight     receives the daylight that the light is compared with; Undefined for a Planck radiator
    static float Find(const Weightfactors& emission, const float* light, float temperature, bool& valid,
                      IlluminationTYPE& daylight);
};

}
