#pragma once

#include "virtual/instrument/WireInstrument.h"

#include <memory>

namespace Virtual {

/// A device channel that the host has open.
struct DeviceChannel {
    std::shared_ptr<WireInstrument> instrument;
    std::uint32_t session; ///< the plugging under which it was opened
    bool dead = false;     ///< the instrument has left the bench

    bool IsAlive() const { return !dead && instrument->IsPlugged() && session == instrument->Session(); }
};

}
