#pragma once

#include "Vondrel/Utilities/Exceptions/TraceableException.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Vondrel::Utilities::Exceptions {

/// The text of a standard exception that takes no message; null for those that do.
template<typename T>
inline constexpr const char* fixedText = nullptr;
template<>
inline constexpr const char* fixedText<std::bad_alloc> = "bad allocation";
template<>
inline constexpr const char* fixedText<std::bad_cast> = "bad cast";
template<>
inline constexpr const char* fixedText<std::bad_typeid> = "bad typeid";

/// The standard side of an exception: `what` of `T` leads to the family's own.
template<typename T>
class StdExceptionAdapter : public T {
public:
    const char* what() const noexcept override { return AdapterWhat(); }
    virtual const char* AdapterWhat() const noexcept = 0;

protected:
    explicit StdExceptionAdapter(const std::string& message) requires(fixedText<T> == nullptr) : T(message) { }
    explicit StdExceptionAdapter(const std::string&) requires(fixedText<T> != nullptr) { }
};

/// Joins a standard exception to the tracing side: one object that is caught as `T`, as std::exception and as
/// TraceableException, with the same `what` on every side.
template<typename T>
class ExceptionAdapter : public StdExceptionAdapter<T>, public TraceableExceptionAdapter {
public:
    /// @param location  from THROW_LOCATION; the first entry of the trace
    ExceptionAdapter(const std::string& message, std::string location)
        : StdExceptionAdapter<T>(message), TraceableExceptionAdapter(std::move(location))
    {
    }

    /// The message; with TraceInWhat a newline and every trace entry with a newline behind it. Valid until the next
    /// call and as long as the exception.
    const char* what() const noexcept override
    {
        if (!TraceInWhat())
            return PlainWhat();
        try {
            composed = PlainWhat();
            composed += '\n';
            for (const std::string& entry : Trace()) {
                composed += entry;
                composed += '\n';
            }
            return composed.c_str();
        } catch (...) {
            return PlainWhat(); // no memory left for the trace
        }
    }

    const char* PlainWhat() const noexcept override
    {
        if constexpr (fixedText<T> != nullptr)
            return fixedText<T>;
        else
            return T::what();
    }

    const char* AdapterWhat() const noexcept override { return what(); }

private:
    mutable std::string composed;
};

// One class for each standard exception, with the constructor (message, location).

class RuntimeException : public ExceptionAdapter<std::runtime_error> {
    using ExceptionAdapter::ExceptionAdapter;
};

class OverflowException : public ExceptionAdapter<std::overflow_error> {
    using ExceptionAdapter::ExceptionAdapter;
};

class UnderflowException : public ExceptionAdapter<std::underflow_error> {
    using ExceptionAdapter::ExceptionAdapter;
};

class RangeException : public ExceptionAdapter<std::range_error> {
    using ExceptionAdapter::ExceptionAdapter;
};

class LogicException : public ExceptionAdapter<std::logic_error> {
    using ExceptionAdapter::ExceptionAdapter;
};

class DomainException : public ExceptionAdapter<std::domain_error> {
    using ExceptionAdapter::ExceptionAdapter;
};

class InvalidArgumentException : public ExceptionAdapter<std::invalid_argument> {
    using ExceptionAdapter::ExceptionAdapter;
};

class LengthException : public ExceptionAdapter<std::length_error> {
    using ExceptionAdapter::ExceptionAdapter;
};

class OutOfRangeException : public ExceptionAdapter<std::out_of_range> {
    using ExceptionAdapter::ExceptionAdapter;
};

// These three drop the message: their text is fixed.

class BadAllocException : public ExceptionAdapter<std::bad_alloc> {
    using ExceptionAdapter::ExceptionAdapter;
};

class BadCastException : public ExceptionAdapter<std::bad_cast> {
    using ExceptionAdapter::ExceptionAdapter;
};

class BadTypeidException : public ExceptionAdapter<std::bad_typeid> {
    using ExceptionAdapter::ExceptionAdapter;
};

}
