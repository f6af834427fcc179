#include "Vondrel/Utilities/Exceptions/TraceGuard.h"

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"
#include "Vondrel/Utilities/Exceptions/StdExceptionConverter.h"
#include "platform/RunTime.h"

namespace Vondrel::Utilities::Exceptions {

void TraceAndRethrow(const char* className, const char* methodName, const char* file, int line)
{
    Platform::PassForcedUnwind();
    try {
        throw;
    } catch (TraceableException& e) {
        try {
            e.Trace().push_back(MakeLocation(className, methodName, file, line));
        } catch (const std::bad_alloc&) {
            // The failure itself matters more than one line of its trace.
        }
        throw;
    } catch (const std::exception& e) {
        StdExceptionConverter(MakeLocation(className, methodName, file, line)).Rethrow(e);
    } catch (...) {
        throw RuntimeException("unkown exception caught", MakeLocation(className, methodName, file, line));
    }
}

}
