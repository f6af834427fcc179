#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextParameterValidator.h"

#include "Vondrel/Utilities/Exceptions/Location.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "orvex/ox.h"

namespace OrvexSDK {

void ContextParameterValidator::Validate(const std::string&, const CallParameters&) { }

const char* ContextParameterValidator::Validate(const char* text)
{
    const char* const method = "Validate(const char*)";
    if (text == nullptr)
        throw SDKError(OX_InvalidParameter, "parameter must not be null",
                       THROW_LOCATION("ContextParameterValidator", method));
    if (*text == '\0')
        throw SDKError(OX_InvalidParameter, "parameter must not be empty",
                       THROW_LOCATION("ContextParameterValidator", method));
    return text;
}

void ContextParameterValidator::ValidatePointer(const void* pointer)
{
    if (pointer == nullptr)
        throw SDKError(OX_InvalidParameter, "parameter must not be null", THROW_LOCATION("Context", "Validate(ptr)"));
}

}
