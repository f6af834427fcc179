#pragma once

#include "platform/SerialPort.h"

namespace Platform::Posix {

/// Opens a terminal by its device name, as MachinePorts() opens a port.
int OpenTerminal(const char* name, SerialHandle* handle) noexcept;

}
