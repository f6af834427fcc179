#include "Vondrel/Utilities/Exceptions/StdExceptionConverter.h"

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"
#include "Vondrel/Utilities/Exceptions/TypeName.h"

namespace Vondrel::Utilities::Exceptions {

namespace {

template<typename Standard, typename Counterpart>
void ThrowIfExactly(const std::exception& e, const std::string& location)
{
    if (typeid(e) == typeid(Standard))
        throw Counterpart(e.what(), location);
}

}

void StdExceptionConverter::Rethrow(const std::exception& e) const
{
    ThrowIfExactly<std::runtime_error, RuntimeException>(e, location);
    ThrowIfExactly<std::overflow_error, OverflowException>(e, location);
    ThrowIfExactly<std::underflow_error, UnderflowException>(e, location);
    ThrowIfExactly<std::range_error, RangeException>(e, location);
    ThrowIfExactly<std::logic_error, LogicException>(e, location);
    ThrowIfExactly<std::domain_error, DomainException>(e, location);
    ThrowIfExactly<std::invalid_argument, InvalidArgumentException>(e, location);
    ThrowIfExactly<std::length_error, LengthException>(e, location);
    ThrowIfExactly<std::out_of_range, OutOfRangeException>(e, location);
    ThrowIfExactly<std::bad_alloc, BadAllocException>(e, location);
    ThrowIfExactly<std::bad_typeid, BadTypeidException>(e, location);
    ThrowIfExactly<std::bad_cast, BadCastException>(e, location);
    const char* const text = e.what(); // an application's own exception may have none
    throw RuntimeException(TypeName(typeid(e)) + " " + (text != nullptr ? text : ""), location);
}

}
