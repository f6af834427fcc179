#pragma once

#include "platform/Usb.h"

namespace Platform::Libusb {

/// What a code of libusb (enum libusb_error) means.
TransferResult FailureOf(int error);

/// What the status of a transfer that has ended (enum libusb_transfer_status) means.
TransferResult OutcomeOf(int status, int moved);

}
