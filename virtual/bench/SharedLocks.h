#pragma once

namespace Virtual {

/// Whether the library's named locks reach beyond this process.
void ShareLocks(bool on) noexcept;

}
