#pragma once

namespace Platform::Posix {

/// Opens a file, close-on-exec, under a descriptor above 2: those below belong to the application's standard streams,
/// even when it has closed them. -1 with errno on failure.
int OpenDescriptor(const char* name, int flags, unsigned mode = 0) noexcept;

/// close() that keeps errno.
void CloseDescriptor(int descriptor) noexcept;

/// A descriptor as an opaque handle, and back: -1 for null and for whatever cannot be a descriptor of ours.
void* ToHandle(int descriptor) noexcept;
int ToDescriptor(const void* handle) noexcept;

}
