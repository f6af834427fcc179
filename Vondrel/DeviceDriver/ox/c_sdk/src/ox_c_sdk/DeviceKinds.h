#pragma once

#include "Vondrel/DeviceDriver/ox/c_sdk/src/ox_c_sdk/Context.h"

#include <cstdint>

namespace OrvexSDK {

/// One row for every kind of device: which ids are its own, how it is detected, and who serves it.
struct DeviceKind {
    std::int32_t firstId;
    std::int32_t lastId; ///< inclusive

    /// Whether an instrument of this kind is attached now. Never throws.
    bool (*isAttached)();

    Context* (*makeContext)(std::int32_t id);
};

/// The kind that owns an id, or null.
const DeviceKind* FindDeviceKind(std::int32_t id);

/// The first id of the first kind, in the order of preference, of which an instrument is attached; that of the
/// spectrophotometer if there is none.
std::int32_t DetectDevice();

}
