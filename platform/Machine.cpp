// The library for real instruments: all of the machine is its own.

#include "platform/NamedLock.h"
#include "platform/SerialPort.h"

namespace Platform {

bool LocksAreSystemWide()
{
    return true;
}

SerialPorts& Ports() noexcept
{
    return MachinePorts();
}

}
