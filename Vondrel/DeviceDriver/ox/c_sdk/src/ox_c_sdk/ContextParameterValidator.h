#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/CallParameters.h"

#include <string>

namespace OrvexSDK {

/// Looks at an exported call before anything is done. The base accepts every call; each kind of device derives its own
/// rules, which is what lets one set of calls serve instruments with different abilities.
class ContextParameterValidator {
public:
    virtual ~ContextParameterValidator() = default;

    /// @throws SDKError with the result code of the refusal
    virtual void Validate(const std::string& functionName, const CallParameters& parameters);

protected:
    /// @return the text
    /// @throws SDKError 10 "parameter must not be null", "parameter must not be empty"
    static const char* Validate(const char* text);

    /// @throws SDKError 10 "parameter must not be null"
    static void ValidatePointer(const void* pointer);
};

}
