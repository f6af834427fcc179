#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/CallFrame.h"

#include "Vondrel/Utilities/Exceptions/DeviceDriverException.h"
#include "Vondrel/Utilities/Exceptions/ResourceException.h"
#include "Vondrel/Utilities/Exceptions/SDKError.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <exception>
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

void StoreFailure()
{
    CurrentProxy().SetLastError(FailureInFlight());
}

void ReportFailure(const char* function)
{
    const SDKError error = CurrentProxy().GetLastError();
    CurrentProxy().HandleError(function, error);
}

}
