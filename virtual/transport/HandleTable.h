#pragma once

#include <map>
#include <memory>
#include <utility>

namespace Virtual {

/// What the host has open, by the handle that it was given. Under the bench's lock. What is taken off the table lives
/// on as long as somebody still waits in it.
template<typename Open>
class HandleTable {
public:
    /// One for the process, never destroyed.
    static HandleTable& Instance()
    {
        static HandleTable& table = *new HandleTable;
        return table;
    }

    /// Gives the address of the object as its handle.
    void* Add(std::shared_ptr<Open> object)
    {
        void* handle = object.get();
        Add(handle, std::move(object));
        return handle;
    }

    void Add(const void* handle, std::shared_ptr<Open> object) { objects[handle] = std::move(object); }

    /// Null for a handle that is not on the table.
    std::shared_ptr<Open> Find(const void* handle) const
    {
        const auto found = objects.find(handle);
        return found == objects.end() ? nullptr : found->second;
    }

    std::shared_ptr<Open> Take(const void* handle)
    {
        auto object = Find(handle);
        objects.erase(handle);
        return object;
    }

    template<typename Action>
    void ForEach(Action action)
    {
        for (const auto& [handle, object] : objects)
            action(*object);
    }

private:
    HandleTable() = default;

    std::map<const void*, std::shared_ptr<Open>> objects;
};

}
