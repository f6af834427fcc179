#pragma once

#include <cstddef>

/// How often this program has asked the heap for memory through operator new.
std::size_t AllocationCount() noexcept;
