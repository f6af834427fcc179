#include "Vondrel/ColorC/Kernels.h"

#include <atomic>
#include <cstddef>

namespace Vondrel::ColorC {

namespace {

#ifdef __x86_64__
const Road* const roads[] = {&plainRoad, &sse2Road, &avx2Road, &fmaRoad, nullptr};
#else
const Road* const roads[] = {&plainRoad, nullptr};
#endif

const Road& BestRoad() noexcept
{
    const Road* best = &plainRoad;
    for (std::size_t i = 0; roads[i] != nullptr; ++i)
        if (CanGo(*roads[i]))
            best = roads[i];
    return *best;
}

std::atomic<const Road*> current{nullptr};

}

const Road* RoadAt(std::size_t index) noexcept
{
    for (std::size_t i = 0; i < index; ++i)
        if (roads[i] == nullptr)
            return nullptr;
    return roads[index];
}

bool CanGo([[maybe_unused]] const Road& road) noexcept
{
#ifdef __x86_64__
    __builtin_cpu_init();
    if (&road == &avx2Road)
        return __builtin_cpu_supports("avx2") != 0;
    if (&road == &fmaRoad)
        return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
#endif
    return true;
}

const Road& CurrentRoad() noexcept
{
    const Road* road = current.load(std::memory_order_relaxed);
    if (road == nullptr) {
        road = &BestRoad();
        current.store(road, std::memory_order_relaxed); // whoever comes second finds the same
    }
    return *road;
}

void ForceRoad(const Road* road) noexcept
{
    current.store(road, std::memory_order_relaxed);
}

}
