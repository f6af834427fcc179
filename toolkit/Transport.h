#pragma once

#include "orvex/zelcal.h"

#include <cstdint>

/// The two ways to an instrument. `portType` of the record says which one.
namespace Toolkit {

enum PortType : std::int32_t { serialPort = 0, usbPort = 1 };

inline constexpr std::uint32_t defaultReplySeconds = 3;

/// Opens the serial port of that number, or the device file of `usbIndex`, and sets the communication state anew.
/// Leaves `isOpen` alone on success.
std::int32_t OpenPort(CalDataBlock* device, std::int32_t port);

/// Closes what is open, and what a USB failure left open. Clears `isOpen` and `calibratorType`. Returns
/// ZEL_NOT_OPEN when there was nothing.
std::int32_t ClosePort(CalDataBlock* device);

/// Sets the time-out fields to their values after an opening.
void ResetTimeOut(CalDataBlock* device);

std::int32_t OpenSerial(CalDataBlock* device, std::int32_t port);
void CloseSerial(CalDataBlock* device);
std::int32_t ExchangeSerial(CalDataBlock* device, const std::uint8_t* command, std::uint32_t length,
                            std::uint8_t* reply, std::uint32_t* replyLength);

std::int32_t OpenUsb(CalDataBlock* device);
void CloseUsb(CalDataBlock* device);
std::int32_t ExchangeUsb(CalDataBlock* device, const std::uint8_t* command, std::uint32_t length, std::uint8_t* reply,
                         std::uint32_t* replyLength);

/// Gives the port the constant part of its read limit.
int SetReplyLimit(CalDataBlock* device, std::uint32_t seconds);

}
