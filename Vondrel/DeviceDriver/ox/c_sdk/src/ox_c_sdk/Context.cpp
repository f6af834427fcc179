#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/Context.h"

#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

namespace OrvexSDK {

Context::Context() : proxy(nullptr), validator(new ContextParameterValidator) { }

Context::Context(const SmartPointer<SDKProxy>& theProxy, const SmartPointer<ContextParameterValidator>& theValidator)
    : proxy(theProxy), validator(theValidator)
{
}

void Context::SetCall(const char* name, const CallParameters& callParameters)
{
    functionName = name;
    parameters = callParameters;
}

void Context::Validate()
try {
    validator->Validate(functionName, parameters);
}
TRACE_GUARD("Context", "Validate")

}
