#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/SDKProxy/SDKProxy.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/CallParameters.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextParameterValidator.h"
#include "Vondrel/Utilities/Tools/SmartPointer.h"

#include <string>

namespace OrvexSDK {

/// What the exported calls work on: one device identity with its proxy and the rules of its kind of device.
class Context {
public:
    template<class T>
    using SmartPointer = Vondrel::Utilities::Tools::SmartPointer<T>;

    /// A context without a proxy, which accepts every call.
    Context();
    Context(const SmartPointer<SDKProxy>& theProxy, const SmartPointer<ContextParameterValidator>& theValidator);

    /// Notes the exported call in progress.
    void SetCall(const char* name, const CallParameters& callParameters);

    /// @throws SDKError if the call in progress is refused
    void Validate();

    SmartPointer<SDKProxy>& Proxy() { return proxy; }

private:
    std::string functionName;
    CallParameters parameters;
    SmartPointer<SDKProxy> proxy;
    SmartPointer<ContextParameterValidator> validator;
};

}
