#pragma once

#include "Vondrel/CMetry/Internals/BaseCalculator.h"
#include "Vondrel/CMetry/Internals/DifferenceFormulas.h"
#include "Vondrel/CMetry/VDColorVector.h"
#include "Vondrel/CMetry/VDIllumination.h"
#include "Vondrel/CMetry/VDSpectrum.h"

namespace Vondrel::CMetry {

class CMetryFilter;

/// Colour spaces and colour differences, from a spectrum or from a colour vector. It keeps no state but the weights of
/// the last illuminant and observer, and what depends on constants alone.
///
/// A result may be the same object as a source. Elements stand in the order of the labels of
/// VDMeasureConditions::GetElementName. An operation that returns a bool returns false where it could not run; from a
/// spectrum that is only the case under white base Paper without a paper white. Exceptions of the weights (an
/// illuminant or observer without a table) pass through.
class CMetryCalculator : public BaseCalculator {
public:
    /// Returned by the delta E operations where they could not run.
    static constexpr float DeltaEFailure = deltaEFailure;

    /// The weights in force.
    static CMetryFilter& GetFilter() noexcept;

    // From a spectrum. A spectrum whose own illumination is Emission is computed as one, whatever the conditions say.

    /// X, Y, Z, with Y = 100 for a perfect white: 36 points, divided by the paper white under white base Paper, times
    /// the weights of the conditions.
    static bool GetVector_CIEXYZ(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                 VDColorVector& result);
    static bool GetVector_CIELab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                 VDColorVector& result);
    static bool GetVector_CIELCh_ab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                    VDColorVector& result);
    static bool GetVector_CIExyY(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                 VDColorVector& result);
    /// L, C, h of a space that is uniform under the CMC weighting; h in degrees, not normalised.
    static bool GetVector_LCHvd(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                VDColorVector& result);
    static bool GetVector_LABvd(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                VDColorVector& result);
    /// L*, u', v': the chromaticity of CIE 1976, not scaled to u*, v*. A black lies at the illuminant's.
    static bool GetVector_CIELuv(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                 VDColorVector& result);
    static bool GetVector_CIELCh_uv(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                    VDColorVector& result);
    static bool GetVector_HunterLab(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                    VDColorVector& result);
    /// Reflectances of the red, green and blue lobes of the observer, in percent.
    static bool GetVector_RxRyRz(const VDSpectrum& spectrum, const VDMeasureConditions& conditions,
                                 VDColorVector& result);
    /// Computed under the conditions that the result brings.
    static bool GetVector_RGB(const VDSpectrum& spectrum, VDColorVector& result);

    // From a vector, under the vector's own conditions.

    /// XYZ to CIE 1976 L*a*b*. L* is not below 0 and may exceed 100.
    static bool GetVector_CIELab(const VDColorVector& source, VDColorVector& result);
    /// Lab to XYZ.
    static bool GetVector_CIEXYZ(const VDColorVector& source, VDColorVector& result);
    /// L, a, b of any space to L, C, h; h above 0, up to 360 degrees; 360 for a neutral colour.
    static bool GetVector_CIELCh_ab(const VDColorVector& source, VDColorVector& result);
    /// XYZ to x, y, Y. A black lies at the chromaticity of the illuminant.
    static bool GetVector_CIExyY(const VDColorVector& source, VDColorVector& result);
    /// XYZ or xyY, by the type in the source's conditions, to u', v', Y.
    /// @return false for another type
    static bool GetVector_CIEuvY1976(const VDColorVector& source, VDColorVector& result);
    /// The same to u, v, Y of CIE 1960.
    static bool GetVector_CIEuvY1960(const VDColorVector& source, VDColorVector& result);
    /// Lab to whole numbers from 0 to 255: EBU primaries, D65 white, exponent 0.45. Of the result's conditions only the
    /// type changes.
    static bool GetVector_CIELab_RGB(const VDColorVector& source, VDColorVector& result);

    /// The white point of the conditions.
    static bool GetNormValence(const VDMeasureConditions& conditions, VDColorVector& result);

    static double DegToRad(double degrees) noexcept;
    static double RadToDeg(double radians) noexcept;

    // Differences of two spectra under the conditions; the first is the reference. DeltaEFailure where they cannot run.

    static float GetDeltaE_CIELAB(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                  const VDMeasureConditions& conditions);
    /// The distance over L*, u', v'.
    static float GetDeltaE_CIELUV(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                  const VDMeasureConditions& conditions);
    static float GetDeltaE_vd(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                              const VDMeasureConditions& conditions);
    /// Friele-MacAdam-Chickering II on XYZ (Chickering, J. Opt. Soc. Am. 61, 1971). Fails where the reference is black.
    static float GetDeltaE_FMCII(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                 const VDMeasureConditions& conditions);
    static float GetDeltaE_CMC(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                               const VDMeasureConditions& conditions, float l, float c);
    static float GetDeltaE_94(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                              const VDMeasureConditions& conditions, float kL, float kC, float kH);
    static float GetDeltaE_2000(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                                const VDMeasureConditions& conditions, float kL, float kC, float kH);

    // Differences of two Lab vectors; the first is the reference. DeltaEFailure for a factor of 0.

    static float GetDeltaE_CIELAB(const VDColorVector& lab1, const VDColorVector& lab2);
    /// CMC (l:c), ISO 105-J03.
    static float GetDeltaE_CMC(const VDColorVector& lab1, const VDColorVector& lab2, float l, float c);
    /// CIE 94, CIE 116-1995; the chroma of the reference weighs.
    static float GetDeltaE_94(const VDColorVector& lab1, const VDColorVector& lab2, float kL, float kC, float kH);
    /// CIEDE2000, ISO/CIE 11664-6.
    static float GetDeltaE_2000(const VDColorVector& lab1, const VDColorVector& lab2, float kL, float kC, float kH);

    /// The distance of a Lab vector to 36 values under the weights in force: the caller has set these. Divides by the
    /// paper white if the vector's white base is Paper.
    static float GetDeltaE_CIELAB_SpeedOptimized(const VDColorVector& lab, const float* values);

    // Delta L, delta C, delta H of a sample (first) against a reference, both L, a, b of their space.

    static bool GetVector_DeltaCIELCH_ab(const VDColorVector& vector1, const VDColorVector& vector2,
                                         VDColorVector& result);
    static bool GetVector_LCHvd_delta(const VDColorVector& vector1, const VDColorVector& vector2,
                                      VDColorVector& result);
    static bool GetVector_CIELCH_uv(const VDColorVector& vector1, const VDColorVector& vector2, VDColorVector& result);

    /// The metamerism index with multiplicative correction: how far two spectra differ under the illumination once they
    /// are equal under the conditions.
    static float GetMetamery(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                             const VDMeasureConditions& conditions, const VDIllumination& illumination);

    /// The colour class of a spectrum under its own conditions: 0 to 15, or -1 where its Lab cannot be computed or is
    /// not finite. See CMetryService::GetColorType for the names.
    static int GetColorType(const VDSpectrum& spectrum);
};

}
