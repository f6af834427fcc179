#pragma once

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"

namespace Vondrel::Utilities::Exceptions {

/// Something named by an id or a key does not exist or cannot be had.
class ResourceException : public RuntimeException {
    using RuntimeException::RuntimeException;
};

}
