#pragma once

/// Counts what keeps the library loaded: objects, references on class objects, and locks of hosts.
namespace Platform::Automation {

void LockModule() noexcept;
void UnlockModule() noexcept;
bool CanUnloadModule() noexcept;

}
