#pragma once

#include "Vondrel/Utilities/Multithreading/Condition.h"
#include "Vondrel/Utilities/Multithreading/Mutex.h"
#include "Vondrel/Utilities/Multithreading/ScopedLock.h"

#include <cstddef>
#include <deque>
#include <utility>

namespace Vondrel::Utilities::Multithreading {

/// A first-in first-out queue between threads, without a limit or with one.
template<typename T>
class BlockingQueue {
public:
    /// @param capacity_  items; 0 for no limit
    explicit BlockingQueue(std::size_t capacity_ = 0) : capacity(capacity_) { }

    /// Waits while the queue is full.
    void Put(const T& item)
    {
        const ScopedLock lock(mutex);
        while (capacity != 0 && items.size() >= capacity)
            notFull.Wait();
        items.push_back(item);
        notEmpty.Signal();
    }

    /// Waits while the queue is empty.
    T Get()
    {
        const ScopedLock lock(mutex);
        while (items.empty())
            notEmpty.Wait();
        T item = std::move(items.front());
        items.pop_front();
        notFull.Signal();
        return item;
    }

private:
    std::deque<T> items;
    const std::size_t capacity;
    Mutex mutex{"BlockingQueueMutex"};
    Condition notFull{mutex};
    Condition notEmpty{mutex};
};

}
