#pragma once

#include "virtual/instrument/Instrument.h"

#include <memory>

/// How the bytes of colorimeters get to the host. A serial port in memory delivers on the bench's clock; a
/// pseudo-terminal has a thread that carries the bytes, so that the platform's own serial ports are the ones that talk.
/// The seam's serial ports and device channels (Platform::Serial..., Platform::Channel...) are defined on top of these.
///
/// The bench's lock is held by whoever calls, unless told otherwise.
namespace Virtual {

/// Stands a colorimeter up behind a new pseudo-terminal; its text "port" then has the name. For Bench::Attach with the
/// road pty, after TakePlace. Throws Refusal with OXV_NOT_POSSIBLE if the system has no pseudo-terminal left.
void OpenPseudoTerminal(const std::shared_ptr<Instrument>& instrument);

/// Hangs the pseudo-terminal up, if the instrument has one, and drops every port and channel that is open on it. For
/// Bench::Remove and Bench::Reset. Does not wait for the thread, which ends by itself and calls nobody thereafter.
void CloseRoads(const Instrument& instrument);

/// oxv_port_descriptor(): a descriptor of the instrument's serial port, opened anew for each call; the caller closes
/// it. Throws Refusal with OXV_NOT_POSSIBLE for an instrument on USB, or if there is no descriptor left.
int PortDescriptor(const std::shared_ptr<Instrument>& instrument);

}
