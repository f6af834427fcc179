#pragma once

#include "Vondrel/Utilities/Exceptions/ExceptionAdapter.h"

namespace Vondrel::CMetry {

/// A failure of colorimetry.
class CMetryException : public Utilities::Exceptions::RuntimeException {
    using RuntimeException::RuntimeException;
};

}
