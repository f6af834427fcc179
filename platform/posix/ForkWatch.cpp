#include "platform/posix/ForkWatch.h"

#include "platform/Threading.h"

#include <atomic>
#include <cstddef>
#include <new>
#include <pthread.h>
#include <set>

namespace Platform {

namespace Posix {

namespace {

std::atomic<std::uint32_t> processNumber = 0;

}

struct ForkWatch::All {
    static All& Instance()
    {
        // Never destroyed: the fork handlers stay. In static memory: there may be none to allocate.
        alignas(All) static std::byte memory[sizeof(All)];
        static All& all = *new (memory) All;
        return all;
    }

    All()
    {
        ::pthread_atfork([] { Guard().lock(); }, [] { Guard().unlock(); },
                         [] {
                             ++processNumber;
                             for (ForkWatch* const watch : Instance().watches)
                                 watch->AfterFork();
                             Guard().unlock();
                         });
    }

    std::mutex guard;
    std::set<ForkWatch*> watches;
};

std::mutex& ForkWatch::Guard()
{
    return All::Instance().guard;
}

ForkWatch::ForkWatch()
{
    const std::lock_guard lock(Guard());
    All::Instance().watches.insert(this);
}

ForkWatch::~ForkWatch()
{
    const std::lock_guard lock(Guard());
    All::Instance().watches.erase(this);
}

}

std::uint32_t ProcessNumber() noexcept
{
    Posix::ForkWatch::Guard(); // counts from here on
    return Posix::processNumber;
}

}
