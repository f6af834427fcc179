#pragma once

#include "Vondrel/CMetry/Internals/ColorFormulas.h"
#include "Vondrel/CMetry/VDColorVector.h"
#include "Vondrel/CMetry/VDSpectrum.h"

namespace Vondrel::CMetry {

/// Finds reflectances between 0 and 1 that give a colour, by a greedy search that moves one wavelength at a time.
class Lab2Spec {
public:
    /// @param lab            a CIELab vector; all is computed under its conditions
    /// @param spectrum       receives the reflectances, also the last ones of a search without success
    /// @param tolerance      the delta E below which the search ends with success
    /// @param useDeltaE94    CIE 94 instead of CIELAB
    /// @param maxIterations  the search ends without success after so many steps
    /// @return whether the colour was reached
    bool GetSpectrum(const VDColorVector& lab, VDSpectrum& spectrum, float tolerance, bool useDeltaE94,
                     int maxIterations) const;
    /// The same of numbers alone.
    /// @param spectrum  receives 36 reflectances
    static bool Find(const ColorBasis& basis, const Color& lab, float* spectrum, float tolerance, bool useDeltaE94,
                     int maxIterations);
};

}
