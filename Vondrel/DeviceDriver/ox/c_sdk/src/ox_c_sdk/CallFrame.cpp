#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/CallFrame.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TraceGuard.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <exception>
#include <optional>
#include <string>
#include <typeinfo>

namespace OrvexSDK {

using namespace Vondrel::Utilities::Exceptions;

namespace {

const SDKError& NoError()
{
    static const SDKError& noError = *new SDKError; // never destroyed: a call may come while the process ends
    return noError;
}

void CheckCall(const Call& call)
{
    CurrentProxy().SetLastError(NoError());
    CallParameters parameters = call.parameters;
    if (call.readsSamples)
        parameters.limit = CurrentProxy().GetSampleCount();
    Context& context = ContextManager::Instance().Current();
    context.SetCall(call.name, parameters);
    context.Validate();
}

/// The failure in flight as the error that an application reads.
SDKError FailureInFlight()
{
    try {
        throw;
    } catch (const IOException& e) {
        return SDKError(OX_DeviceNotConnected, e);
    } catch (const CalculationException& e) {
        return SDKError(OX_CalculationFailed, e);
    } catch (const ResourceException& e) {
        return SDKError(OX_InvalidParameter, e);
    } catch (const SDKError& e) {
        return e;
    } catch (const std::exception& e) {
        return SDKError(OX_InternalError, std::string(e.what()) + "\n" + TypeName(typeid(e)) + "\n", "");
    } catch (...) {
        return SDKError(OX_InternalError, "Unknown Exception occurred", "");
    }
}

}

bool PerformStep(const Call& call, void (*step)(void* data), void* data)
{
    std::optional<SDKError> error;
    try {
        try {
            CheckCall(call);
            step(data);
            return true;
        } catch (...) {
            TraceAndRethrow("", call.name, call.file, call.line);
        }
    } catch (...) {
        Platform::PassForcedUnwind();
        error.emplace(FailureInFlight());
    }
    // No failure is in flight while the application's handler runs: it may end its thread.
    CurrentProxy().HandleError(call.name, *error);
    return false;
}

}
