#pragma once

#include "Vondrel/Utilities/Exceptions/Location.h"

namespace Vondrel::Utilities::Exceptions {

/// What a trace guard does with the exception in flight: one of the family gets the guard's location at the end of its
/// trace and goes on as the same object; a standard exception becomes its counterpart in the family; anything else
/// becomes a RuntimeException "unkown exception caught". The end of a thread by force passes untouched. To be called in
/// a handler only.
[[noreturn]] void TraceAndRethrow(const char* className, const char* methodName, const char* file, int line);

}

/// The handler of a function try block that stands around a method's body:
///
///     void Device::Open()
///     try {
///         ...
///     }
///     TRACE_GUARD("Device", "Open")
///
/// The path without a failure costs nothing. In a constructor members are gone when the handler runs: it only traces.
/// Never on a destructor.
#define TRACE_GUARD(className, methodName)                                                                             \
    catch (...)                                                                                                        \
    {                                                                                                                  \
        ::Vondrel::Utilities::Exceptions::TraceAndRethrow(className, methodName, __FILE__, __LINE__);                  \
    }
