#ifndef ORVEX_PLATFORM_H
#define ORVEX_PLATFORM_H
/*
 * platform.h - where the colorimeters are on this machine
 *
 * The colorimeter toolkit (zelcal.h) knows serial ports by the numbers 1 to 8 and USB instruments by the index of their
 * device file, from 0 on. These calls say which files stand behind the numbers. Call them before an instrument is
 * opened and from one thread at a time; they count for the whole process. Compiles as C99 and as C++20.
 *
 * Serial ports are /dev/ttyS0 to /dev/ttyS7 unless told otherwise. A serial colorimeter on a USB adapter keeps its name
 * with a udev rule such as
 *
 *     SUBSYSTEM=="tty", ATTRS{idVendor}=="0403", ATTRS{serial}=="A700XYZ", SYMLINK+="colorimeter", GROUP="plugdev"
 *
 * and then orvex_set_serial_port_name(1, "/dev/colorimeter").
 *
 * A USB colorimeter is a device file that takes eight bytes and gives eight bytes, /dev/zelcal0 to /dev/zelcal127
 * unless told otherwise. The rule of its kernel driver must let the user read and write it:
 *
 *     KERNEL=="zelcal[0-9]*", MODE="0660", GROUP="plugdev"
 */
#include "export.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Sets the device name of a serial port.
 *
 *  @param port  1 to 8
 *  @param name  for example "/dev/ttyUSB0"; copied
 *  @return 0, or the platform's error number (above 0): the port is out of range, or the name is null or too long */
OX_API int32_t orvex_set_serial_port_name(int32_t port, const char* name);

/** Sets the pattern of the names of USB device files.
 *
 *  @param pattern  one "%u" stands for the index, for example "/dev/zelcal%u"; copied
 *  @return 0, or the platform's error number (above 0): the pattern is null, too long, or has not exactly one "%u" */
OX_API int32_t orvex_set_usb_name_pattern(const char* pattern);

#ifdef __cplusplus
}
#endif
#endif /* ORVEX_PLATFORM_H */
