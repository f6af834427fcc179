#pragma once

#include "Vondrel/CMetry/Internals/ColorFormulas.h"
#include "Vondrel/CMetry/VDColorVector.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/CMetry/VDSpectrum.h"

namespace Vondrel::CMetry {

/// The correlated colour temperature: that of the Planck radiator on whose normal to the locus, in the chromaticity
/// diagram of CIE 1960, a spectrum lies. Leaves the weights of emission in force.
class ColorTemperature {
public:
    /// @return whole kelvin; -1 for a spectrum without a chromaticity, one that no normal of the range meets, or one
    ///         exactly on a point of the locus that the search visits
    float GetColorTemperature(const VDSpectrum& spectrum) const;

    /// The spectral radiance of a black body, W / (m^2 sr m), under the conditions with illumination Emission.
    /// @param temperature  kelvin
    VDSpectrum GetPlanckRadiator(float temperature, const VDMeasureConditions& conditions) const;

    /// The XYZ of that radiator for the observer of the conditions, with Y = 100.
    /// @throws CMetryException "Planck radiator without light": a temperature too low, or none
    VDXYZ GetPlanckRadiatorXYZ(float temperature, const VDMeasureConditions& conditions) const;

    /// The same of a colour as emission.
    /// @param emission  the weights of emission
    static float Find(const Weightfactors& emission, const Color& xyz);
    /// The values of that radiator.
    static VDSpectrum::ValueArray GetPlanckValues(float temperature);
};

}
