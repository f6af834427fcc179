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

void ReportFailure(const char* function)
{
    const auto report = [function](const SDKError& error) { CurrentProxy().HandleError(function, error); };
    try {
        throw;
    } catch (const IOException& e) {
        report(SDKError(OX_DeviceNotConnected, e));
    } catch (const CalculationException& e) {
        report(SDKError(OX_CalculationFailed, e));
    } catch (const ResourceException& e) {
        report(SDKError(OX_InvalidParameter, e));
    } catch (const SDKError& e) {
        report(e);
    } catch (const std::exception& e) {
        report(SDKError(OX_InternalError, std::string(e.what()) + "\n" + TypeName(typeid(e)) + "\n", ""));
    } catch (...) {
        report(SDKError(OX_InternalError, "Unknown Exception occurred", ""));
    }
}

}
