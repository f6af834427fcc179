#pragma once

#include "Vondrel/CMetry/ConditionTypes.h"

#include <cstdint>

namespace Vondrel::CMetry {

/// An illuminant: its type and, for two of the types, a number.
class VDIllumination {
public:
    VDIllumination() noexcept = default;
    explicit VDIllumination(IlluminationTYPE type_) noexcept : type(type_) { }

    /// Kelvin; counts with type Dxx.
    std::uint16_t GetColorTemperature() const noexcept { return colorTemperature; }
    void SetColorTemperature(std::uint16_t kelvin) noexcept { colorTemperature = kelvin; }

    /// The number of an F illuminant, 1 to 12 where a table exists; counts with type Fxx.
    std::uint8_t GetFValue() const noexcept { return fValue; }
    void SetFValue(std::uint8_t number) noexcept { fValue = number; }

    IlluminationTYPE GetIlluminationTYPE() const noexcept { return type; }
    void SetIlluminationTYPE(IlluminationTYPE type_) noexcept { type = type_; }

    bool operator==(const VDIllumination&) const noexcept = default;

private:
    std::uint8_t fValue = 0;
    std::uint16_t colorTemperature = 0;
    IlluminationTYPE type = IlluminationTYPE::Undefined;
};

}
