#include "Vondrel/Utilities/Exceptions/SDKError.h"

#include "Vondrel/Utilities/Exceptions/TypeName.h"

#include <utility>

using Vondrel::Utilities::Exceptions::TypeName;

SDKError::SDKError() : RuntimeException("no error", "") { }

SDKError::SDKError(std::int32_t code_, const std::string& message, std::string location)
    : RuntimeException(message, std::move(location)), code(code_)
{
}

SDKError::SDKError(std::int32_t code_, const RuntimeException& source)
    : RuntimeException(source), code(code_), exceptionType(TypeName(typeid(source)))
{
}

std::string SDKError::ExtendedInformation() const
{
    std::string text = what();
    text += '\n';
    text += exceptionType;
    text += '\n';
    for (const std::string& entry : Trace()) {
        text += entry;
        text += '\n';
    }
    return text;
}
