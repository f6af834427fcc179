#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

/// Entries of a folder: of "/proc/self/task" the threads of this process, of "/proc/self/fd" its open files.
inline std::size_t CountEntries(const char* folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// Whether no more entries are left than there were. The kernel, and a mock with threads of its own, take a moment.
inline bool SettlesAt(const char* folder, std::size_t count)
{
    for (int i = 0; i < 200 && CountEntries(folder) > count; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return CountEntries(folder) <= count;
}
