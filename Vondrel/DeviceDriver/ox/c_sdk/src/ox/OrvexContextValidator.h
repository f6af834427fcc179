#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox/OrvexSDKProxy.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextParameterValidator.h"

#include <string_view>

namespace OrvexSDK {

/// The rules of the spectrophotometer. The device is asked only when a rule needs it: options that concern the library
/// itself work with nothing attached.
class OrvexContextValidator : public ContextParameterValidator {
public:
    void Validate(const std::string& functionName, const CallParameters& parameters) override;

private:
    void ValidateSetOption(const CallParameters& parameters);
    void ValidateRecognition(std::string_view key);
    void ValidateMeasureMode(std::string_view key, std::string_view value);
    void ValidateResetMode(std::string_view key, std::string_view value);
    void ValidateReflectanceMode();
};

}
