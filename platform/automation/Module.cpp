#include "platform/automation/Module.h"

#include <atomic>

namespace Platform::Automation {

namespace {

std::atomic<long> uses = 0;

}

void LockModule() noexcept
{
    ++uses;
}

void UnlockModule() noexcept
{
    --uses;
}

bool CanUnloadModule() noexcept
{
    return uses == 0;
}

}
