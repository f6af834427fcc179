#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/CallParameters.h"
#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/ContextManager.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "orvex/ox.h"
#include "platform/RunTime.h"

namespace OrvexSDK {

/// The proxy of the current context. Fetched anew at each use: a handler of the application may have changed or dropped
/// the context in the meantime.
inline SDKProxy& CurrentProxy()
{
    return *ContextManager::Instance().Current().Proxy();
}

/// One exported call in progress.
struct Call {
    const char* name;
    const char* file; ///< where the exported function stands, for the trace
    int line;
    CallParameters parameters = {};
    bool readsSamples = false; ///< the validator is told how many samples there are
};

/// Clears the stored error and has the validator of the current context look at the call.
/// @throws SDKError if the call is refused
void CheckCall(const Call& call);

/// Stores the failure in flight in the current proxy. To be called in a handler only.
void StoreFailure();

/// Tells the application's error handler of the failure that is stored. To be called when none is in flight any more:
/// the handler may end its thread.
/// @throws OXSDK::Exception from the handler
void ReportFailure(const char* function);

/// The frame of an exported call: has the call checked, runs the operation, and reports what either throws.
/// @return whether the operation ran to its end
template<class Operation>
bool Perform(const Call& call, Operation operation)
{
    try {
        try {
            CheckCall(call);
            operation();
            return true;
        } catch (...) {
            Vondrel::Utilities::Exceptions::TraceAndRethrow("", call.name, call.file, call.line);
        }
    } catch (...) {
        Platform::PassForcedUnwind();
        StoreFailure();
    }
    ReportFailure(call.name);
    return false;
}

/// The last clause around the whole of an exported function: an OXSDK::Exception passes, anything else gives the
/// failure value without allocating.
template<class Result, class Body>
Result Guarded(Result failure, Body body)
{
    try {
        return body();
    } catch (const OXSDK::Exception&) {
        throw;
    } catch (...) {
        Platform::PassForcedUnwind();
        return failure;
    }
}

/// Most exported calls: the frame, then the code of the stored error, read after the handler has run.
template<class Operation>
OX_Result PerformForCode(const Call& call, Operation operation)
{
    return Guarded<OX_Result>(OX_InternalError, [&] {
        Perform(call, operation);
        return CurrentProxy().GetLastError().Code();
    });
}

}
