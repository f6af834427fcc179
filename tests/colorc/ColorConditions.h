#pragma once

#include "orvex/color.h"

#include "Vondrel/CMetry/VDMeasureConditions.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct FreeConditions {
    void operator()(oxc_conditions* conditions) const { oxc_conditions_free(conditions); }
};
using Conditions = std::unique_ptr<oxc_conditions, FreeConditions>;

inline const std::string illuminationKey = "Colorimetric.Illumination";
inline const std::string observerKey = "Colorimetric.Observer";
inline const std::string whiteBaseKey = "Colorimetric.WhiteBase";
inline const std::string standardKey = "Colorimetric.DensityStandard";
inline const std::string filterKey = "Colorimetric.DensityFilterMode";
inline const std::string spaceKey = "ColorSpaceDescription.Type";
inline const std::string formulaKey = "ColorSpaceDescription.DeltaEFormula";

/// The same conditions for the public calls and for the engine as the exported measuring calls use it.
struct BothConditions {
    Conditions c{oxc_conditions_new()};
    Vondrel::CMetry::VDMeasureConditions engine;

    BothConditions() { engine.SetWhiteBase(Vondrel::CMetry::WhiteBase::Absolute); }
    void Set(const std::string& key, const std::string& value)
    {
        ASSERT_EQ(oxc_set(c.get(), key.c_str(), value.c_str()), OX_NoError) << key << " " << value;
        engine.SetMeasureCondition(key, value);
    }
};

inline std::vector<std::string> Values(const std::string& key)
{
    std::vector<std::string> values;
    for (std::size_t i = 0; oxc_value(key.c_str(), i) != nullptr; ++i)
        values.emplace_back(oxc_value(key.c_str(), i));
    return values;
}

inline bool SameBits(float a, float b)
{
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}
