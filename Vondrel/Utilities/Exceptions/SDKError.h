#pragma once

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"

#include <cstdint>
#include <string>

/// A failure with a public result code. The default value stands for "no failure".
class SDKError : public Vondrel::Utilities::Exceptions::RuntimeException {
public:
    /// "no error", code 0.
    SDKError();
    SDKError(std::int32_t code, const std::string& message, std::string location);

    /// Becomes `source`, trace included, with a result code; keeps the name of its dynamic type.
    SDKError(std::int32_t code, const RuntimeException& source);

    std::int32_t Code() const noexcept { return code; }

    /// `what`, the name of the type that this error was made from, and the trace, each with a newline behind it.
    std::string ExtendedInformation() const;

private:
    std::int32_t code = 0;
    std::string exceptionType;
};
