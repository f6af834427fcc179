#include "tests/support/FailingMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> untilFailure{0}; ///< counted down to 1, which fails; 0: none fails
std::atomic<bool> failsForGood{false};
std::atomic<bool> hasFailed{false};

bool Fails()
{
    if (untilFailure == 0)
        return false;
    if (untilFailure > 1) {
        --untilFailure;
        return false;
    }
    if (!failsForGood)
        untilFailure = 0;
    hasFailed = true;
    return true;
}

}

void FailAllocation(long nth, bool forGood)
{
    hasFailed = false;
    failsForGood = forGood;
    untilFailure = nth;
}

bool StopFailing()
{
    untilFailure = 0;
    return hasFailed;
}

void* operator new(std::size_t size)
{
    void* const memory = Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
