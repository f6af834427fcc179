#include "orvex/platform.h"

#include "platform/DeviceChannel.h"
#include "platform/SerialPort.h"

extern "C" {

int32_t orvex_set_serial_port_name(int32_t port, const char* name)
{
    return Platform::Ports().SetName(port, name);
}

int32_t orvex_set_usb_name_pattern(const char* pattern)
{
    return Platform::SetChannelNamePattern(pattern);
}
}
