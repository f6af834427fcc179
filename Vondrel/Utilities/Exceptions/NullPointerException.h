#pragma once

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"

namespace Vondrel::Utilities::Exceptions {

/// An empty SmartPointer was dereferenced.
class NullPointerException : public RuntimeException {
    using RuntimeException::RuntimeException;
};

}
