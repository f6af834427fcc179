#pragma once

namespace Platform {

/// Words for an error number of this platform, from a table of our own, so that they do not depend on the locale.
/// "unknown error" for a number outside the table. Never null.
const char* ErrorText(int number) noexcept;

}
