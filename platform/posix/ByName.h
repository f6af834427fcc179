#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace Platform::Posix {

/// What the holders of one name in this process share. An object lives as long as somebody holds it.
template<typename Shared>
class ByName {
public:
    /// The object of this name; made by `make` (null is not kept) if nobody holds it.
    template<typename Make>
    std::shared_ptr<Shared> Get(const std::string& name, Make make)
    {
        const std::lock_guard lock(mutex);
        std::erase_if(objects, [](const auto& entry) { return entry.second.expired(); });
        if (const auto found = objects.find(name); found != objects.end())
            if (auto held = found->second.lock())
                return held;
        std::shared_ptr<Shared> made = make();
        if (made)
            objects[name] = made;
        return made;
    }

private:
    std::mutex mutex;
    std::map<std::string, std::weak_ptr<Shared>> objects;
};

}
