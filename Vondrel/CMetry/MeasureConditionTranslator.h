#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"
#include "Vondrel/CMetry/VDIllumination.h"

#include <string>

namespace Vondrel::CMetry {

/// Texts of condition values to numbers and back. Texts match exactly, "Undefined" among them; a number without a text
/// reads "Undefined".
class MeasureConditionTranslator {
public:
    /// @throws CMetryException  the value followed by " is not a valid ..." and the kind of value
    static WhiteBase GetWhiteBase(const std::string& value);
    static Observer GetObserver(const std::string& value);
    static DensityStandard GetDensityStandard(const std::string& value);
    static DensityFilterMode GetDensityFilterMode(const std::string& value);
    static PhysicalFilter GetPhysicalFilter(const std::string& value);
    static VectorKind GetRelativeOrAbsoluteVector(const std::string& value);
    static ColorSpace GetColorSpace(const std::string& value);
    static DeltaEFormula GetDeltaEFormula(const std::string& value);

    /// "F" takes a number from 0 to 255 behind it, "Dxx, Temperature:" one from 0 to 65535 in kelvin.
    /// @throws CMetryException           as above, a number out of range included
    /// @throws InvalidArgumentException  no number where one belongs
    static VDIllumination GetIllumination(const std::string& value);

    static std::string ToString(WhiteBase value);
    static std::string ToString(Observer value);
    static std::string ToString(DensityStandard value);
    static std::string ToString(DensityFilterMode value);
    static std::string ToString(PhysicalFilter value);
    static std::string ToString(VectorKind value);
    static std::string ToString(ColorSpace value);
    static std::string ToString(DeltaEFormula value);
    static std::string ToString(const VDIllumination& value);
};

}
