#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextParameterValidator.h"

#include <string_view>

namespace ZelkovaSDK {

/// The rules of the display colorimeter.
class ZelkovaContextValidator : public OrvexSDK::ContextParameterValidator {
public:
    void Validate(const std::string& functionName, const OrvexSDK::CallParameters& parameters) override;

private:
    static void ValidateMeasureMode(std::string_view value);
    static void ValidateScreenType();
    static void ValidateIndex(const OrvexSDK::CallParameters& parameters);
};

}
