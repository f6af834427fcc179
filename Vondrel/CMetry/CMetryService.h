#pragma once

#include "Vondrel/CMetry/VDColorVector.h"
#include "Vondrel/CMetry/VDMeasureConditions.h"
#include "Vondrel/CMetry/VDSpectrum.h"

#include <string>
#include <string_view>
#include <vector>

namespace Vondrel::CMetry {

/// Colorimetry by the conditions: colour spaces, differences, temperature, rendering, and back to a spectrum.
///
/// A failure is a CMetryException; the text "CMetryCalculator" alone says that the numbers do not allow a result, or
/// that white base Paper has no paper white. Illuminants and observers without a table fail with texts of their own,
/// "Userdefined" without a spectrum with a NullPointerException. State of the process (the weights of the last
/// illuminant, the paper white), without a lock.
class CMetryService {
public:
    /// The colour of a spectrum in the colour space of the conditions, all but "CMYK".
    /// @throws CMetryException "GetVector not supported for ColorSpace ..."
    static VDColorVector GetVector(const VDSpectrum& spectrum, const VDMeasureConditions& conditions);

    /// The same colour in another space, under the vector's own conditions. XYZ and Lab go into each other; XYZ also to
    /// xyY; XYZ and xyY to u', v', Y of 1976 and u, v, Y of 1960; a cartesian space to its polar one; XYZ and Lab to
    /// RGB.
    /// @throws CMetryException "Conversion not supported from ColorSpace ... to ColorSpace ..."
    static VDColorVector GetVector(const VDColorVector& vector, ColorSpace colorSpace);
    static VDColorVector GetVector(const VDColorVector& vector, std::string_view colorSpace);

    /// The difference by the formula of the conditions; the first spectrum is the reference. A parameter of exactly 0
    /// stands for its default.
    /// @param p1  l of "CMC" (default 2), kL of "94" and "2000" (default 1)
    /// @param p2  c of "CMC", kC of "94" and "2000" (default 1)
    /// @param p3  kH of "94" and "2000" (default 1)
    /// @throws CMetryException "GetDeltaE not supported for DeltaEFormula ..."
    static float GetDeltaE(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                           const VDMeasureConditions& conditions, float p1 = 0.0F, float p2 = 0.0F, float p3 = 0.0F);

    /// The difference by the formula of the first vector's conditions: "CIELab", "CMC", "94" or "2000".
    static float GetDeltaE(const VDColorVector& vector1, const VDColorVector& vector2, float p1 = 0.0F, float p2 = 0.0F,
                           float p3 = 0.0F);

    /// Lightness, chroma and hue difference of a sample (first) against a reference, both in "CIELab", "CIELuv" or
    /// "LABvd".
    static VDColorVector GetDeltaVector(const VDColorVector& vector1, const VDColorVector& vector2);

    /// The metamerism index with multiplicative correction; the test conditions give their illumination alone, so that
    /// a user-defined illuminant is that of the reference conditions.
    static float GetMetamery(const VDSpectrum& spectrum1, const VDSpectrum& spectrum2,
                             const VDMeasureConditions& conditions, const VDMeasureConditions& testConditions);

    /// The name of the colour that a spectrum has under its own conditions; "Undefined" where there is none.
    static std::string GetColorType(const VDSpectrum& spectrum);

    static const std::vector<std::string>& GetSupportedValues(std::string_view key);

    /// The correlated colour temperature in whole kelvin, from 250 to 999950; -1 where there is none. It is that of the
    /// colour which the spectrum has under its own conditions: those of a light source say illumination "Emission".
    static float GetColorTemperature(const VDSpectrum& spectrum);

    /// A spectrum of reflectances between 0 and 1 that has this colour under the vector's conditions, within a CIELAB
    /// delta E of 0.1. It is not smooth.
    /// @param vector  in a space that converts to "CIELab"
    /// @throws CMetryException "CMetryCalculator: Conversion out of Range": no reflectance gives this colour
    static VDSpectrum GetSpectrum(const VDColorVector& vector);

    /// The general colour rendering index of a light source, in the way of CIE 13.3. Its conditions say illumination
    /// "Emission".
    /// @param index      receives the index, whole; 100 for the reference itself, 0 where there is none
    /// @param reference  receives the name of the daylight that it is compared with, empty for a Planck radiator
    /// @return whether the source lies near enough to the reference for the index to mean something
    static bool GetColorRenderingIndex(const VDSpectrum& spectrum, float& index, std::string& reference);
};

}
